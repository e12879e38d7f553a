#pragma once

#include <morvel/files/NPath.h>
#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>
#include <tests/support/Test.h>

namespace morvel::test {

/// The text of a file; every line ends in "\n", whatever the platform writes.
inline std::string ReadLog(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(in), {});
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

/// What WriteLines has left in a log file and its archives: the numbers of each writer's lines in
/// their order. A line that is not whole counts under writer -1.
inline std::map<int, std::vector<int>> WrittenLines(const std::filesystem::path& file) {
    std::string text = ReadLog(file);
    for (int archive = 0;; ++archive) {
        const std::string name = file.string() + "." + std::to_string(archive);
        if (!std::filesystem::exists(name)) break;
        text.insert(0, ReadLog(name));
    }
    std::map<int, std::vector<int>> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        int writer = 0, number = 0, end = 0;
        std::sscanf(line.c_str(),
                    "%*d/%*d/%*d - [%*3s] - %*d:%*d:%*d - NOTICE [File: %*s Line: %*d]"
                    " \"writer %d line %d\"%n",
                    &writer, &number, &end);
        if (end > 0 && static_cast<std::size_t>(end) == line.size()) {
            lines[writer].push_back(number);
        } else if (line.find("NOTICE") != std::string::npos) {
            lines[-1].push_back(0);
        }
    }
    return lines;
}

/// 0, 1, 2 and so on: what WrittenLines finds of a writer of whose `count` lines none is missing.
inline std::vector<int> Numbers(std::size_t count) {
    std::vector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

inline void WriteLines(int writer, int first, int count) {
    for (int i = first; i < first + count; ++i) NLOG("NOTICE", "writer %d line %d", writer, i);
}

/// A name in the log folder, which is the test's own.
inline std::filesystem::path InLogFolder(const std::string& name) {
    return std::filesystem::u8path(NPath::AppDataFolder().Data()) / "Tarnwick Software" /
           std::filesystem::u8path(name);
}

/// A log in force that writes to "<name>.log".
struct LogInForce {
    explicit LogInForce(const NString& name = "LogInForce") {
        log.SetName(name);
        NLog::Set(&log);
    }
    NLog log;
};

/// What `log` leaves in the file of a log in force, if the file isn't there before.
inline std::string WholeLogOf(const std::function<void()>& log) {
    std::filesystem::remove(InLogFolder("LogInForce.log"));
    {
        const LogInForce inForce;
        log();
    }
    return ReadLog(InLogFolder("LogInForce.log"));
}

/// The same behind the banner's last line, the date and the time of day of the line there.
inline std::string LineOf(const std::function<void()>& log) {
    const std::string text = WholeLogOf(log), time = "] - 00:00:00 - ";
    return text.substr(text.find("] - ", text.rfind(std::string(53, '*'))) + time.size());
}

}  // namespace morvel::test
