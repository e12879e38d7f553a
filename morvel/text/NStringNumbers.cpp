// NString: between text and numbers, formatting. The digits of decimal numbers are POCO's. Covered
// by NStringTest.
#include <morvel/text/NString.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>

using Poco::NumberFormatter;
using Poco::NumberParser;

namespace {

constexpr char Point = '.';
constexpr char Comma = ',';

static_assert(std::numeric_limits<float>::is_iec559,
              "a double out of float's range has to narrow to infinity");

std::string _hex(const unsigned char* bytes, std::uint32_t count) {
    constexpr char Digits[] = "0123456789ABCDEF";
    std::string text(std::size_t{2} * count, '0');
    for (std::size_t i = 0; i < count; ++i) {
        text[2 * i] = Digits[bytes[i] >> 4];
        text[2 * i + 1] = Digits[bytes[i] & 15];
    }
    return text;
}

template <class Integer>
void _setDecimal(Integer value, std::string* data, NStringEncoding* encoding) {
    char digits[24];
    data->assign(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    *encoding = EncodingSystem;
}

// Quick readers of plain numbers, which all readers agree on: digits alone, no more than always
// fit, and for a double at most one point between them. False for all else, which is POCO's.
bool _readPlain(const std::string& text, unsigned long long* value) {
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *value);
    return stop == end && error == std::errc() && text.size() <= 19;
}

bool _readPlain(const std::string& text, double* value) {
#if defined(__cpp_lib_to_chars)
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    if (text.empty() || !isDigit(text.front()) || !isDigit(text.back())) return false;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *value, std::chars_format::fixed);
    return stop == end && error == std::errc() && text.size() <= 40;
#else
    static_cast<void>(text), static_cast<void>(value);
    return false;
#endif
}

std::string _pair(int first, int second) {
    return NumberFormatter::format(first) + Comma + NumberFormatter::format(second);
}

template <class Number>
std::string _joined(const Number* values, std::uint8_t count) {
    std::string text;
    for (std::uint8_t i = 0; i < count; ++i) {
        if (i != 0) text += Comma;
        NumberFormatter::append(text, values[i]);
    }
    return text;
}

int _parseInt(const std::string& text) {
    return NumberParser::parse(text, Comma);
}

float _parseFloat(const std::string& text) {
    return static_cast<float>(NumberParser::parseFloat(text, Point, Comma));
}

/// The number that `tryRead` reads into its argument, or 0 for every kind of failure.
template <class Number, class TryRead>
Number _orZero(TryRead tryRead) {
    try {
        Number value = 0;
        return tryRead(value) ? value : Number{0};
    } catch (...) {
        return 0;
    }
}

// POCO leaves a NaN or an infinity in the value that it refuses; that is not handed on.
double _doubleOrZero(const std::string& text) {
    double plain = 0;
    if (_readPlain(text, &plain)) return plain;
    return _orZero<double>(
        [&text](double& value) { return NumberParser::tryParseFloat(text, value, Point, Comma); });
}

unsigned long long _uint64OrZero(const std::string& text) {
    unsigned long long plain = 0;
    if (_readPlain(text, &plain)) return plain;
    return _orZero<Poco::UInt64>([&text](Poco::UInt64& value) {
        return NumberParser::tryParseUnsigned64(text, value, Comma);
    });
}

template <class Pair, class Half>
Pair _parsePair(const std::string& text) {
    Pair pair = {};
    const std::size_t comma = text.find(Comma);
    if (comma == std::string::npos) return pair;
    try {
        pair.high = static_cast<Half>(_parseInt(text.substr(0, comma)));
        pair.low = static_cast<Half>(_parseInt(text.substr(comma + 1)));
    } catch (...) {
        // what was read so far stands
    }
    return pair;
}

/// Calls `take` with each field between commas, from left to right, and returns their number. There
/// is always a last field, which may be empty.
template <class Take>
std::uint32_t _forEachField(const std::string& text, Take take) {
    std::uint32_t count = 1;
    std::size_t start = 0;
    for (std::size_t comma; (comma = text.find(Comma, start)) != std::string::npos; ++count) {
        take(text.substr(start, comma - start));
        start = comma + 1;
    }
    take(text.substr(start));
    return count;
}

// What writes numbers makes the tag EncodingSystem, but for the lists.
void _setSystemText(std::string text, std::string* data, NStringEncoding* encoding) {
    *data = std::move(text);
    *encoding = EncodingSystem;
}

}  // namespace

void NString::SetNumber(double value) {
    _setSystemText(NumberFormatter::format(value), &_data, &_encoding);
}

// POCO ends the process on a negative precision, on some platforms only.
void NString::SetNumber(double value, int precision) {
    _setSystemText(NumberFormatter::format(value, std::max(precision, 0)), &_data, &_encoding);
}

void NString::SetNumber(float value) {
    _setSystemText(NumberFormatter::format(value), &_data, &_encoding);
}

void NString::SetNumber(float value, int precision) {
    _setSystemText(NumberFormatter::format(value, std::max(precision, 0)), &_data, &_encoding);
}

void NString::SetNumber(int value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber(unsigned int value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber(long value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber(unsigned long value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber(long long value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber64(long long value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetNumber(unsigned long long value) {
    _setDecimal(value, &_data, &_encoding);
}

void NString::SetFourCC(std::uint32_t code) {
    const char text[] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                         static_cast<char>(code >> 8), static_cast<char>(code), '\0'};
    _setSystemText(text, &_data, &_encoding);
}

void NString::SetVersion(std::uint32_t version) {
    const std::uint32_t major = version >> 16;
    const std::uint32_t minor = version >> 8 & 0xFF;
    const std::uint32_t patch = version & 0xFF;
    std::string text = NumberFormatter::format(major) + Point + NumberFormatter::format(minor);
    if (patch != 0) text += Point + NumberFormatter::format(patch);
    _setSystemText(std::move(text), &_data, &_encoding);
}

void NString::SetHex(const unsigned char* bytes, std::uint32_t count) {
    _setSystemText(_hex(bytes, count), &_data, &_encoding);
}

void NString::SetHex(unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
    const unsigned char bytes[] = {a, b, c, d};
    _setSystemText(_hex(bytes, 4), &_data, &_encoding);
}

void NString::SetHex(std::uint32_t value) {
    const unsigned char bytes[] = {
        static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
        static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    std::string text = _hex(bytes, 4);
    text.erase(0, std::min(text.find_first_not_of('0'), text.size() - 1));
    _setSystemText(std::move(text), &_data, &_encoding);
}

void NString::SetPair(NPair16 pair) {
    _setSystemText(_pair(pair.high, pair.low), &_data, &_encoding);
}

void NString::SetPair(std::int32_t first, std::int32_t second) {
    _setSystemText(_pair(first, second), &_data, &_encoding);
}

void NString::SetPair(NPair32 pair) {
    _setSystemText(_pair(pair.high, pair.low), &_data, &_encoding);
}

double NString::ToDouble() const {
    return _doubleOrZero(_data);
}

float NString::ToFloat() const {
    return static_cast<float>(_doubleOrZero(_data));
}

std::int32_t NString::ToInt() const {
    return ParseInt(_data);
}

std::uint32_t NString::ToFourCC() const {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const bool missing = i >= _data.size();
        code = code << 8 | (missing ? 0u : static_cast<unsigned char>(_data[i]));
    }
    return code;
}

std::uint32_t NString::ToVersion() const {
    std::uint32_t version = 0;
    unsigned shift = 16;
    for (std::size_t start = 0; start < _data.size(); shift -= 8) {
        const std::size_t point = std::min(_data.find(Point, start), _data.size());
        const std::string field = _data.substr(start, point - start);
        version |= static_cast<std::uint32_t>(ParseInt(field)) << (shift & 31);
        start = point + 1;
    }
    return version;
}

std::uint32_t NString::HexValue() const {
    return _orZero<unsigned>(
        [this](unsigned& value) { return NumberParser::tryParseHex(_data, value); });
}

std::uint32_t NString::HexByte(std::uint32_t index) const {
    const std::size_t pos = std::size_t{2} * index;
    if (pos > _data.size()) throw std::out_of_range("invalid string position");
    std::string digits = "00000000";
    const std::size_t present = std::min<std::size_t>(_data.size() - pos, 2);
    digits.replace(6, present, _data, pos, present);
    return NumberParser::parseHex(digits);
}

std::int32_t NString::HexBytes(unsigned char* out, std::uint32_t capacity) const {
    const auto length = static_cast<std::uint32_t>(_data.size());
    if (length % 2 != 0) return -1;
    if (length / 2 > capacity) return -2;
    for (std::size_t i = 0; i < length; i += 2) {
        const char* const digits = _data.data() + i;
        unsigned value = 0;
        // POCO reads more than two digits as a number: a blank or a sign in front of one.
        if (std::from_chars(digits, digits + 2, value, 16).ptr != digits + 2) {
            value = NumberParser::parseHex(_data.substr(i, 2));
        }
        *out++ = static_cast<unsigned char>(value);
    }
    return 0;
}

unsigned long long NString::ToUInt64() const {
    return _uint64OrZero(_data);
}

NPair16 NString::ToPair16() const {
    return _parsePair<NPair16, std::int16_t>(_data);
}

NPair32 NString::ToPair32() const {
    return _parsePair<NPair32, std::int32_t>(_data);
}

void NString::SetList(const float* values, std::uint8_t count) {
    _data = _joined(values, count);
}

void NString::SetList(const std::uint16_t* values, std::uint8_t count) {
    _data = _joined(values, count);
}

void NString::SetList(const std::int16_t* values, std::uint8_t count) {
    _data = _joined(values, count);
}

void NString::SetList(const unsigned char* values, std::uint8_t count) {
    _data = _joined(values, count);
}

std::uint32_t NString::ToList(float* out) const {
    return _forEachField(_data, [&out](const std::string& field) { *out++ = _parseFloat(field); });
}

std::uint32_t NString::ToList(std::uint16_t* out) const {
    return _forEachField(_data, [&out](const std::string& field) {
        *out++ = static_cast<std::uint16_t>(_parseInt(field));
    });
}

std::uint32_t NString::ToList(unsigned char* out) const {
    return _forEachField(_data, [&out](const std::string& field) {
        *out++ = static_cast<unsigned char>(_parseInt(field));
    });
}

std::vector<std::int32_t> NString::ToList() const {
    std::vector<std::int32_t> values;
    _forEachField(_data,
                  [&values](const std::string& field) { values.push_back(_parseInt(field)); });
    return values;
}

NString NString::Format(const char* format, ...) const {
    if (format == nullptr) return NString();
    char small[256];  // most texts fit, and are printed once
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    va_end(arguments);
    if (length < 0) return NString();
    const std::size_t size = std::size_t{1} + static_cast<std::size_t>(length);
    if (size <= sizeof small) return NString(std::string(small));

    std::vector<char> large(size);
    va_start(arguments, format);
    std::vsnprintf(large.data(), size, format, arguments);
    va_end(arguments);
    return NString(std::string(large.data()));
}

std::uint32_t NString::ToUInt() const {
    return _orZero<unsigned>(
        [this](unsigned& value) { return NumberParser::tryParseUnsigned(_data, value, Comma); });
}

unsigned long long NString::ToSize() const {
    return _uint64OrZero(_data);
}

std::string NString::HexString(const unsigned char* bytes, std::uint32_t count) {
    return _hex(bytes, count);
}

std::string NString::IntToString(std::int32_t value) {
    return std::to_string(value);
}

std::int32_t NString::ParseInt(const std::string& text) {
    return _orZero<int>([&text](int& value) { return NumberParser::tryParse(text, value, Comma); });
}
