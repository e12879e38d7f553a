// The formatters of texts, as far as this compiler has what they are for.
#if __has_include(<fmt/format.h>)
#define FMT_HEADER_ONLY
#include <fmt/format.h>
#endif

#include <morvel/text/TextTools.h>
#include <tests/support/Test.h>

TEST(Format, WritesTextsAsUtf8ByTheRulesOfStrings) {
#if !defined(FMT_VERSION) && !defined(__cpp_lib_format)
    GTEST_SKIP() << "this compiler has no std::format, and fmt isn't installed";
#endif
    const NString name("Zo\xEB", EncodingLatin1);
    const std::string expected = "Zo\xC3\xAB|  Zo\xC3\xAB|Zo*";
#if defined(FMT_VERSION)
    EXPECT_EQ(fmt::format("{}|{:>5}|{:*<3.2}", name, name, name), expected);
#endif
#if defined(__cpp_lib_format)
    EXPECT_EQ(std::format("{}|{:>5}|{:*<3.2}", name, name, name), expected);
#endif
}
