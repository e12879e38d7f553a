#pragma once

#include <filesystem>
#include <string>

#include <morvel/files/NPath.h>
#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>
#include <tests/logging/LogReader.h>

namespace morvel::test {

/// A name in the log folder, which is the test's own.
inline std::filesystem::path InLogFolder(const std::string& name) {
    return std::filesystem::u8path(NPath::AppDataFolder().Data()) / "Tarnwick Software" / name;
}

/// Calls `log` with a fresh log in force that writes to LogInForce.log.
template <class Function>
void WithLog(Function log) {
    NLog inForce;
    inForce.SetName("LogInForce");
    NLog* const former = NLog::Set(&inForce);
    log();
    NLog::Set(former);
}

/// What `log` leaves in the file of such a log, if the file isn't there before.
template <class Function>
std::string WholeLogOf(Function log) {
    std::filesystem::remove(InLogFolder("LogInForce.log"));
    WithLog(log);
    return ReadLog(InLogFolder("LogInForce.log"));
}

/// The same without the banner, which is six lines long, and the date in front of the first line.
template <class Function>
std::string LineOf(Function log) {
    std::string text = WholeLogOf(log);
    for (int line = 0; line < 6; ++line) {
        text.erase(0, text.find('\n') + 1);
    }
    const std::size_t blank = text.find(" - ", text.find("] - ") + 4);
    return blank == std::string::npos ? text : text.substr(blank + 3);
}

/// As WrittenLines wants them.
inline void WriteLines(int writer, int first, int count) {
    for (int i = first; i < first + count; ++i) {
        NLOG("NOTICE", "writer %d line %d", writer, i);
    }
}

}  // namespace morvel::test
