#include <morvel/documents/DottedPath.h>

#include <gmock/gmock.h>

#include <Poco/StringTokenizer.h>

#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

std::vector<std::string> _names(const std::string& path) {
    std::vector<std::string> names;
    morvel::DottedPath walk(path);
    for (std::string_view name; walk.Next(&name);) {
        names.emplace_back(name);
    }
    return names;
}

}  // namespace

TEST(DottedPath, NamesWithoutTheBlanksAroundThem) {
    using Names = std::vector<std::string>;
    const struct {
        const char* path;
        Names names;
    } rows[] = {
        {"", {}},
        {"a", {"a"}},
        {"a.bc", {"a", "bc"}},
        {" a b \t.\nc\v", {"a b", "c"}},
        {"a..b", {"a", "", "b"}},
        {"a.", {"a", ""}},
        {".", {"", ""}},
        {" ", {""}},
        {"a.b|c", {"a", "b|c"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(_names(row.path), row.names) << row.path;
    }
}

// Every path over the bytes that matter up to six long, and random longer ones.
TEST(DottedPath, IsTheTokenizerThatItStandsFor) {
    const auto check = [](const std::string& path) {
        const Poco::StringTokenizer tokens(path, ".", Poco::StringTokenizer::TOK_TRIM);
        ASSERT_EQ(_names(path), std::vector<std::string>(tokens.begin(), tokens.end()))
            << testing::PrintToString(path);
    };
    const std::string few = ". a\0"s + '\xA0';
    for (std::size_t length = 0; length <= 6; ++length) {
        std::string path(length, few[0]);
        std::vector<std::size_t> digits(length, 0);
        for (std::size_t place = 0; place < length || length == 0;) {
            check(path);
            for (place = 0; place < length && ++digits[place] == few.size(); ++place) {
                digits[place] = 0;
                path[place] = few[0];
            }
            if (place == length) {
                break;
            }
            path[place] = few[digits[place]];
        }
    }
    const std::string many = "..ab|  \t\n\v\f\r\0\x08\x0E\x1F\x7F"s + "\x80\x85\xA0\xC3\xFF";
    std::mt19937 random(20240501);
    for (int round = 0; round < 50000; ++round) {
        std::string path(random() % 40, '\0');
        for (char& byte : path) {
            byte = many[random() % many.size()];
        }
        check(path);
    }
}
