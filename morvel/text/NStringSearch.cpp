// NString: comparing, appending, case, trimming, parts, searching and replacing, all of it by
// bytes. Covered by NStringTest.
#include <morvel/text/NString.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <morvel/platform/platform.h>
#include <morvel/platform/processor.h>
#include <morvel/text/Conversion.h>

namespace {

constexpr std::size_t NotFound = std::string::npos;

// Apart from its callers, so that those which can do without are as short as what they call.
template <class Primitive>
[[gnu::noinline]] int _compareConverted(const NString& text, const NString& other,
                                        Primitive primitive) {
    return morvel::WithBytesIn(text.Encoding(), other, [&](const std::string& bytes) {
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

// The C library gets signed values, whether char is signed or not: in an application's 8-bit locale
// that makes a difference for 0xFF, which then is EOF and stays.
char _upper(char byte) {
    return static_cast<char>(std::toupper(static_cast<signed char>(byte)));
}

char _lower(char byte) {
    return static_cast<char>(std::tolower(static_cast<signed char>(byte)));
}

/// Applies `change` to each byte up to the first NUL, the terminator at the latest.
void _changeUpToNul(char* first, char (*change)(char)) {
    for (; *first != '\0'; ++first) *first = change(*first);
}

void _requirePosition(bool inside) {
    if (!inside) throw std::out_of_range("invalid string position");
}

/// Calls `visit` with the index of each match of `needle` from `pos` on, but for those that overlap
/// the one before, until it says no.
template <class Visit>
void _forEachMatch(std::string_view text, std::string_view needle, std::size_t pos, Visit visit) {
#if MORVEL_HAS_SSE42_CODE  // SSE2 will do here, which every x86-64 has
    // The first and the last byte of the needle are looked for at so many indexes together, and
    // only where both stand is the rest compared.
    constexpr std::size_t Indexes = 64;
    if (!needle.empty() && text.size() >= needle.size() + Indexes) {
        const __m128i first = _mm_set1_epi8(needle.front());
        const __m128i last = _mm_set1_epi8(needle.back());
        const std::size_t toLast = needle.size() - 1;
        const std::size_t end = text.size() - toLast - Indexes;
        std::size_t block = pos;
        for (; block <= end; block += Indexes) {
            std::uint64_t candidates = 0;
            for (std::size_t i = 0; i < Indexes; i += 16) {
                const char* const at = text.data() + block + i;
                const __m128i heads = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
                const __m128i ends = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + toLast));
                const __m128i both =
                    _mm_and_si128(_mm_cmpeq_epi8(heads, first), _mm_cmpeq_epi8(ends, last));
                candidates |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(both))} << i;
            }
            for (; candidates != 0; candidates &= candidates - 1) {
                const std::size_t at = block + morvel::platform::LowestOne(candidates);
                if (at < pos || text.compare(at, needle.size(), needle) != 0) continue;
                if (!visit(at)) return;
                pos = at + needle.size();
            }
        }
        pos = std::max(pos, block);
    }
#endif
    while ((pos = text.find(needle, pos)) != NotFound) {
        if (!visit(pos)) return;
        pos += needle.size();
    }
}

long long _find(std::string_view text, std::string_view needle, std::size_t pos) {
    long long found = -1;
    _forEachMatch(text, needle, pos, [&found](std::size_t at) {
        found = static_cast<long long>(at);
        return false;
    });
    return found;
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
    return morvel::WithBytesIn(_encoding, other,
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
        morvel::WithBytesIn(_encoding, other, [this](const std::string& bytes) { _data += bytes; });
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
    return _find(_data, text, pos);
}

long long NString::Find(const std::string& text, std::size_t pos) const {
    return _find(_data, text, pos);
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

// Built aside, so that many matches in a long text cost no more than the text is long, and an
// argument may be this very text.
void NString::ReplaceAll(const std::string& from, const std::string& to) {
    if (from.empty()) return;
    const long long first = _find(_data, from, 0);
    if (first < 0) return;
    std::string result;
    result.reserve(_data.size());
    std::size_t kept = 0;  // where what is to be copied next begins
    _forEachMatch(_data, from, static_cast<std::size_t>(first), [&](std::size_t match) {
        result.append(_data, kept, match - kept).append(to);
        kept = match + from.size();
        return true;
    });
    result.append(_data, kept, NotFound);
    _data = std::move(result);
}
