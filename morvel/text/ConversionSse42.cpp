// UTF-8, UTF-16 and Latin-1 into each other in 16-byte blocks. Branch-free within a block: compute
// every candidate byte or unit, then compact with a shuffle table. What is rare (surrogates, code
// points of four bytes, malformed text) and the end of a text go to the portable loop. Covered by
// ConversionTest, which runs both.
#include <cstddef>
#include <cstdint>

#include <morvel/platform/Codecs.h>
#include <morvel/platform/processor.h>
#include <morvel/text/Conversion.h>
#include <morvel/text/Utf8Simd.h>

#if MORVEL_HAS_SSE42_CODE

using morvel::LoadBlock;
using morvel::PortableTranscoder;

constexpr auto IsContinuation = morvel::Utf8Codec::IsContinuation;

namespace {

// Four blocks, which are classified together: a text more often stays ASCII, or something else, for
// that long than its branches would be predicted block by block.
constexpr std::ptrdiff_t BlocksSize = 64;
struct Blocks {
    MORVEL_SSE42 explicit Blocks(const unsigned char* p)
        : of{LoadBlock(p), LoadBlock(p + 16), LoadBlock(p + 32), LoadBlock(p + 48)} {}
    __m128i of[4];
};

MORVEL_SSE42 __m128i _union(const Blocks& blocks) {
    return _mm_or_si128(_mm_or_si128(blocks.of[0], blocks.of[1]),
                        _mm_or_si128(blocks.of[2], blocks.of[3]));
}

// For each set of lanes out of eight, the lanes in the set, in their order.
struct CompactingShuffles {
    constexpr CompactingShuffles() : of() {
        for (unsigned set = 0; set < 256; ++set) {
            unsigned count = 0;
            for (unsigned lane = 0; lane < 8; ++lane) {
                if ((set >> lane & 1) != 0) of[set][count++] = static_cast<std::uint8_t>(lane);
            }
        }
    }
    alignas(8) std::uint8_t of[256][8];
};
constexpr CompactingShuffles Shuffles;

MORVEL_SSE42 __m128i _shuffle(unsigned set) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(Shuffles.of[set]));
}

MORVEL_SSE42 __m128i _bytesOf(unsigned byte) {
    return _mm_set1_epi8(static_cast<char>(byte));
}

MORVEL_SSE42 __m128i _unitsOf(unsigned unit) {
    return _mm_set1_epi16(static_cast<short>(unit));
}

// All bits set in the lanes that are at least `least`.
MORVEL_SSE42 __m128i _bytesFrom(__m128i bytes, unsigned least) {
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, _bytesOf(least)), bytes);
}

MORVEL_SSE42 __m128i _unitsFrom(__m128i units, unsigned least) {
    return _mm_cmpeq_epi16(_mm_max_epu16(units, _unitsOf(least)), units);
}

MORVEL_SSE42 unsigned _highBits(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

MORVEL_SSE42 std::size_t _count(unsigned set) {
    return static_cast<std::size_t>(_mm_popcnt_u32(set));
}

MORVEL_SSE42 void _storeBlock(char* to, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

// Writes the bytes whose lane is in `kept`.
MORVEL_SSE42 char* _putBytes(char* to, __m128i bytes, unsigned kept) {
    const __m128i low = _shuffle(kept & 0xFF);
    const __m128i high = _mm_or_si128(_shuffle(kept >> 8), _bytesOf(8));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, low));
    to += _count(kept & 0xFF);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi8(bytes, high));
    return to + _count(kept >> 8);
}

// Writes eight code points below U+0800 as UTF-8.
MORVEL_SSE42 char* _putUtf8Below800(char* to, __m128i units) {
    const __m128i two = _unitsFrom(units, 0x80);
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 6), _unitsOf(0xC0));
    const __m128i continuation = _mm_slli_epi16(_mm_and_si128(units, _unitsOf(0x3F)), 8);
    const __m128i both = _mm_or_si128(_mm_or_si128(lead, continuation), _unitsOf(0x8000));
    return _putBytes(to, _mm_blendv_epi8(units, both, two),
                     _highBits(_mm_or_si128(two, _unitsOf(0x00FF))));
}

// Writes eight code points, none of them a surrogate, as UTF-8.
MORVEL_SSE42 char* _putUtf8(char* to, __m128i units) {
    const __m128i two = _unitsFrom(units, 0x80), three = _unitsFrom(units, 0x800);
    const __m128i continuation = _unitsOf(0x80), bits = _unitsOf(0x3F);
    const __m128i upper = _mm_srli_epi16(units, 6);
    // The lead byte of three in the upper half of one unit, the other two bytes in a second one.
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

// Writes the code points that begin in the first 16 of 18 bytes and have up to three bytes each.
MORVEL_SSE42 char* _putUtf16(char* to, const unsigned char* p) {
    const __m128i first = LoadBlock(p), second = LoadBlock(p + 1), third = LoadBlock(p + 2);
    // What the last two bytes of a character come to, and what the lead byte of three adds.
    const __m128i three = _bytesFrom(first, 0xE0);
    const __m128i upper = _mm_blendv_epi8(first, second, three);
    const __m128i lower = _mm_blendv_epi8(second, third, three);
    const __m128i low = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(upper, 6), _bytesOf(0xC0)),
                                     _mm_and_si128(lower, _bytesOf(0x3F)));
    const __m128i high =
        _mm_or_si128(_mm_and_si128(_mm_srli_epi16(upper, 2), _bytesOf(0x0F)),
                     _mm_and_si128(_mm_slli_epi16(first, 4), _mm_and_si128(three, _bytesOf(0xF0))));
    const __m128i lows = _mm_blendv_epi8(first, low, first);  // by the high bit of `first`
    const __m128i highs = _mm_blendv_epi8(_mm_setzero_si128(), high, first);

    // Signed, the continuation bytes 80 to BF are the lowest there are.
    const unsigned begins = _highBits(_mm_cmpgt_epi8(first, _bytesOf(0xBF)));
    __m128i shuffle = _shuffle(begins & 0xFF);
    _storeBlock(
        to, _mm_unpacklo_epi8(_mm_shuffle_epi8(lows, shuffle), _mm_shuffle_epi8(highs, shuffle)));
    to += 2 * _count(begins & 0xFF);
    shuffle = _mm_or_si128(_shuffle(begins >> 8), _bytesOf(8));
    _storeBlock(
        to, _mm_unpacklo_epi8(_mm_shuffle_epi8(lows, shuffle), _mm_shuffle_epi8(highs, shuffle)));
    return to + 2 * _count(begins >> 8);
}

MORVEL_SSE42 char* _latin1ToUtf8(const unsigned char*& from, const unsigned char* stop,
                                 const unsigned char* end, char* to) {
    const unsigned char* p = from;
    for (; stop - p >= BlocksSize; p += BlocksSize) {
        const Blocks blocks(p);
        const bool ascii = _highBits(_union(blocks)) == 0;
        for (const __m128i bytes : blocks.of) {
            if (ascii) {
                _storeBlock(to, bytes);
                to += 16;
            } else {
                to = _putUtf8Below800(to, _mm_cvtepu8_epi16(bytes));
                to = _putUtf8Below800(to, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
            }
        }
    }
    from = p;
    return PortableTranscoder(EncodingLatin1, EncodingUTF8)(from, stop, end, to);
}

MORVEL_SSE42 char* _utf16ToUtf8(const unsigned char*& from, const unsigned char* stop,
                                const unsigned char* end, char* to) {
    const unsigned char* p = from;
    const morvel::Transcoder portable = PortableTranscoder(EncodingUTF16, EncodingUTF8);
    while (stop - p >= BlocksSize) {
        const Blocks blocks(p);
        const __m128i all = _union(blocks);
        if (_mm_testz_si128(all, _unitsOf(0xFF80)) != 0) {
            _storeBlock(to, _mm_packus_epi16(blocks.of[0], blocks.of[1]));
            _storeBlock(to + 16, _mm_packus_epi16(blocks.of[2], blocks.of[3]));
            to += BlocksSize / 2;
        } else if (_mm_testz_si128(all, _unitsOf(0xF800)) != 0) {
            for (const __m128i units : blocks.of) to = _putUtf8Below800(to, units);
        } else {
            __m128i surrogates = _mm_setzero_si128();
            for (const __m128i units : blocks.of) {
                const __m128i heads = _mm_and_si128(units, _unitsOf(0xF800));
                surrogates = _mm_or_si128(surrogates, _mm_cmpeq_epi16(heads, _unitsOf(0xD800)));
            }
            if (_highBits(surrogates) != 0) {
                from = p;
                to = portable(from, p + BlocksSize, end, to);
                p = from;
                continue;
            }
            for (const __m128i units : blocks.of) to = _putUtf8(to, units);
        }
        p += BlocksSize;
    }
    from = p;
    return portable(from, stop, end, to);
}

MORVEL_SSE42 char* _utf8ToUtf16(const unsigned char*& from, const unsigned char* stop,
                                const unsigned char* end, char* to) {
    const morvel::Transcoder portable = PortableTranscoder(EncodingUTF8, EncodingUTF16);
    const unsigned char* whole = stop;  // the end of the last character that is all there
    while (whole != end && whole != from && IsContinuation(*whole)) --whole;

    bool ascii = true;
    const unsigned char* p = from;
    for (; whole - p >= BlocksSize + 2; p += BlocksSize) {
        const Blocks blocks(p);
        if (_highBits(_union(blocks)) == 0) {
            for (const __m128i bytes : blocks.of) {
                _storeBlock(to, _mm_cvtepu8_epi16(bytes));
                _storeBlock(to + 16, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
                to += 32;
            }
            continue;
        }
        if (ascii && !morvel::IsWellFormedUtf8(p, whole)) break;
        ascii = false;
        const __m128i greatest = _mm_max_epu8(_mm_max_epu8(blocks.of[0], blocks.of[1]),
                                              _mm_max_epu8(blocks.of[2], blocks.of[3]));
        if (_highBits(_bytesFrom(greatest, 0xF0)) == 0) {
            for (std::ptrdiff_t i = 0; i < BlocksSize; i += 16) to = _putUtf16(to, p + i);
        } else {
            const unsigned char* next = p;
            while (IsContinuation(*next)) ++next;
            to = portable(next, p + BlocksSize, end, to);
        }
    }
    // What stands here of a character that began in front is written already.
    while (!ascii && p != whole && IsContinuation(*p)) ++p;
    from = p;
    return portable(from, stop, end, to);
}

}  // namespace

morvel::Transcoder morvel::Sse42Transcoder(NStringEncoding from, NStringEncoding to) {
    if (!platform::HasSse42()) return nullptr;
    if (from == EncodingUTF8 && to == EncodingUTF16) return _utf8ToUtf16;
    if (from == EncodingUTF16 && to == EncodingUTF8) return _utf16ToUtf8;
    if (from == EncodingLatin1 && to == EncodingUTF8) return _latin1ToUtf8;
    return nullptr;
}

#else

morvel::Transcoder morvel::Sse42Transcoder(NStringEncoding, NStringEncoding) {
    return nullptr;
}

#endif
