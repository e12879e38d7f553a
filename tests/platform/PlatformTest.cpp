#include <morvel/platform/platform.h>

#include <cstdio>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::platform;
using morvel::test::OnWindows;

namespace {

const UnloadMark behindTheTests;

NWideString wide(const std::u32string& text) {
    NWideString units;
    for (const char32_t c : text) {
        if (c > 0xFFFF) units += static_cast<NWideChar>(0xD7C0 + (c >> 10));
        units += static_cast<NWideChar>(c > 0xFFFF ? 0xDC00 + (c & 0x3FF) : c);
    }
    return units;
}

// Releases of Windows differ in how many replacement characters there are in a row.
NWideString joined(NWideString text) {
    const auto both = [](NWideChar a, NWideChar b) { return a == 0xFFFD && b == 0xFFFD; };
    if (OnWindows) text.erase(std::unique(text.begin(), text.end(), both), text.end());
    return text;
}

}  // namespace

TEST(Platform, ConvertsEveryCharacterBothWays) {
    for (char32_t c = 1; c < 0x110000; c = c == 0xD7FF ? 0xE000 : c + 1) {
        const NWideString text = wide({c});
        const std::string narrow = NarrowFromWide(text.c_str(), CodePageUtf8);
        ASSERT_EQ(narrow.size(), c < 0x80 ? 1u : c < 0x800 ? 2u : c < 0x10000 ? 3u : 4u);
        ASSERT_EQ(WideFromNarrow(narrow.c_str(), CodePageUtf8), text) << std::hex << c;
    }
    EXPECT_EQ(NarrowFromWide(wide(U"\u20AC\U0001F600").c_str(), CodePageUtf8), "\u20AC\U0001F600");
}

// The samples from UTF-8 are those of the Unicode Standard, 3.9, tables 3-8 to 3-11: one U+FFFD for
// each longest prefix of a character.
TEST(Platform, MalformedTextBecomesReplacementCharacters) {
    const char32_t X = 0xFFFD;
    const struct {
        const char* narrow;
        std::u32string wide;
    } rows[] = {
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", {X, X, X, X, X, X, X, X, 'A'}},
        {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", {X, X, X, X, X, X, X, X, 'A'}},
        {"\xF4\x91\x92\x93\xFF\x41\x80\xBF", {X, X, X, X, X, 'A', X, X}},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", {X, X, X, X, 'A'}},
        {"a\xE2\x82", {'a', X}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(joined(WideFromNarrow(row.narrow, CodePageUtf8)), joined(wide(row.wide)));
    }
    const std::u32string lone[] = {
        {0xD83D, 0xE000}, {0xDE00, 0xD83D}, {0xD83D, 0x1F600}, {'a', 0, 'b'}};
    const char* const narrow[] = {"\uFFFD\uE000", "\uFFFD\uFFFD", "\uFFFD\U0001F600", "a"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(NarrowFromWide(wide(lone[i]).c_str(), CodePageUtf8), narrow[i]);
    }
    if (!OnWindows) {  // where the system's encoding is UTF-8
        EXPECT_EQ(WideFromNarrow("\xC3\xA9 \xC3\xC3\xA9 \xFF", CodePageSystem),
                  wide(U"\u00E9 ?\u00E9 ?"));
        EXPECT_EQ(NarrowFromWide(wide(U"\u00E9").c_str(), CodePageSystem), "\u00E9");
        EXPECT_EQ(NarrowFromWide(wide(U"text").c_str(), 1252), "");
        EXPECT_EQ(WideFromNarrow("text", 1252), wide(U""));
    }
}

TEST(Platform, OpensForWritingOneWriterAtATime) {
    const morvel::test::TemporaryFolder folder;
    const NWideString name = WideFromNarrow(folder.File("f").c_str(), CodePageUtf8);
    for (const char* const former : {"former content", "a\r\n"}) {
        folder.Write("f", former);
        std::FILE* const stream = OpenForWriting(name);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(folder.Read("f"), "");
        std::fwrite("a\r\n", 1, 3, stream);
        std::fflush(stream);
        EXPECT_EQ(OpenForWriting(name), nullptr);
        EXPECT_EQ(folder.Read("f"), "a\r\n") << "the second writer must leave it whole";
        std::fclose(stream);
    }
    EXPECT_EQ(OpenForWriting(WideFromNarrow(folder.File("").c_str(), CodePageUtf8)), nullptr);
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
