#include <morvel/text/NString.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

const auto noEncoding = static_cast<NStringEncoding>(6);
const std::string decomposed = "e\xCC\x81";
const std::string composed = "\xC3\xA9";

// A counted text: its length in front.
std::string counted(const std::string& bytes) {
    return std::string(1, static_cast<char>(bytes.size())) + bytes;
}

const unsigned char* asCounted(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

NWideString wide(std::initializer_list<int> units) {
    NWideString text;
    for (const int unit : units) text += static_cast<NWideChar>(unit);
    return text;
}

// The bytes of wide text with a NUL unit behind, at an odd address.
struct WideBytes {
    explicit WideBytes(const NWideString& text, const std::string& head = "") {
        const std::size_t count = (text.size() + 1) * sizeof(NWideChar);
        bytes = (head.size() % 2 == 0 ? " " : "") + head;
        bytes.append(reinterpret_cast<const char*>(text.c_str()), count);
        start = head.size() % 2 == 0 ? 1 : 0;
    }
    const char* get() const { return bytes.data() + start; }

    std::string bytes;
    std::size_t start;
};

struct State {
    std::string data;
    NStringEncoding encoding;
    NStringForm form;
};

void expectState(const NString& text, const State& expected) {
    EXPECT_EQ(text.Data(), expected.data);
    EXPECT_EQ(text.Length(), expected.data.size());
    EXPECT_EQ(text.IsEmpty(), expected.data.empty());
    EXPECT_EQ(std::strlen(text.CStr()), expected.data.find('\0') == std::string::npos
                                            ? expected.data.size()
                                            : expected.data.find('\0'));
    EXPECT_EQ(text.Encoding(), expected.encoding);
    EXPECT_EQ(text.Form(), expected.form);
}

TEST(NString, EmptyConstruction) {
    expectState(NString(), {"", EncodingSystem, FormUnknown});
    expectState(NString(EncodingLatin9), {"", EncodingLatin9, FormUnknown});
    expectState(NString(static_cast<const char*>(nullptr)), {"", EncodingSystem, FormUnknown});
    expectState(NString(EncodingUTF8), {"", EncodingUTF8, FormUnknown});
}

// One text through the constructors without an encoding: byte string, pointer, counted.
TEST(NString, ConstructionReadsTheMark) {
    const struct {
        const char* why;
        std::string text;
        State fromString, fromPointer, fromCounted;
    } rows[] = {
        {"no mark",
         decomposed,
         {decomposed, EncodingSystem, FormUnknown},
         {decomposed, EncodingSystem, FormUnknown},
         {decomposed, EncodingSystem, FormUnknown}},
        {"UTF-8",
         "\xEF\xBB\xBF" + decomposed,
         {composed, EncodingUTF8, FormNFC},
         {composed, EncodingUTF8, FormNFC},
         {composed, EncodingUTF8, FormNFC}},
        {"mark alone",
         "\xEF\xBB\xBF",
         {"", EncodingUTF8, FormNFC},
         {"", EncodingUTF8, FormNFC},
         {"", EncodingUTF8, FormNFC}},
        {"malformed text keeps its bytes",
         "\xEF\xBB\xBF"
         "e\xCC",
         {"e\xCC", EncodingUTF8, FormNFC},
         {"e\xCC", EncodingUTF8, FormNFC},
         {"e\xCC", EncodingUTF8, FormNFC}},
        {"NUL under no mark",
         "a\0b"s,
         {"a\0b"s, EncodingSystem, FormUnknown},
         {"a", EncodingSystem, FormUnknown},
         {"a", EncodingSystem, FormUnknown}},
        {"NUL under UTF-8",
         "\xEF\xBB\xBF"
         "a\0b"s,
         {"a", EncodingUTF8, FormNFC},
         {"a", EncodingUTF8, FormNFC},
         {"a", EncodingUTF8, FormNFC}},
        {"NUL behind what is malformed",
         "\xEF\xBB\xBF\x80\0b"s,
         {"\x80\0b"s, EncodingUTF8, FormNFC},
         {"\x80", EncodingUTF8, FormNFC},
         {"\x80", EncodingUTF8, FormNFC}},
        {"a second mark is text",
         "\xEF\xBB\xBF\xEF\xBB\xBF",
         {"\xEF\xBB\xBF", EncodingUTF8, FormNFC},
         {"\xEF\xBB\xBF", EncodingUTF8, FormNFC},
         {"\xEF\xBB\xBF", EncodingUTF8, FormNFC}},
        {"two bytes of a mark",
         "\xEF\xBB",
         {"\xEF\xBB", EncodingSystem, FormUnknown},
         {"\xEF\xBB", EncodingSystem, FormUnknown},
         {"\xEF\xBB", EncodingSystem, FormUnknown}},
        {"big-endian mark is text",
         "\xFE\xFF"
         "a",
         {"\xFE\xFF"
          "a",
          EncodingSystem, FormUnknown},
         {"\xFE\xFF"
          "a",
          EncodingSystem, FormUnknown},
         {"\xFE\xFF"
          "a",
          EncodingSystem, FormUnknown}},
        {"UTF-16 from a pointer becomes UTF-8, up to the zero unit",
         "\xFF\xFE"
         "e\0\x01\x03\0\0z\0"s,
         {"e\0\x01\x03\0\0z\0"s, EncodingUTF16, FormUnknown},
         {decomposed, EncodingUTF8, FormUnknown},
         {"e", EncodingUTF16, FormUnknown}},
        {"UTF-16 mark alone",
         "\xFF\xFE\0\0"s,
         {"\0\0"s, EncodingUTF16, FormUnknown},
         {"", EncodingUTF8, FormUnknown},
         {"", EncodingUTF16, FormUnknown}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        expectState(NString(row.text), row.fromString);
        expectState(NString(row.text.c_str()), row.fromPointer);
        expectState(NString(asCounted(counted(row.text))), row.fromCounted);
    }
}

// With an encoding: a mark wins over it in a byte string, and only there.
TEST(NString, ConstructionUnderAnEncoding) {
    const struct {
        const char* why;
        std::string text;
        NStringEncoding encoding;
        State fromString, fromPointer, fromCounted;
    } rows[] = {
        {"UTF-8 comes out composed",
         decomposed,
         EncodingUTF8,
         {composed, EncodingUTF8, FormNFC},
         {composed, EncodingUTF8, FormNFC},
         {composed, EncodingUTF8, FormNFC}},
        {"UTF-8 mark under Latin-1",
         "\xEF\xBB\xBF" + decomposed,
         EncodingLatin1,
         {composed, EncodingUTF8, FormNFC},
         {decomposed, EncodingLatin1, FormUnknown},
         {decomposed, EncodingLatin1, FormUnknown}},
        {"UTF-16 mark under UTF-8",
         "\xFF\xFE"
         "ab",
         EncodingUTF8,
         {"ab", EncodingUTF16, FormUnknown},
         {"ab", EncodingUTF8, FormNFC},
         {"ab", EncodingUTF8, FormNFC}},
        {"NUL under ASCII",
         "a\0b"s,
         EncodingASCII,
         {"a\0b"s, EncodingASCII, FormUnknown},
         {"a", EncodingASCII, FormUnknown},
         {"a", EncodingASCII, FormUnknown}},
        {"any tag is kept",
         "\xE9",
         noEncoding,
         {"\xE9", noEncoding, FormUnknown},
         {"\xE9", noEncoding, FormUnknown},
         {"\xE9", noEncoding, FormUnknown}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        expectState(NString(row.text, row.encoding), row.fromString);
        expectState(NString(row.text.c_str(), row.encoding), row.fromPointer);
        expectState(NString(asCounted(counted(row.text)), row.encoding), row.fromCounted);
    }
}

TEST(NString, CountedTextOfEitherLimit) {
    expectState(NString(asCounted("\0x"s)), {"", EncodingSystem, FormUnknown});
    const std::string longest(255, 'x');
    expectState(NString(asCounted(counted(longest) + "y")), {longest, EncodingSystem, FormUnknown});
    expectState(NString(asCounted(counted("ab\xFF\xFE")), EncodingUTF16),
                {"ab\xFF\xFE", EncodingUTF16, FormUnknown});
}

TEST(NString, WideTextBecomesUtf8AsItIs) {
    const struct {
        const char* why;
        NWideString text;
        std::string fromString, fromPointer;
    } rows[] = {
        {"not composed", wide({'e', 0x301}), decomposed, decomposed},
        {"a pair of surrogates", wide({0xD83D, 0xDE00}), "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"the mark stays", wide({0xFEFF, 'a'}),
         "\xEF\xBB\xBF"
         "a",
         "\xEF\xBB\xBF"
         "a"},
        {"one swapped mark goes, from a string", wide({0xFFFE, 0xFFFE, 'a'}),
         "\xEF\xBF\xBE"
         "a",
         "\xEF\xBF\xBE\xEF\xBF\xBE"
         "a"},
        {"ends at the NUL", wide({'a', 0, 'b'}), "a", "a"},
        {"swapped mark alone", wide({0xFFFE}), "", "\xEF\xBF\xBE"},
        {"empty", NWideString(), "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        expectState(NString(row.text), {row.fromString, EncodingUTF8, FormUnknown});
        expectState(NString(row.text.c_str()), {row.fromPointer, EncodingUTF8, FormUnknown});
        const WideBytes odd(row.text);  // EncodingUTF16 says that the pointer is of wide text
        expectState(NString(odd.get(), EncodingUTF16),
                    {row.fromPointer, EncodingUTF8, FormUnknown});
        const WideBytes marked(row.text, "\xFF\xFE");
        expectState(NString(marked.get()), {row.fromPointer, EncodingUTF8, FormUnknown});
    }
}

TEST(NString, CopyAndMoveForgetFormAndCache) {
    NString text(decomposed, EncodingUTF8);
    text.Converted(EncodingLatin1);
    const NString copy(text);
    expectState(copy, {composed, EncodingUTF8, FormUnknown});
    expectState(text, {composed, EncodingUTF8, FormNFC});

    const NString moved(std::move(text));
    expectState(moved, {composed, EncodingUTF8, FormUnknown});
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(std::is_nothrow_move_constructible<NString>::value);

    NString small("ab"), target;  // shorter than what a string keeps outside itself
    target = NString(std::move(small));
    EXPECT_TRUE(small.IsEmpty());
    EXPECT_EQ(target.Data(), "ab");
}

TEST(NString, AssignmentKeepsTheForm) {
    NString text(decomposed, EncodingUTF8);
    text = NString(decomposed, EncodingLatin1);
    expectState(text, {decomposed, EncodingLatin1, FormNFC});
    text.SetBytes(decomposed.data(), decomposed.size(), EncodingUTF8);
    expectState(text, {decomposed, EncodingUTF8, FormNFC});  // the tag claims it, so it is not done

    NString fresh;
    fresh = NString(decomposed, EncodingUTF8);
    expectState(fresh, {composed, EncodingUTF8, FormUnknown});
}

TEST(NString, AssignmentEmptiesTheCacheEvenFromItself) {
    NString text("caf\xE9"s, EncodingLatin1);
    const std::string& cache = text.Converted(EncodingUTF8);
    EXPECT_EQ(cache, "caf\xC3\xA9");
    const NString& same = text;
    EXPECT_EQ(&(text = same), &text);
    EXPECT_TRUE(cache.empty());
    expectState(text, {"caf\xE9", EncodingLatin1, FormUnknown});

    text.Converted(EncodingUTF8);
    text = NString("x");
    EXPECT_TRUE(cache.empty());

    text.Converted(EncodingUTF8);
    text.SetBytes("y", 1, EncodingLatin1);
    EXPECT_TRUE(cache.empty());
}

TEST(NString, SetBytesTakesThemRaw) {
    NString text;
    text.SetBytes(
        "\xEF\xBB\xBF"
        "a\0b",
        6, EncodingLatin1);
    expectState(text, {"\xEF\xBB\xBF"
                       "a\0b"s,
                       EncodingLatin1, FormUnknown});
    text.SetBytes(
        "\xEF\xBB\xBF"
        "e\xCC\x81\0b",
        8, EncodingUTF8);  // composed, and so cut at the NUL
    expectState(text, {"\xEF\xBB\xBF" + composed, EncodingUTF8, FormNFC});

    NString own("0123456789"s);
    own.SetBytes(own.CStr() + 3, 4, EncodingASCII);
    expectState(own, {"3456", EncodingASCII, FormUnknown});
}

// A subclass that overrides one overload of each family.
class Watched : public NString {
public:
    using NString::NString;
    using NString::operator=;
    using NString::SetBytes;
    NString& operator=(const NString& other) override {
        seen.push_back({other.Data(), other.Encoding(), other.Form()});
        return NString::operator=(other);
    }
    void Normalize(NStringForm form) override {
        normalized.push_back(form);
        NString::Normalize(form);
    }

    std::vector<State> seen;
    std::vector<NStringForm> normalized;
};

TEST(NString, EveryAssignmentArrivesAtOne) {
    const std::string marked = "\xEF\xBB\xBF" + decomposed;
    const NWideString wideText = wide({0xFFFE, 'w'});
    const std::string asCount = counted(marked);
    const State composedUtf8 = {composed, EncodingUTF8, FormNFC};
    const State latin1 = {decomposed, EncodingLatin1, FormUnknown};
    const State utf8Wide = {"w", EncodingUTF8, FormUnknown};
    const struct {
        const char* why;
        void (*assign)(NString&, const std::string&, const std::string&, const NWideString&);
        State expected;
    } rows[] = {
        {"= string", [](auto& t, auto& s, auto&, auto&) { t = s; }, composedUtf8},
        {"= pointer", [](auto& t, auto& s, auto&, auto&) { t = s.c_str(); }, composedUtf8},
        {"= counted", [](auto& t, auto&, auto& c, auto&) { t = asCounted(c); }, composedUtf8},
        {"counted, encoding",
         [](auto& t, auto&, auto& c, auto&) { t.SetData(asCounted(c), EncodingLatin1); }, latin1},
        {"pointer, encoding",
         [](auto& t, auto& s, auto&, auto&) { t.SetData(s.c_str(), EncodingLatin1); }, latin1},
        {"string, encoding", [](auto& t, auto& s, auto&, auto&) { t.SetData(s, EncodingLatin1); },
         composedUtf8},
        {"counted", [](auto& t, auto&, auto& c, auto&) { t.SetData(asCounted(c)); }, composedUtf8},
        {"wide pointer", [](auto& t, auto&, auto&, auto& w) { t.SetData(w.c_str() + 1); },
         utf8Wide},
        {"pointer", [](auto& t, auto& s, auto&, auto&) { t.SetData(s.c_str()); }, composedUtf8},
        {"wide string", [](auto& t, auto&, auto&, auto& w) { t.SetData(w); }, utf8Wide},
        {"string", [](auto& t, auto& s, auto&, auto&) { t.SetData(s); }, composedUtf8},
        {"wide units", [](auto& t, auto&, auto&, auto& w) { t.SetBytes(w.data(), w.size()); },
         utf8Wide},
        {"bytes", [](auto& t, auto& s, auto&, auto&) { t.SetBytes(s.data(), s.size()); },
         composedUtf8},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Watched text;
        row.assign(text, marked, asCount, wideText);
        ASSERT_EQ(text.seen.size(), 1u);
        EXPECT_EQ(text.seen[0].data, row.expected.data);
        EXPECT_EQ(text.seen[0].form, row.expected.form);
        expectState(text, {row.expected.data, row.expected.encoding, FormUnknown});
        EXPECT_TRUE(text.normalized.empty());
    }
}

TEST(NString, RawBytesAndConversionNormalizeThroughTheTable) {
    Watched text(decomposed, EncodingUTF8);
    EXPECT_TRUE(text.normalized.empty());  // not from within a constructor
    text.SetBytes("a", 1, EncodingUTF8);
    text.SetBytes("a", 1, EncodingLatin1);
    text.SetBytes("a", 1, EncodingUTF8);
    text.ConvertTo(EncodingUTF8);
    text.ConvertTo(noEncoding);
    text.Converted(EncodingLatin1);  // works on a copy
    text.ConvertTo(EncodingLatin1);
    text.ConvertTo(EncodingUTF8);
    EXPECT_EQ(text.normalized, std::vector<NStringForm>(5, FormNFC));
    EXPECT_TRUE(text.seen.empty());
}

}  // namespace
