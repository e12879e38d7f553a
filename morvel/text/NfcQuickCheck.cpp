// The quick check of Unicode Standard Annex 15, on bytes. Covered by NormalizationTest, which runs
// the portable check and the SIMD one against each other and against utf8proc.
#include <morvel/text/NfcQuickCheck.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <morvel/platform/Codecs.h>
#include <morvel/platform/processor.h>
#include <morvel/text/Utf8Simd.h>

namespace {

constexpr std::ptrdiff_t BlocksSize = 64;  // bytes that SIMD code classifies together

constexpr auto IsContinuation = morvel::Utf8Codec::IsContinuation;

// Code points with NFC_Quick_Check=Yes and combining class 0, by lead bytes and the second bytes
// that may follow them. Coarse where others lie close together; what the third byte decides is
// left to _yesLength.
constexpr struct {
    std::uint8_t firstLead, lastLead, firstSecond, lastSecond;
} YesRanges[] = {
    {0xC2, 0xCB, 0x80, 0xBF}, {0xCE, 0xCE, 0x80, 0x86}, {0xCE, 0xCE, 0x88, 0xBF},
    {0xCF, 0xD1, 0x80, 0xBF}, {0xD2, 0xD2, 0x80, 0x82}, {0xD2, 0xD2, 0x88, 0xBF},
    {0xD3, 0xD5, 0x80, 0xBF}, {0xDA, 0xDA, 0x80, 0xBF}, {0xDE, 0xDE, 0x80, 0xBF},
    {0xE1, 0xE1, 0xB8, 0xBC}, {0xE2, 0xE2, 0x80, 0x82}, {0xE2, 0xE2, 0x85, 0x8B},
    {0xE2, 0xE2, 0x8D, 0xAA}, {0xE2, 0xE2, 0xAC, 0xB2}, {0xE2, 0xE2, 0xB4, 0xB4},
    {0xE2, 0xE2, 0xB6, 0xB6}, {0xE2, 0xE2, 0xB8, 0xBF}, {0xE3, 0xE9, 0x80, 0xBF},
    {0xEA, 0xEA, 0xB0, 0xBF}, {0xEB, 0xEC, 0x80, 0xBF}, {0xED, 0xED, 0x80, 0x9F},
    {0xEE, 0xEE, 0x80, 0xBF}, {0xEF, 0xEF, 0x80, 0xA3}, {0xEF, 0xEF, 0xAE, 0xB7},
    {0xEF, 0xEF, 0xB9, 0xBF}, {0xF0, 0xF0, 0x9F, 0x9F}, {0xF0, 0xF0, 0xA0, 0xAE},
};

// For each lead byte the second bytes of those ranges: bit n stands for 80 + n.
struct SecondBytes {
    constexpr SecondBytes() : of() {
        for (const auto& range : YesRanges) {
            for (unsigned lead = range.firstLead; lead <= range.lastLead; ++lead) {
                for (unsigned second = range.firstSecond; second <= range.lastSecond; ++second) {
                    of[lead] |= std::uint64_t{1} << (second - 0x80);
                }
            }
        }
    }
    std::uint64_t of[256];
};
constexpr SecondBytes YesSecondBytes;

// The length of the character at `p` if it is well formed and one of the above, else 0.
std::ptrdiff_t _yesLength(const unsigned char* p, std::ptrdiff_t left) {
    const std::ptrdiff_t length = *p < 0xE0 ? 2 : *p < 0xF0 ? 3 : 4;
    if (left < length || !std::all_of(p + 1, p + length, IsContinuation) ||
        (YesSecondBytes.of[*p] >> (p[1] & 0x3F) & 1) == 0) {
        return 0;
    }
    const bool no =
        (p[0] == 0xE2 && p[1] == 0x80 && p[2] <= 0x81) ||                  // U+2000, 2001
        (p[0] == 0xE3 && p[1] == 0x80 && p[2] >= 0xAA && p[2] <= 0xAF) ||  // U+302A-302F
        (p[0] == 0xE3 && p[1] == 0x82 && (p[2] == 0x99 || p[2] == 0x9A));  // U+3099, 309A
    return no ? 0 : length;
}

// Skips characters that pass until one begins at `stop` or behind it; null where one doesn't.
const unsigned char* _skipYes(const unsigned char* p, const unsigned char* stop,
                              const unsigned char* end) {
    while (p < stop) {
        if (*p <= 0x7F && *p != 0) {
            p = morvel::SkipAscii(p, end);
            continue;
        }
        const std::ptrdiff_t length = _yesLength(p, end - p);
        if (length == 0) return nullptr;
        p += length;
    }
    return p;
}

#if MORVEL_HAS_SSE42_CODE

using morvel::AnyNibble;
using morvel::Ascii;
using morvel::Continuation;
using morvel::LeadByte;
using morvel::Nibbles;

// What isn't in the ranges above, as rules about the two nibbles of a byte and the upper nibble of
// the next. Coarser where that saves a rule, and all of F0-FF: the portable check has the last word
// on what fits a rule.
constexpr std::uint16_t PairRows[8][3] = {
    {LeadByte, AnyNibble, Ascii | LeadByte},    // cut short
    {Nibbles("0CE"), Nibbles("0"), AnyNibble},  // NUL, C0, E0
    {Nibbles("C"), Nibbles("1CD"), AnyNibble},
    {Nibbles("D"), Nibbles("6789BCDF"), AnyNibble},
    {Nibbles("E"), Nibbles("1A"), Nibbles("89")},
    {Nibbles("E"), Nibbles("12ADF"), Nibbles("A")},
    {Nibbles("E"), Nibbles("2D"), Nibbles("B")},
    // Unannounced: a continuation byte behind anything but a lead byte of two or three. It has to
    // be there just where a lead byte of three is two bytes in front.
    {Nibbles("0123456789ABF"), AnyNibble, Continuation},
};
constexpr char Unannounced = static_cast<char>(0x80);

// What takes more bytes to tell: the lower nibble of one, then two whole ones. Where the first one
// matters, its upper nibble is E: anything else in front of two continuation bytes is unannounced.
constexpr std::uint16_t CharacterRows[8][5] = {
    {Nibbles("2"), Nibbles("8"), Nibbles("0"), Nibbles("8"), Nibbles("01")},      // E2 80 80-81
    {Nibbles("3"), Nibbles("8"), Nibbles("0"), Nibbles("A"), Nibbles("ABCDEF")},  // E3 80 AA-AF
    {Nibbles("3"), Nibbles("8"), Nibbles("2"), Nibbles("9"), Nibbles("9A")},      // E3 82 99-9A
    {AnyNibble, Nibbles("C"), Nibbles("E"), Nibbles("8"), Nibbles("7")},          // CE 87
    {AnyNibble, Nibbles("D"), Nibbles("2"), Nibbles("8"), Nibbles("34567")},      // D2 83-87
    // E1 B0-B7, BD-BF
    {AnyNibble, Nibbles("E"), Nibbles("1"), Nibbles("B"), Nibbles("01234567DEF")},
    {AnyNibble, Nibbles("E"), Nibbles("2"), Nibbles("8"), Nibbles("34C")},  // E2 83, 84, 8C
    {AnyNibble, Nibbles("E"), Nibbles("F"), Nibbles("B"), Nibbles("8")},    // EF B8
};

constexpr morvel::NibbleRules<3> PairRules(PairRows);
constexpr morvel::NibbleRules<5> CharacterRules(CharacterRows);

// Not zero where a rule fits at one of the 16 bytes at `p`, which are added to `*all`. REQUIRES:
// two bytes of text in front.
MORVEL_SSE42 inline __m128i _fitting(const unsigned char* p, __m128i* all) {
    // Not LoadBlock: compilers take that for free and load again for each use.
    const __m128i bytes = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i before = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p - 1));
    const __m128i twoBefore = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p - 2));
    *all = _mm_or_si128(*all, bytes);
    const __m128i upper = morvel::UpperNibbles(bytes);
    const __m128i beforeUpper = morvel::UpperNibbles(before);
    const __m128i beforeLower = morvel::LowerNibbles(before);

    const __m128i pairs = _mm_and_si128(
        _mm_and_si128(PairRules.Allowed(0, beforeUpper), PairRules.Allowed(1, beforeLower)),
        PairRules.Allowed(2, upper));
    const __m128i announced = _mm_and_si128(_mm_subs_epu8(twoBefore, _mm_set1_epi8(0xE0 - 0x80)),
                                            _mm_set1_epi8(Unannounced));
    const __m128i characters =
        _mm_and_si128(_mm_and_si128(CharacterRules.Allowed(0, morvel::LowerNibbles(twoBefore)),
                                    _mm_and_si128(CharacterRules.Allowed(1, beforeUpper),
                                                  CharacterRules.Allowed(2, beforeLower))),
                      _mm_and_si128(CharacterRules.Allowed(3, upper),
                                    CharacterRules.Allowed(4, morvel::LowerNibbles(bytes))));
    return _mm_or_si128(_mm_xor_si128(pairs, announced), characters);
}

// The start of the character that the byte at `p`, of text that passed, belongs to.
const unsigned char* _startOf(const unsigned char* p) {
    while (IsContinuation(*p)) --p;
    return p;
}

MORVEL_SSE42 bool _checkSse42(const unsigned char* p, const unsigned char* end) {
    while ((p = morvel::SkipAscii(p, end)) != end) {
        p = _skipYes(p, p + 1, end);  // two bytes at least, which _fitting needs in front
        for (bool ascii = false; !ascii;) {
            // All in front of `p` passed, but a character that has begun there may be cut short.
            if (p == nullptr) return false;
            if (end - p < 16) return _skipYes(_startOf(p - 1), end, end) != nullptr;
            const unsigned char* const stop = p + std::min(BlocksSize, (end - p) & ~15);
            __m128i fitting = _mm_setzero_si128(), all = fitting;
            for (const unsigned char* block = p; block != stop; block += 16) {
                fitting = _mm_or_si128(fitting, _fitting(block, &all));
            }
            if (_mm_testz_si128(fitting, fitting) == 0) {
                p = _skipYes(_startOf(p - 1), stop, end);
            } else {
                ascii = _mm_movemask_epi8(all) == 0;
                p = stop - (ascii ? 1 : 0);  // the last may be a NUL
            }
        }
    }
    return true;
}

#endif

const unsigned char* _begin(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

const unsigned char* morvel::SkipAscii(const unsigned char* p, const unsigned char* end) {
#if MORVEL_HAS_SSE42_CODE
    // No more than every x86-64 has: signed, 01 to 7F are the bytes above 0.
    for (; end - p >= BlocksSize; p += BlocksSize) {
        __m128i ascii = _mm_set1_epi8(-1);
        for (std::ptrdiff_t i = 0; i < BlocksSize; i += 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            ascii = _mm_and_si128(ascii, _mm_cmpgt_epi8(block, _mm_setzero_si128()));
        }
        if (_mm_movemask_epi8(ascii) != 0xFFFF) break;
    }
#endif
    for (; end - p >= 8; p += 8) {
        // Only bytes from 01 to 7F have no high bit, neither they nor they less one.
        std::uint64_t word;
        std::memcpy(&word, p, sizeof word);
        if ((((word - 0x0101010101010101) | word) & 0x8080808080808080) != 0) break;
    }
    while (p != end && *p >= 0x01 && *p <= 0x7F) ++p;
    return p;
}

bool morvel::IsAscii(std::string_view text) {
    const unsigned char* const end = _begin(text) + text.size();
    return SkipAscii(_begin(text), end) == end;
}

bool morvel::NfcQuickCheck(std::string_view text) {
#if MORVEL_HAS_SSE42_CODE
    const unsigned char* const end = _begin(text) + text.size();
    const unsigned char* const p = SkipAscii(_begin(text), end);
    if (p == end) return true;
    if (platform::HasSse42()) return _checkSse42(p, end);
#endif
    return NfcQuickCheckPortable(text);
}

bool morvel::NfcQuickCheckPortable(std::string_view text) {
    const unsigned char* const end = _begin(text) + text.size();
    return _skipYes(_begin(text), end, end) != nullptr;
}
