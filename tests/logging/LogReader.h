#pragma once

#include <cstdio>

#include <tests/support/Test.h>

namespace morvel::test {

/// The text of a log file; every line ends in "\n", whatever the platform writes.
inline std::string ReadLog(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        text += line + (in.eof() ? "" : "\n");
    }
    return text;
}

/// For each writer the numbers of its lines, "writer <w> line <n>", in the order in which they
/// stand in the file and its archives, the oldest first. A line that is not whole counts under
/// writer -1.
inline std::map<int, std::vector<int>> WrittenLines(const std::filesystem::path& file) {
    std::string text = ReadLog(file);
    for (int archive = 0;; ++archive) {
        const std::filesystem::path name = file.string() + "." + std::to_string(archive);
        if (!std::filesystem::exists(name)) break;
        text.insert(0, ReadLog(name));
    }
    std::map<int, std::vector<int>> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        int writer = 0, number = 0, read = 0;
        std::sscanf(line.c_str(),
                    "%*d/%*d/%*d - [%*3s] - %*2d:%*2d:%*2d - NOTICE [File: %*[^ ] Line: %*d]\t"
                    "\"writer %d line %d\"%n",
                    &writer, &number, &read);
        if (read > 0 && static_cast<std::size_t>(read) == line.size()) {
            lines[writer].push_back(number);
        } else if (line.find("NOTICE") != std::string::npos) {
            lines[-1].push_back(0);
        }
    }
    return lines;
}

/// "" if `numbers` are 0, 1, 2 and so on up to `count`, else what is wrong.
inline std::string Gap(const std::vector<int>& numbers, std::size_t count) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] != static_cast<int>(i)) {
            return "line " + std::to_string(numbers[i]) + " at place " + std::to_string(i);
        }
    }
    return numbers.size() == count ? "" : std::to_string(numbers.size()) + " lines";
}

}  // namespace morvel::test
