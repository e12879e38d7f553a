// The normaliser is utf8proc. Around it stand a skip in front, for text that comes out as it went
// in, by vector code and without, and a guard, since utf8proc's time is quadratic in a run of badly
// ordered combining marks; ASCII goes around it. Covered by NormalizationTest.
#include <morvel/text/Normalization.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <utf8proc.h>

#include <morvel/platform/processor.h>
#include <morvel/text/Utf8Simd.h>

namespace {

using Normalizer = utf8proc_uint8_t* (*)(const utf8proc_uint8_t*);

Normalizer _normalizer(NStringForm form) {
    switch (form) {
        case FormNFD:
            return utf8proc_NFD;
        case FormNFKD:
            return utf8proc_NFKD;
        case FormNFC:
            return utf8proc_NFC;
        case FormNFKC:
            return utf8proc_NFKC;
        case FormUnknown:
            break;
    }
    return nullptr;
}

const unsigned char* _bytes(const char* text) {
    return reinterpret_cast<const unsigned char*>(text);
}

constexpr std::ptrdiff_t Stretch = 64;  // bytes that are looked at together

const unsigned char* _skipAscii(const unsigned char* p, const unsigned char* end) {
#if MORVEL_HAS_SSE42_CODE
    // No more than every x86-64 has: signed, 01 to 7F are the bytes above 0.
    for (; end - p >= Stretch; p += Stretch) {
        __m128i ascii = _mm_set1_epi8(-1);
        for (std::ptrdiff_t at = 0; at < Stretch; at += 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + at));
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

bool _isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// The length of the character at `p` if it is well formed and one of those that NFC leaves alone
// whatever of their kind stands around it, else 0. Left out are characters that decompose for good,
// have a combining class, or join with one before them; the lines are coarse where such lie close
// together.
int _plainCharacter(const unsigned char* p, std::ptrdiff_t left) {
    const unsigned char a = p[0];
    if (left < 2 || a < 0xC2 || !_isContinuation(p[1])) return 0;
    const unsigned char b = p[1];
    if (a <= 0xCB) return 2;
    if (a <= 0xDF) {
        switch (a) {
            case 0xCE:
                return b != 0x87 ? 2 : 0;
            case 0xD2:
                return b < 0x83 || b > 0x87 ? 2 : 0;
            case 0xCF:
            case 0xD0:
            case 0xD1:
            case 0xD3:
            case 0xD4:
            case 0xD5:
            case 0xDA:
            case 0xDE:
                return 2;
            default:
                return 0;
        }
    }
    if (left < 3 || !_isContinuation(p[2])) return 0;
    const unsigned char c = p[2];
    switch (a) {
        case 0xE1:
            return b >= 0xB8 && b <= 0xBC ? 3 : 0;
        case 0xE2:
            if (b == 0x80) return c >= 0x82 ? 3 : 0;
            return b != 0x83 && b != 0x84 && b != 0x8C && b != 0xAB && b != 0xB3 && b != 0xB5 &&
                           b != 0xB7
                       ? 3
                       : 0;
        case 0xE3:
            if (b == 0x80) return c < 0xAA || c > 0xAF ? 3 : 0;
            if (b == 0x82) return c != 0x99 && c != 0x9A ? 3 : 0;
            return 3;
        case 0xE4:
        case 0xE5:
        case 0xE6:
        case 0xE7:
        case 0xE8:
        case 0xE9:
        case 0xEB:
        case 0xEC:
        case 0xEE:
            return 3;
        case 0xEA:
            return b >= 0xB0 ? 3 : 0;
        case 0xED:
            return b < 0xA0 ? 3 : 0;
        case 0xEF:
            return b < 0xA4 || (b > 0xAD && b != 0xB8) ? 3 : 0;
        case 0xF0:
            if (left < 4 || !_isContinuation(p[3])) return 0;
            return b == 0x9F || (b >= 0xA0 && b <= 0xAE) ? 4 : 0;
        default:
            return 0;
    }
}

// Skips plain characters from `p` on until one begins at `stop` or behind it; null where one isn't
// plain.
const unsigned char* _skipPlain(const unsigned char* p, const unsigned char* stop,
                                const unsigned char* end) {
    while (p < stop) {
        if (*p <= 0x7F && *p != 0) {
            p = _skipAscii(p, end);
            continue;
        }
        const int length = _plainCharacter(p, end - p);
        if (length == 0) return nullptr;
        p += length;
    }
    return p;
}

#if MORVEL_HAS_SSE42_CODE

// The start of the plain character that the byte at `p` belongs to.
const unsigned char* _startOf(const unsigned char* p) {
    while (_isContinuation(*p)) --p;
    return p;
}

using morvel::AnyNibble;
using morvel::Ascii;
using morvel::Continuation;
using morvel::LeadByte;
using morvel::Nibbles;

// What _plainCharacter leaves out, as rules about a byte and the upper half of the next. Coarser
// where that saves a rule, and all of F0-FF: what fits a rule is looked at again by itself.
constexpr std::uint16_t pairRows[8][3] = {
    {LeadByte, AnyNibble, Ascii | LeadByte},    // cut short
    {Nibbles("0CE"), Nibbles("0"), AnyNibble},  // NUL, C0, E0
    {Nibbles("C"), Nibbles("1CD"), AnyNibble},
    {Nibbles("D"), Nibbles("6789BCDF"), AnyNibble},
    {Nibbles("E"), Nibbles("1A"), Nibbles("89")},
    {Nibbles("E"), Nibbles("12ADF"), Nibbles("A")},
    {Nibbles("E"), Nibbles("2D"), Nibbles("B")},
    // Unexpected: a continuation byte behind anything but a first byte of two or three. It has to
    // be there just where a first byte of three is two bytes in front.
    {Nibbles("0123456789ABF"), AnyNibble, Continuation},
};
constexpr char Unexpected = static_cast<char>(0x80);

// What takes more bytes to tell: the lower half of one, then two whole ones. If that one matters,
// its upper half is E: anything else in front of two continuation bytes fits Unexpected.
constexpr std::uint16_t characterRows[8][5] = {
    {Nibbles("2"), Nibbles("8"), Nibbles("0"), Nibbles("8"), Nibbles("01")},      // E2 80 80-81
    {Nibbles("3"), Nibbles("8"), Nibbles("0"), Nibbles("A"), Nibbles("ABCDEF")},  // E3 80 AA-AF
    {Nibbles("3"), Nibbles("8"), Nibbles("2"), Nibbles("9"), Nibbles("9A")},      // E3 82 99-9A
    {AnyNibble, Nibbles("C"), Nibbles("E"), Nibbles("8"), Nibbles("7")},          // CE 87
    {AnyNibble, Nibbles("D"), Nibbles("2"), Nibbles("8"), Nibbles("34567")},      // D2 83-87
    {AnyNibble, Nibbles("E"), Nibbles("1"), Nibbles("B"),
     Nibbles("01234567DEF")},                                               // E1 B0-B7, BD-BF
    {AnyNibble, Nibbles("E"), Nibbles("2"), Nibbles("8"), Nibbles("34C")},  // E2 83, 84, 8C
    {AnyNibble, Nibbles("E"), Nibbles("F"), Nibbles("B"), Nibbles("8")},    // EF B8
};

constexpr morvel::NibbleRules<3> pairRules(pairRows);
constexpr morvel::NibbleRules<5> characterRules(characterRows);

// Not zero where a rule fits at one of the 16 bytes at `p`, which are added to `*all`. REQUIRES:
// two bytes of text in front.
MORVEL_SSE42 inline __m128i _doubts(const unsigned char* p, __m128i* all) {
    // Not LoadBlock: compilers take that for free and load again for each use.
    const __m128i bytes = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i before = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p - 1));
    const __m128i twoBefore = _mm_lddqu_si128(reinterpret_cast<const __m128i*>(p - 2));
    *all = _mm_or_si128(*all, bytes);
    const __m128i upper = morvel::UpperNibbles(bytes);
    const __m128i beforeUpper = morvel::UpperNibbles(before);
    const __m128i beforeLower = morvel::LowerNibbles(before);

    const __m128i pairs = _mm_and_si128(
        _mm_and_si128(pairRules.Allowed(0, beforeUpper), pairRules.Allowed(1, beforeLower)),
        pairRules.Allowed(2, upper));
    const __m128i expected = _mm_and_si128(_mm_subs_epu8(twoBefore, _mm_set1_epi8(0xE0 - 0x80)),
                                           _mm_set1_epi8(Unexpected));
    const __m128i characters =
        _mm_and_si128(_mm_and_si128(characterRules.Allowed(0, morvel::LowerNibbles(twoBefore)),
                                    _mm_and_si128(characterRules.Allowed(1, beforeUpper),
                                                  characterRules.Allowed(2, beforeLower))),
                      _mm_and_si128(characterRules.Allowed(3, upper),
                                    characterRules.Allowed(4, morvel::LowerNibbles(bytes))));
    return _mm_or_si128(_mm_xor_si128(pairs, expected), characters);
}

MORVEL_SSE42 bool _isPlainByBlocks(const unsigned char* p, const unsigned char* end) {
    while ((p = _skipAscii(p, end)) != end) {
        p = _skipPlain(p, p + 1, end);  // two bytes at least, which _doubts needs in front
        for (bool ascii = false; !ascii;) {
            // All in front of `p` is plain, but a character that has begun there may be cut short.
            if (p == nullptr) return false;
            if (end - p < 16) return _skipPlain(_startOf(p - 1), end, end) != nullptr;
            const unsigned char* const stop = p + std::min(Stretch, (end - p) & ~15);
            __m128i doubts = _mm_setzero_si128();
            __m128i all = doubts;
            for (const unsigned char* at = p; at != stop; at += 16) {
                doubts = _mm_or_si128(doubts, _doubts(at, &all));
            }
            if (_mm_testz_si128(doubts, doubts) == 0) {
                p = _skipPlain(_startOf(p - 1), stop, end);
            } else {
                ascii = _mm_movemask_epi8(all) == 0;
                p = stop - (ascii ? 1 : 0);  // the last may be a NUL
            }
        }
    }
    return true;
}

#endif

// Marks in a row that utf8proc may put in order by itself. Text that is written for reading stays
// far below. A mark takes a byte at least, so a stretch of no more bytes than that needs no look.
constexpr std::ptrdiff_t LongRun = 32;

struct Character {
    utf8proc_int32_t codePoint;
    utf8proc_propval_t combiningClass;
};

// Gives `visit` each character of the text, decomposed, until it says no. False where malformed
// UTF-8 ends the visit. Hangul syllables come whole: they and their parts have combining class 0.
template <class Visit>
bool _forEachDecomposed(std::string_view text, int options, Visit visit) {
    const unsigned char* p = _bytes(text.data());
    const unsigned char* const end = p + text.size();
    while (p != end) {
        utf8proc_int32_t codePoint;
        const utf8proc_ssize_t length = utf8proc_iterate(p, end - p, &codePoint);
        if (length <= 0) return false;
        p += length;
        const utf8proc_property_t* const property = utf8proc_get_property(codePoint);
        if (property->decomp_seqindex == UINT16_MAX) {
            if (!visit(Character{codePoint, property->combining_class})) return true;
            continue;
        }
        utf8proc_int32_t parts[32];  // the longest decomposition there is has 18
        int boundClass = 0;
        const utf8proc_ssize_t count = utf8proc_decompose_char(
            codePoint, parts, 32, static_cast<utf8proc_option_t>(options), &boundClass);
        if (count > 32) return false;
        for (utf8proc_ssize_t i = 0; i < count; ++i) {
            if (!visit(Character{parts[i], utf8proc_get_property(parts[i])->combining_class})) {
                return true;
            }
        }
    }
    return true;
}

bool _hasLongDisorder(std::string_view text, int options) {
    std::ptrdiff_t run = 0;
    utf8proc_propval_t last = 0;
    bool disordered = false, found = false;
    _forEachDecomposed(text, options, [&](Character c) {
        if (c.combiningClass == 0) {
            run = 0;
            disordered = false;
        } else {
            ++run;
            disordered = disordered || c.combiningClass < last;
        }
        last = c.combiningClass;
        found = disordered && run > LongRun;
        return !found;
    });
    return found;
}

void _append(const std::vector<Character>& characters, std::string* text) {
    for (const Character& c : characters) {
        utf8proc_uint8_t bytes[4];
        const utf8proc_ssize_t length = utf8proc_encode_char(c.codePoint, bytes);
        text->append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
    }
}

// Appends the text decomposed and with every run of marks in canonical order: what utf8proc would
// make of it on its own way, so that going on from there ends at the same result. False for
// malformed text.
bool _appendOrdered(std::string_view text, int options, std::string* ordered) {
    std::vector<Character> run;
    const auto flush = [&] {
        std::stable_sort(run.begin(), run.end(), [](const Character& a, const Character& b) {
            return a.combiningClass < b.combiningClass;
        });
        _append(run, ordered);
        run.clear();
    };
    const bool wellFormed = _forEachDecomposed(text, options, [&](Character c) {
        if (c.combiningClass == 0) flush();
        run.push_back(c);  // a starter is alone in front, and the lowest of all
        return true;
    });
    flush();
    return wellFormed;
}

// Stands for what is left out of a text. NFC and the other forms leave it where it is.
constexpr char Placeholder = '\x01';

// A piece of a text by its bytes.
struct Piece {
    std::size_t begin, end;
};

// ASCII characters neither change nor join with one in front of them. So all of a row of them but
// the last can be left out while the text is brought to a form: these pieces, where that saves
// work. None if the text has the placeholder itself.
std::vector<Piece> _fixedPieces(std::string_view text) {
    constexpr std::size_t Shortest = 3;
    std::vector<Piece> pieces;
    if (text.find(Placeholder) != std::string_view::npos) return pieces;
    std::size_t begin = 0;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        if (at != text.size() && static_cast<unsigned char>(text[at]) <= 0x7F) continue;
        if (at - begin > Shortest) pieces.push_back({begin, at - 1});
        begin = at + 1;
    }
    return pieces;
}

// The text with the placeholder for each of the pieces.
std::string _withoutPieces(std::string_view text, const std::vector<Piece>& pieces) {
    std::string rest;
    std::size_t at = 0;
    for (const Piece& piece : pieces) {
        rest += text.substr(at, piece.begin - at);
        rest += Placeholder;
        at = piece.end;
    }
    rest += text.substr(at);
    return rest;
}

// `rest`, which came of _withoutPieces, with the pieces of `text` in their places.
std::string _withPieces(std::string_view rest, std::string_view text,
                        const std::vector<Piece>& pieces) {
    std::string whole;
    whole.reserve(text.size());
    std::size_t at = 0;
    for (const Piece& piece : pieces) {
        const std::size_t place = rest.find(Placeholder, at);
        whole += rest.substr(at, place - at);
        whole += text.substr(piece.begin, piece.end - piece.begin);
        at = place + 1;
    }
    whole += rest.substr(at);
    return whole;
}

bool _isWellFormed(std::string_view text) {
    const unsigned char* p = _bytes(text.data());
    const unsigned char* const end = p + text.size();
    while (p != end) {
        utf8proc_int32_t codePoint;
        const utf8proc_ssize_t length = utf8proc_iterate(p, end - p, &codePoint);
        if (length <= 0) return false;
        p += length;
    }
    return true;
}

// Whether the text has a long run of badly ordered marks; `ordered` is then the same text without.
// False, with anything in `ordered`, where malformed text comes with it: utf8proc refuses that at
// once.
bool _orderLongRuns(std::string_view text, NStringForm form, std::string* ordered) {
    const bool compatible = form == FormNFKC || form == FormNFKD;
    const int options = UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | (compatible ? UTF8PROC_COMPAT : 0);
    const unsigned char* const begin = _bytes(text.data());
    const unsigned char* const end = begin + text.size();
    const unsigned char* kept = begin;  // up to here the text stands in `ordered`
    // No ASCII character has a part in a run, so each stretch between them stands alone. A long one
    // that begins at `p` or soon behind it goes on past the byte that is looked at.
    for (const unsigned char* p = begin; end - p > LongRun;) {
        const unsigned char* stretch = p + LongRun;
        if (*stretch < 0x80) {
            p = stretch + 1;
            continue;
        }
        const unsigned char* const former = p;
        for (p = stretch; p != end && *p >= 0x80;) ++p;
        while (stretch != former && stretch[-1] >= 0x80) --stretch;
        const std::string_view marks(text.data() + (stretch - begin),
                                     static_cast<std::size_t>(p - stretch));
        if (!_hasLongDisorder(marks, options)) continue;
        ordered->append(text.data() + (kept - begin), static_cast<std::size_t>(stretch - kept));
        if (!_appendOrdered(marks, options, ordered)) return false;
        kept = p;
    }
    if (kept == begin) return false;
    ordered->append(text.data() + (kept - begin), static_cast<std::size_t>(end - kept));
    return true;
}

}  // namespace

bool morvel::IsAsciiText(std::string_view text) {
    const unsigned char* const end = _bytes(text.data()) + text.size();
    return _skipAscii(_bytes(text.data()), end) == end;
}

bool morvel::IsPlainlyNfc(std::string_view text) {
#if MORVEL_HAS_SSE42_CODE
    const unsigned char* const end = _bytes(text.data()) + text.size();
    const unsigned char* const p = _skipAscii(_bytes(text.data()), end);
    if (p == end) return true;
    if (platform::HasSse42()) return _isPlainByBlocks(p, end);
#endif
    return IsPlainlyNfcPortably(text);
}

bool morvel::IsPlainlyNfcPortably(std::string_view text) {
    const unsigned char* const end = _bytes(text.data()) + text.size();
    return _skipPlain(_bytes(text.data()), end, end) != nullptr;
}

bool morvel::NormalizeText(std::string* text, NStringForm form) {
    const Normalizer normalizer = _normalizer(form);
    if (normalizer == nullptr) return false;
    if (form == FormNFC ? IsPlainlyNfc(*text) : IsAsciiText(*text)) return true;
    const std::string_view head(text->c_str());  // up to the first NUL
    if (form == FormNFC ? IsPlainlyNfc(head) : IsAsciiText(head)) {
        text->resize(head.size());
        return true;
    }
    const std::vector<Piece> pieces = _fixedPieces(head);
    std::string rest = _withoutPieces(head, pieces);
    std::string ordered;
    if (_orderLongRuns(rest, form, &ordered)) rest.swap(ordered);
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> result(
        normalizer(_bytes(rest.c_str())), &std::free);
    if (!result) {
        // The normalisers have one answer to all failures: what isn't malformed found no memory.
        if (_isWellFormed(head)) throw std::bad_alloc();
        return false;
    }
    *text = _withPieces(reinterpret_cast<const char*>(result.get()), head, pieces);
    return true;
}
