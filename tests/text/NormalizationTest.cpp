#include <morvel/text/NfcQuickCheck.h>

#include <tests/text/ReferenceText.h>

namespace {

const NStringForm AllForms[] = {FormNFC, FormNFD, FormNFKD, FormNFKC};

void _expectAsByUtf8proc(const std::string& bytes, NStringForm form) {
    NString text = Raw(bytes, Utf8);
    text.Normalize(form);
    ASSERT_EQ(text.Data(), ByUtf8proc(bytes, form).value_or(bytes)) << form;
}

}  // namespace

// With the character before it, in the wrong order, a combining mark shows; with its own parts,
// what composes. Of planes 2 and 14 only those parts have something that decomposes or a property.
TEST(Normalization, AgreesOnEachCharacterAloneAndBesideOthers) {
    std::string last = "\x01";
    for (int codePoint = 1; codePoint < 0xE0200 && !HasFailure(); ++codePoint) {
        if (codePoint == 0x20100) codePoint = 0x2F700;
        if (codePoint == 0x2FB00) codePoint = 0xE0000;
        const std::string c = Utf8Of(codePoint);
        _expectAsByUtf8proc(c, FormNFC);
        _expectAsByUtf8proc(c + last, FormNFC);
        _expectAsByUtf8proc(ByUtf8proc(c, FormNFD).value_or(""), FormNFC);
        for (const NStringForm form : AllForms) {
            _expectAsByUtf8proc("so" + c + "\xCC\xA7\xCC\x81" + c + last, form);
        }
        last = c;
    }
}

TEST(Normalization, AgreesOnRandomTextAndRunsOfMarks) {
    // Combining marks, and some that decompose into one or end with one.
    std::vector<std::string> pool;
    for (const int c : {0xB4, 0xF73, 0xF75, 0xF81, 0x1FC1, 0xFF9E, 0xFF9F})
        pool.push_back(Utf8Of(c));
    for (int c = 0x300; c < 0xE0200; ++c) {
        if (utf8proc_get_property(c)->combining_class != 0) pool.push_back(Utf8Of(c));
    }
    // Letters, parts of Hangul syllables, what composes.
    const std::string others[] = {"a word",       "\x01",         "\xEA\xB0\x80", "\xE1\x84\x80",
                                  "\xE1\x85\xA1", "\xE1\x86\xA8", "\xE2\x84\xAB", "\xC3\xA9"};
    ForEachDraw(60000, [&](Draw& draw) {
        // A few marks over and over, or any of them; mostly well-formed text.
        const std::size_t first = draw.Below(pool.size());
        const std::size_t width = draw.OneIn(2) ? pool.size() : 1 + draw.Below(9);
        const bool broken = draw.OneIn(4);
        std::string text;
        for (std::size_t parts = 1 + draw.Below(6); parts > 0; --parts) {
            const std::size_t most = std::size_t{0x80} << draw.Below(12);  // of each length
            text += draw.OneIn(4)             ? draw.Of(others)
                    : broken && draw.OneIn(2) ? OddCharacter(draw)
                                              : Utf8Of(static_cast<int>(draw.Below(most)));
            for (std::size_t left = draw.OneIn(9) ? draw.Below(100) : 0; left > 0; --left) {
                text += pool[(first + draw.Below(width)) % pool.size()];
            }
        }
        _expectAsByUtf8proc(text, draw.OneIn(2) ? FormNFC : draw.Of(AllForms));
    });
}

// Text of some length is looked at in blocks, by SIMD where there is some. Each pair of bytes with
// what could follow it, each short code point and junk, at the alignments of a block in turn.
TEST(Normalization, QuickCheckIsTheSameWithSimdAndWithout) {
    // Japanese and Chinese; Hangul, typographic punctuation; Latin, Greek, Cyrillic; Vietnamese.
    const std::string fillers[] = {"\u3042\u30AB\u3000\u4E2D\uFF0C", "\uAC00\uD7A3 \u2019\u20AC",
                                   "d\u00E9j\u00E0 \u03C9\u044F", "\u1EA1\u1EBF \U0001F600",
                                   "English. "};
    std::size_t turn = 0, plain = 0;
    const auto check = [&](const std::string& piece) {
        const std::string& filler = fillers[turn % std::size(fillers)];
        const std::string dots(turn % 149, '.');
        std::string text = filler + (turn % 2 ? dots + filler : filler + dots) + piece;
        // At the end of a text, of a block, or somewhere in a long one.
        if (turn % 3 != 0) text += std::string(turn % 17, '.') + Repeated(filler, turn % 11);
        const std::string_view guarded = Guarded(text, ++turn % 4 == 0);
        const bool answer = morvel::NfcQuickCheckPortable(guarded);
        plain += answer ? 1 : 0;
        ASSERT_EQ(morvel::NfcQuickCheck(guarded), answer) << PrintToString(text);
    };
    for (unsigned pair = 0; pair < 0x10000 && !HasFailure(); ++pair) {
        const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        for (const char* third : {"", "a", "\xC3", "\x80"}) {
            for (int i = pair < 0xC000 ? 3 : 0; i < 4; ++i) check(bytes + third);
        }
    }
    for (int c = 0x800; c < 0x10000; ++c) check(Utf8Of(c)), check(Utf8Of(c));
    ForEachDraw(20000, [&](Draw& draw) { check(OddCharacter(draw) + OddCharacter(draw)); });
    EXPECT_GT(plain, turn / 20);
}

// Without the guard each row takes minutes: utf8proc moves every second mark past half of the
// others.
TEST(Normalization, OrdersHalfAMillionMarksInGoodTime) {
    const std::size_t pairs = 250000;
    const std::string rows[][3] = {
        {"\xCC\x95\xCC\x96", "\xCC\x96", "\xCC\x95"},          // classes 232 and 220
        {"\xE0\xBD\xB3", "\xE0\xBD\xB1", "\xE0\xBD\xB2"},      // a starter that is two marks
        {"\xEF\xBE\x9E\xCC\xB4", "\xCC\xB4", "\xE3\x82\x99"},  // one that is one, and a mark
    };
    for (const auto& [pair, first, second] : rows) {
        NString text = Raw("x" + Repeated(pair, pairs) + "x", Utf8);
        text.Normalize(FormNFKC);
        EXPECT_TRUE(text.Data() == "x" + Repeated(first, pairs) + Repeated(second, pairs) + "x");
    }
}
