#include <morvel/text/NfcQuickCheck.h>
#include <morvel/text/Normalization.h>

#include <optional>
#include <string_view>

#include <utf8proc.h>

#include <tests/support/Test.h>

namespace {

using namespace std::string_literals;

const NStringForm allForms[] = {FormNFD, FormNFKD, FormNFC, FormNFKC};

// What utf8proc alone makes of the text up to its first NUL.
std::optional<std::string> plainly(const std::string& text, NStringForm form) {
    utf8proc_uint8_t* (*const operations[])(const utf8proc_uint8_t*) = {
        utf8proc_NFD, utf8proc_NFKD, utf8proc_NFC, utf8proc_NFKC};
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> result(
        operations[form](reinterpret_cast<const utf8proc_uint8_t*>(text.c_str())), &std::free);
    if (!result) return std::nullopt;
    return std::string(reinterpret_cast<const char*>(result.get()));
}

// Whether every form comes out as from utf8proc alone, and text that it refuses stays whole.
testing::AssertionResult isAsPlain(const std::string& text) {
    for (const NStringForm form : allForms) {
        const std::optional<std::string> expected = plainly(text, form);
        std::string actual = text;
        const bool done = morvel::NormalizeText(&actual, form);
        const bool skipped = form == FormNFC && morvel::NfcQuickCheckPortable(text);
        if (done != expected.has_value() || actual != expected.value_or(text) ||
            (skipped && expected != text)) {
            return testing::AssertionFailure() << testing::PrintToString(text) << ", form " << form;
        }
    }
    return testing::AssertionSuccess();
}

std::string repeated(const std::string& piece, std::size_t count) {
    std::string text;
    while (count-- > 0) text += piece;
    return text;
}

// Calls `use` with each character of planes 0 and 1, and of the parts of 2 and 14 in which
// something decomposes or has a property.
template <class Use>
void forEachCharacter(Use use) {
    for (utf8proc_int32_t c = 1; c < 0xE0200; ++c) {
        if (c == 0xD800) c = 0xE000;
        if (c == 0x20100) c = 0x2F700;
        if (c == 0x2FB00) c = 0xE0000;
        utf8proc_uint8_t bytes[4];
        const auto length = static_cast<std::size_t>(utf8proc_encode_char(c, bytes));
        use(c, std::string(reinterpret_cast<const char*>(bytes), length));
    }
}

// All whose decomposition has a character of a combining class.
std::vector<std::string> marks() {
    std::vector<std::string> pool;
    forEachCharacter([&pool](utf8proc_int32_t c, const std::string& text) {
        const auto options = static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT);
        const auto isMark = [](int part) {
            return utf8proc_get_property(part)->combining_class != 0;
        };
        utf8proc_int32_t parts[32];
        int boundClass = 0;
        const auto count = utf8proc_decompose_char(c, parts, 32, options, &boundClass);
        if (std::any_of(parts, parts + count, isMark)) pool.push_back(text);
    });
    return pool;
}

// With the character before it, in the wrong order, a mark shows; with its own parts, what
// composes.
TEST(Normalization, EachCharacterAloneAndBesideOthers) {
    forEachCharacter([last = "\x01"s](utf8proc_int32_t, const std::string& c) mutable {
        ASSERT_TRUE(isAsPlain(c));
        ASSERT_TRUE(isAsPlain("some" + c + "\xCC\xA7\xCC\x81" + "text"));
        ASSERT_TRUE(isAsPlain(c + last));
        ASSERT_TRUE(isAsPlain(plainly(c, FormNFD).value_or("")));
        last = c;
    });
}

// Around a run that is long and badly ordered enough for the guard, each character that could carry
// it on, begin it or end it.
TEST(Normalization, EachMarkInALongRunInDisorder) {
    const std::string disorder = repeated("\xCC\x95\xCC\x96", 20);  // classes 232 and 220
    for (const std::string& c : marks()) {
        ASSERT_TRUE(isAsPlain("o" + disorder + c + "\xCC\xA7\xCC\x81"));
        ASSERT_TRUE(isAsPlain(c + disorder + c + c));
        ASSERT_TRUE(isAsPlain(disorder + c + disorder + "\xE1\x84\x80\xE1\x85\xA1" + c + "x"));
    }
}

TEST(Normalization, RandomRunsOfMarks) {
    const std::vector<std::string> pool = marks();
    // Letters, parts of Hangul syllables, what composes, and from the NUL on what ends a text.
    const std::string others[] = {"a word",       "\x01",         "\xEA\xB0\x80", "\xE1\x84\x80",
                                  "\xE1\x85\xA1", "\xE1\x86\xA8", "\xE2\x84\xAB", "\xC3\xA9",
                                  "\0"s,          "\x80",         "\xC3",         "\xED\xA0\x80"};
    std::mt19937 random(20);
    for (int round = 0; round < 8000; ++round) {
        // A few marks over and over, or any of them; mostly well-formed text.
        const std::size_t first = random() % pool.size();
        const std::size_t width = random() % 2 ? pool.size() : 1 + random() % 9;
        const std::size_t usable = random() % 4 ? 8 : std::size(others);
        std::string text;
        for (std::size_t runs = 1 + random() % 3; runs > 0; --runs) {
            text += others[random() % usable];
            for (std::size_t left = random() % 100; left > 0; --left) {
                text += pool[(first + random() % width) % pool.size()];
            }
        }
        ASSERT_TRUE(isAsPlain(text));
    }
}

// Leads, those of characters that may be skipped above all, and what follows them at random; a
// third of it cut or broken.
TEST(Normalization, RandomBytesAndTextAroundTheSkip) {
    std::mt19937 random(21);
    const std::string skipped = "\xC3\xCE\xD0\xD2\xE1\xE2\xE3\xE4\xEA\xED\xEE\xEF\xF0\x61";
    for (int round = 0; round < 80000; ++round) {
        std::string text;
        const bool broken = random() % 3 == 0;
        for (unsigned characters = 1 + random() % 6; characters > 0; --characters) {
            const auto any = static_cast<char>(broken ? random() : 0xC2 + random() % 0x33);
            text += random() % 2 ? skipped[random() % skipped.size()] : any;
            const auto lead = static_cast<unsigned char>(text.back());
            const int tail = (lead >= 0xC0) + (lead >= 0xE0) + (lead >= 0xF0);
            for (int i = 0; i < tail; ++i) text += static_cast<char>(0x80 + random() % 0x40);
            if (broken && random() % 8 == 0) text.pop_back();
        }
        ASSERT_TRUE(isAsPlain(text));
    }
}

// Text of some length is looked at in blocks, by vector code where there is some. Each pair of
// bytes with what could follow it, and junk, at the places of a block in turn, in text of every
// kind.
TEST(Normalization, TheSkipIsTheSameWithVectorsAndWithout) {
    const std::string fillers[] = {
        "\u3042\u30AB\u3000\u4E2D\uFF0C",  // Japanese and Chinese
        "\uAC00\uD7A3 \u2019\u20AC",       // Hangul, typographic punctuation
        "d\u00E9j\u00E0 \u03C9\u044F",     // Latin, Greek, Cyrillic
        "\u1EA1\u1EBF \U0001F600",         // Vietnamese, an emoji
        "English. ",
    };
    std::size_t turn = 0, plain = 0;
    const auto isSame = [&](const std::string& piece) -> testing::AssertionResult {
        const std::string& filler = fillers[turn % std::size(fillers)];
        const std::string dots(turn % 149, '.');
        std::string text = filler + (turn % 2 ? dots + filler : filler + dots) + piece;
        // At the end of a text, of a block, or somewhere in a long one.
        if (turn % 3 != 0) text += std::string(turn % 17, '.') + repeated(filler, turn % 11);
        ++turn;
        // Ends where its block of memory does, so that the sanitizer sees any byte read behind it.
        const std::vector<char> exact(text.begin(), text.end());
        const std::string_view view(exact.data(), exact.size());
        const bool answer = morvel::NfcQuickCheckPortable(view);
        plain += answer ? 1 : 0;
        if (morvel::NfcQuickCheck(view) == answer) return testing::AssertionSuccess();
        return testing::AssertionFailure() << testing::PrintToString(text);
    };
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        for (int i = pair < 0xC000 ? 3 : 0; i < 4; ++i) {  // what may be plain at more places
            for (const char* third : {"", "a", "\xC3", "\x80"}) ASSERT_TRUE(isSame(bytes + third));
        }
        const bool continued = pair >= 0xE000 && (pair & 0xC0) == 0x80;
        for (unsigned c = 0x80; continued && c < 0xC0; ++c) {
            const std::string character = bytes + static_cast<char>(c);
            for (int i = 0; i < 2; ++i) ASSERT_TRUE(isSame(character));
        }
    }
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string junk(1 + random() % 9, '\0');
        for (char& byte : junk) byte = static_cast<char>(0x80 | (random() & 0x7F));
        ASSERT_TRUE(isSame(junk));
    }
    EXPECT_GT(plain, turn / 20);
}

// Without the guard each row takes minutes: utf8proc moves every second mark past half of the
// others.
TEST(Normalization, HalfAMillionMarksInDisorder) {
    const std::size_t pairs = 250000;
    const std::string rows[][3] = {
        {"\xCC\x95\xCC\x96", "\xCC\x96", "\xCC\x95"},          // classes 232 and 220
        {"\xE0\xBD\xB3", "\xE0\xBD\xB1", "\xE0\xBD\xB2"},      // a starter that is two marks
        {"\xEF\xBE\x9E\xCC\xB4", "\xCC\xB4", "\xE3\x82\x99"},  // one that is one, and a mark
    };
    for (const auto& [pair, first, second] : rows) {
        std::string text = "x" + repeated(pair, pairs) + "x";
        EXPECT_TRUE(morvel::NormalizeText(&text, FormNFKC));
        EXPECT_TRUE(text == "x" + repeated(first, pairs) + repeated(second, pairs) + "x");
    }
}

}  // namespace
