#pragma once

#include <regex>

#include <tests/support/Test.h>

namespace morvel::test {

/// The rows of a text file that has two blanks or more between the columns. Lines that are empty or
/// begin with # are none.
inline std::vector<std::vector<std::string>> ReadTable(const char* file, std::size_t columns) {
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(file);
    const std::regex between(" {2,}");
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        auto& row =
            rows.emplace_back(std::sregex_token_iterator(line.begin(), line.end(), between, -1),
                              std::sregex_token_iterator());
        EXPECT_EQ(row.size(), columns) << line;
        row.resize(columns);
    }
    EXPECT_FALSE(rows.empty()) << file;
    return rows;
}

}  // namespace morvel::test
