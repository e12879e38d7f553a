// The formatter for fmt; docs/recipes/cpp20.md shows that of the standard library.
#define FMT_HEADER_ONLY
#include <fmt/format.h>
#include <morvel/files/NPath.h>
#include <morvel/text/TextTools.h>
#include <tests/support/Test.h>

TEST(Format, WritesTextsAsUtf8ByTheRulesOfStrings) {
    const NString name("Zo\xEB", EncodingLatin1);
    EXPECT_EQ(fmt::format("{}|{:>5}|{:*<3.2}", name, NPath(name), name),
              "Zo\xC3\xAB|  Zo\xC3\xAB|Zo*");
}
