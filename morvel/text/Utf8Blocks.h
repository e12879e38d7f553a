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

/// The upper and the lower half of each byte, as a number up to 15.
MORVEL_SSE42 inline __m128i UpperHalves(__m128i block) {
    return _mm_and_si128(_mm_srli_epi16(block, 4), _mm_set1_epi8(0x0F));
}
MORVEL_SSE42 inline __m128i LowerHalves(__m128i block) {
    return _mm_and_si128(block, _mm_set1_epi8(0x0F));
}

/// A set of halves, given by their hexadecimal digits: bit n stands for a half of value n.
constexpr std::uint16_t Halves(const char* digits) {
    unsigned set = 0;
    for (; *digits != '\0'; ++digits) set |= 1u << (*digits - (*digits <= '9' ? '0' : 'A' - 10));
    return static_cast<std::uint16_t>(set);
}

/// The upper halves by which one knows what a byte is.
constexpr std::uint16_t UpperOfAscii = Halves("01234567");
constexpr std::uint16_t UpperOfContinuation = Halves("89AB");
constexpr std::uint16_t UpperOfFirst = Halves("CDEF");  // of several bytes
constexpr std::uint16_t AnyHalf = 0xFFFF;

/// Eight rules about neighbouring bytes, made into lookups. A rule is a row of sets, one for each
/// of the halves that it looks at, and fits bytes whose halves are all in their sets. So the rules
/// that fit are those that the lookup of each column allows.
template <std::size_t Columns>
class HalfRules {
public:
    constexpr explicit HalfRules(const std::uint16_t (&rows)[8][Columns]) : _tables() {
        for (unsigned row = 0; row < 8; ++row) {
            for (std::size_t column = 0; column < Columns; ++column) {
                for (unsigned half = 0; half < 16; ++half) {
                    _tables[column][half] = static_cast<std::uint8_t>(
                        _tables[column][half] | (rows[row][column] >> half & 1) << row);
                }
            }
        }
    }

    /// For each byte, a half, the rules that have it in their set of the column: bit n is row n.
    MORVEL_SSE42 __m128i Allowed(std::size_t column, __m128i halves) const {
        return _mm_shuffle_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(_tables[column])),
                                halves);
    }

private:
    alignas(16) std::uint8_t _tables[Columns][16];
};

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
        const __m128i pairs = _mm_and_si128(_mm_and_si128(faults.Allowed(0, UpperHalves(before)),
                                                          faults.Allowed(1, LowerHalves(before))),
                                            faults.Allowed(2, UpperHalves(block)));
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

    // A row a fault; both halves of a byte and the upper half of the next.
    static constexpr std::uint16_t rows[8][3] = {
        {UpperOfFirst, AnyHalf, UpperOfAscii | UpperOfFirst},  // cut short
        {UpperOfAscii, AnyHalf, UpperOfContinuation},          // out of nothing
        {Halves("C"), Halves("01"), UpperOfContinuation},      // C0, C1: overlong
        {Halves("E"), Halves("0"), Halves("89")},              // E0 80-9F: overlong
        {Halves("E"), Halves("D"), Halves("AB")},              // ED A0-BF: surrogate
        {Halves("F"), Halves("456789ABCDEF"), Halves("9AB")},  // F4-FF 90-BF: too large
        // F0 80-8F: overlong; F5-FF 80-8F: too large
        {Halves("F"), Halves("056789ABCDEF"), Halves("8")},
        // TwoContinuations, where the second is not one that is due
        {UpperOfContinuation, AnyHalf, UpperOfContinuation},
    };
    static constexpr HalfRules<3> faults{rows};

    __m128i _last, _faults;
};

}  // namespace morvel

#endif
