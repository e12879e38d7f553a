#include <morvel/platform/platform.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include <tests/support/TemporaryFolder.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

namespace {

const UnloadMark behindTheTests;

NWideString wide(std::initializer_list<unsigned> units) {
    NWideString result;
    for (const unsigned unit : units) {
        result.push_back(static_cast<NWideChar>(unit));
    }
    return result;
}

NWideString wideName(const TemporaryFolder& folder, const std::string& name) {
    return WideFromNarrow(folder.File(name).c_str(), CodePageUtf8);
}

}  // namespace

TEST(Platform, ConvertsEveryCharacterBothWays) {
    for (char32_t c = 1; c < 0x110000; ++c) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        NWideString text;
        if (c < 0x10000) {
            text.push_back(static_cast<NWideChar>(c));
        } else {
            text.push_back(static_cast<NWideChar>(0xD800 + ((c - 0x10000) >> 10)));
            text.push_back(static_cast<NWideChar>(0xDC00 + ((c - 0x10000) & 0x3FF)));
        }
        const std::string narrow = NarrowFromWide(text.c_str(), CodePageUtf8);
        ASSERT_EQ(narrow.size(), c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u);
        ASSERT_EQ(WideFromNarrow(narrow.c_str(), CodePageUtf8), text) << std::hex << unsigned(c);
    }
    EXPECT_EQ(NarrowFromWide(wide({0x20AC, 0xD83D, 0xDE00}).c_str(), CodePageUtf8),
              "\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Platform, LoneSurrogatesBecomeReplacementCharacters) {
    const std::string replacement = "\xEF\xBF\xBD";
    const struct {
        const char* why;
        NWideString text;
        std::string expected;
    } rows[] = {
        {"high at the end", wide({'a', 0xD83D}), "a" + replacement},
        {"low alone", wide({0xDE00, 'b'}), replacement + "b"},
        {"high before an ordinary unit", wide({0xD83D, 0xE000}), replacement + "\xEE\x80\x80"},
        {"two high ones", wide({0xD83D, 0xD83D, 0xDE00}), replacement + "\xF0\x9F\x98\x80"},
        {"the wrong way round", wide({0xDE00, 0xD83D}), replacement + replacement},
        {"nothing behind a NUL", wide({'a', 0, 0xD83D}), "a"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NarrowFromWide(row.text.c_str(), CodePageUtf8), row.expected) << row.why;
    }
}

// The samples are those of the Unicode Standard, 3.9, tables 3-8 to 3-11: one U+FFFD for each
// longest piece that could have begun a character.
TEST(Platform, MalformedUtf8BecomesReplacementCharacters) {
    const unsigned X = 0xFFFD;
    const struct {
        const char* why;
        const char* text;
        NWideString expected;
    } rows[] = {
        {"overlong", "\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", wide({X, X, X, X, X, X, X, X, 'A'})},
        {"surrogates", "\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", wide({X, X, X, X, X, X, X, X, 'A'})},
        {"above U+10FFFF", "\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42",
         wide({X, X, X, X, X, 'A', X, X, 'B'})},
        {"truncated", "\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", wide({X, X, X, X, 'A'})},
        {"cut at the end", "a\xE2\x82", wide({'a', X})},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(WideFromNarrow(row.text, CodePageUtf8), row.expected) << row.why;
    }
}

TEST(Platform, ComparesWithAsciiLettersFolded) {
    const auto fold = [](int c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (int a = 1; a < 256; ++a) {
        for (int b = 1; b < 256; ++b) {
            const char left[] = {static_cast<char>(a), 'x', 0};
            const char right[] = {static_cast<char>(b), 'X', 0};
            const int expected = sign(fold(a) - fold(b));
            ASSERT_EQ(sign(CompareNoCase(left, right)), expected) << a << ' ' << b;
            ASSERT_EQ(sign(CompareNoCase(left, right, 1)), expected) << a << ' ' << b;
        }
    }
    EXPECT_EQ(CompareNoCase("abX", "ABy", 2), 0);
    EXPECT_LT(CompareNoCase("ab", "ABc"), 0);
    EXPECT_EQ(CompareNoCase("a", "b", 0), 0);
}

TEST(Platform, KnowsTheRunningProgram) {
    const std::filesystem::path path = ExecutablePath();
    EXPECT_TRUE(path.is_absolute());
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(path.stem(), "PlatformTest");
}

TEST(Platform, CreationTimeOfANewFileIsNow) {
    TemporaryFolder folder;
    const std::int64_t before = std::time(nullptr);
    folder.Write("caf\xC3\xA9", "x");
    const std::int64_t after = std::time(nullptr);
    std::int64_t seconds = 0;
    ASSERT_TRUE(CreationTime(wideName(folder, "caf\xC3\xA9"), &seconds));
    EXPECT_GE(seconds, before - 2);  // file systems keep coarser clocks
    EXPECT_LE(seconds, after + 2);

    seconds = 4711;
    EXPECT_FALSE(CreationTime(wideName(folder, "missing"), &seconds));
    EXPECT_EQ(seconds, 4711);
}

TEST(Platform, OpensForWritingOneWriterAtATime) {
    TemporaryFolder folder;
    folder.Write("f", "former content");
    std::FILE* const first = OpenForWriting(wideName(folder, "f"));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(folder.Read("f"), "");
    std::fwrite("a\r\n", 1, 3, first);
    std::fflush(first);
    EXPECT_EQ(OpenForWriting(wideName(folder, "f")), nullptr);
    EXPECT_EQ(folder.Read("f"), "a\r\n") << "the second writer must leave it whole";
    std::fclose(first);

    std::FILE* const next = OpenForWriting(wideName(folder, "f"));
    ASSERT_NE(next, nullptr);
    std::fclose(next);
    EXPECT_EQ(folder.Read("f"), "");

    EXPECT_EQ(OpenForWriting(wideName(folder, "no/such/folder")), nullptr);
    EXPECT_EQ(OpenForWriting(wideName(folder, "")), nullptr) << "a folder";
}

TEST(PlatformDeathTest, AtUnloadRunsTheLastComerFirst) {
    const auto say = [](void* text) { std::fputs(static_cast<const char*>(text), stderr); };
    const auto sayLater = [](void* text) {
        AtUnload([](void* later) { std::fputs(static_cast<const char*>(later), stderr); },
                 const_cast<char*>(" late comer,"));
        std::fputs(static_cast<const char*>(text), stderr);
    };
    EXPECT_EXIT(
        {
            AtUnload(say, const_cast<char*>(" first"));
            AtUnload(sayLater, const_cast<char*>(" second,"));
            AtUnload(say, const_cast<char*>("third,"));
            std::exit(0);
        },
        testing::ExitedWithCode(0), "third, second, late comer, first");
}
