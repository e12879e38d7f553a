#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvel/text/NString.h>

namespace {

using namespace std::string_literals;

constexpr std::size_t Huge = std::string::npos;

const std::string Composed = "caf\xC3\xA9";     // U+00E9
const std::string Decomposed = "cafe\xCC\x81";  // e, U+0301: the same text to a reader

/// UTF-8 text that is not brought to NFC, as only wide text comes in.
NString _wideText(const std::string& units) {
    return NString(NWideString(units.begin(), units.end()) + NWideChar(0x301));
}

/// `text` as counted bytes.
std::vector<unsigned char> _counted(const std::string& text) {
    std::vector<unsigned char> counted(1, static_cast<unsigned char>(text.size()));
    counted.insert(counted.end(), text.begin(), text.end());
    return counted;
}

int _sign(int value) {
    return (value > 0) - (value < 0);
}

template <class Call>
void _expectInvalidPosition(Call call) {
    try {
        call();
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::out_of_range& e) {
        EXPECT_STREQ(e.what(), "invalid string position");
    }
}

TEST(NStringSearch, EqualityConvertsTheArgumentOnly) {
    const struct {
        const char* why;
        NString text, other;
        bool expected;
    } rows[] = {
        {"two empty texts", NString(EncodingUTF8), NString(EncodingUTF16), true},
        {"one text in two encodings", NString("caf\xE9"s, EncodingLatin1),
         NString(Composed, EncodingUTF8), true},
        {"and the other way round", NString(Composed, EncodingUTF8),
         NString("caf\xE9"s, EncodingLatin1), true},
        {"ASCII alone in UTF-16", NString("ab"s, EncodingASCII), NString("a\0b\0"s, EncodingUTF16),
         true},
        {"ASCII bytes under the tag UTF-16", NString("abcd"s, EncodingUTF16),
         NString("abcd"s, EncodingASCII), false},
        {"the argument is composed", NString(Composed, EncodingUTF8), _wideText("cafe"), true},
        {"the object is not", _wideText("cafe"), NString(Composed, EncodingUTF8), false},
        {"not even if both have the same bytes", _wideText("cafe"), _wideText("cafe"), false},
        {"through a NUL", NString("a\0b"s, EncodingLatin1), NString("a\0c"s, EncodingLatin1),
         false},
        {"through a NUL, equal", NString("a\0b"s, EncodingLatin1), NString("a\0b"s, EncodingLatin1),
         true},
        {"a prefix", NString("ab"s, EncodingLatin1), NString("abc"s, EncodingLatin1), false},
        {"unencodable is '?'", NString("?"s, EncodingLatin1),
         NString("\xE2\x82\xAC"s, EncodingUTF8), true},
        {"an unknown tag converts to nothing", NString("a"s, NStringEncoding(6)),
         NString("a"s, EncodingLatin1), true},
        {"malformed UTF-8 is left alone", NString("\xFF"s, EncodingUTF8),
         NString("\xFF"s, EncodingUTF8), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.text == row.other, row.expected);
        EXPECT_EQ(row.text != row.other, !row.expected);
    }
}

// UTF-8 that arrived through SetBytes may hold a NUL where the form claimed NFC already; the copy
// that takes part in a comparison ends there.
TEST(NStringSearch, EqualityCutsAnArgumentInUtf8AtItsNul) {
    NString held("x"s, EncodingUTF8);
    held.SetBytes("a\0b", 3, EncodingUTF8);
    ASSERT_EQ(held.Length(), 3u);
    EXPECT_TRUE(NString("a"s, EncodingUTF8) == held);
    EXPECT_FALSE(held == held);
}

TEST(NStringSearch, EqualityTakesEachKindOfText) {
    const NString text("abc"s, EncodingLatin1);
    EXPECT_TRUE(text == "abc"s);
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE(text == _counted("abc").data());
    EXPECT_FALSE(text == "abd"s);
    EXPECT_FALSE(text == "ab");
    EXPECT_FALSE(text == _counted("abcd").data());
    EXPECT_TRUE(NString() == static_cast<const char*>(nullptr));
    EXPECT_TRUE(text == "\xEF\xBB\xBF"s + "abc") << "the mark is no part of a text";
}

TEST(NStringSearch, AppendingConvertsUnlessTheTagsAreEqual) {
    const struct {
        const char* why;
        NString text, other;
        std::string expected;
    } rows[] = {
        {"to UTF-8", NString("<"s, EncodingUTF8), NString("\xE9"s, EncodingLatin1), "<\xC3\xA9"},
        {"from UTF-8", NString("<"s, EncodingLatin1), NString(Composed, EncodingUTF8), "<caf\xE9"},
        {"ASCII to UTF-16", NString(EncodingUTF16), NString("ab"s, EncodingASCII), "a\0b\0"s},
        {"UTF-16 to ASCII", NString(EncodingASCII), NString("a\0b\0"s, EncodingUTF16), "ab"},
        {"composed on the way out of UTF-8", NString(EncodingLatin1), _wideText("cafe"), "caf\xE9"},
        {"equal tags, as it stands", NString("<"s, EncodingUTF8), _wideText("cafe"),
         "<" + Decomposed},
        {"NUL and all", NString("a"s, EncodingLatin1), NString("\0b"s, EncodingLatin1), "a\0b"s},
        {"refused", NString("a"s, NStringEncoding(6)), NString("\xE9"s, EncodingLatin1), "a\xE9"},
        {"nothing", NString("a"s, EncodingLatin1), NString(EncodingUTF8), "a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        NString text(row.text);
        EXPECT_EQ(&(text += row.other), &text);
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Encoding(), row.text.Encoding());
        EXPECT_EQ(text.Form(), FormUnknown);
    }
}

TEST(NStringSearch, AppendingTakesEachKindOfText) {
    NString text("a"s, EncodingLatin1);
    text += "b"s;
    text += "c";
    text += _counted("d").data();
    text += 'e';
    text += '\0';
    text += static_cast<const char*>(nullptr);
    text += "\xEF\xBB\xBF\xC3\xA9";  // says that it is UTF-8
    EXPECT_EQ(text.Data(), "abcde\xE9");
    text += text;
    EXPECT_EQ(text.Data(), "abcde\xE9"s + "abcde\xE9");
    EXPECT_EQ(text.Encoding(), EncodingLatin1);
}

// Whatever the tags and the bytes, nothing may differ from a conversion of the whole argument.
TEST(NStringSearch, ComparingAndAppendingAgreeWithTheLongWay) {
    std::mt19937 random(31415);
    const auto made = [&random] {
        static const std::string pieces[] = {"a", "e", "\0"s, "\xCC\x81", "\xC3\xA9", "\xFF"};
        std::string bytes;
        for (unsigned count = random() % 4; count > 0; --count) bytes += pieces[random() % 6];
        NString text(""s, EncodingUTF8);  // claims NFC from now on, so that UTF-8 comes in as it is
        text.SetBytes(bytes.data(), bytes.size(), NStringEncoding(random() % 7));
        return text;
    };
    for (int round = 0; round < 50000; ++round) {
        const NString text = made(), other = made();
        NString converted = NString(other);
        converted.ConvertTo(text.Encoding());
        SCOPED_TRACE(testing::PrintToString(text.Data()) + " in " +
                     std::to_string(text.Encoding()) + ", " + testing::PrintToString(other.Data()) +
                     " in " + std::to_string(other.Encoding()));
        ASSERT_EQ(text == other, text.Data() == converted.Data());
        ASSERT_EQ(_sign(text.CompareN(other, 2)),
                  _sign(std::strncmp(text.CStr(), converted.CStr(), 2)));
        const bool sameTag = text.Encoding() == other.Encoding();
        ASSERT_EQ(_sign(text.Compare(other)),
                  _sign(std::strcmp(text.CStr(), (sameTag ? other : converted).CStr())));
        NString sum(text);
        sum += other;
        ASSERT_EQ(sum.Data(), text.Data() + (sameTag ? other : converted).Data());
    }
}

// One scheme, four primitives: each row is put through all overloads of all families.
TEST(NStringSearch, ComparisonsAgreeWithTheirPrimitive) {
    const std::uint32_t all = 100;
    const struct {
        const char* a;
        const char* b;
        std::uint32_t count;
        int plain, noCase;
    } rows[] = {
        {"", "", all, 0, 0},        {"a", "", all, 1, 1},        {"abc", "abd", all, -1, -1},
        {"abc", "abd", 2, 0, 0},    {"abc", "abd", 3, -1, -1},   {"abc", "xyz", 0, 0, 0},
        {"ABC", "abc", all, -1, 0}, {"abcX", "ABCy", 3, 1, 0},   {"[", "a", all, -1, -1},
        {"_", "A", all, 1, -1},  // folds to lower case: 'A' stands above '_' then
        {"Z", "_", all, -1, 1},     {"\xE9", "\xC9", all, 1, 1},  // no ASCII letter, no folding
        {"\xE9", "z", all, 1, 1},                                 // bytes compare unsigned
    };
    const NStringEncoding tag = EncodingLatin1;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a + " <> "s + row.b);
        const NString text(std::string(row.a), tag);
        const std::string b = row.b;
        const NString other(b, tag);
        const std::uint32_t count = row.count;
        EXPECT_EQ(_sign(text.CompareN(other, count)), row.plain);
        EXPECT_EQ(_sign(text.CompareN(b, tag, count)), row.plain);
        EXPECT_EQ(_sign(text.CompareN(row.b, tag, count)), row.plain);
        EXPECT_EQ(_sign(text.CompareNoCaseN(other, count)), row.noCase);
        EXPECT_EQ(_sign(text.CompareNoCaseN(b, tag, count)), row.noCase);
        EXPECT_EQ(_sign(text.CompareNoCaseN(row.b, tag, count)), row.noCase);
        const bool ascii = b.find_first_of("\xE9\xC9") == Huge;
        if (ascii) {  // for these the system's encoding, where no tag is given, says the same
            EXPECT_EQ(_sign(text.CompareN(b, count)), row.plain);
            EXPECT_EQ(_sign(text.CompareN(row.b, count)), row.plain);
            EXPECT_EQ(_sign(text.CompareNoCaseN(b, count)), row.noCase);
            EXPECT_EQ(_sign(text.CompareNoCaseN(row.b, count)), row.noCase);
        }
        if (count != all) continue;
        EXPECT_EQ(_sign(text.Compare(other)), row.plain);
        EXPECT_EQ(_sign(text.Compare(b, tag)), row.plain);
        EXPECT_EQ(_sign(text.Compare(row.b, tag)), row.plain);
        EXPECT_EQ(_sign(text.CompareNoCase(other)), row.noCase);
        EXPECT_EQ(_sign(text.CompareNoCase(b, tag)), row.noCase);
        EXPECT_EQ(_sign(text.CompareNoCase(row.b, tag)), row.noCase);
        if (!ascii) continue;
        EXPECT_EQ(_sign(text.Compare(b)), row.plain);
        EXPECT_EQ(_sign(text.Compare(row.b)), row.plain);
        EXPECT_EQ(_sign(text.CompareNoCase(b)), row.noCase);
        EXPECT_EQ(_sign(text.CompareNoCase(row.b)), row.noCase);
    }
}

TEST(NStringSearch, ComparisonsConvertWhereTheTagsDiffer) {
    const NString latin1("caf\xE9"s, EncodingLatin1);
    const NString utf8(Composed, EncodingUTF8);
    EXPECT_EQ(latin1.Compare(utf8), 0);
    EXPECT_EQ(latin1.Compare(Composed, EncodingUTF8), 0);
    EXPECT_EQ(latin1.Compare(Composed.c_str(), EncodingUTF8), 0);
    EXPECT_EQ(latin1.Compare("\xEF\xBB\xBF" + Composed), 0);
    EXPECT_EQ(latin1.CompareN(utf8, 4), 0);
    EXPECT_EQ(utf8.CompareNoCase("CAF\xE9"s, EncodingLatin1), 0);
    EXPECT_EQ(utf8.CompareNoCaseN("CAF\xE9!", EncodingLatin1, 5), 0);
    EXPECT_EQ(latin1.Compare(latin1.Data(), NStringEncoding(6)), 0) << "refused: bytes as they are";
    EXPECT_EQ(utf8.Compare(static_cast<const char*>(nullptr)), utf8.Compare(""));
}

// Compare and CompareNoCase take equal tags for granted and look no further; CompareN and
// CompareNoCaseN build a text first, which drops a mark and composes.
TEST(NStringSearch, OnlyTheFamiliesWithoutCountTakeTheShortcut) {
    const NString utf8(Composed, EncodingUTF8);
    EXPECT_NE(utf8.Compare(_wideText("cafe")), 0);
    EXPECT_NE(utf8.CompareNoCase(_wideText("cafe")), 0);
    EXPECT_EQ(utf8.CompareN(_wideText("cafe"), 100), 0);
    EXPECT_EQ(utf8.CompareNoCaseN(_wideText("cafe"), 100), 0);
    const std::string marked = "\xEF\xBB\xBF" + Composed;
    EXPECT_NE(utf8.Compare(marked, EncodingUTF8), 0);
    EXPECT_NE(utf8.Compare(marked.c_str(), EncodingUTF8), 0);
    EXPECT_NE(utf8.CompareNoCase(marked, EncodingUTF8), 0);
    EXPECT_NE(utf8.CompareNoCase(marked.c_str(), EncodingUTF8), 0);
    EXPECT_EQ(utf8.CompareN(marked, EncodingUTF8, 100), 0);
    EXPECT_EQ(utf8.CompareNoCaseN(marked.c_str(), EncodingUTF8, 100), 0);
}

TEST(NStringSearch, ComparisonsStopAtTheFirstNul) {
    const NString text("ab\0c"s, EncodingLatin1);
    EXPECT_EQ(text.Compare(NString("ab"s, EncodingLatin1)), 0);
    EXPECT_EQ(text.CompareN("ab\0d"s, EncodingLatin1, 4), 0);
    EXPECT_EQ(NString("a\0b\0"s, EncodingUTF16).Compare(NString("a\0c\0"s, EncodingUTF16)), 0);
}

// All 256 bytes. Only ASCII letters change, and only up to the first NUL.
TEST(NStringSearch, CaseChangesAsciiLettersUpToTheFirstNul) {
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool isUpper = c >= 'A' && c <= 'Z';
        const bool isLower = c >= 'a' && c <= 'z';
        const char upper = static_cast<char>(isLower ? c - 32 : c);
        const char lower = static_cast<char>(isUpper ? c + 32 : c);
        const auto after = [c](void (NString::*change)()) {
            NString text(std::string(3, c) + "\0Zz"s, EncodingLatin1);
            (text.*change)();
            return text.Data();
        };
        EXPECT_EQ(after(&NString::ToUpper), std::string(3, upper) + "\0Zz"s) << byte;
        EXPECT_EQ(after(&NString::ToLower), std::string(3, lower) + "\0Zz"s) << byte;
        EXPECT_EQ(after(&NString::Capitalize), std::string(1, upper) + lower + lower + "\0Zz"s)
            << byte;
    }
    for (const std::string& none : {""s, "\0Zz"s}) {
        NString text(none, EncodingLatin1);
        text.ToUpper();
        text.ToLower();
        text.Capitalize();
        EXPECT_EQ(text.Data(), none);
    }
}

TEST(NStringSearch, KeepNumericKeepsThirteenBytes) {
    std::string every;
    for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
    NString text(every, EncodingLatin1);
    text.KeepNumeric();
    EXPECT_EQ(text.Data(), "+-.0123456789");
    text.SetData("-1,234.5e+6 EUR"s, EncodingLatin1);
    text.KeepNumeric();
    EXPECT_EQ(text.Data(), "-1234.5+6");
    EXPECT_EQ(text.Encoding(), EncodingLatin1);
}

TEST(NStringSearch, TrimsOneByteOnly) {
    const struct {
        std::string text;
        char byte;
        std::string left, right, both;
    } rows[] = {
        {"", '.', "", "", ""},
        {"....", '.', "", "", ""},
        {"..a.b..", '.', "a.b..", "..a.b", "a.b"},
        {" \ta\t ", ' ', "\ta\t ", " \ta\t", "\ta\t"},
        {"a", '.', "a", "a", "a"},
        {"\0a\0"s, '\0', "a\0"s, "\0a"s, "a"},
        {"\xFF"s + "a\xFF", '\xFF', "a\xFF", "\xFF"s + "a", "a"},
    };
    for (const auto& row : rows) {
        NString left(row.text, EncodingLatin1), right(left), both(left);
        left.TrimLeft(row.byte);
        right.TrimRight(row.byte);
        both.Trim(row.byte);
        EXPECT_EQ(left.Data(), row.left);
        EXPECT_EQ(right.Data(), row.right);
        EXPECT_EQ(both.Data(), row.both);
    }
}

TEST(NStringSearch, PartsOfAText) {
    const NString text("abc"s, EncodingUTF8);
    EXPECT_EQ(text.Mid(1, 1), "b");
    EXPECT_EQ(text.Mid(1, Huge), "bc");
    EXPECT_EQ(text.Mid(3, 5), "");
    _expectInvalidPosition([&] { text.Mid(4, 0); });
    _expectInvalidPosition([&] { text.Mid(Huge, 1); });

    EXPECT_EQ(text.Left(0), "");
    EXPECT_EQ(text.Left(2), "ab");
    EXPECT_EQ(text.Left(Huge), "abc") << "clips";

    EXPECT_EQ(text.Right(0), "");
    EXPECT_EQ(text.Right(2), "bc");
    EXPECT_EQ(text.Right(3), "abc");
    _expectInvalidPosition([&] { text.Right(4); });
    _expectInvalidPosition([&] { NString().Right(1); });
    _expectInvalidPosition([&] { text.Right(Huge); });
}

TEST(NStringSearch, FindsForwards) {
    const NString text("abcabc"s, EncodingLatin1);
    EXPECT_EQ(text.Find("bc", 0), 1);
    EXPECT_EQ(text.Find("bc", 1), 1);
    EXPECT_EQ(text.Find("bc"s, 2), 4);
    EXPECT_EQ(text.Find("bc"s, 5), -1);
    EXPECT_EQ(text.Find("x", 0), -1);
    EXPECT_EQ(text.Find("abcabcd", 0), -1);
    EXPECT_EQ(text.Find("abc", Huge), -1);
    EXPECT_EQ(text.Find("", 0), 0);
    EXPECT_EQ(text.Find("", 6), 6);
    EXPECT_EQ(text.Find(""s, 7), -1);
    EXPECT_EQ(NString("a\0b"s, EncodingLatin1).Find("\0b"s, 0), 1);
    EXPECT_EQ(NString("ab"s, EncodingLatin1).Find("b\0c", 0), 1) << "a pointer ends at its NUL";
}

TEST(NStringSearch, FindsBackwards) {
    constexpr std::uint32_t none = 0xFFFFFFFF;
    const NString text("abcabc"s, EncodingLatin1);
    EXPECT_EQ(text.ReverseFind("abc", 0), 3u);
    EXPECT_EQ(text.ReverseFind("abc", 2), 3u);
    EXPECT_EQ(text.ReverseFind("abc"s, 3), 0u);
    EXPECT_EQ(text.ReverseFind("abc"s, 5), 0u);
    EXPECT_EQ(text.ReverseFind("bc", 5), none);
    EXPECT_EQ(text.ReverseFind("abc", 6), 3u) << "the start wraps past the head to the tail";
    EXPECT_EQ(text.ReverseFind("x"s, 0), none);
    EXPECT_EQ(text.ReverseFind("abcabcd", 0), none);
    EXPECT_EQ(text.ReverseFind("", 0), 5u);
    EXPECT_EQ(text.ReverseFind("", 5), 0u);
    EXPECT_EQ(text.ReverseFind(""s, 6), 6u);
    EXPECT_EQ(NString().ReverseFind("", 0), 0u);
    EXPECT_EQ(NString().ReverseFind("a", 0), none);
}

TEST(NStringSearch, ReplacesAPart) {
    NString text("abc"s, EncodingLatin1);
    EXPECT_EQ(text.Replace(1, 1, "XY"), "aXYc");
    EXPECT_EQ(text.Data(), "aXYc");
    EXPECT_EQ(text.Replace(3, Huge, "\0"s), "aXY\0"s);
    EXPECT_EQ(text.Replace(4, 0, "end"), "aXY\0end"s);
    EXPECT_EQ(text.Replace(0, 4, ""s), "end");
    EXPECT_EQ(text.Replace(0, 1, text.Data()), "endnd") << "from itself";
    EXPECT_EQ(text.Replace(0, 3, text.CStr() + 3), "ndnd") << "from a part of itself";
    _expectInvalidPosition([&] { text.Replace(5, 0, "x"); });
    _expectInvalidPosition([&] { text.Replace(Huge, 1, "x"s); });
    EXPECT_EQ(text.Data(), "ndnd");
}

TEST(NStringSearch, ReplacesEveryMatchOnce) {
    const struct {
        std::string text, from, to, expected;
    } rows[] = {
        {"", "a", "b", ""},         {"abca", "a", "aa", "aabcaa"},
        {"aaaa", "aa", "a", "aa"},  {"aaa", "aa", "b", "ba"},
        {"aaa", "a", "", ""},       {"abc", "abcd", "x", "abc"},
        {"abc", "x", "y", "abc"},   {"a\0b\0"s, "\0"s, ",", "a,b,"},
        {"ab", "ab", "\0"s, "\0"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        NString text(row.text, EncodingLatin1);
        text.ReplaceAll(row.from, row.to);
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Encoding(), EncodingLatin1);
    }
    NString text("a-b-"s, EncodingLatin1);
    text.ReplaceAll("-", "+");
    EXPECT_EQ(text.Data(), "a+b+");
    text.ReplaceAll(NString("+"s, EncodingASCII), NString("\xC3\xA9"s, EncodingUTF8));
    EXPECT_EQ(text.Data(), "a\xC3\xA9"s + "b\xC3\xA9") << "bytes as they stand";
    text.ReplaceAll(text, text);
    EXPECT_EQ(text.Data(), "a\xC3\xA9"s + "b\xC3\xA9");
}

// Step by step as documented, with no regard to the cost.
std::string _replaceAllSlowly(std::string text, const std::string& from, const std::string& to) {
    std::size_t pos = 0;
    while (from.size() <= text.size() && pos <= text.size() - from.size()) {
        while (pos + from.size() <= text.size() && text.compare(pos, from.size(), from) != 0) ++pos;
        if (pos + from.size() > text.size()) break;
        text = text.substr(0, pos) + to + text.substr(pos + from.size());
        pos += to.size();
    }
    return text;
}

long long _findSlowly(const std::string& text, const std::string& needle, std::size_t pos) {
    for (; needle.size() <= text.size() && pos <= text.size() - needle.size(); ++pos)
        if (text.compare(pos, needle.size(), needle) == 0) return static_cast<long long>(pos);
    return -1;
}

std::uint32_t _reverseFindSlowly(const std::string& text, const std::string& needle,
                                 std::size_t fromEnd) {
    const std::size_t last = text.size() - 1 - fromEnd;
    std::uint32_t found = 0xFFFFFFFF;
    for (std::size_t pos = 0; pos <= last && pos + needle.size() <= text.size(); ++pos)
        if (text.compare(pos, needle.size(), needle) == 0) found = static_cast<std::uint32_t>(pos);
    return found;
}

TEST(NStringSearch, SearchesAgreeWithTheSlowWay) {
    std::mt19937 random(2718);
    const auto text = [&random](std::size_t most) {
        std::string made(random() % (most + 1), '\0');
        for (char& byte : made) byte = "ab\0"[random() % 3];
        return made;
    };
    for (int round = 0; round < 20000; ++round) {
        const std::string hay = text(24), needle = text(3), to = text(4);
        const std::size_t pos = random() % 28;
        NString object(hay, EncodingLatin1);
        SCOPED_TRACE(testing::PrintToString(hay) + " " + testing::PrintToString(needle));
        ASSERT_EQ(object.Find(needle, pos), _findSlowly(hay, needle, pos)) << pos;
        ASSERT_EQ(object.ReverseFind(needle, pos), _reverseFindSlowly(hay, needle, pos)) << pos;
        if (needle.empty()) continue;
        object.ReplaceAll(needle, to);
        ASSERT_EQ(object.Data(), _replaceAllSlowly(hay, needle, to)) << testing::PrintToString(to);
    }
}

/// Notes which operations were reached, and goes on as NString does.
class Observed : public NString {
public:
    using NString::NString;
    using NString::operator=;
    using NString::operator+=;
    using NString::operator==;
    using NString::ReplaceAll;

    bool operator==(const NString& other) const override {
        _reached.push_back("==");
        return NString::operator==(other);
    }
    NString& operator+=(const NString& other) override {
        _reached.push_back("+=");
        return NString::operator+=(other);
    }
    void TrimLeft(char byte) override {
        _reached.push_back("TrimLeft");
        NString::TrimLeft(byte);
    }
    void TrimRight(char byte) override {
        _reached.push_back("TrimRight");
        NString::TrimRight(byte);
    }
    std::string Mid(std::size_t pos, std::size_t count) const override {
        _reached.push_back("Mid");
        return NString::Mid(pos, count);
    }
    void ReplaceAll(const std::string& from, const std::string& to) override {
        _reached.push_back("ReplaceAll");
        NString::ReplaceAll(from, to);
    }

    /// What was reached since the last call.
    std::vector<std::string> Reached() const { return std::exchange(_reached, {}); }

private:
    mutable std::vector<std::string> _reached;
};

TEST(NStringSearch, OverloadsEndInTheOneThatASubclassOverrides) {
    using testing::ElementsAre;
    Observed text("..a.."s, EncodingLatin1);
    const auto counted = _counted("..a..");
    EXPECT_TRUE(text == "..a.." && text == "..a.."s && text == counted.data());
    EXPECT_THAT(text.Reached(), ElementsAre("==", "==", "=="));
    text.Trim('.');
    EXPECT_THAT(text.Reached(), ElementsAre("TrimLeft", "TrimRight"));
    text += "b";
    text += "c"s;
    text += _counted("d").data();
    text += 'e';
    EXPECT_THAT(text.Reached(), ElementsAre("+=", "+=", "+=", "+="));
    EXPECT_EQ(text.Left(1) + text.Right(1), "ae");
    EXPECT_THAT(text.Reached(), ElementsAre("Mid", "Mid"));
    text.ReplaceAll("a", "x");
    text.ReplaceAll(NString("x"), NString("y"));
    EXPECT_THAT(text.Reached(), ElementsAre("ReplaceAll", "ReplaceAll"));
    EXPECT_EQ(text.Data(), "ybcde");
}

}  // namespace
