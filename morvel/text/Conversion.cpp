// Straight loops in place of POCO's converters, which go through two virtual calls a character.
// ASCII goes in blocks; the compiler turns the loops over a block into vector code. Covered by
// ConversionTest, which runs them against POCO.
#include <morvel/text/Conversion.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::size_t Block = 32;  // units that are looked at together
constexpr std::size_t Slack = 16;  // bytes that may be written behind a result

const unsigned char* _bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

template <class Unit>
Unit _load(const unsigned char* p) {
    Unit unit;
    std::memcpy(&unit, p, sizeof unit);
    return unit;
}

template <class Unit>
void _store(char* out, unsigned value) {
    const Unit unit = static_cast<Unit>(value);
    std::memcpy(out, &unit, sizeof unit);
}

template <class Unit>
bool _isAsciiBlock(const unsigned char* p) {
    constexpr std::uint64_t mask = sizeof(Unit) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    std::uint64_t words[Block * sizeof(Unit) / 8];
    std::memcpy(words, p, sizeof words);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words) all |= word;
    return (all & mask) == 0;
}

// Writes a block, or fewer units, as they are.
template <std::size_t Count, class From, class To>
void _widen(const unsigned char* p, char* out) {
    From units[Count];
    To copies[Count];
    std::memcpy(units, p, sizeof units);
    for (std::size_t i = 0; i < Count; ++i) copies[i] = static_cast<To>(units[i]);
    std::memcpy(out, copies, sizeof copies);
}

// Where a text is read and where the result is written. Handed about by value: what is written
// through a pointer to char might otherwise be one of these pointers, and would have to be read
// again after each byte.
struct Places {
    const unsigned char* from;
    char* to;
};

// Copies ASCII until something else or the last few bytes come; moves both places on.
// REQUIRES: room for a word of units behind what is to be written; they are overwritten later.
template <class From, class To>
Places _copyAscii(Places at, const unsigned char* end) {
    constexpr std::size_t PerWord = 8 / sizeof(From);
    constexpr std::uint64_t mask = sizeof(From) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    constexpr std::uint64_t ones = sizeof(From) == 1 ? 0x0101010101010101 : 0x0001000100010001;
    while (end - at.from >= 8) {
        const std::uint64_t other = _load<std::uint64_t>(at.from) & mask;
        _widen<PerWord, From, To>(at.from, at.to);
        if (other != 0) {
            // Below the lowest bit that is set lie the units in front of the first that isn't
            // ASCII, and the lowest bit of that one itself.
            const std::uint64_t below = ((other & (0 - other)) - 1) & ones;
            const std::size_t count = (below * ones >> (64 - 8 * sizeof(From))) - 1;
            return {at.from + count * sizeof(From), at.to + count * sizeof(To)};
        }
        at.from += 8;
        at.to += PerWord * sizeof(To);
        while (static_cast<std::size_t>(end - at.from) >= Block * sizeof(From) &&
               _isAsciiBlock<From>(at.from)) {
            _widen<Block, From, To>(at.from, at.to);
            at.from += Block * sizeof(From);
            at.to += Block * sizeof(To);
        }
    }
    return at;
}

// The sum of `weight` over all units; a weight is 0 to 3. Blocks are summed up in the width of the
// units themselves, which is what makes it quick.
template <class Unit, class Weight>
std::size_t _sum(const unsigned char* p, const unsigned char* end, Weight weight) {
    std::size_t sum = 0;
    for (; static_cast<std::size_t>(end - p) >= Block * sizeof(Unit); p += Block * sizeof(Unit)) {
        Unit units[Block];
        std::memcpy(units, p, sizeof units);
        Unit part = 0;
        for (const Unit unit : units) part = static_cast<Unit>(part + weight(unit));
        sum += part;
    }
    for (; p != end; p += sizeof(Unit)) sum += static_cast<std::size_t>(weight(_load<Unit>(p)));
    return sum;
}

// A conversion that has got past the ASCII at the head of its text.
struct Way {
    Places at;
    const unsigned char* end;
    std::size_t length;  // of the whole result; there is room for it and Slack
};

// `weight` tells how many units of To a unit of From comes to. All-ASCII text is looked at once.
template <class From, class To, class Weight>
Way _begin(std::string_view text, std::string* out, Weight weight) {
    const unsigned char* const begin = _bytes(text);
    const unsigned char* const end = begin + text.size();
    Places at{begin, nullptr};
    std::size_t done = 0;
    if (text.size() >= Block * sizeof(From) && _isAsciiBlock<From>(begin)) {
        out->resize(text.size() / sizeof(From) * sizeof(To) + Slack);
        at = _copyAscii<From, To>({begin, &(*out)[0]}, end);
        done = static_cast<std::size_t>(at.to - &(*out)[0]);
    }
    const std::size_t length = done + sizeof(To) * _sum<From>(at.from, end, weight);
    out->resize(length + Slack);
    at.to = &(*out)[done];
    return {at, end, length};
}

// Writes one character below U+0800 without asking how long it is: two bytes are always written,
// the second is overwritten where it isn't needed. REQUIRES: room for both.
char* _putShort(char* out, unsigned c) {
    const unsigned two = c > 0x7F;
    out[0] = static_cast<char>(two != 0 ? 0xC0 | c >> 6 : c);
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    return out + 1 + two;
}

bool _latin1ToUtf8(std::string_view text, std::string* out) {
    const Way way =
        _begin<unsigned char, char>(text, out, [](unsigned char c) { return 1 + (c >> 7); });
    const unsigned char* p = way.at.from;
    char* at = way.at.to;
    while (p != way.end) {
        const Places behind = _copyAscii<unsigned char, char>({p, at}, way.end);
        p = behind.from;
        at = behind.to;
        for (bool first = true; p != way.end && (first || *p > 0x7F); first = false) {
            at = _putShort(at, *p++);
        }
    }
    out->resize(way.length);
    return true;
}

bool _utf16ToUtf8(std::string_view text, std::string* out) {
    if (text.size() % 2 != 0) return false;
    const Way way = _begin<std::uint16_t, char>(text, out, [](std::uint16_t unit) {
        const bool surrogate = (unit & 0xF800) == 0xD800;  // a pair is four bytes, two for each
        return 1 + (unit > 0x7F) + ((unit > 0x7FF) & !surrogate);
    });
    const unsigned char* const end = way.end;
    const unsigned char* p = way.at.from;
    char* at = way.at.to;
    while (p != end) {
        const Places behind = _copyAscii<std::uint16_t, char>({p, at}, end);
        p = behind.from;
        at = behind.to;
        for (bool first = true; p != end; first = false) {
            unsigned c = _load<std::uint16_t>(p);
            if (!first && c < 0x80) break;
            p += 2;
            if (c < 0x800) {
                at = _putShort(at, c);
                continue;
            }
            if ((c & 0xF800) == 0xD800) {
                if (c >= 0xDC00 || p == end) return false;
                const unsigned low = _load<std::uint16_t>(p);
                if ((low & 0xFC00) != 0xDC00) return false;
                p += 2;
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                *at++ = static_cast<char>(0xF0 | c >> 18);
                *at++ = static_cast<char>(0x80 | (c >> 12 & 0x3F));
            } else {
                *at++ = static_cast<char>(0xE0 | c >> 12);
            }
            *at++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            *at++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    out->resize(way.length);
    return true;
}

bool _isContinuation(unsigned byte) {
    return (byte & 0xC0) == 0x80;
}

bool _utf8ToUtf16(std::string_view text, std::string* out) {
    const Way way = _begin<unsigned char, std::uint16_t>(
        text, out, [](unsigned char byte) { return ((byte & 0xC0) != 0x80) + (byte >= 0xF0); });
    const unsigned char* const end = way.end;
    const unsigned char* p = way.at.from;
    char* at = way.at.to;
    while (p != end) {
        const Places behind = _copyAscii<unsigned char, std::uint16_t>({p, at}, end);
        p = behind.from;
        at = behind.to;
        for (bool first = true; p != end; first = false) {
            const unsigned lead = *p;
            if (lead < 0x80) {
                if (!first) break;
                _store<std::uint16_t>(at, lead);
                at += 2;
                ++p;
                continue;
            }
            const std::ptrdiff_t left = end - p;
            if (lead < 0xE0) {
                if (lead < 0xC2 || left < 2 || !_isContinuation(p[1])) return false;
                _store<std::uint16_t>(at, (lead & 0x1F) << 6 | (p[1] & 0x3Fu));
                at += 2;
                p += 2;
            } else if (lead < 0xF0) {
                if (left < 3 || !_isContinuation(p[1]) || !_isContinuation(p[2])) return false;
                const unsigned c = (lead & 0xF) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu);
                if (c < 0x800 || (c & 0xF800) == 0xD800) return false;
                _store<std::uint16_t>(at, c);
                at += 2;
                p += 3;
            } else {
                if (left < 4 || !_isContinuation(p[1]) || !_isContinuation(p[2]) ||
                    !_isContinuation(p[3])) {
                    return false;
                }
                const unsigned c = (lead & 0xF) << 18 | (p[1] & 0x3Fu) << 12 | (p[2] & 0x3Fu) << 6 |
                                   (p[3] & 0x3Fu);
                if (lead > 0xF4 || c < 0x10000 || c > 0x10FFFF) return false;
                _store<std::uint16_t>(at, 0xD800 + ((c - 0x10000) >> 10));
                _store<std::uint16_t>(at + 2, 0xDC00 + ((c - 0x10000) & 0x3FF));
                at += 4;
                p += 4;
            }
        }
    }
    out->resize(way.length);
    return true;
}

}  // namespace

bool morvel::ConvertWellFormed(std::string_view text, NStringEncoding from, NStringEncoding to,
                               std::string* out) {
    if (from == EncodingLatin1 && to == EncodingUTF8) return _latin1ToUtf8(text, out);
    if (from == EncodingUTF16 && to == EncodingUTF8) return _utf16ToUtf8(text, out);
    if (from == EncodingUTF8 && to == EncodingUTF16) return _utf8ToUtf16(text, out);
    return false;
}
