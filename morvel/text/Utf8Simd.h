#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <morvel/platform/processor.h>

// Internal: UTF-8 in 16-byte blocks, for processors with SSE 4.2. Whoever includes this file uses
// it between the same #if as what stands in here.
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

/// The upper and the lower nibble of each byte, as a number up to 15.
MORVEL_SSE42 inline __m128i UpperNibbles(__m128i block) {
    return _mm_and_si128(_mm_srli_epi16(block, 4), _mm_set1_epi8(0x0F));
}
MORVEL_SSE42 inline __m128i LowerNibbles(__m128i block) {
    return _mm_and_si128(block, _mm_set1_epi8(0x0F));
}

/// A set of nibbles, given by their hexadecimal digits: bit n stands for the value n.
constexpr std::uint16_t Nibbles(const char* digits) {
    unsigned set = 0;
    for (; *digits != '\0'; ++digits) set |= 1u << (*digits - (*digits <= '9' ? '0' : 'A' - 10));
    return static_cast<std::uint16_t>(set);
}

/// The upper nibbles that tell what a byte is.
constexpr std::uint16_t Ascii = Nibbles("01234567");
constexpr std::uint16_t Continuation = Nibbles("89AB");
constexpr std::uint16_t LeadByte = Nibbles("CDEF");  // of several bytes
constexpr std::uint16_t AnyNibble = 0xFFFF;

/// Eight rules about neighbouring bytes, made into lookups. A rule is a row of sets, one for each
/// nibble that it looks at, and fits where each nibble is in its set. So the rules that fit are
/// those that the lookup of each column allows.
template <std::size_t Columns>
class NibbleRules {
public:
    constexpr explicit NibbleRules(const std::uint16_t (&rows)[8][Columns]) : _tables() {
        for (unsigned row = 0; row < 8; ++row) {
            for (std::size_t column = 0; column < Columns; ++column) {
                for (unsigned nibble = 0; nibble < 16; ++nibble) {
                    _tables[column][nibble] = static_cast<std::uint8_t>(
                        _tables[column][nibble] | (rows[row][column] >> nibble & 1) << row);
                }
            }
        }
    }

    /// For each byte, a nibble, the rules that have it in their set of the column: bit n is row n.
    MORVEL_SSE42 __m128i Allowed(std::size_t column, __m128i nibbles) const {
        return _mm_shuffle_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(_tables[column])),
                                nibbles);
    }

private:
    alignas(16) std::uint8_t _tables[Columns][16];
};

/// Whether the text is well-formed UTF-8: no character that is cut, no overlong form, no surrogate,
/// nothing above U+10FFFF.
///
/// Every fault but one shows in two neighbouring bytes, in the two nibbles of the first and the
/// upper nibble of the second: three lookups give the faults that each of these allows, and what
/// all three allow is there (Keiser and Lemire, "Validating UTF-8 in less than one instruction per
/// byte", 2021). Two continuation bytes in a row are allowed by that; whether the second one
/// belongs there shows two and three bytes in front of it.
MORVEL_SSE42 inline bool IsWellFormedUtf8(const unsigned char* p, const unsigned char* end) {
    constexpr char TwoContinuations = static_cast<char>(0x80);
    // A row a fault; both nibbles of a byte and the upper one of the next.
    static constexpr std::uint16_t Rows[8][3] = {
        {LeadByte, AnyNibble, Ascii | LeadByte},                  // cut short
        {Ascii, AnyNibble, Continuation},                         // announced by nothing
        {Nibbles("C"), Nibbles("01"), Continuation},              // C0, C1: overlong
        {Nibbles("E"), Nibbles("0"), Nibbles("89")},              // E0 80-9F: overlong
        {Nibbles("E"), Nibbles("D"), Nibbles("AB")},              // ED A0-BF: surrogate
        {Nibbles("F"), Nibbles("456789ABCDEF"), Nibbles("9AB")},  // F4-FF 90-BF: too large
        {Nibbles("F"), Nibbles("056789ABCDEF"), Nibbles("8")},    // overlong or too large
        {Continuation, AnyNibble, Continuation},                  // TwoContinuations
    };
    static constexpr NibbleRules<3> Faults{Rows};

    __m128i last = _mm_setzero_si128(), faults = last;
    for (bool more = true; more; p += 16) {
        more = end - p >= 16;
        // At least one NUL stands behind the end, where a character that is cut would have to go
        // on.
        const __m128i block =
            more ? LoadBlock(p) : LoadPartOfBlock(p, static_cast<std::size_t>(end - p));
        const __m128i before = _mm_alignr_epi8(block, last, 15);
        const __m128i pairs = _mm_and_si128(_mm_and_si128(Faults.Allowed(0, UpperNibbles(before)),
                                                          Faults.Allowed(1, LowerNibbles(before))),
                                            Faults.Allowed(2, UpperNibbles(block)));
        // The high bit of these is set where a lead byte of three or four announces a byte.
        const __m128i third =
            _mm_subs_epu8(_mm_alignr_epi8(block, last, 14), _mm_set1_epi8(0xE0 - 0x80));
        const __m128i fourth =
            _mm_subs_epu8(_mm_alignr_epi8(block, last, 13), _mm_set1_epi8(0xF0 - 0x80));
        const __m128i announced =
            _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(TwoContinuations));
        faults = _mm_or_si128(faults, _mm_xor_si128(announced, pairs));
        last = block;
    }
    return _mm_testz_si128(faults, faults) != 0;
}

}  // namespace morvel

#endif
