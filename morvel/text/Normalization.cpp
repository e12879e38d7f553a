// The normaliser is utf8proc. Around it stand a skip in front, for text that comes out as it went
// in, and a guard, since utf8proc's time is quadratic in a run of badly ordered combining marks.
// Covered by NormalizationTest.
#include <morvel/text/Normalization.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <utf8proc.h>

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

// Whether a block of bytes are all from 01 to 7F: only then neither they nor they less one have a
// high bit.
template <std::size_t Words>
bool _isAsciiBlock(const unsigned char* bytes) {
    std::uint64_t words[Words];
    std::memcpy(words, bytes, sizeof words);
    std::uint64_t high = 0;
    for (const std::uint64_t word : words) high |= (word - 0x0101010101010101) | word;
    return (high & 0x8080808080808080) == 0;
}

const unsigned char* _skipAscii(const unsigned char* p, const unsigned char* end) {
    while (end - p >= 64 && _isAsciiBlock<8>(p)) p += 64;
    while (end - p >= 8 && _isAsciiBlock<1>(p)) p += 8;
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

// The common part of what _plainCharacter knows, as automata over bytes: a state is the place of
// its six bits in a row, and a step shifts the row of the byte down by the state. One lookup and
// one shift a byte, and no branch to mispredict, whatever scripts are mixed. What one doesn't know
// is the state Unknown for good: characters that are rare, or not plain, or malformed.
//
// A row has room for ten states, so there are two automata. Both know most scripts; East has what
// stands in Chinese and Japanese text, West has Hangul and the punctuation at E2 80.
enum State : unsigned {
    Between = 0,
    Unknown = 6,
    OneMore = 12,
    TwoMore = 18,
    AfterCE = 24,
    AfterED = 30,
    AfterEF = 36,
    AfterE3 = 42,    // East
    AfterE380 = 48,  // East
    AfterE382 = 54,  // East
    AfterE2 = 42,    // West
    AfterE280 = 48,  // West
    AfterEA = 54,    // West
};

constexpr State _firstByte(bool east, unsigned b) {
    if (b >= 0x01 && b <= 0x7F) return Between;
    if (b >= 0xC2 && b <= 0xCB) return OneMore;
    if (b >= 0xCF && b <= 0xD5 && b != 0xD2) return OneMore;
    if (b == 0xDA || b == 0xDE) return OneMore;
    if (b == 0xCE) return AfterCE;
    if (b == 0xE2 && !east) return AfterE2;
    if (b == 0xE3 && east) return AfterE3;
    if ((b >= 0xE4 && b <= 0xE9) || b == 0xEB || b == 0xEC || b == 0xEE) return TwoMore;
    if (b == 0xEA && !east) return AfterEA;
    if (b == 0xED) return AfterED;
    if (b == 0xEF) return AfterEF;
    return Unknown;
}

constexpr State _laterByte(bool east, unsigned state, unsigned b) {
    if ((b & 0xC0) != 0x80) return Unknown;
    if (state == OneMore) return Between;
    if (state == TwoMore) return OneMore;
    if (state == AfterCE) return b != 0x87 ? Between : Unknown;
    if (state == AfterED) return b < 0xA0 ? OneMore : Unknown;
    if (state == AfterEF) return b < 0xA4 || (b > 0xAD && b != 0xB8) ? OneMore : Unknown;
    if (east) {
        if (state == AfterE3) return b == 0x80 ? AfterE380 : b == 0x82 ? AfterE382 : OneMore;
        if (state == AfterE380) return b < 0xAA || b > 0xAF ? Between : Unknown;
        if (state == AfterE382) return b != 0x99 && b != 0x9A ? Between : Unknown;
    } else {
        if (state == AfterE2) return b == 0x80 ? AfterE280 : b == 0x82 ? OneMore : Unknown;
        if (state == AfterE280) return b >= 0x82 ? Between : Unknown;
        if (state == AfterEA) return b >= 0xB0 ? OneMore : Unknown;
    }
    return Unknown;
}

struct Automaton {
    constexpr explicit Automaton(bool east) : rows() {
        for (unsigned b = 0; b < 256; ++b) {
            for (unsigned state = 0; state < 60; state += 6) {
                const unsigned next =
                    state == Between ? _firstByte(east, b) : _laterByte(east, state, b);
                rows[b] |= std::uint64_t{next} << state;
            }
        }
    }
    std::uint64_t rows[256];
};
constexpr Automaton automata[2] = {Automaton(false), Automaton(true)};

// Four stretches of a text go through the automaton side by side, so that the processor need not
// wait for one step before it begins another.
constexpr std::ptrdiff_t Lanes = 4;
constexpr std::ptrdiff_t LaneLength = 64;
constexpr std::ptrdiff_t LongestCharacter = 4;

// The start of the character that the byte at `p` belongs to. REQUIRES: there are three bytes in
// front, or it is near: the caller's text begins with a whole character.
const unsigned char* _startOf(const unsigned char* p) {
    for (int i = 0; i < 3 && _isContinuation(*p); ++i) --p;
    return p;
}

// Moves `*p`, the start of a character, on over Lanes * LaneLength bytes, to the start of another,
// if `automaton` knows all characters between them to be plain; else false. Each lane goes on by
// the length of a character into the next one, which begins in front of its nominal place if that
// lies within a character: so each character is whole in one of them.
// REQUIRES: a character's length more of text behind those bytes.
bool _skipKnown(const Automaton& automaton, const unsigned char** p) {
    const unsigned char* lanes[Lanes];
    std::uint64_t states[Lanes] = {};
    for (std::ptrdiff_t lane = 0; lane < Lanes; ++lane) {
        lanes[lane] = lane == 0 ? *p : _startOf(*p + lane * LaneLength);
    }
    for (std::ptrdiff_t i = 0; i < LaneLength + LongestCharacter; ++i) {
        for (std::ptrdiff_t lane = 0; lane < Lanes; ++lane) {
            states[lane] = automaton.rows[lanes[lane][i]] >> (states[lane] & 63);
        }
    }
    for (const std::uint64_t state : states) {
        if ((state & 63) == Unknown) return false;
    }
    *p = _startOf(*p + Lanes * LaneLength);
    return true;
}

// Marks in a row that utf8proc may put in order by itself. Text that is written for reading stays
// far below. A mark takes a byte at least, so a stretch of no more bytes than that needs no look.
constexpr std::size_t LongRun = 32;

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
    std::size_t run = 0;
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
    for (const unsigned char* p = begin; (p = _skipAscii(p, end)) != end;) {
        // No ASCII character has a part in a run, so each stretch between them stands alone.
        const unsigned char* const stretch = p;
        while (p != end && *p >= 0x80) ++p;
        const std::string_view marks(text.data() + (stretch - begin),
                                     static_cast<std::size_t>(p - stretch));
        if (marks.size() <= LongRun || !_hasLongDisorder(marks, options)) continue;
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
    constexpr std::ptrdiff_t Stretch = Lanes * LaneLength;
    const unsigned char* p = _bytes(text.data());
    const unsigned char* const end = p + text.size();
    bool east = false;
    while ((p = _skipAscii(p, end)) != end) {
        while (end - p >= Stretch + LongestCharacter && !_isAsciiBlock<4>(p)) {
            if (_skipKnown(automata[east], &p)) continue;
            if (!_skipKnown(automata[!east], &p)) break;
            east = !east;  // the next stretch is likely to be of the same kind
        }
        // A stretch by single characters: one that the automaton doesn't know, or the end.
        const unsigned char* const stretch = end - p > Stretch ? p + Stretch : end;
        while (p < stretch) {
            const int length = *p >= 0x01 && *p <= 0x7F ? 1 : _plainCharacter(p, end - p);
            if (length == 0) return false;
            p += length;
        }
    }
    return true;
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
    std::string ordered;
    const bool reordered = _orderLongRuns(head, form, &ordered);
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> result(
        normalizer(_bytes(reordered ? ordered.c_str() : head.data())), &std::free);
    if (!result) {
        // The normalisers have one answer to all failures: what isn't malformed found no memory.
        if (_isWellFormed(head)) throw std::bad_alloc();
        return false;
    }
    text->assign(reinterpret_cast<const char*>(result.get()));
    return true;
}
