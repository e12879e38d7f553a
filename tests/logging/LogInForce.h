#pragma once

#include <filesystem>
#include <string>

#include <morvel/files/NPath.h>
#include <morvel/logging/NLog.h>
#include <tests/logging/LogHome.h>

namespace morvel::test {

/// What `log` leaves in the file of a fresh log that is in force meanwhile.
template <class Function>
std::string WholeLogOf(Function log) {
    const std::filesystem::path file = std::filesystem::u8path(NPath::AppDataFolder().Data()) /
                                       "Tarnwick Software" / "LogInForce.log";
    std::filesystem::remove(file);
    {
        NLog inForce;
        inForce.SetName("LogInForce");
        NLog* const former = NLog::Set(&inForce);
        log();
        NLog::Set(former);
    }
    return ReadLog(file);
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

}  // namespace morvel::test
