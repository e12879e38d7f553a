#pragma once

#include <tests/support/Test.h>

namespace morvel::test {

/// The rows of a text file that has two blanks or more between the columns. Lines that are empty or
/// begin with # are none.
inline std::vector<std::vector<std::string>> ReadTable(const char* file, std::size_t columns) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::vector<std::string>& row = rows.emplace_back();
        for (std::size_t from = 0; from < line.size();) {
            const std::size_t end = line.find("  ", from);
            row.push_back(line.substr(from, end - from));
            from = line.find_first_not_of(' ', end);
        }
        EXPECT_EQ(row.size(), columns) << line;
        row.resize(columns);
    }
    EXPECT_FALSE(rows.empty()) << file;
    return rows;
}

}  // namespace morvel::test
