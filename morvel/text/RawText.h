#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <morvel/text/NString.h>
#include <morvel/text/NfcQuickCheck.h>

// Internal: what NString and those around it need to know about raw bytes.
namespace morvel {

/// A byte-order mark at the head of a text; `length` is 0 where there is none.
struct ByteOrderMark {
    std::size_t length;
    NStringEncoding encoding;
};

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view Utf16Mark = "\xFF\xFE";

inline ByteOrderMark MarkOf(std::string_view text) {
    if (text.substr(0, Utf8Mark.size()) == Utf8Mark) return {Utf8Mark.size(), EncodingUTF8};
    if (text.substr(0, Utf16Mark.size()) == Utf16Mark) return {Utf16Mark.size(), EncodingUTF16};
    return {0, EncodingSystem};
}

/// Bytes, at any address, as wide units; an odd last byte is left out.
inline NWideString WideFromBytes(const char* bytes, std::size_t length) {
    NWideString wide(length / sizeof(NWideChar), NWideChar());
    if (!wide.empty()) std::memcpy(&wide[0], bytes, wide.size() * sizeof(NWideChar));
    return wide;
}

inline std::string BytesFromWide(const NWideString& wide) {
    return std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(NWideChar));
}

/// Whether ConvertTo(encoding) is certain to leave the bytes of a copy of `text` as they are.
inline bool KeepsItsBytes(const NString& text, NStringEncoding encoding) {
    const NStringEncoding own = text.Encoding();
    if (own == encoding) return encoding != EncodingUTF8 || NfcQuickCheck(text.Data());
    return own != EncodingUTF16 && encoding != EncodingUTF16 && IsAscii(text.Data());
}

}  // namespace morvel
