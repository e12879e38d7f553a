#pragma once

#include <initializer_list>

#include <morvel/text/NString.h>
#include <tests/support/Test.h>

/// What the tests of text have in common, under names that let a case fit one line.
namespace morvel::test {

constexpr NStringEncoding Sys = EncodingSystem, Ascii = EncodingASCII, Latin1 = EncodingLatin1,
                          Latin9 = EncodingLatin9, Utf8 = EncodingUTF8, Utf16 = EncodingUTF16,
                          NoTag = static_cast<NStringEncoding>(6);

/// In UTF-8: the mark, and a letter with its accent apart and in one.
inline const std::string Mark = "\xEF\xBB\xBF", Decomposed = "e\xCC\x81", Composed = "\xC3\xA9";

inline NWideString Wide(std::initializer_list<int> units) {
    NWideString text;
    for (const int unit : units) text += static_cast<NWideChar>(unit);
    return text;
}

template <class Text>
Text Repeated(const Text& piece, std::size_t count) {
    Text text;
    while (count-- > 0) text += piece;
    return text;
}

/// Just these bytes under this tag, without the look that a constructor takes at them.
inline NString Raw(const std::string& bytes, NStringEncoding encoding) {
    NString text(EncodingLatin1);
    text.Normalize(FormNFC);  // what claims to be composed, SetBytes doesn't compose
    text.SetBytes(bytes.data(), bytes.size(), encoding);
    return NString(text);
}

}  // namespace morvel::test
