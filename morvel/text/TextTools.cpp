#include <morvel/text/TextTools.h>

#include <algorithm>
#include <cstring>

#include <utf8proc.h>

#include <morvel/platform/Codecs.h>
#include <morvel/text/ByteOrderMark.h>

namespace {

// Calls `use` with each part of `bytes` between NULs and joins what it returns by NULs: NString and
// the platform end text at the first one.
template <class Use>
std::string _eachPart(std::string_view bytes, Use use) {
    std::string result;
    std::size_t begin = 0;
    for (;;) {
        const std::size_t end = std::min(bytes.find('\0', begin), bytes.size());
        result += use(bytes.substr(begin, end - begin));
        if (end == bytes.size()) return result;
        result += '\0';
        begin = end + 1;
    }
}

NString _tagged(std::string_view bytes, NStringEncoding encoding) {
    NString text(encoding);
    text.Normalize(FormNFC);  // of nothing; now SetBytes takes the bytes as they are, NULs included
    text.SetBytes(bytes.data(), bytes.size(), encoding);
    return text;
}

std::string _nfc(std::string_view utf8) {
    return _eachPart(utf8, [](std::string_view part) {
        NString text;
        text.SetBytes(part.data(), part.size(), EncodingUTF8);
        return text.Data();
    });
}

// The code point at the head of `bytes` and its length in bytes. A byte that begins none counts as
// U+FFFD by itself.
struct CodePoint {
    utf8proc_int32_t value;
    std::size_t length;
    bool isMalformed;
};
CodePoint _codePoint(std::string_view bytes) {
    utf8proc_int32_t value;
    const utf8proc_ssize_t length =
        utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(bytes.data()),
                         static_cast<utf8proc_ssize_t>(bytes.size()), &value);
    if (length <= 0) return {0xFFFD, 1, true};
    return {value, static_cast<std::size_t>(length), false};
}

std::size_t _malformedInUtf8(std::string_view bytes) {
    std::size_t offset = 0;
    while (offset < bytes.size()) {
        const CodePoint next = _codePoint(bytes.substr(offset));
        if (next.isMalformed) break;
        offset += next.length;
    }
    return offset;
}

// The codec takes any unit from DC00 on for a low surrogate; such a pair comes out otherwise.
std::size_t _malformedInUtf16(const std::string& bytes) {
    const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* const end = begin + bytes.size();
    const unsigned char* p = begin;
    while (end - p > 1) {
        const unsigned char* const at = p;
        const char32_t c = morvel::Utf16Codec::Read(p, end);
        char back[4];
        if (c == morvel::Malformed ||
            std::memcmp(back, at, morvel::Utf16Codec::Write(back, c) - back) != 0) {
            return at - begin;
        }
    }
    return p - begin;
}

// What the code page can't read doesn't come back as it was.
std::size_t _malformedInSystemText(const std::string& bytes) {
    const std::string back = _eachPart(bytes, [](std::string_view part) {
        NString text = _tagged(part, EncodingSystem);
        text.ConvertTo(EncodingUTF16);
        text.ConvertTo(EncodingSystem);
        return text.Data();
    });
    return static_cast<std::size_t>(
        std::mismatch(bytes.begin(), bytes.end(), back.begin(), back.end()).first - bytes.begin());
}

}  // namespace

std::string morvel::Utf8(const NString& text) {
    if (text.Encoding() == EncodingUTF8) return _nfc(text.Data());
    const auto convert = [&](std::string_view bytes) {
        NString converted = _tagged(bytes, text.Encoding());
        converted.ConvertTo(EncodingUTF8);
        return converted.Data();
    };
    if (text.Encoding() == EncodingSystem) return _nfc(_eachPart(text.Data(), convert));
    return _nfc(convert(text.Data()));
}

NString morvel::FromUtf8(std::string_view bytes) {
    return _tagged(_nfc(bytes), EncodingUTF8);
}

std::optional<std::size_t> morvel::FindMalformed(const NString& text) {
    const std::string& bytes = text.Data();
    std::size_t offset = 0;
    switch (text.Encoding()) {
        case EncodingSystem:
            offset = _malformedInSystemText(bytes);
            break;
        case EncodingASCII:
            offset = static_cast<std::size_t>(
                std::find_if(bytes.begin(), bytes.end(),
                             [](unsigned char byte) { return byte >= 0x80; }) -
                bytes.begin());
            break;
        case EncodingLatin1:
        case EncodingLatin9:
            return std::nullopt;
        case EncodingUTF8:
            offset = _malformedInUtf8(bytes);
            break;
        case EncodingUTF16:
            offset = _malformedInUtf16(bytes);
            break;
        default:
            return 0;
    }
    if (offset == bytes.size()) return std::nullopt;
    return offset;
}

bool morvel::CanConvert(const NString& text, NStringEncoding encoding) {
    NString converted(text);
    return IsWellFormed(text) && converted.ConvertTo(encoding) && Utf8(converted) == Utf8(text);
}

NString morvel::Decode(std::string_view bytes, NStringEncoding fallback) {
    if (bytes.substr(0, 2) == "\xFE\xFF") {
        const std::size_t odd = bytes.size() % 2;  // a byte that is half of a unit stays behind
        NString text = _tagged(bytes.substr(2, bytes.size() - 2 - odd), EncodingUTF16);
        text.SwapBytes();
        return odd == 0 ? text : _tagged(text.Data() + bytes.back(), EncodingUTF16);
    }
    const ByteOrderMark bom = BomOf(bytes);
    const NStringEncoding encoding = bom.length != 0 ? bom.encoding : fallback;
    bytes.remove_prefix(bom.length);
    return encoding == EncodingUTF8 ? FromUtf8(bytes) : _tagged(bytes, encoding);
}

std::size_t morvel::CountCharacters(const NString& text) {
    const std::string utf8 = Utf8(text);
    std::string_view rest(utf8);
    std::size_t count = 0;
    utf8proc_int32_t state = 0;
    utf8proc_int32_t former = -1;
    while (!rest.empty()) {
        const CodePoint next = _codePoint(rest);
        if (former < 0 || utf8proc_grapheme_break_stateful(former, next.value, &state)) ++count;
        former = next.value;
        rest.remove_prefix(next.length);
    }
    return count;
}
