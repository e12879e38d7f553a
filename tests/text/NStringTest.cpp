#include <morvel/text/NString.h>

#include <morvel/text/Conversion.h>
#include <tests/support/Test.h>
#include <tests/support/Text.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;

void expectText(const NString& text, const std::string& data, NStringEncoding tag,
                NStringForm form) {
    EXPECT_EQ(text.Data(), data);
    EXPECT_EQ(text.Length(), data.size());
    EXPECT_EQ(text.IsEmpty(), data.empty());
    EXPECT_STREQ(text.CStr(), data.c_str());
    EXPECT_EQ(text.Encoding(), tag);
    EXPECT_EQ(text.Form(), form);
}

// Narrow text is composed if it comes to be UTF-8, and only then.
void expectNarrow(const NString& text, const std::string& data, NStringEncoding tag) {
    expectText(text, data, tag, tag == Utf8 ? FormNFC : FormUnknown);
}

TEST(NString, ConstructionReadsTheMark) {
    expectNarrow(NString(), "", Sys);
    expectNarrow(NString(static_cast<const char*>(nullptr)), "", Sys);
    const std::tuple<const char*, std::string, NStringEncoding, std::string, std::string> rows[] = {
        {"no mark", Decomposed, Sys, Decomposed, Decomposed},
        {"UTF-8", Mark + Decomposed, Utf8, Composed, Composed},
        {"mark alone", Mark, Utf8, "", ""},
        {"malformed text keeps its bytes", Mark + "\x80\0b"s, Utf8, "\x80\0b"s, "\x80"},
        {"NUL under no mark", "a\0b"s, Sys, "a\0b"s, "a"},
        {"NUL under UTF-8", Mark + "a\0b"s, Utf8, "a", "a"},
        {"a second mark is text", Mark + Mark, Utf8, Mark, Mark},
        {"two bytes of a mark", "\xEF\xBB", Sys, "\xEF\xBB", "\xEF\xBB"},
        {"the mark FE FF is text", "\xFE\xFFz", Sys, "\xFE\xFFz", "\xFE\xFFz"},
        {"UTF-16", "\xFF\xFEz\0\0\0"s, Utf16, "z\0\0\0"s, "z"},
    };
    for (const auto& [why, text, tag, whole, upToNul] : rows) {
        SCOPED_TRACE(why);
        expectNarrow(NString(text), whole, tag);
        expectNarrow(NString(Counted(text).data()), upToNul, tag);
        const bool becomesUtf8 = tag == Utf16;  // from a pointer: see the wide text below
        if (!becomesUtf8) expectNarrow(NString(text.c_str()), upToNul, tag);
    }
}

// A mark wins over the encoding that is given with a byte string, and with nothing else.
TEST(NString, ConstructionUnderAnEncoding) {
    using Row = std::tuple<const char*, std::string, NStringEncoding, NStringEncoding, std::string,
                           std::string>;
    const Row rows[] = {
        {"UTF-8 comes out composed", Decomposed, Utf8, Utf8, Composed, Composed},
        {"UTF-8 mark", Mark + Decomposed, Latin1, Utf8, Composed, Decomposed},
        {"UTF-16 mark", "\xFF\xFEzz", Utf8, Utf16, "zz", "zz"},
        {"NUL", "a\0b"s, Ascii, Ascii, "a\0b"s, "a"},
        {"any tag is kept", "\xE9", NoTag, NoTag, "\xE9", "\xE9"},
    };
    for (const auto& [why, text, given, tag, whole, upToNul] : rows) {
        SCOPED_TRACE(why);
        expectNarrow(NString(text, given), whole, tag);
        expectNarrow(NString(text.c_str(), given), upToNul, given);
        expectNarrow(NString(Counted(text).data(), given), upToNul, given);
    }
    expectNarrow(NString(Counted("ab").data(), Utf16), "ab", Utf16);  // a pointer would be wide
    const std::string longest(255, 'x');
    expectNarrow(NString(Counted(longest).data()), longest, Sys);
}

TEST(NString, WideTextBecomesUtf8AsItIs) {
    const std::tuple<const char*, NWideString, std::string, std::string> rows[] = {
        {"not composed", Wide({'e', 0x301}), Decomposed, Decomposed},
        {"surrogates", Wide({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"the mark stays", Wide({0xFEFF, 'z'}), Mark + "z", Mark + "z"},
        {"one swapped mark goes, from a string", Wide({0xFFFE, 0xFFFE}), "\xEF\xBF\xBE",
         "\xEF\xBF\xBE\xEF\xBF\xBE"},
        {"ends at the NUL", Wide({'a', 0, 'b'}), "a", "a"},
        {"empty", NWideString(), "", ""},
    };
    for (const auto& [why, text, fromString, fromPointer] : rows) {
        SCOPED_TRACE(why);
        expectText(NString(text), fromString, Utf8, FormUnknown);
        expectText(NString(text.c_str()), fromPointer, Utf8, FormUnknown);
        // Byte pointers, here at odd addresses, are of wide text behind FF FE or if EncodingUTF16
        // says so.
        const std::string odd = " \xFF\xFE" + morvel::BytesFromWide(text) + "\0\0"s;
        expectText(NString(odd.c_str() + 1), fromPointer, Utf8, FormUnknown);
        expectText(NString(odd.c_str() + 3, Utf16), fromPointer, Utf8, FormUnknown);
    }
}

TEST(NString, CopyAndMoveForgetTheForm) {
    NString text(Decomposed, Utf8);
    expectText(NString(text), Composed, Utf8, FormUnknown);
    const NString moved(std::move(text));
    expectText(moved, Composed, Utf8, FormUnknown);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(std::is_nothrow_move_constructible<NString>::value);
}

TEST(NString, AssignmentKeepsTheFormAndEmptiesTheCache) {
    NString text(Decomposed, Utf8);
    const NString& same = text;
    const std::string& cache = text.Converted(Latin1);
    EXPECT_EQ(cache, "\xE9");
    EXPECT_EQ(&(text = same), &text);
    EXPECT_EQ(cache, "");
    expectText(text, Composed, Utf8, FormNFC);
    text = NString(Decomposed, Latin1);
    expectText(text, Decomposed, Latin1, FormNFC);
    text.Converted(Utf8);
    text.SetBytes(Decomposed.data(), Decomposed.size(), Utf8);
    expectText(text, Decomposed, Utf8, FormNFC);  // the form claims it, so it is not done
    EXPECT_EQ(cache, "");
    NString fresh;
    fresh = NString(Decomposed, Utf8);
    expectText(fresh, Composed, Utf8, FormUnknown);
}

TEST(NString, SetBytesTakesThemRaw) {
    NString text;
    const std::string bytes = Mark + Decomposed + "\0b"s;
    text.SetBytes(bytes.data(), bytes.size(), Latin1);
    expectText(text, bytes, Latin1, FormUnknown);
    text.SetBytes(bytes.data(), bytes.size(), Utf8);  // composed, and so cut at the NUL
    expectText(text, Mark + Composed, Utf8, FormNFC);
    text.SetBytes(text.CStr() + 1, 2, Ascii);
    expectText(text, "\xBB\xBF", Ascii, FormNFC);
}

// A subclass that overrides one overload of each family.
class Watched : public NString {
public:
    using NString::NString;
    using NString::operator=;
    using NString::SetBytes;
    NString& operator=(const NString& other) override {
        assigned.emplace_back(other.Data(), other.Encoding());
        return NString::operator=(other);
    }
    void Normalize(NStringForm form) override {
        normalized.push_back(form);
        NString::Normalize(form);
    }

    std::vector<std::pair<std::string, NStringEncoding>> assigned;
    std::vector<NStringForm> normalized;
};

TEST(NString, EveryAssignmentArrivesAtOne) {
    const std::string s = Mark + Decomposed;
    const std::vector<unsigned char> c = Counted(s);
    const NWideString w = Wide({0xFFFE, 'w'});
    Watched text;
    text = s;
    text = s.c_str();
    text = c.data();
    text.SetData(s);
    text.SetData(s.c_str());
    text.SetData(c.data());
    text.SetData(s, Latin1);  // the mark wins
    text.SetBytes(s.data(), s.size());
    text.SetData(s.c_str(), Latin1);
    text.SetData(c.data(), Latin1);
    text.SetData(w);
    text.SetData(w.c_str() + 1);
    text.SetBytes(w.data(), w.size());
    decltype(text.assigned) expected(8, {Composed, Utf8});
    expected.resize(10, {Decomposed, Latin1});
    expected.resize(13, {"w", Utf8});
    EXPECT_EQ(text.assigned, expected);
    EXPECT_TRUE(text.normalized.empty());
}

TEST(NString, RawBytesAndConversionNormalizeThroughTheTable) {
    Watched text(Decomposed, Utf8);
    EXPECT_TRUE(text.normalized.empty());  // not from within a constructor
    for (const NStringEncoding tag : {Utf8, Latin1, Utf8}) text.SetBytes("a", 1, tag);
    text.ConvertTo(Utf8);
    text.ConvertTo(NoTag);
    text.Converted(Latin1);  // works on a copy
    text.ConvertTo(Latin1);
    text.ConvertTo(Utf8);
    EXPECT_EQ(text.normalized, std::vector<NStringForm>(5, FormNFC));
    EXPECT_TRUE(text.assigned.empty());
}

}  // namespace
