// Storage, construction and assignment. Covered by NStringTest.
#include <morvel/text/NString.h>

#include <cstring>
#include <string_view>
#include <utility>

#include <morvel/platform/platform.h>
#include <morvel/text/ByteOrderMark.h>
#include <morvel/text/Conversion.h>

using morvel::BomOf;
using morvel::ByteOrderMark;

namespace {

std::string _utf8FromWide(const NWideChar* text) {
    return morvel::platform::NarrowFromWide(text, morvel::platform::CodePageUtf8);
}

// A NUL-terminated wide text behind a byte pointer, which may have any alignment.
std::string _utf8FromWideBytes(const char* bytes) {
    const char* end = bytes;
    for (NWideChar unit; std::memcpy(&unit, end, sizeof unit), unit != 0;) end += sizeof unit;
    return _utf8FromWide(
        morvel::WideFromBytes({bytes, static_cast<std::size_t>(end - bytes)}).c_str());
}

std::string_view _countedText(const unsigned char* counted) {
    const std::string_view all(reinterpret_cast<const char*>(counted + 1), *counted);
    return all.substr(0, all.find('\0'));
}

std::string _withoutBom(std::string_view bytes) {
    return std::string(bytes.substr(BomOf(bytes).length));
}

}  // namespace

NString::NString() = default;

NString::NString(NStringEncoding encoding) : _encoding(encoding) {}

NString::NString(const NString& other)
    : NBaseObject(), _data(other._data), _encoding(other._encoding) {}

NString::NString(NString&& other) noexcept
    : _data(std::move(other._data)), _encoding(other._encoding) {
    other._data.clear();
}

NString::NString(const std::string& text) : NString(text, EncodingSystem) {}

NString::NString(const std::string& text, NStringEncoding fallback)
    : _data(_withoutBom(text)), _encoding(fallback) {
    const ByteOrderMark bom = BomOf(text);
    if (bom.length != 0) _encoding = bom.encoding;
    if (_encoding == EncodingUTF8) NString::Normalize(FormNFC);
}

NString::NString(const NWideString& text) : _encoding(EncodingUTF8) {
    const bool swappedBom = !text.empty() && text.front() == 0xFFFE;
    _data = _utf8FromWide(text.c_str() + (swappedBom ? 1 : 0));
}

NString::NString(const NWideChar* text) : _data(_utf8FromWide(text)), _encoding(EncodingUTF8) {}

NString::NString(const char* text) {
    if (text == nullptr) return;
    const std::string_view bytes(text);
    const ByteOrderMark bom = BomOf(bytes);
    if (bom.encoding == EncodingUTF16) {
        _data = _utf8FromWideBytes(text + bom.length);
        _encoding = EncodingUTF8;
        return;
    }
    _data = bytes.substr(bom.length);
    _encoding = bom.encoding;
    if (_encoding == EncodingUTF8) NString::Normalize(FormNFC);
}

NString::NString(const char* text, NStringEncoding encoding) : _encoding(encoding) {
    if (encoding == EncodingUTF16) {
        _data = _utf8FromWideBytes(text);
        _encoding = EncodingUTF8;
        return;
    }
    _data = _withoutBom(text);
    if (encoding == EncodingUTF8) NString::Normalize(FormNFC);
}

NString::NString(const unsigned char* counted)
    : NString(counted, BomOf(_countedText(counted)).encoding) {}

NString::NString(const unsigned char* counted, NStringEncoding encoding)
    : _data(_withoutBom(_countedText(counted))), _encoding(encoding) {
    if (encoding == EncodingUTF8) NString::Normalize(FormNFC);
}

NString::~NString() = default;

NString& NString::operator=(const NString& other) {
    _data = other._data;
    _encoding = other._encoding;
    _cache.clear();
    return *this;
}

// The other assignments reach the one above through the virtual table: a subclass sees them all.

NString& NString::operator=(const std::string& text) {
    return *this = NString(text);
}

NString& NString::operator=(const unsigned char* counted) {
    return *this = NString(counted);
}

NString& NString::operator=(const char* text) {
    return *this = NString(text);
}

void NString::SetData(const unsigned char* counted, NStringEncoding encoding) {
    *this = NString(counted, encoding);
}

void NString::SetData(const char* text, NStringEncoding encoding) {
    *this = NString(text, encoding);
}

void NString::SetData(const std::string& text, NStringEncoding fallback) {
    *this = NString(text, fallback);
}

void NString::SetData(const unsigned char* counted) {
    *this = NString(counted);
}

void NString::SetData(const NWideChar* text) {
    *this = NString(text);
}

void NString::SetData(const char* text) {
    *this = NString(text);
}

void NString::SetData(const NWideString& text) {
    *this = NString(text);
}

void NString::SetData(const std::string& text) {
    *this = NString(text);
}

void NString::SetBytes(const char* bytes, std::size_t length, NStringEncoding encoding) {
    _data.assign(bytes, length);
    _encoding = encoding;
    _cache.clear();
    if (encoding == EncodingUTF8) Normalize(FormNFC);
}

void NString::SetBytes(const NWideChar* chars, std::size_t count) {
    *this = NString(NWideString(chars, count));
}

void NString::SetBytes(const char* bytes, std::size_t length) {
    *this = NString(std::string(bytes, length));
}
