#pragma once

#include <cstddef>
#include <string_view>

#include <morvel/text/NString.h>

// Internal: byte-order marks.
namespace morvel {

constexpr std::string_view Utf8Bom = "\xEF\xBB\xBF";
constexpr std::string_view Utf16Bom = "\xFF\xFE";

/// A byte-order mark at the head of a text; `length` is 0 where there is none.
struct ByteOrderMark {
    std::size_t length;
    NStringEncoding encoding;
};

inline ByteOrderMark BomOf(std::string_view text) {
    if (text.substr(0, Utf8Bom.size()) == Utf8Bom) return {Utf8Bom.size(), EncodingUTF8};
    if (text.substr(0, Utf16Bom.size()) == Utf16Bom) return {Utf16Bom.size(), EncodingUTF16};
    return {0, EncodingSystem};
}

}  // namespace morvel
