#pragma once

#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <tests/logging/LogHome.h>

namespace morvel::test {

// For each writer the numbers of its lines in the order in which they stand in the file and its
// archives, the oldest first. A line that is not whole counts under writer -1.
inline std::map<int, std::vector<int>> WrittenLines(const std::filesystem::path& file) {
    std::vector<std::string> texts = {ReadLog(file)};
    for (int archive = 0;; ++archive) {
        const std::filesystem::path name = file.string() + "." + std::to_string(archive);
        if (!std::filesystem::exists(name)) {
            break;
        }
        texts.insert(texts.begin(), ReadLog(name));
    }
    std::map<int, std::vector<int>> lines;
    for (const std::string& text : texts) {
        std::istringstream in(text);
        std::string line;
        while (std::getline(in, line)) {
            int writer = 0;
            int number = 0;
            int read = 0;
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
    }
    return lines;
}

// "" if `numbers` are 0, 1, 2 and so on up to `count`, else what is wrong.
inline std::string Gap(const std::vector<int>& numbers, std::size_t count) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] != static_cast<int>(i)) {
            return "line " + std::to_string(numbers[i]) + " at place " + std::to_string(i);
        }
    }
    return numbers.size() == count ? "" : std::to_string(numbers.size()) + " lines";
}

// A log file that is `missing` bytes short of being rotated.
inline void ArmAlmostFull(LogHome& home, std::uintmax_t missing) {
    home.Arm();
    std::filesystem::resize_file(home.File(), 10485760 - missing);
}
}  // namespace morvel::test
