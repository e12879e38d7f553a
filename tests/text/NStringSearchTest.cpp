#include <morvel/text/NString.h>

#include <Poco/Environment.h>

#include <clocale>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/Text.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;

constexpr std::size_t Huge = std::string::npos;

/// Up to `most` of the pieces.
template <std::size_t count>
std::string _made(std::mt19937& random, std::size_t most, const std::string (&pieces)[count]) {
    std::string made;
    for (std::size_t left = random() % (most + 1); left > 0; --left) {
        made += pieces[random() % count];
    }
    return made;
}

/// Wine's C runtime, unlike that of Windows, takes bytes for signed where it folds.
const bool foldsSigned = std::is_same<NWideChar, wchar_t>::value &&
                         Raw("\x80", EncodingLatin1).CompareNoCase(Raw("a", EncodingLatin1)) < 0;

/// The sign of a comparison of unsigned bytes up to a NUL or `count` of them.
int _compared(const std::string& a, const std::string& b, std::size_t count, bool fold) {
    const auto at = [fold](const std::string& text, std::size_t i) {
        const int byte = static_cast<unsigned char>(text.c_str()[i]);
        if (fold && foldsSigned && byte > 127) return byte - 256;
        return fold && byte >= 'A' && byte <= 'Z' ? byte + 32 : byte;
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (at(a, i) != at(b, i)) return at(a, i) < at(b, i) ? -1 : 1;
        if (at(a, i) == 0) return 0;
    }
    return 0;
}

int _sign(int value) {
    return (value > 0) - (value < 0);
}

// Whatever the tags and the bytes, each overload comes to what it would after a conversion of the
// whole argument, but for the short cut of the families that have one.
TEST(NStringSearch, ComparingAndAppendingAgreeWithTheLongWay) {
    std::mt19937 random(31415);
    const std::string pieces[] = {"a",   "A",      "e",        "Z",    "[",    "_",
                                  "\0"s, Composed, "\xCC\x81", "\xC9", "\xFF", Mark};
    for (int round = 0; round < 40000; ++round) {
        const auto tag = static_cast<NStringEncoding>(random() % 7);
        const std::string bytes = _made(random, 4, pieces);
        const NString text =
            Raw(_made(random, 4, pieces), static_cast<NStringEncoding>(random() % 7));
        SCOPED_TRACE(testing::PrintToString(text.Data()) + testing::PrintToString(bytes));
        const auto converted = [&text](NString other) {
            other.ConvertTo(text.Encoding());
            return other.Data();
        };
        const std::uint32_t count = random() % 6;
        const auto expectOf = [&](const NString& built, bool quick, auto... other) {
            const std::string a = text.Data(), whole = converted(built), b = quick ? bytes : whole;
            EXPECT_EQ(_sign(text.Compare(other...)), _compared(a, b, Huge, false));
            EXPECT_EQ(_sign(text.CompareN(other..., count)), _compared(a, whole, count, false));
            EXPECT_EQ(_sign(text.CompareNoCase(other...)), _compared(a, b, Huge, true));
            EXPECT_EQ(_sign(text.CompareNoCaseN(other..., count)),
                      _compared(a, whole, count, true));
        };
        const std::string padded = bytes + "\0\0\0"s;  // ends as wide text too
        const char* const pointer = padded.c_str();
        const bool sameTag = tag == text.Encoding();
        const NString object = Raw(bytes, tag);
        expectOf(object, sameTag, object);
        expectOf(NString(bytes, tag), sameTag, bytes, tag);
        expectOf(NString(pointer, tag), sameTag, pointer, tag);
        expectOf(NString(bytes), false, bytes);
        expectOf(NString(pointer), false, pointer);

        ASSERT_EQ(text == object, text.Data() == converted(object));
        ASSERT_EQ(text != object, text.Data() != converted(object));
        NString sum(text);
        ASSERT_EQ(&(sum += object), &sum);
        ASSERT_EQ((text + object).Data(), sum.Data());
        ASSERT_EQ((text + object).Encoding(), text.Encoding());
        ASSERT_EQ(sum.Data(), text.Data() + (sameTag ? bytes : converted(object)));
        ASSERT_EQ(sum.Encoding(), text.Encoding());
        if (HasFailure()) return;
    }
}

TEST(NStringSearch, TextsThatReadTheSameAreNotAlwaysEqual) {
    const NString latin1("caf\xE9"s, Latin1), utf8("caf" + Composed, Utf8);
    const NString wide(Wide({'c', 'a', 'f', 'e', 0x301}));  // not composed, as only wide text is
    EXPECT_TRUE(latin1 == utf8 && utf8 == latin1);
    EXPECT_TRUE(utf8 == wide) << "the argument is composed";
    EXPECT_FALSE(wide == utf8) << "the object is not";
    EXPECT_FALSE(wide == wide) << "not even if both have the same bytes";
    EXPECT_NE(utf8.Compare(wide), 0) << "equal tags are taken for granted";
    EXPECT_EQ(utf8.CompareN(wide, 100), 0) << "but not where a count is given";
}

TEST(NStringSearch, CaseChangesAsciiLettersUpToTheFirstNulAndKeepNumericKeepsThirteenBytes) {
    std::string every = "zZ", upper = "ZZ", lower = "zz";
    for (int byte = 1; byte < 256; ++byte) {
        every += static_cast<char>(byte);
        upper += static_cast<char>(byte >= 'a' && byte <= 'z' ? byte - 32 : byte);
        lower += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 32 : byte);
    }
    const auto after = [](void (NString::*change)(), const std::string& bytes) {
        NString text(bytes, Latin1);
        (text.*change)();
        return text.Data();
    };
    EXPECT_EQ(after(&NString::ToUpper, every + "\0Zz"s), upper + "\0Zz"s);
    EXPECT_EQ(after(&NString::ToLower, every + "\0Zz"s), lower + "\0Zz"s);
    EXPECT_EQ(after(&NString::Capitalize, every + "\0Zz"s), "Z" + lower.substr(1) + "\0Zz"s);
    EXPECT_EQ(after(&NString::Capitalize, "\0Zz"s), "\0Zz"s);
    EXPECT_EQ(after(&NString::KeepNumeric, "+e\0"s + every), "++-.0123456789");
}

TEST(NStringSearch, PartsOfAText) {
    NString text("abc"s, Latin1);
    EXPECT_EQ(text.Mid(1, 1), "b");
    EXPECT_EQ(text.Mid(1, Huge), "bc");
    EXPECT_EQ(text.Mid(3, 5), "");
    EXPECT_EQ(text.Left(2), "ab");
    EXPECT_EQ(text.Left(Huge), "abc") << "clips";
    EXPECT_EQ(text.Right(2), "bc");
    EXPECT_EQ(text.Right(3), "abc");

    EXPECT_EQ(text.Replace(1, 1, "XY"), "aXYc");
    EXPECT_EQ(text.Data(), "aXYc");
    EXPECT_EQ(text.Replace(3, Huge, "\0"s), "aXY\0"s);
    EXPECT_EQ(text.Replace(4, 0, "end"), "aXY\0end"s);
    EXPECT_EQ(text.Replace(0, 4, text.CStr() + 4), "endend") << "from a part of itself";

    const auto raises = testing::ThrowsMessage<std::out_of_range>("invalid string position");
    EXPECT_THAT([&] { text.Mid(7, 0); }, raises);
    EXPECT_THAT([&] { text.Right(7); }, raises) << "does not clip";
    EXPECT_THAT([&] { text.Right(Huge); }, raises);
    EXPECT_THAT([&] { text.Replace(7, 0, "x"); }, raises);
    EXPECT_THAT([&] { text.Replace(Huge, 1, "x"s); }, raises);
    EXPECT_EQ(text.Data(), "endend");
}

TEST(NStringSearch, ReplacesWhateverTheTags) {
    NString text("a-a-"s, Latin1);
    text.ReplaceAll(NString("-"s, Ascii), NString(Composed, Utf8));
    EXPECT_EQ(text.Data(), "a" + Composed + "a" + Composed);
    text.ReplaceAll(text, NString("self"));
    EXPECT_EQ(text.Data(), "self");
    EXPECT_EQ(text.Encoding(), Latin1);
}

std::string _replacedSlowly(const std::string& text, const std::string& from,
                            const std::string& to) {
    std::string result;
    for (std::size_t pos = 0; pos < text.size();) {
        const bool match = text.compare(pos, from.size(), from) == 0;
        result += match ? to : text.substr(pos, 1);
        pos += match ? from.size() : 1;
    }
    return result;
}

TEST(NStringSearch, SearchesAgreeWithThoseOfTheStandard) {
    std::mt19937 random(2718);
    const std::string pieces[] = {"a", "b", "\0"s};
    for (int round = 0; round < 20000; ++round) {
        // Now and then as long as several of the blocks in which texts are searched.
        const std::size_t length = round % 10 == 0 ? 300 : 24;
        const std::string hay = _made(random, length, pieces);
        const std::string needle = _made(random, length == 24 ? 3 : 9, pieces);
        const std::string to = _made(random, 4, pieces);
        const char* const pointer = needle.c_str();
        const std::size_t pos = random() % (length + 4) - 1;  // Huge, too
        SCOPED_TRACE(testing::PrintToString(hay) + testing::PrintToString(needle));
        NString object(hay, Latin1), left(object), right(object);
        const auto rfind = [&](const std::string& sought) {
            return static_cast<std::uint32_t>(hay.rfind(sought, hay.size() - 1 - pos));
        };
        ASSERT_EQ(object.Find(needle, pos), static_cast<long long>(hay.find(needle, pos))) << pos;
        ASSERT_EQ(object.Find(pointer, pos), static_cast<long long>(hay.find(pointer, pos))) << pos;
        ASSERT_EQ(object.ReverseFind(needle, pos), rfind(needle)) << pos;
        ASSERT_EQ(object.ReverseFind(pointer, pos), rfind(pointer)) << pos;
        left.TrimLeft(needle[0]);
        right.TrimRight(needle[0]);
        ASSERT_EQ(left.Data(), hay.substr(std::min(hay.find_first_not_of(needle[0]), hay.size())));
        ASSERT_EQ(right.Data(), hay.substr(0, hay.find_last_not_of(needle[0]) + 1));
        if (needle.empty()) continue;
        object.ReplaceAll(needle, to);
        ASSERT_EQ(object.Data(), _replacedSlowly(hay, needle, to)) << testing::PrintToString(to);
    }
}

/// Notes which operations are reached, and goes on as NString does.
class Observed : public NString {
public:
    using NString::NString;
    using NString::operator=;
    using NString::operator+=;
    using NString::operator==;
    using NString::ReplaceAll;

    bool operator==(const NString& other) const override {
        reached.push_back("==");
        return NString::operator==(other);
    }
    NString& operator+=(const NString& other) override {
        reached.push_back("+=");
        return NString::operator+=(other);
    }
    void TrimLeft(char) override { reached.push_back("TrimLeft"); }
    void TrimRight(char) override { reached.push_back("TrimRight"); }
    std::string Mid(std::size_t pos, std::size_t count) const override {
        return "Mid " + NString::Mid(pos, count);
    }
    void ReplaceAll(const std::string& from, const std::string& to) override {
        reached.push_back(from + ">" + to);
    }

    mutable std::vector<std::string> reached;
};

TEST(NStringSearch, OverloadsEndInTheOneThatASubclassOverrides) {
    Observed text("a"s, Latin1);
    EXPECT_TRUE(text == "a" && text == "a"s && text == Counted("a").data());
    text += "b";
    text += Mark + Composed;  // converted
    text += Counted("d").data();
    text += 'e';
    text += '\0';
    EXPECT_EQ(text.Data(), "ab\xE9"s + "de");
    text.Trim('.');
    text.ReplaceAll("a", "b");
    text.ReplaceAll(NString("c"), NString("d"));
    EXPECT_THAT(text.reached, testing::ElementsAre("==", "==", "==", "+=", "+=", "+=", "+=", "+=",
                                                   "TrimLeft", "TrimRight", "a>b", "c>d"));
    EXPECT_EQ(text.Left(2), "Mid ab");
    EXPECT_EQ(text.Right(2), "Mid de");
}

// The application's locale may have other pairs of letters: I and a dotless i, E9 and C9.
TEST(NStringSearch, ComparesWithoutCaseAsAsciiInEveryLocale) {
    const TemporaryFolder folder;
    std::system(("localedef -i tr_TR -f ISO-8859-9 " + folder.File("tr_TR") + " 2>&1").c_str());
    Poco::Environment::set("LOCPATH", folder.File(""));
    if (OnWindows || std::setlocale(LC_ALL, "tr_TR") == nullptr) {
        GTEST_SKIP() << "localedef and the sources of the locales make the locale that this needs";
    }
    const NString title = Raw("TITLE \xC9", EncodingLatin1);
    const int ascii = title.CompareNoCase("title \xC9", EncodingLatin1);
    const int latin = title.CompareNoCase("title \xE9", EncodingLatin1);
    const int first = title.CompareNoCaseN("title \xE9", EncodingLatin1, 6);
    std::setlocale(LC_ALL, "C");
    EXPECT_TRUE(ascii == 0 && latin < 0 && first == 0) << ascii << ' ' << latin << ' ' << first;
}

}  // namespace
