#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <morvel/platform/processor.h>

// Internal: UTF-8 in blocks of 16 bytes, for processors with SSE 4.2. Whoever includes this file
// uses it between the same #if as what stands in here.
#if MORVEL_HAS_SSE42_CODE

namespace morvel {

/// The 16 bytes at `p`, at any address.
MORVEL_SSE42 inline __m128i LoadBlock(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

/// The `count` bytes at `p`, at most 16, with NULs behind them; nothing else is read.
MORVEL_SSE42 inline __m128i LoadPartOfBlock(const void* p, std::size_t count) {
    alignas(16) unsigned char bytes[16] = {};
    std::memcpy(bytes, p, count);
    return _mm_load_si128(reinterpret_cast<const __m128i*>(bytes));
}

/// Tells whether a text, taken block by block from its beginning, is well-formed UTF-8: no piece of
/// a character, no overlong form, no surrogate, nothing above U+10FFFF. Blocks cut characters as
/// they like.
///
/// Every fault but one shows in two neighbouring bytes, in the two halves of the first and the
/// upper half of the second: three lookups give the faults that each of these allows, and what all
/// three allow is there (Keiser and Lemire, "Validating UTF-8 in less than one instruction per
/// byte", 2021). Two continuation bytes in a row are allowed by that; whether the second one
/// belongs there shows two and three bytes in front of it.
class Utf8Check {
public:
    MORVEL_SSE42 Utf8Check() : _last(_mm_setzero_si128()), _faults(_mm_setzero_si128()) {}

    MORVEL_SSE42 void Take(__m128i block) {
        const __m128i before = _mm_alignr_epi8(block, _last, 15);
        const __m128i half = _mm_set1_epi8(0x0F);
        const __m128i pairs =
            _mm_and_si128(_mm_and_si128(_allowed(0, _mm_and_si128(_mm_srli_epi16(before, 4), half)),
                                        _allowed(1, _mm_and_si128(before, half))),
                          _allowed(2, _mm_and_si128(_mm_srli_epi16(block, 4), half)));
        // The upper bit of these is set behind the first byte of three or four.
        const __m128i third =
            _mm_subs_epu8(_mm_alignr_epi8(block, _last, 14), _mm_set1_epi8(0xE0 - 0x80));
        const __m128i fourth =
            _mm_subs_epu8(_mm_alignr_epi8(block, _last, 13), _mm_set1_epi8(0xF0 - 0x80));
        const __m128i continued =
            _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(TwoContinuations));
        _faults = _mm_or_si128(_faults, _mm_xor_si128(continued, pairs));
        _last = block;
    }

    /// The same for a block that is known to be ASCII.
    MORVEL_SSE42 void TakeAscii() {
        // A byte above one of these begins a character that would have to go on here.
        const __m128i whole =
            _mm_set_epi8(static_cast<char>(0xBF), static_cast<char>(0xDF), static_cast<char>(0xEF),
                         -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
        _faults = _mm_or_si128(_faults, _mm_subs_epu8(_last, whole));
        _last = _mm_setzero_si128();
    }

    /// Whether all that was taken is whole and well-formed.
    MORVEL_SSE42 bool Holds() {
        TakeAscii();
        return _mm_testz_si128(_faults, _faults) != 0;
    }

private:
    static constexpr char TwoContinuations = static_cast<char>(0x80);

    // One row a fault: the halves that allow it. Bit n of a set stands for a half of value n.
    struct Fault {
        std::uint16_t firstUpper, firstLower, secondUpper;
    };
    static constexpr std::uint16_t Any = 0xFFFF, Ascii = 0x00FF, Continuation = 0x0F00;
    static constexpr Fault faults[8] = {
        {0xF000, Any, Ascii | 0xF000},      // the first byte of several, and no continuation
        {Ascii, Any, Continuation},         // ASCII, and a continuation
        {1u << 0xC, 0x0003, Continuation},  // C0, C1: overlong
        {1u << 0xE, 1u << 0x0, 0x0300},     // E0 80-9F: overlong
        {1u << 0xE, 1u << 0xD, 0x0C00},     // ED A0-BF: surrogate
        {1u << 0xF, 0xFFF0, 0x0E00},        // F4-FF 90-BF: too large
        {1u << 0xF, 0xFFE1, 0x0100},        // F0 80-8F: overlong; F5-FF 80-8F: too large
        {Continuation, Any,
         Continuation},  // TwoContinuations, where the second is not one that is due
    };

    struct Tables {
        constexpr Tables() : of() {
            for (unsigned row = 0; row < 8; ++row) {
                for (unsigned half = 0; half < 16; ++half) {
                    of[0][half] |=
                        static_cast<std::uint8_t>((faults[row].firstUpper >> half & 1) << row);
                    of[1][half] |=
                        static_cast<std::uint8_t>((faults[row].firstLower >> half & 1) << row);
                    of[2][half] |=
                        static_cast<std::uint8_t>((faults[row].secondUpper >> half & 1) << row);
                }
            }
        }
        alignas(16) std::uint8_t of[3][16];
    };

    MORVEL_SSE42 static __m128i _allowed(int table, __m128i halves) {
        static constexpr Tables tables;
        return _mm_shuffle_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(tables.of[table])),
                                halves);
    }

    __m128i _last, _faults;
};

}  // namespace morvel

#endif
