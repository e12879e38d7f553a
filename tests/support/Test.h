#pragma once

/// What nearly every test stands on: GoogleTest with its matchers, what the tests share, and of the
/// standard library what holds values, makes texts and files of them, draws them at random and runs
/// beside.
#include <Poco/URI.h>  // ahead of windows.h, which GoogleTest brings

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// GoogleTest brings windows.h, whose macros would take these names of NFile's.
#undef CreateDirectory
#undef CreateFile

namespace morvel::test {

inline const bool OnWindows = std::filesystem::path::preferred_separator == '\\';

/// An empty folder of the test's own, which goes with all that is in it at the object's end. Names
/// are UTF-8 and relative to the folder.
///
///     TemporaryFolder folder;
///     folder.Write("a.xml", "<a/>");
///     NXML document;
///     document.LoadFile(NPath(folder.File("a.xml").c_str()), ...);
class TemporaryFolder {
public:
    TemporaryFolder() {
        while (!std::filesystem::create_directory(_path)) _path += '-';  // another one's name
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    ~TemporaryFolder() {
        std::error_code ignored;  // a leftover in the system's temporary folder is no failure
        std::filesystem::remove_all(_path, ignored);
    }

    const std::filesystem::path& Path() const { return _path; }

    /// Full name of `name` in this folder, native separators, UTF-8.
    std::string File(const std::string& name) const { return _full(name).u8string(); }

    bool Has(const std::string& name) const { return std::filesystem::exists(_full(name)); }

    /// Makes or replaces the file and gives its full name as File does.
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(_full(name), std::ios::binary | std::ios::trunc) << bytes;
        return File(name);
    }

    /// All bytes of the file.
    std::string Read(const std::string& name) const {
        std::ifstream in(_full(name), std::ios::binary);
        if (!in) throw std::runtime_error("can't read " + File(name));
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::filesystem::path _full(const std::string& name) const {
        return _path / std::filesystem::u8path(name);
    }

    std::filesystem::path _path = std::filesystem::temp_directory_path() /
                                  ("morvel-test-" + std::to_string(std::random_device()()));
};

/// Bytes that are written as in a URL.
inline std::string Decoded(const std::string& written) {
    std::string bytes;
    Poco::URI::decode(written, bytes);
    return bytes;
}

/// The rows of a text file that has two blanks or more between the columns. A column of "" is
/// empty. Lines that are empty or begin with # are no rows.
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
        std::replace(row.begin(), row.end(), std::string("\"\""), std::string());
    }
    EXPECT_FALSE(rows.empty()) << file;
    return rows;
}

/// Calls `work(number)` in `count` threads that begin as close together as they can.
inline void InThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    std::atomic<int> missing{count};
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&, number] {
            for (--missing; missing > 0;) std::this_thread::yield();
            work(number);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

inline double SecondsOf(const std::function<void()>& function) {
    const auto begin = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Whether the condition holds within a minute.
inline bool Becomes(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return condition();
}

}  // namespace morvel::test

// Only tests include this header, and all of them speak with these words.
using namespace morvel::test;
using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace testing;
