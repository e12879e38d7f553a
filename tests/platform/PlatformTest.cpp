#include <morvel/platform/platform.h>

#include <cstdio>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

namespace {

const UnloadMark behindTheTests;

NWideString wide(std::initializer_list<unsigned> units) {
    return NWideString(units.begin(), units.end());
}

const bool onWindows = sizeof(NativeName::value_type) == 2;

NWideString withRunsJoined(NWideString text) {
    const auto both = [](NWideChar a, NWideChar b) { return a == 0xFFFD && b == 0xFFFD; };
    if (onWindows) text.erase(std::unique(text.begin(), text.end(), both), text.end());
    return text;
}

NWideString wideName(const TemporaryFolder& folder, const std::string& name) {
    return WideFromNarrow(folder.File(name).c_str(), CodePageUtf8);
}

}  // namespace

TEST(Platform, ConvertsEveryCharacterBothWays) {
    for (unsigned c = 1; c < 0x110000; c = c == 0xD7FF ? 0xE000 : c + 1) {
        const NWideString text =
            c < 0x10000 ? wide({c}) : wide({0xD7C0 + (c >> 10), 0xDC00 + (c & 0x3FF)});
        const std::string narrow = NarrowFromWide(text.c_str(), CodePageUtf8);
        ASSERT_EQ(narrow.size(), c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u);
        ASSERT_EQ(WideFromNarrow(narrow.c_str(), CodePageUtf8), text) << std::hex << c;
    }
    EXPECT_EQ(NarrowFromWide(wide({0x20AC, 0xD83D, 0xDE00}).c_str(), CodePageUtf8),
              "\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Platform, LoneSurrogatesBecomeReplacementCharacters) {
    const auto narrow = [](std::initializer_list<unsigned> units) {
        return NarrowFromWide(wide(units).c_str(), CodePageUtf8);
    };
    const std::string X = "\xEF\xBF\xBD";
    EXPECT_EQ(narrow({'a', 0xD83D}), "a" + X);
    EXPECT_EQ(narrow({0xD83D, 0xE000}), X + "\xEE\x80\x80");
    EXPECT_EQ(narrow({0xD83D, 0xD83D, 0xDE00}), X + "\xF0\x9F\x98\x80");
    EXPECT_EQ(narrow({0xDE00, 0xD83D}), X + X);
    EXPECT_EQ(narrow({'a', 0, 0xD83D}), "a");  // nothing behind a NUL
}

// The samples are those of the Unicode Standard, 3.9, tables 3-8 to 3-11: one U+FFFD for each
// longest piece that could have begun a character.
TEST(Platform, MalformedUtf8BecomesReplacementCharacters) {
    // Releases of Windows differ in how many there are in a row.
    const auto read = [](const char* text) {
        return withRunsJoined(WideFromNarrow(text, CodePageUtf8));
    };
    const auto wide = [](std::initializer_list<unsigned> units) {
        return withRunsJoined(::wide(units));
    };
    const unsigned X = 0xFFFD;
    EXPECT_EQ(read("\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41"), wide({X, X, X, X, X, X, X, X, 'A'}));
    EXPECT_EQ(read("\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41"), wide({X, X, X, X, X, X, X, X, 'A'}));
    EXPECT_EQ(read("\xF4\x91\x92\x93\xFF\x41\x80\xBF"), wide({X, X, X, X, X, 'A', X, X}));
    EXPECT_EQ(read("\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41"), wide({X, X, X, X, 'A'}));
    EXPECT_EQ(read("a\xE2\x82"), wide({'a', X}));
}

TEST(Platform, ComparesWithAsciiLettersFolded) {
    // Wine's C runtime, unlike that of Windows, takes bytes for signed here.
    const bool isSigned = onWindows && CompareNoCase("\x80", "a") < 0;
    const auto fold = [&](int c) {
        return c >= 'A' && c <= 'Z' ? c + 32 : isSigned && c > 127 ? c - 256 : c;
    };
    const auto sign = [](int value) { return (value > 0) - (value < 0); };
    for (int a = 1; a < 256; ++a) {
        for (int b = 1; b < 256; ++b) {
            const char left[] = {'x', static_cast<char>(a), 0};
            const char right[] = {'X', static_cast<char>(b), 0};
            const int expected = sign(fold(a) - fold(b));
            ASSERT_EQ(sign(CompareNoCase(left, right)), expected) << a << ' ' << b;
            ASSERT_EQ(sign(CompareNoCase(left, right, 2)), expected) << a << ' ' << b;
        }
    }
}

TEST(Platform, KnowsTheRunningProgram) {
    const std::filesystem::path path = ExecutablePath();
    EXPECT_TRUE(path.is_absolute() && std::filesystem::exists(path));
    EXPECT_EQ(path.stem(), "PlatformTest");
}

TEST(Platform, OpensForWritingOneWriterAtATime) {
    const TemporaryFolder folder;
    folder.Write("f", "former content");
    for (const char* former : {"former content", "a\r\n"}) {
        EXPECT_EQ(folder.Read("f"), former);
        std::FILE* const stream = OpenForWriting(wideName(folder, "f"));
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(folder.Read("f"), "");
        std::fwrite("a\r\n", 1, 3, stream);
        std::fflush(stream);
        EXPECT_EQ(OpenForWriting(wideName(folder, "f")), nullptr);
        EXPECT_EQ(folder.Read("f"), "a\r\n") << "the second writer must leave it whole";
        std::fclose(stream);
    }
    EXPECT_EQ(OpenForWriting(wideName(folder, "no/such/folder")), nullptr);
    EXPECT_EQ(OpenForWriting(wideName(folder, "")), nullptr) << "a folder";
}

TEST(PlatformDeathTest, AtUnloadRunsTheLastComerFirstInOneListWithStaticObjects) {
    struct Talker {
        ~Talker() { std::fputs("static object, ", stderr); }
    };
    const auto say = [](void* text) { std::fputs(static_cast<const char*>(text), stderr); };
    const auto sayLater = [](void*) {
        AtUnload([](void*) { std::fputs("late comer, ", stderr); }, nullptr);
        std::fputs("second, ", stderr);
    };
    char first[] = "first", third[] = "third, ";
    EXPECT_EXIT(
        {
            AtUnload(say, first);
            static const Talker talker;
            static const UnloadMark behindTheTalker;
            AtUnload(sayLater, nullptr);
            AtUnload(say, third);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "third, second, late comer, static object, first");
}
