// The normaliser is utf8proc. Around it stands a guard, since utf8proc's time is quadratic in a run
// of badly ordered combining marks; ASCII goes around it. Covered by NormalizationTest.
#include <morvel/text/Normalization.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <utf8proc.h>

#include <morvel/text/NfcQuickCheck.h>

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

bool morvel::NormalizeText(std::string* text, NStringForm form) {
    const Normalizer normalizer = _normalizer(form);
    if (normalizer == nullptr) return false;
    if (form == FormNFC ? NfcQuickCheck(*text) : morvel::IsAscii(*text)) return true;
    const std::string_view head(text->c_str());  // up to the first NUL
    if (form == FormNFC ? NfcQuickCheck(head) : IsAscii(head)) {
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
