#include <string>
#include <vector>

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvel/text/NStringTokenizer.h>

namespace {

using namespace std::string_literals;
using Tokens = std::vector<std::string>;

Tokens _tokens(const NStringTokenizer& tokenizer) {
    Tokens tokens;
    for (std::size_t i = 0; i < tokenizer.Count(); ++i) tokens.push_back(tokenizer.Token(i));
    return tokens;
}

TEST(NStringTokenizer, SplitsAtEachSeparatorByte) {
    const struct {
        const char* why;
        std::string text, separators;
        std::uint32_t options;
        Tokens expected;
    } rows[] = {
        {"nothing to split", "", ",", 0, {}},
        {"no separator met", "abc", ",", 0, {"abc"}},
        {"no separators", "a,b", "", 0, {"a,b"}},
        {"a set of separators", "a,b;c", ";,", 0, {"a", "b", "c"}},
        {"empty tokens are kept", "a,,b", ",", 0, {"a", "", "b"}},
        {"also at the end", "a,", ",", 0, {"a", ""}},
        {"or dropped", ",a,,b,", ",", TOK_IGNORE_EMPTY, {"a", "b"}},
        {"blanks are kept", " a , ,b", ",", TOK_IGNORE_EMPTY, {" a ", " ", "b"}},
        {"or trimmed, which drops what is empty then", " a\t, ,,b", ",", TOK_TRIM, {"a", "b"}},
        {"as with both", " a\t, ,,b", ",", TOK_TRIM | TOK_IGNORE_EMPTY, {"a", "b"}},
        {"NUL separates as any byte", "a\0b"s, "\0"s, 0, {"a", "b"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const NStringTokenizer tokenizer(NString(row.text, EncodingLatin1),
                                         NString(row.separators, EncodingLatin1), row.options);
        EXPECT_EQ(_tokens(tokenizer), row.expected);
        EXPECT_EQ(tokenizer.Encoding(), EncodingLatin1);
    }
}

TEST(NStringTokenizer, BringsTheSeparatorsToTheEncodingOfTheText) {
    const struct {
        const char* why;
        NString text, separators;
        Tokens expected;
    } rows[] = {
        {"UTF-8 for Latin-1",
         NString("a\xE9"
                 "b"s,
                 EncodingLatin1),
         NString("\xC3\xA9"s, EncodingUTF8),
         {"a", "b"}},
        {"its two bytes separate each for themselves",
         NString("a\xC3\xA9"
                 "b\xC3\xA8"
                 "c"s,
                 EncodingUTF8),
         NString("\xE9"s, EncodingLatin1),
         {"a", "", "b",
          "\xA8"
          "c"}},
        {"refused, so the bytes stay",
         NString("a,b"s, NStringEncoding(6)),
         NString(","s, EncodingLatin1),
         {"a", "b"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const NStringTokenizer tokenizer(row.text, row.separators, 0);
        EXPECT_EQ(_tokens(tokenizer), row.expected);
        EXPECT_EQ(tokenizer.Encoding(), row.text.Encoding());
    }
}

TEST(NStringTokenizer, TokensAreWritableAndChecked) {
    NStringTokenizer tokenizer(NString("a,b"), NString(","), 0);
    tokenizer.Token(0) = "changed";
    EXPECT_EQ(_tokens(tokenizer), (Tokens{"changed", "b"}));
    EXPECT_THROW(tokenizer.Token(2), Poco::RangeException);
}

TEST(NStringTokenizer, CopiesSplitAnew) {
    NStringTokenizer tokenizer(NString("a, b"s, EncodingLatin9), NString(","), TOK_TRIM);
    tokenizer.Token(0) = "changed";
    NStringTokenizer copy(tokenizer);
    NStringTokenizer assigned(NString("x.y"), NString("."), 0);
    EXPECT_EQ(&(assigned = tokenizer), &assigned);
    for (const NStringTokenizer* other : {&copy, &assigned}) {
        EXPECT_EQ(_tokens(*other), (Tokens{"a", "b"}));
        EXPECT_EQ(other->Encoding(), EncodingLatin9);
    }
    const NStringTokenizer& self = tokenizer;
    tokenizer = self;
    EXPECT_EQ(_tokens(tokenizer), (Tokens{"a", "b"}));
    tokenizer.Assign(NString("1;2;;3"s, EncodingUTF8), NString(";"), 0);
    EXPECT_EQ(_tokens(tokenizer), (Tokens{"1", "2", "", "3"}));
    EXPECT_EQ(tokenizer.Encoding(), EncodingUTF8);
    EXPECT_EQ(_tokens(copy), (Tokens{"a", "b"}));
}

}  // namespace
