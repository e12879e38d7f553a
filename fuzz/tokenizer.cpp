// Text taken apart at separators, against the rules told in NStringTokenizer.h.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include <morvel/text/NStringTokenizer.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

std::vector<std::string> split(const std::string& text, const std::string& separators,
                               std::uint32_t options) {
    std::vector<std::string> tokens;
    for (std::size_t begin = 0; begin <= text.size() && !text.empty();) {
        const std::size_t end = std::min(text.find_first_of(separators, begin), text.size());
        std::string token = text.substr(begin, end - begin);
        if ((options & TOK_TRIM) != 0) {
            static const char space[] = " \t\n\v\f\r";
            token.erase(0, token.find_first_not_of(space));
            token.erase(token.find_last_not_of(space) + 1);
        }
        if (!token.empty() || options == 0) tokens.push_back(token);
        begin = end + 1;
    }
    return tokens;
}

void expectTokens(const NStringTokenizer& tokenizer, const NString& text, const NString& separators,
                  std::uint32_t options) {
    const std::vector<std::string> expected = split(text.Data(), separators.Data(), options);
    Expect(tokenizer.Encoding() == text.Encoding(), "the encoding is that of the text");
    Expect(tokenizer.Count() == expected.size(), "as many tokens as the rules give");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ExpectEqual(tokenizer.Token(i), expected[i], "the token that the rules give");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto encoding = static_cast<NStringEncoding>(input.ConsumeIntegralInRange(0, 5));
    const auto options = input.ConsumeIntegralInRange<std::uint32_t>(0, 3);
    const NString separators = fuzz::WithBytes(input.ConsumeRandomLengthString(4), EncodingLatin1);
    const NString text = fuzz::WithBytes(input.ConsumeRemainingBytesAsString(), encoding);

    // Each splitting brings the separators to the encoding of the text, and UTF-8 that is brought
    // to UTF-8 ends at its first NUL.
    NString once(separators), twice(separators);
    once.ConvertTo(encoding);
    twice.ConvertTo(encoding);
    twice.ConvertTo(encoding);
    const NStringTokenizer made(text, separators, options), copy(made);
    expectTokens(made, text, once, options);
    expectTokens(copy, text, twice, options);
    return 0;
}
