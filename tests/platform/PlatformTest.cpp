#include <morvel/platform/platform.h>

#include <cstdio>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Text.h>

using namespace morvel::platform;
using namespace morvel::test;

static const UnloadMark behindTheTests;

// What is malformed comes from the Unicode Standard, 3.9, tables 3-8 to 3-11: one replacement for
// each longest prefix of a character.
TEST(Platform, ConvertsUtf8ToWideTextAndBack) {
    if (OnWindows) GTEST_SKIP() << "the system's own conversions";
    const std::string narrow =
        "\x7F\u0080\u07FF\u0800\uD7FB\uE000\uFFFF\U00010000\U0001F600\U0010FFFF";
    const NWideString wide = Wide({0x7F, 0x80, 0x7FF, 0x800, 0xD7FB, 0xE000, 0xFFFF, 0xD800, 0xDC00,
                                   0xD83D, 0xDE00, 0xDBFF, 0xDFFF});
    EXPECT_EQ(NString::StringToWide(narrow, 0), wide);
    EXPECT_EQ(NString::WideToString(wide, 0), narrow);
    const std::pair<const char*, std::string> malformed[] = {
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", "????????A"},
        {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", "????????A"},
        {"\xF4\x91\x92\x93\xFF\x41\x80\xBF", "?????A??"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "????A"},
        {"a\xE2\x82", "a?"},
    };
    for (const auto& [bytes, replaced] : malformed) {
        EXPECT_EQ(NString::StringToWide(bytes, 0), NWideString(replaced.begin(), replaced.end()));
    }
    EXPECT_EQ(WideFromNarrow("\xFF", CodePageUtf8), Wide({0xFFFD}));
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
