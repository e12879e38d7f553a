#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <morvel/text/NString.h>

#if defined(__has_include)
#if __has_include(<version>)
#include <version>
#endif
#endif
#if defined(__cpp_lib_format)
#include <concepts>
#include <format>
#endif

/// @file
/// Companions of NString: what programs do with texts all the time, on its public operations alone.
/// Where the compiler has C++20's std::format, a text or a path can be an argument of it:
/// `std::format("{:>20}", text)`. For fmt there is FmtTools.h,
/// which comes along where fmt's header was included before this one.
///
/// @failure Nothing but std::bad_alloc is thrown.
/// @threads Each works on copies and only reads its arguments: any number of threads may pass the
/// same text.
/// @encoding UTF-8 is what std::string and std::string_view hold, unless an argument says
/// otherwise.
/// @cost Linear in the text, with one or two copies of it.
namespace morvel {

/// A copy of the text as UTF-8 in NFC. NULs stay, unlike in NString::ConvertTo, which ends UTF-8 at
/// the first one. What is malformed becomes '?', but for malformed text that is UTF-8 already: that
/// stays as it is. Costs one or two copies of the text.
[[nodiscard]] MORVEL_API std::string Utf8(const NString& text);

/// The text of these bytes of UTF-8, in NFC. A byte-order mark at the head stays a character, NULs
/// and malformed sequences stay too.
///
///     FromUtf8(argument) == NString("Zo\xC3\xAB", EncodingUTF8)
[[nodiscard]] MORVEL_API NString FromUtf8(std::string_view bytes);

#if defined(__cpp_char8_t)
/// The same for a literal such as u8"Zoë", which is no std::string from C++20 on.
[[nodiscard]] inline NString FromUtf8(std::u8string_view text) {
    return FromUtf8(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()));
}
#endif

/// Texts as keys: two that read the same are one key, whatever their encodings and forms. `==` of
/// NString converts one side only and is no equivalence, which is why there is no std::hash of it.
///
///     std::unordered_map<NString, int, morvel::NStringHash, morvel::NStringEqual> counts;
///     std::map<NString, int, morvel::NStringLess> sorted;  // by code points
///
/// Each call converts its texts as Utf8 does: keep keys in UTF-8.
struct NStringHash {
    /// Of the text as Utf8 gives it.
    std::size_t operator()(const NString& text) const {
        return std::hash<std::string>()(Utf8(text));
    }
};

/// Whether two texts read the same; see NStringHash.
struct NStringEqual {
    /// Compares what Utf8 gives of both.
    bool operator()(const NString& a, const NString& b) const { return Utf8(a) == Utf8(b); }
};

/// The order of texts by code points; see NStringHash.
struct NStringLess {
    /// Compares what Utf8 gives of both.
    bool operator()(const NString& a, const NString& b) const { return Utf8(a) < Utf8(b); }
};

/// Offset, in bytes, of the first place where the bytes aren't text in the encoding of their tag: a
/// byte above 7F in ASCII, a broken sequence in UTF-8, a lone surrogate or an odd byte in UTF-16.
/// Nothing if there is none; 0 under a tag that is no encoding. A NUL is a character.
[[nodiscard]] MORVEL_API std::optional<std::size_t> FindMalformed(const NString& text);

/// Whether there is no such place. Ask this of text from outside before it is converted, since a
/// conversion makes '?' of what it can't read.
[[nodiscard]] inline bool IsWellFormed(const NString& text) {
    return !FindMalformed(text);
}

/// Whether ConvertTo(encoding) keeps every character: false where one would become '?' (or, on
/// Windows, a character that looks alike), where the text isn't well formed, and where a NUL would
/// cut it short.
///
///     CanConvert(FromUtf8("10 \xE2\x82\xAC"), EncodingLatin1)  // false: it would be "10 ?"
[[nodiscard]] MORVEL_API bool CanConvert(const NString& text, NStringEncoding encoding);

/// The text of a file or a message: a byte-order mark of UTF-8 or of UTF-16 in either byte order
/// says how the bytes are to be read and is taken off; without one they are `fallback`. UTF-8 is
/// brought to NFC, NULs stay.
[[nodiscard]] MORVEL_API NString Decode(std::string_view bytes, NStringEncoding fallback);

/// How many characters a reader sees: extended grapheme clusters (Unicode Standard Annex 29), so
/// that a letter with its combining marks, a flag and a family of emoji count as one each. Linear
/// in the length.
[[nodiscard]] MORVEL_API std::size_t CountCharacters(const NString& text);

}  // namespace morvel

#if defined(__cpp_lib_format)
/// std::format("{:>20}", text): the text as UTF-8, by the rules for std::string.
template <std::derived_from<NString> Text>
struct std::formatter<Text, char> : std::formatter<std::string> {
    /// Writes the text as UTF-8.
    template <class Context>
    auto format(const NString& text, Context& context) const {
        return std::formatter<std::string>::format(morvel::Utf8(text), context);
    }
};
#endif

#if defined(FMT_VERSION)  // the program has fmt, and included it first
#include <morvel/text/FmtTools.h>
#endif
