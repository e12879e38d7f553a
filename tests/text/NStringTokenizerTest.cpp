#include <Poco/Exception.h>

#include <morvel/text/NStringTokenizer.h>
#include <tests/support/Text.h>

namespace {

using Tokens = std::vector<std::string>;

Tokens _tokens(const NStringTokenizer& tokenizer) {
    Tokens tokens;
    for (std::size_t i = 0; i < tokenizer.Count(); ++i) tokens.push_back(tokenizer.Token(i));
    return tokens;
}

}  // namespace

TEST(NStringTokenizer, SplitsAtEachByteThatTheSeparatorsHaveInItsEncoding) {
    const std::tuple<const char*, NString, NString, std::uint32_t, Tokens> rows[] = {
        {"nothing to split", Raw("", Latin1), ",", 0, {}},
        {"empty tokens are kept", Raw("a,,b;", Latin1), ";,", 0, {"a", "", "b", ""}},
        {"or dropped", Raw(",a, ,,b,", Latin1), ",", TOK_IGNORE_EMPTY, {"a", " ", "b"}},
        {"which trimming implies", Raw(" a\t, ,,b", Latin1), ",", TOK_TRIM, {"a", "b"}},
        {"NUL separates as any byte", Raw("a\0b"s, Latin1), Raw("\0"s, Latin1), 0, {"a", "b"}},
        {"two bytes", Raw("a\xC3\xA9z\xC3!", Utf8), Raw("\xE9", Latin1), 0, {"a", "", "z", "!"}},
        {"refused, so the bytes stay", Raw("a,b", NoTag), ",", 0, {"a", "b"}},
    };
    for (const auto& [why, text, separators, options, expected] : rows) {
        SCOPED_TRACE(why);
        const NStringTokenizer tokenizer(text, separators, options);
        EXPECT_EQ(_tokens(tokenizer), expected);
        EXPECT_EQ(tokenizer.Encoding(), text.Encoding());
    }
}

TEST(NStringTokenizer, TokensAreWritableAndCopiesSplitAnew) {
    NStringTokenizer tokenizer(NString("a, b"s, Latin9), NString(","), TOK_TRIM), copy(tokenizer);
    tokenizer.Token(0) = "changed";
    EXPECT_EQ(_tokens(tokenizer), (Tokens{"changed", "b"}));
    EXPECT_THROW(tokenizer.Token(2), Poco::RangeException);
    EXPECT_EQ(_tokens(copy), (Tokens{"a", "b"}));

    copy.Assign(NString("1;2;;3"s, Utf8), NString(";"), 0);
    EXPECT_EQ(_tokens(copy), (Tokens{"1", "2", "", "3"}));
    EXPECT_EQ(&(copy = tokenizer), &copy);
    tokenizer = std::as_const(tokenizer);
    EXPECT_EQ(_tokens(tokenizer), (Tokens{"a", "b"}));
    EXPECT_EQ(_tokens(copy), (Tokens{"a", "b"}));
    EXPECT_EQ(copy.Encoding(), Latin9);
}
