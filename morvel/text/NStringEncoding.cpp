// Between encodings and forms: conversion, normalisation, exports, URL escapes, Base64. Covered by
// NStringTest and ConversionTest.
#include <morvel/text/NString.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <utility>

#include <Poco/Base64Decoder.h>
#include <Poco/URI.h>

#include <morvel/platform/platform.h>
#include <morvel/text/ByteOrderMark.h>
#include <morvel/text/Conversion.h>
#include <morvel/text/NfcQuickCheck.h>
#include <morvel/text/Normalization.h>

namespace platform = morvel::platform;

namespace {

// Converts `text`, the system's narrow encoding by way of wide text as the platform has it. False
// where either encoding is none.
bool _transcode(const std::string& text, NStringEncoding from, NStringEncoding to,
                std::string* out) {
    if (from == EncodingSystem) {
        const NWideString wide = NString::StringToWide(text, platform::CodePageSystem);
        return _transcode(morvel::BytesFromWide(wide), EncodingUTF16, to, out);
    }
    if (to != EncodingSystem) return morvel::Transcode(text, from, to, out);
    std::string bytes;
    if (!morvel::Transcode(text, from, EncodingUTF16, &bytes)) return false;
    const NWideString wide = morvel::WideFromBytes(bytes);
    *out = platform::NarrowFromWide(wide.c_str(), platform::CodePageSystem);
    return true;
}

std::int32_t _codePage(std::int32_t codePage) {
    return codePage < 0 ? platform::CodePageUtf8 : codePage;
}

// `text` with the byte-order mark of `encoding`, if that has one, in place of any that stands
// there.
std::string _withBom(std::string text, NStringEncoding encoding) {
    text.erase(0, morvel::BomOf(text).length);
    if (text.empty()) return text;
    if (encoding == EncodingUTF8) text.insert(0, morvel::Utf8Bom);
    if (encoding == EncodingUTF16) text.insert(0, morvel::Utf16Bom);
    return text;
}

// The bytes that a URL query may hold as they are, but for the tilde, which older readers don't
// expect.
bool _isUnreserved(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '.' || c == '_';
}

constexpr char Base64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string _base64(const unsigned char* bytes, std::size_t count) {
    std::string digits((count + 2) / 3 * 4, '=');
    char* to = digits.data();
    while (count > 0) {
        const std::size_t taken = std::min<std::size_t>(count, 3);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (i < taken ? bytes[i] : 0u);
        for (std::size_t i = 0; i <= taken; ++i) to[i] = Base64Digits[group >> (18 - 6 * i) & 63];
        to += 4;
        bytes += taken;
        count -= taken;
    }
    return digits;
}

// The value of each byte as a Base64 digit, -1 for bytes that are none.
struct Base64Values {
    constexpr Base64Values() : of() {
        for (auto& value : of) value = -1;
        for (signed char i = 0; i < 64; ++i) of[static_cast<unsigned char>(Base64Digits[i])] = i;
    }
    signed char of[256];
};
constexpr Base64Values ValuesOfDigits;

// Decodes text that is whole groups of digits and the padding at its end, nothing else.
// False, with anything in `bytes`, for other text: the decoder's own word is needed for that.
bool _decodeWholeGroups(const std::string& digits, std::string* bytes) {
    if (digits.size() % 4 != 0) return false;
    std::size_t count = digits.size();
    while (count > 0 && digits.size() - count < 2 && digits[count - 1] == '=') --count;
    bytes->resize(count * 3 / 4);
    char* to = bytes->data();
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const signed char value = ValuesOfDigits.of[static_cast<unsigned char>(digits[i])];
        if (value < 0) return false;
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (i % 4 != 0) *to++ = static_cast<char>(group >> (6 - i % 4 * 2) & 0xFF);
    }
    return true;
}

}  // namespace

bool NString::ConvertTo(NStringEncoding encoding) {
    if (_encoding == EncodingUTF8) Normalize(FormNFC);
    if (_encoding == encoding) return true;
    if (!morvel::KeepsBytes(_data, _encoding, encoding)) {
        std::string result;
        if (!_transcode(_data, _encoding, encoding, &result)) return false;
        _data = std::move(result);
    }
    _encoding = encoding;
    return true;
}

void NString::Normalize(NStringForm form) {
    if (form == _form) return;
    if (_encoding == EncodingUTF8) morvel::NormalizeText(&_data, form);
    _form = form;  // also where nothing was or could be done
}

void NString::SwapBytes() {
    if (_encoding != EncodingUTF16) return;
    if (_data.size() % 2 != 0) _data += '\0';
    for (std::size_t i = 0; i < _data.size(); i += 2) std::swap(_data[i], _data[i + 1]);
}

const std::string& NString::Converted(NStringEncoding encoding) const {
    // What ConvertTo would do to a copy, without the copy where that can be.
    if (_encoding == EncodingUTF8 && !morvel::NfcQuickCheck(_data)) {
        NString copy(*this);
        copy.ConvertTo(encoding);
        _cache = std::move(copy._data);
    } else if (_encoding == encoding || morvel::KeepsBytes(_data, _encoding, encoding) ||
               !_transcode(_data, _encoding, encoding, &_cache)) {
        _cache = _data;
    }
    return _cache;
}

const char* NString::Data(NStringEncoding encoding) const {
    return Converted(encoding).c_str();
}

std::string NString::DataWithBOM(NStringEncoding encoding) const {
    _cache = _withBom(Converted(encoding), encoding);
    return _cache;
}

std::string NString::DataWithBOM() const {
    _cache = _withBom(_data, _encoding);
    return _cache;
}

NWideString NString::Wide() const {
    return morvel::WithBytesIn(EncodingUTF8, *this, [](const std::string& bytes) {
        return StringToWide(bytes, platform::CodePageUtf8);
    });
}

std::ostream& operator<<(std::ostream& stream, const NString& text) {
    morvel::WithBytesIn(EncodingUTF8, text, [&](const std::string& bytes) { stream << bytes; });
    return stream;
}

NWideString NString::StringToWide(const std::string& text, std::int32_t codePage) {
    codePage = _codePage(codePage);
    if (codePage != platform::CodePageUtf8) return platform::WideFromNarrow(text.c_str(), codePage);
    std::string composed = text;
    if (!morvel::NormalizeText(&composed, FormNFC)) return NWideString();
    return platform::WideFromNarrow(composed.c_str(), codePage);
}

std::string NString::WideToString(const NWideString& text, std::int32_t codePage) {
    return platform::NarrowFromWide(text.c_str(), _codePage(codePage));
}

void NString::UrlEncode() {
    const char* const hex = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(_data.size());
    for (const char c : _data) {
        if (_isUnreserved(c)) {
            encoded += c;
        } else {
            const auto code = static_cast<unsigned char>(c);
            const char escape[] = {'%', hex[code >> 4], hex[code & 15]};
            encoded.append(escape, sizeof escape);
        }
    }
    _data = std::move(encoded);
}

void NString::UrlDecode() {
    std::string decoded;
    Poco::URI::decode(_data, decoded, false);
    _data = std::move(decoded);
}

void NString::EncodeBase64(const unsigned char* bytes, std::uint32_t count) {
    _data = _base64(bytes, count);
}

void NString::EncodeBase64() {
    _data = _base64(reinterpret_cast<const unsigned char*>(_data.data()), _data.size());
}

void NString::DecodeBase64(unsigned char* out, std::uint32_t* count) const {
    *count = 0;
    std::string bytes;
    if (!_decodeWholeGroups(_data, &bytes)) {
        bytes.clear();
        std::istringstream digits(_data);
        Poco::Base64Decoder decoder(digits);
        for (int c = decoder.get(); decoder.good(); c = decoder.get()) {
            bytes += static_cast<char>(c);
        }
    }
    if (out != nullptr) std::copy(bytes.begin(), bytes.end(), out);
    *count = static_cast<std::uint32_t>(bytes.size());
}

void NString::DecodeBase64() {
    std::string bytes;
    if (!_decodeWholeGroups(_data, &bytes)) {
        std::istringstream digits(_data);
        Poco::Base64Decoder decoder(digits);
        // Not operator<< of the buffer: that would swallow what the decoder throws.
        bytes.assign(std::istreambuf_iterator<char>(decoder.rdbuf()), {});
    }
    _data = std::move(bytes);
}
