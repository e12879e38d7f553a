// Straight loops in place of POCO's converters, which go through two virtual calls a character, and
// vector code in place of the loops where the processor has it. Covered by ConversionTest, which
// runs both against POCO.
#include <morvel/text/Conversion.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include <morvel/platform/processor.h>
#include <morvel/text/Utf8Blocks.h>

namespace {

constexpr std::size_t Block = 32;          // units that are looked at together
constexpr std::size_t Slack = 16;          // bytes that may be written behind a result
constexpr std::ptrdiff_t BlocksSize = 64;  // bytes that vector code looks at together

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

bool _isContinuation(unsigned byte) {
    return (byte & 0xC0) == 0x80;
}

bool _isSurrogate(unsigned unit) {
    return (unit & 0xF800) == 0xD800;
}

// Whether the surrogate `first` and the unit at `p` are a pair.
bool _isPair(unsigned first, const unsigned char* p, const unsigned char* end) {
    return first < 0xDC00 && p != end && (_load<std::uint16_t>(p) & 0xFC00) == 0xDC00;
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

// Writes one character below U+0800 without asking how long it is: two bytes are always written,
// the second is overwritten where it isn't needed. REQUIRES: room for both.
char* _putShort(char* out, unsigned c) {
    const unsigned two = c > 0x7F;
    out[0] = static_cast<char>(two != 0 ? 0xC0 | c >> 6 : c);
    out[1] = static_cast<char>(0x80 | (c & 0x3F));
    return out + 1 + two;
}

// Each of these converts from `at.from` to `end` and gives the place behind what is written, or
// null for a malformed text. REQUIRES: room as for _copyAscii.

char* _latin1ToUtf8(Places at, const unsigned char* end) {
    while (at.from != end) {
        at = _copyAscii<unsigned char, char>(at, end);
        for (bool first = true; at.from != end && (first || *at.from > 0x7F); first = false) {
            at.to = _putShort(at.to, *at.from++);
        }
    }
    return at.to;
}

char* _utf16ToUtf8(Places at, const unsigned char* end) {
    while (at.from != end) {
        at = _copyAscii<std::uint16_t, char>(at, end);
        const unsigned char* p = at.from;
        char* to = at.to;
        for (bool first = true; p != end; first = false) {
            unsigned c = _load<std::uint16_t>(p);
            if (!first && c < 0x80) break;
            p += 2;
            if (c < 0x800) {
                to = _putShort(to, c);
                continue;
            }
            if (_isSurrogate(c)) {
                if (!_isPair(c, p, end)) return nullptr;
                const unsigned low = _load<std::uint16_t>(p);
                p += 2;
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                *to++ = static_cast<char>(0xF0 | c >> 18);
                *to++ = static_cast<char>(0x80 | (c >> 12 & 0x3F));
            } else {
                *to++ = static_cast<char>(0xE0 | c >> 12);
            }
            *to++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
            *to++ = static_cast<char>(0x80 | (c & 0x3F));
        }
        at = {p, to};
    }
    return at.to;
}

char* _utf8ToUtf16(Places at, const unsigned char* end) {
    while (at.from != end) {
        at = _copyAscii<unsigned char, std::uint16_t>(at, end);
        const unsigned char* p = at.from;
        char* to = at.to;
        for (bool first = true; p != end; first = false) {
            const unsigned lead = *p;
            if (lead < 0x80) {
                if (!first) break;
                _store<std::uint16_t>(to, lead);
                to += 2;
                ++p;
                continue;
            }
            const std::ptrdiff_t left = end - p;
            if (lead < 0xE0) {
                if (lead < 0xC2 || left < 2 || !_isContinuation(p[1])) return nullptr;
                _store<std::uint16_t>(to, (lead & 0x1F) << 6 | (p[1] & 0x3Fu));
                to += 2;
                p += 2;
            } else if (lead < 0xF0) {
                if (left < 3 || !_isContinuation(p[1]) || !_isContinuation(p[2])) return nullptr;
                const unsigned c = (lead & 0xF) << 12 | (p[1] & 0x3Fu) << 6 | (p[2] & 0x3Fu);
                if (c < 0x800 || _isSurrogate(c)) return nullptr;
                _store<std::uint16_t>(to, c);
                to += 2;
                p += 3;
            } else {
                if (left < 4 || !_isContinuation(p[1]) || !_isContinuation(p[2]) ||
                    !_isContinuation(p[3])) {
                    return nullptr;
                }
                const unsigned c = (lead & 0xF) << 18 | (p[1] & 0x3Fu) << 12 | (p[2] & 0x3Fu) << 6 |
                                   (p[3] & 0x3Fu);
                if (lead > 0xF4 || c < 0x10000 || c > 0x10FFFF) return nullptr;
                _store<std::uint16_t>(to, 0xD800 + ((c - 0x10000) >> 10));
                _store<std::uint16_t>(to + 2, 0xDC00 + ((c - 0x10000) & 0x3FF));
                to += 4;
                p += 4;
            }
        }
        at = {p, to};
    }
    return at.to;
}

// Where Latin-9 parts from Latin-1 (ISO 8859-15).
constexpr struct {
    unsigned char byte;
    std::uint16_t unit;
} latin9Only[] = {{0xA4, 0x20AC}, {0xA6, 0x0160}, {0xA8, 0x0161}, {0xB4, 0x017D},
                  {0xB8, 0x017E}, {0xBC, 0x0152}, {0xBD, 0x0153}, {0xBE, 0x0178}};

struct UnitsOfLatin9 {
    constexpr UnitsOfLatin9() : of() {
        for (unsigned byte = 0; byte < 256; ++byte) of[byte] = static_cast<std::uint16_t>(byte);
        for (const auto& only : latin9Only) of[only.byte] = only.unit;
    }
    std::uint16_t of[256];
};
constexpr UnitsOfLatin9 unitsOfLatin9;

char* _latin9ToUtf16(Places at, const unsigned char* end) {
    for (; at.from != end; ++at.from, at.to += 2) {
        _store<std::uint16_t>(at.to, unitsOfLatin9.of[*at.from]);
    }
    return at.to;
}

char* _latin1ToUtf16(Places at, const unsigned char* end) {
    for (; at.from != end; ++at.from, at.to += 2) _store<std::uint16_t>(at.to, *at.from);
    return at.to;
}

char* _asciiToUtf16(Places at, const unsigned char* end) {
    at = _copyAscii<unsigned char, std::uint16_t>(at, end);
    for (; at.from != end; ++at.from, at.to += 2) {
        if (*at.from > 0x7F) return nullptr;
        _store<std::uint16_t>(at.to, *at.from);
    }
    return at.to;
}

// `byteOf` gives the byte for a character of one unit, '?' where there is none.
template <class ByteOf>
char* _utf16ToBytes(Places at, const unsigned char* end, ByteOf byteOf) {
    const unsigned char* p = at.from;
    char* to = at.to;
    while (p != end) {
        const unsigned c = _load<std::uint16_t>(p);
        p += 2;
        if (_isSurrogate(c)) {
            if (!_isPair(c, p, end)) return nullptr;
            p += 2;
            *to++ = '?';
        } else {
            *to++ = static_cast<char>(byteOf(c));
        }
    }
    return to;
}

char* _utf16ToLatin9(Places at, const unsigned char* end) {
    return _utf16ToBytes(at, end, [](unsigned c) {
        if (c < latin9Only[0].byte) return c;
        for (const auto& only : latin9Only) {
            if (only.unit == c) return unsigned{only.byte};
        }
        return c <= 0xFF && unitsOfLatin9.of[c] == c ? c : '?';
    });
}

char* _utf16ToLatin1(Places at, const unsigned char* end) {
    return _utf16ToBytes(at, end, [](unsigned c) { return c <= 0xFF ? c : '?'; });
}

char* _utf16ToAscii(Places at, const unsigned char* end) {
    return _utf16ToBytes(at, end, [](unsigned c) { return c <= 0x7F ? c : '?'; });
}

// Each of these sets `*length` to the bytes that the result takes: what a well-formed text needs,
// and at least what is written of another before its fault is met. False for some malformed text.

bool _measureLatin1(const unsigned char* p, const unsigned char* end, std::size_t* length) {
    *length = _sum<unsigned char>(p, end, [](unsigned char c) { return 1 + (c >> 7); });
    return true;
}

bool _measureUtf16(const unsigned char* p, const unsigned char* end, std::size_t* length) {
    if ((end - p) % 2 != 0) return false;
    *length = _sum<std::uint16_t>(p, end, [](std::uint16_t unit) {
        // A pair of surrogates is four bytes, two for each.
        return 1 + (unit > 0x7F) + ((unit > 0x7FF) & !_isSurrogate(unit));
    });
    return true;
}

bool _measureBytes(const unsigned char* p, const unsigned char* end, std::size_t* length) {
    *length = 2 * static_cast<std::size_t>(end - p);
    return true;
}

bool _measureCharacters(const unsigned char* p, const unsigned char* end, std::size_t* length) {
    if ((end - p) % 2 != 0) return false;
    *length =
        _sum<std::uint16_t>(p, end, [](std::uint16_t unit) { return (unit & 0xFC00) != 0xDC00; });
    return true;
}

bool _measureUtf8(const unsigned char* p, const unsigned char* end, std::size_t* length) {
    *length = 2 * _sum<unsigned char>(p, end, [](unsigned char byte) {
                  return !_isContinuation(byte) + (byte >= 0xF0);
              });
    return true;
}

#if MORVEL_HAS_SSE42_CODE
// The same by vectors of 16 bytes. A block is taken at the same pace whatever stands in it: what
// each of its places could come to is computed for all of them, and a table then moves together
// those that there is something at. Surrogates and characters of four bytes are left to the loops
// above, for the stretch that they stand in, and so is the end of a text.

using morvel::LoadBlock;

// For each set of places out of eight, those in the set, in their order.
struct Selections {
    constexpr Selections() : of() {
        for (unsigned set = 0; set < 256; ++set) {
            unsigned count = 0;
            for (unsigned place = 0; place < 8; ++place) {
                if ((set >> place & 1) != 0) of[set][count++] = static_cast<std::uint8_t>(place);
            }
        }
    }
    alignas(8) std::uint8_t of[256][8];
};
constexpr Selections selections;

MORVEL_SSE42 __m128i _selection(unsigned set) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(selections.of[set]));
}

MORVEL_SSE42 __m128i _bytesOf(unsigned byte) {
    return _mm_set1_epi8(static_cast<char>(byte));
}

MORVEL_SSE42 __m128i _unitsOf(unsigned unit) {
    return _mm_set1_epi16(static_cast<short>(unit));
}

// All bits set in those that are at least so great.
MORVEL_SSE42 __m128i _bytesFrom(__m128i bytes, unsigned least) {
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, _bytesOf(least)), bytes);
}

MORVEL_SSE42 __m128i _unitsFrom(__m128i units, unsigned least) {
    return _mm_cmpeq_epi16(_mm_max_epu16(units, _unitsOf(least)), units);
}

MORVEL_SSE42 __m128i _surrogates(__m128i units) {
    return _mm_cmpeq_epi16(_mm_and_si128(units, _unitsOf(0xF800)), _unitsOf(0xD800));
}

MORVEL_SSE42 unsigned _highBits(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

// The bytes that begin a character: with a sign, 80 to BF are the least that there are.
MORVEL_SSE42 unsigned _begins(__m128i bytes) {
    return _highBits(_mm_cmpgt_epi8(bytes, _bytesOf(0xBF)));
}

MORVEL_SSE42 std::size_t _count(unsigned set) {
    return static_cast<std::size_t>(_mm_popcnt_u32(set));
}

MORVEL_SSE42 void _storeBlock(char* to, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

// Writes those of the bytes whose place is in `kept`.
MORVEL_SSE42 char* _putBytes(char* to, __m128i bytes, unsigned kept) {
    const __m128i first = _selection(kept & 0xFF);
    const __m128i second = _mm_or_si128(_selection(kept >> 8), _bytesOf(8));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, first));
    to += _count(kept & 0xFF);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, second));
    return to + _count(kept >> 8);
}

// Writes eight characters below U+0800.
MORVEL_SSE42 char* _putShorts(char* to, __m128i units) {
    const __m128i two = _unitsFrom(units, 0x80);
    const __m128i first = _mm_or_si128(_mm_srli_epi16(units, 6), _unitsOf(0xC0));
    const __m128i last = _mm_slli_epi16(_mm_and_si128(units, _unitsOf(0x3F)), 8);
    const __m128i both = _mm_or_si128(_mm_or_si128(first, last), _unitsOf(0x8000));
    return _putBytes(to, _mm_blendv_epi8(units, both, two),
                     _highBits(_mm_or_si128(two, _unitsOf(0x00FF))));
}

// Writes eight characters, none of them a surrogate.
MORVEL_SSE42 char* _putUnits(char* to, __m128i units) {
    const __m128i two = _unitsFrom(units, 0x80), three = _unitsFrom(units, 0x800);
    const __m128i continuation = _unitsOf(0x80), bits = _unitsOf(0x3F);
    const __m128i upper = _mm_srli_epi16(units, 6);
    // What may be three bytes, in the upper half of one unit and in both halves of another.
    const __m128i first =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi16(units, 4), _unitsOf(0x0F00)), _unitsOf(0xE000));
    const __m128i second =
        _mm_blendv_epi8(_mm_or_si128(upper, _unitsOf(0xC0)),
                        _mm_or_si128(_mm_and_si128(upper, bits), continuation), three);
    const __m128i last =
        _mm_blendv_epi8(units, _mm_or_si128(_mm_and_si128(units, bits), continuation), two);
    const __m128i rest = _mm_or_si128(second, _mm_slli_epi16(last, 8));
    const __m128i keptFirst = _mm_and_si128(three, _unitsOf(0xFF00));
    const __m128i keptRest = _mm_or_si128(two, _unitsOf(0xFF00));
    to = _putBytes(to, _mm_unpacklo_epi16(first, rest),
                   _highBits(_mm_unpacklo_epi16(keptFirst, keptRest)));
    return _putBytes(to, _mm_unpackhi_epi16(first, rest),
                     _highBits(_mm_unpackhi_epi16(keptFirst, keptRest)));
}

// Writes the characters that begin in the first 16 of 18 bytes, which have one to three bytes each.
MORVEL_SSE42 char* _putUtf16(char* to, const unsigned char* p) {
    const __m128i first = LoadBlock(p), second = LoadBlock(p + 1), third = LoadBlock(p + 2);
    // What the last two bytes of a character come to, and what the first of three adds to that.
    const __m128i three = _bytesFrom(first, 0xE0);
    const __m128i upper = _mm_blendv_epi8(first, second, three);
    const __m128i lower = _mm_blendv_epi8(second, third, three);
    const __m128i low = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(upper, 6), _bytesOf(0xC0)),
                                     _mm_and_si128(lower, _bytesOf(0x3F)));
    const __m128i high =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi16(upper, 2), _bytesOf(0x0F)),
                     _mm_and_si128(_mm_slli_epi16(first, 4), _mm_and_si128(three, _bytesOf(0xF0))));
    const __m128i lows = _mm_blendv_epi8(first, low, first);  // by the upper bit of `first`
    const __m128i highs = _mm_blendv_epi8(_mm_setzero_si128(), high, first);

    const unsigned begins = _begins(first);
    __m128i places = _selection(begins & 0xFF);
    _storeBlock(to,
                _mm_unpacklo_epi8(_mm_shuffle_epi8(lows, places), _mm_shuffle_epi8(highs, places)));
    to += 2 * _count(begins & 0xFF);
    places = _mm_or_si128(_selection(begins >> 8), _bytesOf(8));
    _storeBlock(to,
                _mm_unpacklo_epi8(_mm_shuffle_epi8(lows, places), _mm_shuffle_epi8(highs, places)));
    return to + 2 * _count(begins >> 8);
}

// Four blocks, which are looked at together: a text is more often one kind for as long as that than
// it is for a block.
struct Blocks {
    MORVEL_SSE42 explicit Blocks(const unsigned char* p)
        : of{LoadBlock(p), LoadBlock(p + 16), LoadBlock(p + 32), LoadBlock(p + 48)} {}
    __m128i of[4];
};

MORVEL_SSE42 __m128i _union(const Blocks& blocks) {
    return _mm_or_si128(_mm_or_si128(blocks.of[0], blocks.of[1]),
                        _mm_or_si128(blocks.of[2], blocks.of[3]));
}

MORVEL_SSE42 bool _measureLatin1ByBlocks(const unsigned char* p, const unsigned char* end,
                                         std::size_t* length) {
    std::size_t sum = 0;
    for (; end - p >= BlocksSize; p += BlocksSize) {
        const Blocks blocks(p);
        sum += BlocksSize;
        if (_highBits(_union(blocks)) == 0) continue;
        for (const __m128i bytes : blocks.of) sum += _count(_highBits(bytes));
    }
    _measureLatin1(p, end, length);
    *length += sum;
    return true;
}

MORVEL_SSE42 char* _latin1ToUtf8ByBlocks(Places at, const unsigned char* end) {
    for (; end - at.from >= BlocksSize; at.from += BlocksSize) {
        const Blocks blocks(at.from);
        if (_highBits(_union(blocks)) == 0) {
            for (const __m128i bytes : blocks.of) {
                _storeBlock(at.to, bytes);
                at.to += 16;
            }
        } else {
            for (const __m128i bytes : blocks.of) {
                at.to = _putShorts(at.to, _mm_cvtepu8_epi16(bytes));
                at.to = _putShorts(at.to, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
            }
        }
    }
    return _latin1ToUtf8(at, end);
}

MORVEL_SSE42 bool _measureUtf16ByBlocks(const unsigned char* p, const unsigned char* end,
                                        std::size_t* length) {
    std::size_t sum = 0;
    for (; end - p >= BlocksSize; p += BlocksSize) {
        const Blocks blocks(p);
        sum += BlocksSize / 2;
        if (_mm_testz_si128(_union(blocks), _unitsOf(0xFF80)) != 0) continue;
        for (const __m128i units : blocks.of) {
            const __m128i three = _mm_andnot_si128(_surrogates(units), _unitsFrom(units, 0x800));
            sum += _count(_highBits(_mm_packs_epi16(_unitsFrom(units, 0x80), three)));
        }
    }
    if (!_measureUtf16(p, end, length)) return false;
    *length += sum;
    return true;
}

MORVEL_SSE42 char* _utf16ToUtf8ByBlocks(Places at, const unsigned char* end) {
    while (end - at.from >= BlocksSize) {
        const Blocks blocks(at.from);
        const __m128i all = _union(blocks);
        if (_mm_testz_si128(all, _unitsOf(0xFF80)) != 0) {
            _storeBlock(at.to, _mm_packus_epi16(blocks.of[0], blocks.of[1]));
            _storeBlock(at.to + 16, _mm_packus_epi16(blocks.of[2], blocks.of[3]));
            at.to += BlocksSize / 2;
        } else if (_mm_testz_si128(all, _unitsOf(0xF800)) != 0) {
            for (const __m128i units : blocks.of) at.to = _putShorts(at.to, units);
        } else {
            __m128i surrogates = _mm_setzero_si128();
            for (const __m128i units : blocks.of) {
                surrogates = _mm_or_si128(surrogates, _surrogates(units));
            }
            if (_highBits(surrogates) != 0) {
                const unsigned char* stretch = at.from + BlocksSize;
                // A pair is not to be parted.
                if (stretch != end && (_load<std::uint16_t>(stretch - 2) & 0xFC00) == 0xD800) {
                    stretch += 2;
                }
                at.to = _utf16ToUtf8(at, stretch);
                if (at.to == nullptr) return nullptr;
                at.from = stretch;
                continue;
            }
            for (const __m128i units : blocks.of) at.to = _putUnits(at.to, units);
        }
        at.from += BlocksSize;
    }
    return _utf16ToUtf8(at, end);
}

// Whether any character of four bytes begins there.
MORVEL_SSE42 bool _hasFourBytes(const Blocks& blocks) {
    const __m128i greatest = _mm_max_epu8(_mm_max_epu8(blocks.of[0], blocks.of[1]),
                                          _mm_max_epu8(blocks.of[2], blocks.of[3]));
    return _highBits(_bytesFrom(greatest, 0xF0)) != 0;
}

// Of text that isn't known to be well formed, false for all that is malformed.
template <bool Known>
MORVEL_SSE42 bool _measureUtf8ByBlocks(const unsigned char* p, const unsigned char* end,
                                       std::size_t* length) {
    morvel::Utf8Check check;
    std::size_t units = 0;
    for (; end - p >= BlocksSize; p += BlocksSize) {
        const Blocks blocks(p);
        if (_highBits(_union(blocks)) == 0) {
            if (!Known) check.TakeAscii();
            units += BlocksSize;
            continue;
        }
        for (const __m128i bytes : blocks.of) {
            if (!Known) check.Take(bytes);
            units += _count(_begins(bytes));
        }
        if (_hasFourBytes(blocks)) {
            for (const __m128i bytes : blocks.of) {
                units += _count(_highBits(_bytesFrom(bytes, 0xF0)));
            }
        }
    }
    _measureUtf8(p, end, length);
    *length += 2 * units;
    if (Known) return true;
    for (; end - p >= 16; p += 16) check.Take(LoadBlock(p));
    check.Take(morvel::LoadPartOfBlock(p, static_cast<std::size_t>(end - p)));
    return check.Holds();
}

// REQUIRES: the text is well formed.
MORVEL_SSE42 char* _utf8ToUtf16ByBlocks(Places at, const unsigned char* end) {
    while (end - at.from >= BlocksSize + 2) {
        const Blocks blocks(at.from);
        if (_highBits(_union(blocks)) == 0) {
            for (const __m128i bytes : blocks.of) {
                _storeBlock(at.to, _mm_cvtepu8_epi16(bytes));
                _storeBlock(at.to + 16, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
                at.to += 32;
            }
        } else if (!_hasFourBytes(blocks)) {
            for (std::ptrdiff_t block = 0; block < BlocksSize; block += 16) {
                at.to = _putUtf16(at.to, at.from + block);
            }
        } else {
            const unsigned char* stretch = at.from + BlocksSize;
            while (stretch != end && _isContinuation(*stretch)) ++stretch;
            // What stands here of a character that began in front of it is written already.
            while (_isContinuation(*at.from)) ++at.from;
            at.to = _utf8ToUtf16(at, stretch);
            at.from = stretch;
            continue;
        }
        at.from += BlocksSize;
    }
    while (at.from != end && _isContinuation(*at.from)) ++at.from;
    return _utf8ToUtf16(at, end);
}
#endif

// How one of the conversions is done. Either function may find that the text is malformed.
struct Way {
    NStringEncoding from, to;
    bool (*measure)(const unsigned char* p, const unsigned char* end, std::size_t* length);
    char* (*convert)(Places at, const unsigned char* end);
};

constexpr Way portableWays[] = {
    {EncodingLatin1, EncodingUTF8, _measureLatin1, _latin1ToUtf8},
    {EncodingUTF16, EncodingUTF8, _measureUtf16, _utf16ToUtf8},
    {EncodingUTF8, EncodingUTF16, _measureUtf8, _utf8ToUtf16},
    {EncodingASCII, EncodingUTF16, _measureBytes, _asciiToUtf16},
    {EncodingLatin1, EncodingUTF16, _measureBytes, _latin1ToUtf16},
    {EncodingLatin9, EncodingUTF16, _measureBytes, _latin9ToUtf16},
    {EncodingUTF16, EncodingASCII, _measureCharacters, _utf16ToAscii},
    {EncodingUTF16, EncodingLatin1, _measureCharacters, _utf16ToLatin1},
    {EncodingUTF16, EncodingLatin9, _measureCharacters, _utf16ToLatin9},
};

#if MORVEL_HAS_SSE42_CODE
constexpr Way waysByBlocks[] = {
    {EncodingLatin1, EncodingUTF8, _measureLatin1ByBlocks, _latin1ToUtf8ByBlocks},
    {EncodingUTF16, EncodingUTF8, _measureUtf16ByBlocks, _utf16ToUtf8ByBlocks},
    {EncodingUTF8, EncodingUTF16, _measureUtf8ByBlocks<false>, _utf8ToUtf16ByBlocks},
};
constexpr Way knownUtf8ByBlocks = {EncodingUTF8, EncodingUTF16, _measureUtf8ByBlocks<true>,
                                   _utf8ToUtf16ByBlocks};
#endif

template <std::size_t Count>
const Way* _find(const Way (&ways)[Count], NStringEncoding from, NStringEncoding to) {
    const auto way = std::find_if(std::begin(ways), std::end(ways), [&](const Way& candidate) {
        return candidate.from == from && candidate.to == to;
    });
    return way != std::end(ways) ? way : nullptr;
}

const Way* _find(bool byBlocks, NStringEncoding from, NStringEncoding to) {
#if MORVEL_HAS_SSE42_CODE
    const Way* const way = byBlocks ? _find(waysByBlocks, from, to) : nullptr;
    if (way != nullptr) return way;
#else
    static_cast<void>(byBlocks);
#endif
    return _find(portableWays, from, to);
}

// False for malformed text.
bool _go(const Way& way, std::string_view text, std::string* out) {
    const unsigned char* const begin = _bytes(text);
    const unsigned char* const end = begin + text.size();
    std::size_t length = 0;
    if (!way.measure(begin, end, &length)) return false;
    out->resize(length + Slack);
    if (way.convert({begin, &(*out)[0]}, end) == nullptr) return false;
    out->resize(length);
    return true;
}

// Straight, or by way of UTF-16.
bool _convert(bool byBlocks, std::string_view text, NStringEncoding from, NStringEncoding to,
              std::string* out) {
    const Way* const straight = _find(byBlocks, from, to);
    if (straight != nullptr) return _go(*straight, text, out);
    const Way* const first = _find(byBlocks, from, EncodingUTF16);
    const Way* const second = _find(byBlocks, EncodingUTF16, to);
    std::string wide;
    return first != nullptr && second != nullptr && _go(*first, text, &wide) &&
           _go(*second, wide, out);
}

bool _isWorthBlocks(std::string_view text) {
    return text.size() >= std::size_t{BlocksSize} && morvel::platform::HasSse42();
}

}  // namespace

bool morvel::ConvertWellFormed(std::string_view text, NStringEncoding from, NStringEncoding to,
                               std::string* out) {
    return _convert(_isWorthBlocks(text), text, from, to, out);
}

bool morvel::ConvertPortably(std::string_view text, NStringEncoding from, NStringEncoding to,
                             std::string* out) {
    return _convert(false, text, from, to, out);
}

void morvel::Utf16FromKnownUtf8(std::string_view text, std::string* out) {
#if MORVEL_HAS_SSE42_CODE
    if (_isWorthBlocks(text)) {
        _go(knownUtf8ByBlocks, text, out);
        return;
    }
#endif
    ConvertPortably(text, EncodingUTF8, EncodingUTF16, out);
}
