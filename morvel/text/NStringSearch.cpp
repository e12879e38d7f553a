// NString: comparing, appending, case, trimming, parts, searching and replacing, all of it by
// bytes. Covered by NStringSearchTest.
#include <morvel/text/NString.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <morvel/platform/platform.h>
#include <morvel/text/Normalization.h>

namespace {

constexpr std::size_t NotFound = std::string::npos;

/// Whether ConvertTo(encoding) is certain to leave the bytes of `text` as they are.
bool _keepsItsBytes(const NString& text, NStringEncoding encoding) {
    const NStringEncoding own = text.Encoding();
    if (own == encoding) return encoding != EncodingUTF8 || morvel::IsPlainlyNfc(text.Data());
    return own != EncodingUTF16 && encoding != EncodingUTF16 && morvel::IsAsciiText(text.Data());
}

/// Calls `use` with the bytes of `text` as ConvertTo(encoding) would leave them.
template <class Use>
auto _withBytesIn(NStringEncoding encoding, const NString& text, Use use) {
    if (_keepsItsBytes(text, encoding)) return use(text.Data());
    NString converted(text);
    converted.ConvertTo(encoding);
    return use(converted.Data());
}

template <class Primitive>
int _compareConverted(const NString& text, const NString& other, Primitive primitive) {
    return _withBytesIn(text.Encoding(), other, [&](const std::string& bytes) {
        return primitive(text.CStr(), bytes.c_str());
    });
}

auto _first(std::uint32_t count) {
    return [count](const char* a, const char* b) { return std::strncmp(a, b, count); };
}

int _compareNoCase(const char* a, const char* b) {
    return morvel::platform::CompareNoCase(a, b);
}

auto _firstNoCase(std::size_t count) {
    return [count](const char* a, const char* b) {
        return morvel::platform::CompareNoCase(a, b, count);
    };
}

char _upper(char byte) {
    return static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
}

char _lower(char byte) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
}

/// Applies `change` to each byte up to the first NUL, the terminator at the latest.
void _changeUpToNul(char* first, char (*change)(char)) {
    for (; *first != '\0'; ++first) *first = change(*first);
}

void _requirePosition(bool inside) {
    if (!inside) throw std::out_of_range("invalid string position");
}

long long _find(const std::string& text, const char* needle, std::size_t count, std::size_t pos) {
    const std::size_t found = text.find(needle, pos, count);
    return found == NotFound ? -1 : static_cast<long long>(found);
}

/// An empty text has no last byte; the subtraction wraps then, and for a `fromEnd` in front of the
/// head, to a position that rfind takes for the end of the text.
std::uint32_t _reverseFind(const std::string& text, const char* needle, std::size_t count,
                           std::size_t fromEnd) {
    return static_cast<std::uint32_t>(text.rfind(needle, text.size() - 1 - fromEnd, count));
}

// Finds the memory for the copy first: a caller that gets std::bad_alloc has the text as it was.
std::string _replaceBytes(std::string& data, std::size_t pos, std::size_t count,
                          std::string_view text) {
    std::string copy;
    copy.reserve(data.size() - std::min(count, data.size() - pos) + text.size());
    data.replace(pos, count, text);
    copy = data;
    return copy;
}

}  // namespace

bool NString::operator==(const NString& other) const {
    return _withBytesIn(_encoding, other,
                        [this](const std::string& bytes) { return _data == bytes; });
}

bool NString::operator==(const std::string& other) const {
    return *this == NString(other);
}

bool NString::operator==(const unsigned char* counted) const {
    return *this == NString(counted);
}

bool NString::operator==(const char* other) const {
    return *this == NString(other);
}

NString& NString::operator+=(const NString& other) {
    if (other._encoding == _encoding) {
        _data += other._data;  // as it stands: only a conversion brings text to NFC
    } else {
        _withBytesIn(_encoding, other, [this](const std::string& bytes) { _data += bytes; });
    }
    return *this;
}

NString& NString::operator+=(const std::string& text) {
    return *this += NString(text);
}

NString& NString::operator+=(const unsigned char* counted) {
    return *this += NString(counted);
}

NString& NString::operator+=(const char* text) {
    return *this += NString(text);
}

NString& NString::operator+=(char byte) {
    const char text[] = {byte, '\0'};
    return *this += NString(text);
}

int NString::Compare(const char* other, NStringEncoding encoding) const {
    if (encoding == _encoding) return std::strcmp(CStr(), other);
    return _compareConverted(*this, NString(other, encoding), std::strcmp);
}

int NString::Compare(const char* other) const {
    return _compareConverted(*this, NString(other), std::strcmp);
}

int NString::Compare(const std::string& other, NStringEncoding encoding) const {
    if (encoding == _encoding) return std::strcmp(CStr(), other.c_str());
    return _compareConverted(*this, NString(other, encoding), std::strcmp);
}

int NString::Compare(const std::string& other) const {
    return _compareConverted(*this, NString(other), std::strcmp);
}

int NString::Compare(const NString& other) const {
    if (other._encoding == _encoding) return std::strcmp(CStr(), other.CStr());
    return _compareConverted(*this, other, std::strcmp);
}

int NString::CompareN(const char* other, NStringEncoding encoding, std::uint32_t count) const {
    return _compareConverted(*this, NString(other, encoding), _first(count));
}

int NString::CompareN(const char* other, std::uint32_t count) const {
    return _compareConverted(*this, NString(other), _first(count));
}

int NString::CompareN(const std::string& other, NStringEncoding encoding,
                      std::uint32_t count) const {
    return _compareConverted(*this, NString(other, encoding), _first(count));
}

int NString::CompareN(const std::string& other, std::uint32_t count) const {
    return _compareConverted(*this, NString(other), _first(count));
}

int NString::CompareN(const NString& other, std::uint32_t count) const {
    return _compareConverted(*this, other, _first(count));
}

int NString::CompareNoCase(const char* other, NStringEncoding encoding) const {
    if (encoding == _encoding) return _compareNoCase(CStr(), other);
    return _compareConverted(*this, NString(other, encoding), _compareNoCase);
}

int NString::CompareNoCase(const char* other) const {
    return _compareConverted(*this, NString(other), _compareNoCase);
}

int NString::CompareNoCase(const std::string& other, NStringEncoding encoding) const {
    if (encoding == _encoding) return _compareNoCase(CStr(), other.c_str());
    return _compareConverted(*this, NString(other, encoding), _compareNoCase);
}

int NString::CompareNoCase(const std::string& other) const {
    return _compareConverted(*this, NString(other), _compareNoCase);
}

int NString::CompareNoCase(const NString& other) const {
    if (other._encoding == _encoding) return _compareNoCase(CStr(), other.CStr());
    return _compareConverted(*this, other, _compareNoCase);
}

int NString::CompareNoCaseN(const char* other, NStringEncoding encoding, std::size_t count) const {
    return _compareConverted(*this, NString(other, encoding), _firstNoCase(count));
}

int NString::CompareNoCaseN(const char* other, std::size_t count) const {
    return _compareConverted(*this, NString(other), _firstNoCase(count));
}

int NString::CompareNoCaseN(const std::string& other, NStringEncoding encoding,
                            std::size_t count) const {
    return _compareConverted(*this, NString(other, encoding), _firstNoCase(count));
}

int NString::CompareNoCaseN(const std::string& other, std::size_t count) const {
    return _compareConverted(*this, NString(other), _firstNoCase(count));
}

int NString::CompareNoCaseN(const NString& other, std::size_t count) const {
    return _compareConverted(*this, other, _firstNoCase(count));
}

void NString::KeepNumeric() {
    const auto dropped = [](char byte) {
        return !(byte >= '0' && byte <= '9') && byte != '+' && byte != '-' && byte != '.';
    };
    _data.erase(std::remove_if(_data.begin(), _data.end(), dropped), _data.end());
}

void NString::ToUpper() {
    _changeUpToNul(_data.data(), _upper);
}

void NString::ToLower() {
    _changeUpToNul(_data.data(), _lower);
}

void NString::Capitalize() {
    if (_data.empty() || _data[0] == '\0') return;
    _data[0] = _upper(_data[0]);
    _changeUpToNul(_data.data() + 1, _lower);
}

void NString::Trim(char byte) {
    TrimLeft(byte);
    TrimRight(byte);
}

void NString::TrimLeft(char byte) {
    _data.erase(0, _data.find_first_not_of(byte));
}

void NString::TrimRight(char byte) {
    _data.erase(_data.find_last_not_of(byte) + 1);  // "none" is -1 and becomes 0
}

std::string NString::Mid(std::size_t pos, std::size_t count) const {
    _requirePosition(pos <= _data.size());
    return _data.substr(pos, count);
}

std::string NString::Left(std::size_t count) const {
    return Mid(0, count);
}

std::string NString::Right(std::size_t count) const {
    return Mid(_data.size() - count, count);  // wraps for a count that is too large, and Mid throws
}

long long NString::Find(const char* text, std::size_t pos) const {
    return _find(_data, text, std::strlen(text), pos);
}

long long NString::Find(const std::string& text, std::size_t pos) const {
    return _find(_data, text.data(), text.size(), pos);
}

std::uint32_t NString::ReverseFind(const char* text, std::size_t fromEnd) const {
    return _reverseFind(_data, text, std::strlen(text), fromEnd);
}

std::uint32_t NString::ReverseFind(const std::string& text, std::size_t fromEnd) const {
    return _reverseFind(_data, text.data(), text.size(), fromEnd);
}

std::string NString::Replace(std::size_t pos, std::size_t count, const char* text) {
    _requirePosition(pos <= _data.size());
    return _replaceBytes(_data, pos, count, text);
}

std::string NString::Replace(std::size_t pos, std::size_t count, const std::string& text) {
    _requirePosition(pos <= _data.size());
    return _replaceBytes(_data, pos, count, text);
}

void NString::ReplaceAll(const char* from, const char* to) {
    ReplaceAll(std::string(from), std::string(to));
}

void NString::ReplaceAll(const NString& from, const NString& to) {
    ReplaceAll(from._data, to._data);
}

// Built aside in one pass, so that many matches in a long text cost no more than the text is long,
// and an argument may be this very text.
void NString::ReplaceAll(const std::string& from, const std::string& to) {
    std::size_t match = from.empty() ? NotFound : _data.find(from);
    if (match == NotFound) return;
    std::string result;
    std::size_t done = 0;
    for (; match != NotFound; match = _data.find(from, done)) {
        result.append(_data, done, match - done).append(to);
        done = match + from.size();
    }
    _data = std::move(result.append(_data, done, NotFound));
}
