#include <morvel/text/NString.h>

#include <Poco/Environment.h>

#include <array>
#include <cfloat>
#include <clocale>
#include <cmath>

#include <tests/support/Generated.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/text/ReferenceText.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;

/// What texts are made of, by subject.
using Pool = std::vector<std::string>;
const std::string Every = [] {
    std::string all;
    while (all.size() < 255) all += static_cast<char>(all.size() + 1);
    return all;
}();
const Pool Letters = {"a", "A", "e", "z", "Z", "[", "_", "\0"s, Composed, "\xCC\x81", "\xC9", Mark};
const Pool Few = {"a", "b", "\0"s, "ab"};
const Pool Bytes = {Every, "x", "\0"s, std::string(60, 'y'), Mark, Composed, "\xA4", "\xC3"};
const Pool Units = {"\xFF\xFE",          "a\0"s,    "\0\0"s,   "e\0\x01\x03"s,
                    "\x3D\xD8\x00\xDE"s, "\0\xD8"s, "\xFF\xDF"};
const Pool Unicode = {
    Decomposed, "\xEF\xAC\x81", "\xE2\x84\xAB", "\xC3", "\xE2\x82", "\xED\xA0\x80", "e"};
const Pool Numbers = {"0", "1", "12", "05", "-", "+", ".", ",", "0,", "3.5", "e3", " ", "f", "x"};
const Pool Digits = {"0", "12", "05", "9", "99184467440737095516"};
const Pool Hex = {"0", "/", "9", ":", "@", "A", "F", "G", "`", "a", "f", "g"};
const Pool Base64 = {"QQ==", "A===", "Zm9v", "+", "/", "=",   "A",
                     "9g",   "\r\n", " ",    "*", "-", "\xC3"};
const Pool Url = {"%41", "%e9", "%00", "%zz", "%", "+", "?", "a"};
const Pool* const Pools[] = {&Letters, &Few,    &Bytes, &Units,  &Unicode,
                             &Numbers, &Digits, &Hex,   &Base64, &Url};

/// What an operation is given.
struct Given {
    Given(Draw& draw, const Pool& pool) {
        bytes = draw.Joined(pool, draw.OneIn(8) ? 100 : 6);
        padded = bytes + "\0\0\0"s;
        pointer = padded.c_str();
        needle = draw.Joined(pool, 2);
        counted = Counted(bytes.substr(0, 255));
        const int units[] = {'e', 0x301, 'e', 0x301, 0xE9, 0xFFFE, 0xFEFF, 0, 0xD83D, 0xDE00};
        for (std::size_t i = draw.Below(6); i > 2; --i) wide += Wide({draw.Of(units)});
        const NStringEncoding tags[] = {Sys, Ascii, Latin1, Latin9, Utf8, Utf8, Utf8, Utf16, NoTag};
        tag = draw.Of(tags);
        small = static_cast<int>(draw.Below(9)) - 2;
        form = static_cast<NStringForm>(small);
        pos = draw.Below(bytes.size() + 4) - 1;  // the greatest number, too
        const std::size_t beyond[] = {0, 0, 0x80000000, 0x100000000};
        count = draw.Below(9) + draw.Of(beyond);
        number = static_cast<long long>(draw.Bits() >> draw.Below(64)) * (draw.OneIn(2) ? 1 : -1);
        const double reals[] = {
            0.1 + 0.2, -0.0,    1e5,       2.5,       -1.5,
            1.005,     1e15,    1e60,      1e6,       NAN,
            1e-7,      FLT_MAX, -HUGE_VAL, 123456789, static_cast<double>(number)};
        real = draw.Of(reals);
    }

    template <class Number>
    Number As() const {
        return static_cast<Number>(number);
    }
    template <class Text>
    Text Like(const Text&) const {  ///< A text of the type of another.
        return wide.empty() ? Text(bytes, tag) : Text(wide);
    }
    template <class Number>
    std::vector<Number> List() const {  ///< Numbers made of the bytes.
        std::vector<Number> list(1 + bytes.size() / sizeof(Number));
        std::memcpy(list.data(), bytes.data(), bytes.size());
        return list;
    }
    std::uint8_t Length() const { return static_cast<std::uint8_t>(bytes.size() / 4); }

    std::string bytes, needle;
    std::string padded;  // ends as wide text too
    const char* pointer;
    std::vector<unsigned char> counted;
    NWideString wide;
    NStringEncoding tag;
    NStringForm form;
    std::size_t pos, count;
    int small;
    long long number;
    double real;
};

/// Notes what arrives at the operations that a subclass overrides, and goes on as NString does.
class Spy : public NString {
public:
    using NString::NString;
    using NString::operator=;
    using NString::operator+=;
    using NString::operator==;
    using NString::ReplaceAll;
    using NString::SetNumber64;
    Spy(const Spy&) = default;

    bool operator==(const NString& other) const override {
        return Note("=="), NString::operator==(other);
    }
    Spy& operator=(const NString& other) override {
        return Note("="), NString::operator=(other), *this;
    }
    Spy& operator=(const Spy& other) { return *this = static_cast<const NString&>(other); }
    Spy& operator+=(const NString& other) override {
        return Note("+="), NString::operator+=(other), *this;
    }
    void Normalize(NStringForm form) override {
        Note("Normalize " + std::to_string(form)), NString::Normalize(form);
    }
    void TrimLeft(char byte) override { Note("TrimLeft"), NString::TrimLeft(byte); }
    void TrimRight(char byte) override { Note("TrimRight"), NString::TrimRight(byte); }
    std::string Mid(std::size_t pos, std::size_t count) const override {
        return Note("Mid"), NString::Mid(pos, count);
    }
    void ReplaceAll(const std::string& from, const std::string& to) override {
        Note("ReplaceAll"), NString::ReplaceAll(from, to);
    }

    void Note(const std::string& call) const { calls += call + ' '; }
    mutable std::string calls;
};

/// Wine's C runtime, unlike that of Windows, takes bytes for signed where it folds.
const bool FoldsSigned = Raw("\x80", Latin1).CompareNoCase(Raw("a", Latin1)) < 0;

/// Up to a NUL or `count` bytes, ASCII letters folded or not: what compares as the text does.
std::string _key(const std::string& text, std::size_t count, bool fold) {
    std::string key = std::string(text.c_str()).substr(0, count) + '\0';
    for (char& c : key) {
        if (fold && c >= 'A' && c <= 'Z') c = static_cast<char>(c + 'a' - 'A');
        if (fold && FoldsSigned) c = static_cast<char>(c ^ 0x80);
    }
    return key;
}

std::string _signs(std::initializer_list<int> comparisons) {
    std::string signs;
    for (const int comparison : comparisons)
        signs += "<=>"[(comparison > 0) - (comparison < 0) + 1];
    return signs;
}

/// The four ways to compare with one kind of argument. Two of them take an argument that is known
/// to be in the encoding of the text as it stands.
template <class... Other>
std::string _compared(const NString& t, const Given& g, NStringEncoding, const Other&... other) {
    return _signs({t.Compare(other...), t.CompareN(other..., static_cast<std::uint32_t>(g.count)),
                   t.CompareNoCase(other...), t.CompareNoCaseN(other..., g.count)});
}
template <class Other, class... Encoding>
std::string _compared(const ReferenceText& t, const Given& g, NStringEncoding known,
                      const Other& other, Encoding... encoding) {
    const std::string whole = ReferenceText(other, encoding...).In(t.tag);
    const std::string quick = known == t.tag ? static_cast<std::string>(other) : whole;
    const auto by = [&](const std::string& s, std::size_t count, bool fold) {
        return _key(t.data, count, fold).compare(_key(s, count, fold));
    };
    return _signs({by(quick, t.data.npos, false),
                   by(whole, static_cast<std::uint32_t>(g.count), false),
                   by(quick, t.data.npos, true), by(whole, g.count, true)});
}

/// What an operation writes to memory, and what comes of it.
template <class Number, class Text, class Write>
std::string _written(const Text& t, Write write) {
    std::vector<Number> out(t.Data().size() + 2, 7);
    const std::string outcome = Outcome([&] { return write(out.data()); });
    return outcome +
           std::string(reinterpret_cast<const char*>(out.data()), out.size() * sizeof(Number));
}

template <class Number, class Text>
std::string _listed(const Text& t) {
    return _written<Number>(t, [&t](Number* out) { return t.ToList(out); });
}

template <class Text>
Text _copy(const Text& t) {
    return t;
}

std::string _exactly(double value) {
    std::ostringstream text;
    text << std::hexfloat << value;
    return text.str();
}

template <class Text>
std::string _printed(const Text& t) {
    return testing::PrintToString(std::make_tuple(t.Data(), t.Encoding(), t.Form()));
}

/// A text by each constructor.
template <class Text>
std::string _constructed(const Text& t, const Given& g) {
    const unsigned char* const counted = g.counted.data();
    return _printed(Text()) + _printed(Text(t)) + _printed(Text(g.tag)) + _printed(Text(g.bytes)) +
           _printed(Text(g.bytes, g.tag)) + _printed(Text(g.wide)) + _printed(Text(counted)) +
           _printed(Text(counted, g.tag)) + _printed(Text(g.pointer, g.tag)) +
           _printed(Text(g.wide.c_str())) + _printed(Text(g.pointer));
}

/// An operation, as NString and as the reference have it, and its outcome.
struct Operation {
    template <class Function>
    Operation(const char* what, Function f)
        : name(what),
          ours([f](Spy& t, const Given& g) { return Outcome([&] { return f(t, g); }); }),
          reference(
              [f](ReferenceText& t, const Given& g) { return Outcome([&] { return f(t, g); }); }) {}

    const char* name;
    std::function<std::string(Spy&, const Given&)> ours;
    std::function<std::string(ReferenceText&, const Given&)> reference;
};

using G = const Given&;
constexpr auto Unknown = static_cast<NStringEncoding>(7);

/// Operations that are about one thing, and what texts show something there.
const struct {
    std::vector<const Pool*> pools;
    std::vector<Operation> operations;
} Subjects[] = {
    {{&Letters, &Units, &Bytes, &Unicode},
     {
         {"= text", [](auto& t, G g) { t = g.Like(t); }},
         {"= itself", [](auto& t, G) { const auto& same = t; t = same; }},
         {"= bytes", [](auto& t, G g) { t = g.bytes; }},
         {"= pointer", [](auto& t, G g) { t = g.pointer; }},
         {"= counted", [](auto& t, G g) { t = g.counted.data(); }},
         {"SetData bytes", [](auto& t, G g) { t.SetData(g.bytes); }},
         {"SetData bytes, tag", [](auto& t, G g) { t.SetData(g.bytes, g.tag); }},
         {"SetData pointer", [](auto& t, G g) { t.SetData(g.pointer); }},
         {"SetData pointer, tag", [](auto& t, G g) { t.SetData(g.pointer, g.tag); }},
         {"SetData counted", [](auto& t, G g) { t.SetData(g.counted.data()); }},
         {"SetData counted, tag", [](auto& t, G g) { t.SetData(g.counted.data(), g.tag); }},
         {"SetData wide", [](auto& t, G g) { t.SetData(g.wide); }},
         {"SetData wide pointer", [](auto& t, G g) { t.SetData(g.wide.c_str()); }},
         {"SetBytes", [](auto& t, G g) { t.SetBytes(g.pointer, g.bytes.size()); }},
         {"SetBytes wide", [](auto& t, G g) { t.SetBytes(g.wide.data(), g.wide.size()); }},
         {"SetBytes tag", [](auto& t, G g) { t.SetBytes(g.pointer, g.bytes.size(), g.tag); }},
         {"+= text", [](auto& t, G g) { t += g.Like(t); }},
         {"+= itself", [](auto& t, G) { t += t; }},
         {"+= bytes", [](auto& t, G g) { t += g.bytes; }},
         {"+= pointer", [](auto& t, G g) { t += g.pointer; }},
         {"+= counted", [](auto& t, G g) { t += g.counted.data(); }},
         {"+= byte", [](auto& t, G g) { t += g.bytes[0]; }},
         {"+", [](auto& t, G g) { return _printed(t + g.Like(t)); }},
         {"<<", [](auto& t, G) { return testing::PrintToString(t); }},
         {"constructors", [](auto& t, G g) { return _constructed(t, g); }},
     }},
    {{&Letters, &Units, &Bytes, &Unicode},
     {
         {"ConvertTo", [](auto& t, G g) { return t.ConvertTo(g.tag); }},
         {"Normalize", [](auto& t, G g) { t.Normalize(g.form); }},
         {"Converted", [](auto& t, G g) { return t.Converted(g.tag); }},
         {"Data", [](auto& t, G g) { return std::string(t.Data(g.tag)); }},
         {"DataWithBOM", [](auto& t, G) { return t.DataWithBOM(); }},
         {"DataWithBOM tag", [](auto& t, G g) { return t.DataWithBOM(g.tag); }},
         {"Wide", [](auto& t, G) { return BytesOf(t.Wide()); }},
         {"StringToWide", [](auto& t, G g) { return BytesOf(t.StringToWide(g.bytes, -1)); }},
         {"SwapBytes", [](auto& t, G) { t.SwapBytes(); }},
     }},
    {{&Url, &Base64, &Base64, &Bytes},
     {
         {"UrlEncode", [](auto& t, G) { t.UrlEncode(); }},
         {"UrlDecode", [](auto& t, G) { t.UrlDecode(); }},
         {"EncodeBase64", [](auto& t, G) { t.EncodeBase64(); }},
         {"EncodeBase64 of", [](auto& t, G g) { t.EncodeBase64(g.counted.data(), g.counted[0]); }},
         {"DecodeBase64", [](auto& t, G) { t.DecodeBase64(); }},
         {"DecodeBase64 to",
          [](auto& t, G) {
              return _written<unsigned char>(t, [&](auto* out) {
                  std::uint32_t count[] = {99, 99};
                  t.DecodeBase64(nullptr, &count[1]);
                  t.DecodeBase64(out, &count[0]);
                  return testing::PrintToString(count);
              });
          }},
     }},
    {{&Letters},
     {
         {"==",
          [](auto& t, G g) {
              return std::array<bool, 5>{t == g.Like(t), t == g.bytes, t == g.pointer,
                                         t == g.counted.data(), t == _copy(t)};
          }},
         {"compare text",
          [](auto& t, G g) {
              const auto other = g.Like(t);
              return _compared(t, g, other.Encoding(), other);
          }},
         {"compare bytes", [](auto& t, G g) { return _compared(t, g, Unknown, g.bytes); }},
         {"compare pointer", [](auto& t, G g) { return _compared(t, g, Unknown, g.pointer); }},
         {"compare bytes, tag",
          [](auto& t, G g) { return _compared(t, g, g.tag, g.bytes, g.tag); }},
         {"compare pointer, tag",
          [](auto& t, G g) { return _compared(t, g, g.tag, g.pointer, g.tag); }},
     }},
    {{&Letters, &Few, &Few, &Bytes},
     {
         {"ToUpper", [](auto& t, G) { t.ToUpper(); }},
         {"ToLower", [](auto& t, G) { t.ToLower(); }},
         {"Capitalize", [](auto& t, G) { t.Capitalize(); }},
         {"KeepNumeric", [](auto& t, G) { t.KeepNumeric(); }},
         {"Trim", [](auto& t, G g) { t.Trim(g.bytes[0]); }},
         {"TrimLeft", [](auto& t, G g) { t.TrimLeft(g.bytes[0]); }},
         {"TrimRight", [](auto& t, G g) { t.TrimRight(g.bytes[0]); }},
         {"Mid", [](auto& t, G g) { return t.Mid(g.pos, g.count); }},
         {"Left", [](auto& t, G g) { return t.Left(g.pos); }},
         {"Right", [](auto& t, G g) { return t.Right(g.pos); }},
         {"find",
          [](auto& t, G g) {
              const char* const pointer = g.needle.c_str();
              return std::make_tuple(t.Find(g.needle, g.pos), t.Find(pointer, g.pos),
                                     t.ReverseFind(g.needle, g.pos), t.ReverseFind(pointer, g.pos));
          }},
         {"Replace", [](auto& t, G g) { return t.Replace(g.pos, g.count, g.needle); }},
         {"Replace pointer",
          [](auto& t, G g) { return t.Replace(g.pos, g.count, g.needle.c_str()); }},
         {"Replace by itself",
          [](auto& t, G g) { return t.Replace(0, g.count, t.Data().c_str() + t.Data().size() / 2); }},
         {"ReplaceAll", [](auto& t, G g) { t.ReplaceAll("a" + g.needle, g.bytes); }},
         {"ReplaceAll pointers", [](auto& t, G g) { t.ReplaceAll("a", g.pointer); }},
         {"ReplaceAll texts",
          [](auto& t, G g) {
              auto from = g.Like(t);
              from.SetData("b" + g.needle);
              t.ReplaceAll(from, g.Like(t));
          }},
         {"ReplaceAll itself",
          [](auto& t, G g) {
              t += 'a';
              t.ReplaceAll(t, g.Like(t));
          }},
     }},
    {{&Bytes, &Digits},
     {
         {"SetNumber double", [](auto& t, G g) { t.SetNumber(g.real); }},
         {"SetNumber float", [](auto& t, G g) { t.SetNumber(static_cast<float>(g.real)); }},
         {"SetNumber double, digits", [](auto& t, G g) { t.SetNumber(g.real, g.small); }},
         {"SetNumber float, digits",
          [](auto& t, G g) { t.SetNumber(static_cast<float>(g.real), g.small); }},
         {"SetNumber int", [](auto& t, G g) { t.SetNumber(g.As<int>()); }},
         {"SetNumber unsigned", [](auto& t, G g) { t.SetNumber(g.As<unsigned>()); }},
         {"SetNumber long", [](auto& t, G g) { t.SetNumber(g.As<long>()); }},
         {"SetNumber unsigned long", [](auto& t, G g) { t.SetNumber(g.As<unsigned long>()); }},
         {"SetNumber i64", [](auto& t, G g) { t.SetNumber(g.number); }},
         {"SetNumber64", [](auto& t, G g) { t.SetNumber64(g.number); }},
         {"SetNumber u64", [](auto& t, G g) { t.SetNumber(g.As<unsigned long long>()); }},
         {"SetFourCC", [](auto& t, G g) { t.SetFourCC(g.As<std::uint32_t>()); }},
         {"SetVersion", [](auto& t, G g) { t.SetVersion(g.As<std::uint32_t>()); }},
         {"SetHex", [](auto& t, G g) { t.SetHex(g.counted.data(), g.counted[0]); }},
         {"SetHex number", [](auto& t, G g) { t.SetHex(g.As<std::uint32_t>()); }},
         {"SetHex bytes", [](auto& t, G g) { t.SetHex(g.counted[0], 9, 0xA5, 0xFF); }},
         {"SetPair", [](auto& t, G g) { t.SetPair(g.As<int>(), g.small); }},
         {"SetPair 32", [](auto& t, G g) { t.SetPair(NPair32{g.As<int>(), g.small}); }},
         {"SetPair 16", [](auto& t, G g) { t.SetPair(NPair16{g.As<short>(), INT16_MIN}); }},
         {"SetList float", [](auto& t, G g) { t.SetList(g.List<float>().data(), g.Length()); }},
         {"SetList u16", [](auto& t, G g) { t.SetList(g.List<std::uint16_t>().data(), g.Length()); }},
         {"SetList i16", [](auto& t, G g) { t.SetList(g.List<std::int16_t>().data(), g.Length()); }},
         {"SetList u8", [](auto& t, G g) { t.SetList(g.counted.data(), g.Length()); }},
         {"Format",
          [](auto& t, G g) {
              return _printed(t.Format("%s%c%s", g.pointer, g.bytes[0], g.needle.c_str()));
          }},
         {"static",
          [](auto& t, G g) {
              return t.HexString(g.counted.data(), g.counted[0]) + t.IntToString(g.As<int>());
          }},
     }},
    {{&Numbers, &Digits, &Hex},
     {
         {"plain readers",
          [](auto& t, G g) {
              return std::make_tuple(t.ToInt(), t.ToUInt(), t.ToUInt64(), t.ToSize(), t.HexValue(),
                                     _exactly(t.ToDouble()), _exactly(t.ToFloat()),
                                     t.ParseInt(g.bytes));
          }},
         {"parts",
          [](auto& t, G) {
              return std::make_tuple(t.ToFourCC(), t.ToVersion(), t.ToPair16().high,
                                     t.ToPair16().low, t.ToPair32().high, t.ToPair32().low);
          }},
         {"HexByte", [](auto& t, G g) { return t.HexByte(static_cast<std::uint32_t>(g.count)); }},
         {"HexBytes",
          [](auto& t, G g) {
              return _written<unsigned char>(t, [&](auto* out) { return t.HexBytes(out, static_cast<std::uint32_t>(g.count)); });
          }},
         {"ToList float", [](auto& t, G) { return _listed<float>(t); }},
         {"ToList u16", [](auto& t, G) { return _listed<std::uint16_t>(t); }},
         {"ToList u8", [](auto& t, G) { return _listed<unsigned char>(t); }},
         {"ToList", [](auto& t, G) { return t.ToList(); }},
     }},
};

// Any operations one after the other: outcome, bytes, tag, form, cache, and what a subclass sees.
TEST(NString, DoesWhatTheReferenceDoes) {
    ForEachDraw(25000, [](Draw& draw) {
        Spy text;
        ReferenceText reference;
        const std::string& cache = text.Converted(Sys);
        const auto take = [&](const Operation& operation, const Given& g) {
            const std::string before = _printed(text), expected = operation.reference(reference, g);
            EXPECT_EQ(operation.ours(text, g), expected) << operation.name << " after " << before;
            EXPECT_EQ(std::forward_as_tuple(_printed(text), cache, text.calls),
                      std::forward_as_tuple(_printed(reference), reference.cache, reference.calls))
                << operation.name << " after " << before << testing::PrintToString(g.bytes);
        };
        const Operation bytes("bytes",
                              [](auto& t, G g) { t.SetBytes(g.pointer, g.bytes.size(), g.tag); });
        // Text that claims to be composed is believed from then on.
        if (draw.OneIn(3))
            take({"claim", [](auto& t, G) { t.Normalize(FormNFC); }}, Given(draw, Few));
        for (std::size_t steps = draw.Below(8); steps > 0 && text.Length() < 2000; --steps) {
            const auto& subject = draw.Of(Subjects);
            const Pool& pool = *(draw.OneIn(5) ? draw.Of(Pools) : draw.Of(subject.pools));
            if (draw.OneIn(2)) take(bytes, Given(draw, pool));
            take(draw.Of(subject.operations), Given(draw, pool));
            if (HasFailure()) return;
        }
        EXPECT_EQ(text.CStr() + text.Length(), &*text.Data().end());
        EXPECT_EQ(text.IsEmpty(), text.Data().empty());
        EXPECT_EQ(&text[0], text.Data().data());
    });
}

// What the reference takes from the library itself. The system's encoding is its ANSI code page on
// Windows, 1252 here, and UTF-8 elsewhere.
TEST(NString, CodePages) {
    constexpr bool ansi = std::is_same<NWideChar, wchar_t>::value;
    const auto narrow = [](std::initializer_list<int> units, int page) {
        return NString::WideToString(Wide(units), page);
    };
    for (const int utf8 : {65001, -1, -7}) {
        EXPECT_EQ(narrow({'e', 0x301, 0x20AC, 0xD83D, 0xDE00, 0, 'x'}, utf8),
                  Decomposed + "\xE2\x82\xAC\xF0\x9F\x98\x80");
        EXPECT_EQ(narrow({0xD800, 'a', 0xDC00, 0xDFFF, 0xDBFF}, utf8),
                  "\xEF\xBF\xBD"
                  "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    }
    EXPECT_EQ(NString::StringToWide(Decomposed + "\0x"s, 0),
              ansi ? Wide({'e', 0xCC, 0x81}) : Wide({'e', 0x301}));
    EXPECT_EQ(NString::StringToWide("a\xE9", 0), ansi ? Wide({'a', 0xE9}) : Wide({'a', '?'}));
    EXPECT_EQ(narrow({0xE9, 0, 'x'}, 0), ansi ? "\xE9" : Composed);
    EXPECT_EQ(NString::StringToWide("a", 99999), NWideString());
    EXPECT_EQ(narrow({'a'}, 99999), "");
}

// The application's locale may have other pairs of letters: I and a dotless i, E9 and C9.
TEST(NString, ComparesWithoutCaseAsAsciiInEveryLocale) {
    const TemporaryFolder folder;
    std::system(("localedef -i tr_TR -f ISO-8859-9 " + folder.File("tr_TR") + " 2>&1").c_str());
    Poco::Environment::set("LOCPATH", folder.File(""));
    if (OnWindows || std::setlocale(LC_ALL, "tr_TR") == nullptr) {
        GTEST_SKIP() << "localedef and the sources of the locales make the locale that this needs";
    }
    const NString title = Raw("TITLE \xC9", Latin1);
    const int ascii = title.CompareNoCase("title \xC9", Latin1);
    const int latin = title.CompareNoCase("title \xE9", Latin1);
    const int first = title.CompareNoCaseN("title \xE9", Latin1, 6);
    std::setlocale(LC_ALL, "C");
    EXPECT_TRUE(ascii == 0 && latin < 0 && first == 0) << ascii << ' ' << latin << ' ' << first;
}

TEST(NString, NullTextsAndMoves) {
    const char* volatile none = nullptr;
    EXPECT_EQ(_printed(NString(none)), _printed(NString()));
    EXPECT_EQ(_printed(NString().Format(none, 0)), _printed(NString()));
    NString text(Decomposed, Utf8);
    const NString copy(text), moved(std::move(text));
    EXPECT_EQ(_printed(moved), _printed(copy)) << "without the form";
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(std::is_nothrow_move_constructible<NString>::value);
}

}  // namespace
