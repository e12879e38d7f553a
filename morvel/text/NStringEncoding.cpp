// Between encodings and forms: conversion, normalisation, exports, URL escapes, Base64. Covered by
// NStringEncodingTest.
#include <morvel/text/NString.h>

#include <iterator>
#include <memory>
#include <sstream>
#include <utility>

#include <Poco/ASCIIEncoding.h>
#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Latin1Encoding.h>
#include <Poco/Latin9Encoding.h>
#include <Poco/TextConverter.h>
#include <Poco/URI.h>
#include <Poco/UTF16Encoding.h>
#include <Poco/UTF8Encoding.h>

#include <morvel/platform/platform.h>
#include <morvel/text/Normalization.h>
#include <morvel/text/RawText.h>

namespace platform = morvel::platform;

namespace {

// POCO's reader and writer of the bytes under a tag; null for a value that is no tag. The system's
// narrow encoding is read and written by the platform, with wide text on POCO's side.
std::unique_ptr<Poco::TextEncoding> _pocoEncoding(NStringEncoding encoding) {
    switch (encoding) {
        case EncodingASCII:
            return std::make_unique<Poco::ASCIIEncoding>();
        case EncodingLatin1:
            return std::make_unique<Poco::Latin1Encoding>();
        case EncodingLatin9:
            return std::make_unique<Poco::Latin9Encoding>();
        case EncodingUTF8:
            return std::make_unique<Poco::UTF8Encoding>();
        case EncodingSystem:
        case EncodingUTF16:
            return std::make_unique<Poco::UTF16Encoding>(Poco::UTF16Encoding::NATIVE_BYTE_ORDER);
    }
    return nullptr;
}

bool _isOfBytes(NStringEncoding encoding) {
    return encoding <= EncodingUTF8;
}

std::int32_t _codePage(std::int32_t codePage) {
    return codePage < 0 ? platform::CodePageUtf8 : codePage;
}

// `text` with the mark of `encoding`, if that has one, in place of any that stands there.
std::string _marked(std::string text, NStringEncoding encoding) {
    text.erase(0, morvel::MarkOf(text).length);
    if (text.empty()) return text;
    if (encoding == EncodingUTF8) text.insert(0, morvel::Utf8Mark);
    if (encoding == EncodingUTF16) text.insert(0, morvel::Utf16Mark);
    return text;
}

bool _isBase64Digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '+' ||
           c == '/' || c == '=';
}

std::string _base64(const char* bytes, std::size_t count) {
    std::ostringstream lines;
    Poco::Base64Encoder encoder(lines);
    encoder.write(bytes, static_cast<std::streamsize>(count));
    encoder.close();
    std::string digits;
    for (const char c : lines.str()) {
        if (_isBase64Digit(c)) digits += c;
    }
    return digits;
}

}  // namespace

bool NString::ConvertTo(NStringEncoding encoding) {
    if (_encoding == EncodingUTF8) Normalize(FormNFC);
    if (_encoding == encoding) return true;
    if (_isOfBytes(_encoding) && _isOfBytes(encoding) && morvel::IsAsciiText(_data)) {
        _encoding = encoding;  // the way through the converters would give the same bytes
        return true;
    }

    const std::unique_ptr<Poco::TextEncoding> source = _pocoEncoding(_encoding);
    const std::unique_ptr<Poco::TextEncoding> target = _pocoEncoding(encoding);
    if (!source || !target) return false;

    std::string result;
    Poco::TextConverter converter(*source, *target, '?');
    if (_encoding == EncodingSystem) {
        const NWideString wide = StringToWide(_data, platform::CodePageSystem);
        converter.convert(wide.data(), static_cast<int>(wide.size() * sizeof(NWideChar)), result);
    } else {
        converter.convert(_data, result);
    }
    if (encoding == EncodingSystem) {
        const NWideString wide = morvel::WideFromBytes(result.data(), result.size());
        result = platform::NarrowFromWide(wide.c_str(), platform::CodePageSystem);
    }
    _data = std::move(result);
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
    NString copy(*this);
    copy.ConvertTo(encoding);
    _cache = std::move(copy._data);
    return _cache;
}

const char* NString::Data(NStringEncoding encoding) const {
    return Converted(encoding).c_str();
}

std::string NString::DataWithBOM(NStringEncoding encoding) const {
    _cache = _marked(Converted(encoding), encoding);
    return _cache;
}

std::string NString::DataWithBOM() const {
    _cache = _marked(_data, _encoding);
    return _cache;
}

NWideString NString::Wide() const {
    NString copy(*this);
    if (copy._encoding != EncodingUTF8) copy.ConvertTo(EncodingUTF8);
    return StringToWide(copy._data, platform::CodePageUtf8);
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
        const bool kept = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
                          (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '_';
        if (kept) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += {'%', hex[byte >> 4], hex[byte & 15]};
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
    _data = _base64(reinterpret_cast<const char*>(bytes), count);
}

void NString::EncodeBase64() {
    _data = _base64(_data.data(), _data.size());
}

void NString::DecodeBase64(unsigned char* out, std::uint32_t* count) const {
    *count = 0;
    std::istringstream digits(_data);
    Poco::Base64Decoder decoder(digits);
    for (int byte = decoder.get(); decoder.good(); byte = decoder.get()) {
        if (out != nullptr) *out++ = static_cast<unsigned char>(byte);
        ++*count;
    }
}

void NString::DecodeBase64() {
    std::istringstream digits(_data);
    Poco::Base64Decoder decoder(digits);
    // Not operator<< of the buffer: that would swallow what the decoder throws.
    _data = std::string(std::istreambuf_iterator<char>(decoder.rdbuf()), {});
}
