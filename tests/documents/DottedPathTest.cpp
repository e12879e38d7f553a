#include <morvel/documents/DottedPath.h>

#include <Poco/StringTokenizer.h>

#include <tests/support/Test.h>

using namespace std::string_literals;

// Random paths of every length up to 12, of bytes that matter and some that only look like blanks.
TEST(DottedPath, IsTheTokenizerThatItStandsFor) {
    const std::string bytes = ".....   a|\t\n\v\f\r\0\x08\x0E\x1F\x7F\x80\x85\xA0\xC3\xFF"s;
    std::mt19937 random(20240501);
    for (std::size_t round = 0; round < 100000; ++round) {
        std::string path(round % 13, '\0');
        for (char& c : path) {
            c = bytes[random() % bytes.size()];
        }
        std::vector<std::string> names;
        morvel::DottedPath walk(path);
        for (std::string_view name; walk.Next(&name);) {
            names.emplace_back(name);
        }
        const Poco::StringTokenizer tokens(path, ".", Poco::StringTokenizer::TOK_TRIM);
        ASSERT_EQ(names, std::vector<std::string>(tokens.begin(), tokens.end()))
            << testing::PrintToString(path);
    }
}
