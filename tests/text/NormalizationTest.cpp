#include <morvel/text/Normalization.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <utf8proc.h>

namespace {

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

std::string utf8(utf8proc_int32_t codePoint) {
    utf8proc_uint8_t bytes[4];
    const auto length = static_cast<std::size_t>(utf8proc_encode_char(codePoint, bytes));
    return std::string(reinterpret_cast<const char*>(bytes), length);
}

std::string repeated(const std::string& piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    while (count-- > 0) text += piece;
    return text;
}

std::string hex(const std::string& text) {
    std::ostringstream out;
    for (const unsigned char c : text) out << std::hex << +c << ' ';
    return out.str();
}

// Whether every form comes out as from utf8proc alone, and text that it refuses stays whole.
testing::AssertionResult isAsPlain(const std::string& text) {
    for (const NStringForm form : allForms) {
        const std::optional<std::string> expected = plainly(text, form);
        std::string actual = text;
        const bool done = morvel::NormalizeText(&actual, form);
        if (done != expected.has_value() || actual != expected.value_or(text)) {
            return testing::AssertionFailure()
                   << "form " << form << " of " << hex(text) << "gave " << done << ' '
                   << hex(actual) << "instead of " << hex(expected.value_or("null"));
        }
    }
    if (morvel::IsPlainlyNfc(text) && plainly(text, FormNFC) != text) {
        return testing::AssertionFailure() << "taken for plain: " << hex(text);
    }
    return testing::AssertionSuccess();
}

// Planes 0 and 1, and the parts of 2 and 14 in which something decomposes or has a property.
std::vector<utf8proc_int32_t> interestingCodePoints() {
    std::vector<utf8proc_int32_t> all;
    for (utf8proc_int32_t c = 1; c < 0x20100; ++c) {
        if (c < 0xD800 || c > 0xDFFF) all.push_back(c);
    }
    for (utf8proc_int32_t c = 0x2F700; c < 0x2FB00; ++c) all.push_back(c);
    for (utf8proc_int32_t c = 0xE0000; c < 0xE0200; ++c) all.push_back(c);
    return all;
}

// All whose decomposition has a character of a combining class, and some that end a run of such.
std::vector<std::string> marksAndSome() {
    std::vector<std::string> pool;
    for (const utf8proc_int32_t c : interestingCodePoints()) {
        utf8proc_int32_t parts[32];
        int boundClass = 0;
        const auto count = utf8proc_decompose_char(
            c, parts, 32, static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT),
            &boundClass);
        bool marked = false;
        for (utf8proc_ssize_t i = 0; i < count; ++i) {
            marked = marked || utf8proc_get_property(parts[i])->combining_class != 0;
        }
        if (marked) pool.push_back(utf8(c));
    }
    return pool;
}

TEST(Normalization, EachCharacterAloneAndBetweenMarks) {
    for (const utf8proc_int32_t c : interestingCodePoints()) {
        ASSERT_TRUE(isAsPlain(utf8(c)));
        ASSERT_TRUE(isAsPlain("e" + utf8(c) + "\xCC\xA7\xCC\x81"));
    }
}

// Around a run that is long and badly ordered enough for the guard, each character that could carry
// it on, begin it or end it.
TEST(Normalization, EachMarkInALongRunInDisorder) {
    const std::string disorder = repeated("\xCC\x95\xCC\x96", 20);  // classes 232 and 220
    for (const std::string& c : marksAndSome()) {
        ASSERT_TRUE(isAsPlain("o" + disorder + c + "\xCC\xA7\xCC\x81"));
        ASSERT_TRUE(isAsPlain(c + disorder + c + c));
        ASSERT_TRUE(isAsPlain(disorder + c + disorder + "\xE1\x84\x80\xE1\x85\xA1" + c + "x"));
    }
}

TEST(Normalization, RandomRunsOfMarks) {
    const std::vector<std::string> pool = marksAndSome();
    const std::string others[] = {
        "a",
        "e",
        " ",
        "\xEA\xB0\x80",
        "\xE1\x84\x80",
        "\xE1\x85\xA1",
        "\xE1\x86\xA7",  // Hangul
        "\xE1\x86\xA8",
        "\xE4\xB8\x80",
        "\xE2\x84\xAB",
        "\xC3\xA9",
        std::string(1, '\0'),
        "\x80",
        "\xC3",
        "\xED\xA0\x80",
        "\xF4\x90\x80\x80",  // NUL, malformed
    };
    std::mt19937 random(20);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 8000; ++round) {
        // A few marks over and over, or any of them; mostly well-formed text.
        const std::size_t first = below(pool.size()), width = below(2) ? pool.size() : 1 + below(9);
        const std::size_t usable = std::size(others) - (below(4) != 0 ? 5 : 0);
        std::string text;
        for (std::size_t runs = 1 + below(3); runs > 0; --runs) {
            text += others[below(usable)];
            for (std::size_t marks = below(100); marks > 0; --marks) {
                text += pool[(first + below(width)) % pool.size()];
            }
        }
        ASSERT_TRUE(isAsPlain(text));
    }
}

// Leads with every second byte, then third and fourth bytes at random; some of it cut or broken.
TEST(Normalization, RandomBytesAndTextAroundTheSkip) {
    std::mt19937 random(21);
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    const auto continuation = [&] { return static_cast<char>(0x80 + below(0x40)); };
    const unsigned char plainLeads[] = {0xC3, 0xCE, 0xD0, 0xD2, 0xE1, 0xE2, 0xE3, 0xE4,
                                        0xEA, 0xED, 0xEE, 0xEF, 0xF0, 'a',  'b'};
    for (int round = 0; round < 80000; ++round) {
        std::string text;
        const bool broken = below(3) == 0;
        for (unsigned characters = 1 + below(6); characters > 0; --characters) {
            const unsigned lead = below(2) ? plainLeads[below(std::size(plainLeads))]
                                           : (broken ? below(0x100) : 0xC2 + below(0x33));
            text += static_cast<char>(lead);
            const unsigned tail = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
            for (unsigned i = 0; i < tail; ++i) text += continuation();
            if (broken && below(8) == 0) text.pop_back();
        }
        ASSERT_TRUE(isAsPlain(text));
    }
}

// Without the guard each row takes minutes: utf8proc moves every second mark past half of the
// others.
TEST(Normalization, HalfAMillionMarksInDisorder) {
    const std::size_t pairs = 250000;
    const struct {
        const char* why;
        std::string pair, first, second;
        bool compatibleOnly;
    } rows[] = {
        {"classes 232 and 220", "\xCC\x95\xCC\x96", "\xCC\x96", "\xCC\x95", false},
        {"a starter that is two marks", "\xE0\xBD\xB3", "\xE0\xBD\xB1", "\xE0\xBD\xB2", false},
        {"a starter that is compatible with a mark, and a mark", "\xEF\xBE\x9E\xCC\xB4", "\xCC\xB4",
         "\xE3\x82\x99", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const std::string text = "x" + repeated(row.pair, pairs) + "\xC2\xAC";
        const std::string ordered =
            "x" + repeated(row.first, pairs) + repeated(row.second, pairs) + "\xC2\xAC";
        for (const NStringForm form : allForms) {
            const bool stays = row.compatibleOnly && (form == FormNFC || form == FormNFD);
            std::string actual = text;
            EXPECT_TRUE(morvel::NormalizeText(&actual, form));
            EXPECT_TRUE(actual == (stays ? text : ordered)) << form;
        }
        std::string malformed = text + "\x80";
        EXPECT_FALSE(morvel::NormalizeText(&malformed, FormNFC));
        EXPECT_TRUE(malformed == text + "\x80");
    }
}

TEST(Normalization, RefusesAFormThatIsNone) {
    std::string text("a\0b", 3);
    EXPECT_FALSE(morvel::NormalizeText(&text, FormUnknown));
    EXPECT_FALSE(morvel::NormalizeText(&text, static_cast<NStringForm>(4)));
    EXPECT_EQ(text, std::string("a\0b", 3));
}

std::string fromHex(const std::string& column) {
    std::istringstream codes(column);
    std::string text;
    for (unsigned code; codes >> std::hex >> code;) text += utf8(static_cast<int>(code));
    return text;
}

// The conformance test of the Unicode Character Database: columns c1 to c5 of each line are a
// source and its NFC, NFD, NFKC and NFKD.
TEST(Normalization, UnicodeConformanceTest) {
    std::ifstream file(NORMALIZATION_TEST_FILE);
    std::string line;
    if (!std::getline(file, line)) {
        GTEST_SKIP() << "NormalizationTest.txt was not found when the build was configured: "
                        "install the package unicode-data";
    }
    const std::string version = utf8proc_unicode_version();
    if (line.find("-" + version + ".") == line.npos) {
        GTEST_SKIP() << line << " is not of Unicode " << version << ", as utf8proc is";
    }
    int lines = 0;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#' || line[0] == '@') continue;
        ++lines;
        std::istringstream columns(line);
        std::string c[5];
        for (std::string& column : c) {
            std::getline(columns, column, ';');
            column = fromHex(column);
        }
        for (int i = 0; i < 5; ++i) {
            const std::string expected[] = {i < 3 ? c[2] : c[4], c[4], i < 3 ? c[1] : c[3], c[3]};
            for (const NStringForm form : allForms) {
                std::string actual = c[i];
                ASSERT_TRUE(morvel::NormalizeText(&actual, form));
                ASSERT_EQ(actual, expected[form]) << "form " << form << " in " << line;
            }
        }
    }
    EXPECT_GT(lines, 18000);
}

}  // namespace
