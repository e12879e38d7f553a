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
const Pool Letters = {"a", "A", "e", "z", "Z", "[", "_", "\0"s, Composed, "\xCC\x81", "\xC9", Mark};
const Pool Few = {"a", "b", "\0"s, "ab"};
const Pool Bytes = {"\x01\x1F !\"#$%&'()*+,-./09:;<=>?@AZ[\\]^_`az{|}~\x7F\x80\xBF\xC0\xFF",
                    "x",
                    "\0"s,
                    std::string(60, 'y'),
                    Mark,
                    Composed,
                    "\xA4",
                    "\xC3"};
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

constexpr int Units16[] = {'e', 0x301, 'e', 0x301, 0xE9, 0xFFFE, 0xFEFF, 0, 0xD83D, 0xDE00};
constexpr NStringEncoding Tags[] = {Sys, Ascii, Latin1, Latin9, Utf8, Utf8, Utf8, Utf16, NoTag};
constexpr std::size_t Beyond[] = {0, 0, 0x80000000, 0x100000000};
constexpr double Reals[] = {0.1 + 0.2, -0.0, 1e5, 2.5,  -1.5,    1.005,     1e15,
                            1e60,      1e6,  NAN, 1e-7, FLT_MAX, -HUGE_VAL, 123456789};

/// What an operation is given.
struct Given {
    Draw& draw;
    const Pool& pool;
    const std::string bytes = draw.Joined(pool, draw.OneIn(8) ? 100 : 6);
    const std::string padded = bytes + "\0\0\0"s;  // ends as wide text too
    const char* const pointer = padded.c_str();
    const std::string needle = draw.Joined(pool, 2);
    const std::string sized = static_cast<char>(std::min<std::size_t>(bytes.size(), 255)) + bytes;
    const unsigned char* const counted = reinterpret_cast<const unsigned char*>(sized.data());
    const NWideString wide = draw.OneIn(2)
                                 ? NWideString()
                                 : Wide({draw.Of(Units16), draw.Of(Units16), draw.Of(Units16)});
    const NStringEncoding tag = draw.Of(Tags);
    const int small = static_cast<int>(draw.Below(9)) - 2;
    const NStringForm form = static_cast<NStringForm>(small);
    const std::size_t pos = draw.Below(bytes.size() + 4) - 1;  // the greatest number, too
    const std::size_t count = draw.Below(9) + draw.Of(Beyond), kind = draw.Below(8);
    const long long number =
        static_cast<long long>(draw.Bits() >> draw.Below(64)) * (draw.OneIn(2) ? 1 : -1);
    const double real = draw.OneIn(9) ? As<double>() : draw.Of(Reals);

    /// Each calls `f` with the text in one of the forms that some operations take it in.
    template <class Function, class... Tag>
    auto Flat(Function f, Tag... own) const {
        return kind % 2 == 0 ? f(bytes, own...) : f(pointer, own...);
    }
    template <class Text, class Function>
    auto Plain(const Text& like, Function f) const {
        return kind < 4 ? Flat(f) : kind < 6 ? f(counted) : f(Like(like));
    }
    template <class Text, class Function>
    auto Tagged(const Text& like, Function f) const {
        return kind < 3 ? Flat(f) : kind < 6 ? Flat(f, tag) : f(Like(like));
    }
    template <class Function>
    auto Any(Function f) const {
        if (kind < 4) return kind < 2 ? Flat(f) : Flat(f, tag);
        if (kind < 6) return kind == 4 ? f(counted) : f(counted, tag);
        return kind == 6 ? f(wide) : f(wide.c_str());
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
std::string _compared(const NString& t, const Given& g, const Other&... other) {
    return _signs({t.Compare(other...), t.CompareN(other..., static_cast<std::uint32_t>(g.count)),
                   t.CompareNoCase(other...), t.CompareNoCaseN(other..., g.count)});
}
template <class Other, class... Encoding>
std::string _compared(const ReferenceText& t, const Given& g, const Other& other,
                      Encoding... encoding) {
    const std::string whole = ReferenceText(other, encoding...).In(t.tag);
    const bool known = (... || (encoding == t.tag));
    std::string quick = whole;
    if constexpr (std::is_same_v<Other, ReferenceText>) {
        if (other.tag == t.tag) quick = other.data;
    } else if (known) {
        quick = other;
    }
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

/// A text of the type of another.
template <class Text, class... Arguments>
Text _made(const Text&, const Arguments&... arguments) {
    return Text(arguments...);
}

template <class Text>
std::string _printed(const Text& t) {
    return testing::PrintToString(std::make_tuple(t.Data(), t.Encoding(), t.Form()));
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
using Byte = unsigned char;

#define DO(...) Operation(#__VA_ARGS__, [](auto& t, [[maybe_unused]] G g) { __VA_ARGS__; })
#define ASK(...) Operation(#__VA_ARGS__, [](auto& t, [[maybe_unused]] G g) { return __VA_ARGS__; })

/// Operations that are about one thing, and what texts show something there.
const struct {
    std::vector<const Pool*> pools;
    std::vector<Operation> operations;
} Subjects[] = {
    {{&Letters, &Units, &Bytes, &Unicode},
     {DO(g.Plain(t, [&](const auto& a) { t = a; })), DO(t = std::as_const(t)),
      DO(g.Plain(t, [&](const auto& a) { t += a; })), DO(t += std::as_const(t)),
      DO(t += g.bytes[0]), DO(g.Any([&](const auto&... a) { t.SetData(a...); })),
      DO(t.SetBytes(g.pointer, g.bytes.size())), DO(t.SetBytes(g.wide.data(), g.wide.size())),
      DO(t.SetBytes(g.pointer, g.bytes.size(), g.tag)), ASK(_printed(t + g.Like(t))),
      ASK(testing::PrintToString(t)), ASK(_printed(_made(t))), ASK(_printed(_made(t, t))),
      ASK(_printed(_made(t, g.tag))),
      ASK(g.Any([&](const auto&... a) { return _printed(_made(t, a...)); }))}},
    {{&Letters, &Units, &Bytes, &Unicode},
     {ASK(t.ConvertTo(g.tag)), DO(t.Normalize(g.form)), ASK(t.Converted(g.tag)),
      ASK(std::string(t.Data(g.tag))), ASK(t.DataWithBOM()), ASK(t.DataWithBOM(g.tag)),
      ASK(BytesOf(t.Wide())), ASK(BytesOf(t.StringToWide(g.bytes, -1))), DO(t.SwapBytes())}},
    {{&Url, &Base64, &Base64, &Bytes},
     {DO(t.UrlEncode()), DO(t.UrlDecode()), DO(t.EncodeBase64()), DO(t.DecodeBase64()),
      DO(t.EncodeBase64(g.counted, g.counted[0])),
      ASK(_written<Byte>(t,
                         [&](Byte* out) {
                             std::uint32_t count[] = {99, 99};
                             t.DecodeBase64(nullptr, &count[1]);
                             t.DecodeBase64(out, &count[0]);
                             return testing::PrintToString(count);
                         }))}},
    {{&Letters},
     {ASK(g.Plain(t, [&](const auto& a) { return t == a; })), ASK(t == _made(t, t)),
      ASK(g.Tagged(t, [&](const auto&... a) { return _compared(t, g, a...); })),
      ASK(_compared(t, g, t))}},
    {{&Letters, &Few, &Few, &Bytes},
     {DO(t.ToUpper()), DO(t.ToLower()), DO(t.Capitalize()), DO(t.KeepNumeric()),
      DO(t.Trim(g.bytes[0])), DO(t.TrimLeft(g.bytes[0]), t.TrimRight(g.padded[1])),
      ASK(t.Mid(g.pos, g.count)), ASK(t.Left(g.pos)), ASK(t.Right(g.pos)),
      ASK(std::make_tuple(t.Find(g.needle, g.pos), t.Find(g.needle.c_str(), g.pos),
                          t.ReverseFind(g.needle, g.pos), t.ReverseFind(g.needle.c_str(), g.pos))),
      ASK(t.Replace(g.pos, g.count, g.needle)), ASK(t.Replace(g.pos, g.count, g.needle.c_str())),
      ASK(t.Replace(0, g.count, t.Data().c_str() + t.Data().size() / 2)),
      DO(t.ReplaceAll("a" + g.needle, g.bytes)), DO(t.ReplaceAll("a", g.pointer)),
      DO(t.ReplaceAll(_made(t, "b" + g.needle), g.Like(t))),
      DO(t += 'a', t.ReplaceAll(t, g.Like(t)))}},
    {{&Bytes, &Digits},
     {DO(t.SetNumber(g.As<int>())), DO(t.SetNumber(g.As<unsigned>())),
      DO(t.SetNumber(g.As<long>())), DO(t.SetNumber(g.As<unsigned long>())),
      DO(t.SetNumber(g.number)), DO(t.SetNumber(g.As<unsigned long long>())),
      DO(t.SetNumber(g.real)), DO(t.SetNumber(static_cast<float>(g.real))),
      DO(t.SetNumber(g.real, g.small)), DO(t.SetNumber(static_cast<float>(g.real), g.small)),
      DO(t.SetNumber64(g.number))}},
    {{&Bytes, &Digits},
     {DO(t.SetFourCC(g.As<std::uint32_t>())), DO(t.SetVersion(g.As<std::uint32_t>())),
      DO(t.SetHex(g.As<std::uint32_t>())), DO(t.SetHex(g.counted, g.counted[0])),
      DO(t.SetHex(g.counted[0], 9, 0xA5, 0xFF)), DO(t.SetPair(g.As<int>(), g.small)),
      DO(t.SetPair(NPair32{g.As<int>(), g.small})),
      DO(t.SetPair(NPair16{g.As<short>(), INT16_MIN})),
      DO(t.SetList(g.List<float>().data(), g.Length())),
      DO(t.SetList(g.List<std::uint16_t>().data(), g.Length())),
      DO(t.SetList(g.List<std::int16_t>().data(), g.Length())),
      DO(t.SetList(g.counted, g.Length())),
      ASK(_printed(t.Format("%s%c%s", g.pointer, g.bytes[0], g.needle.c_str()))),
      ASK(t.HexString(g.counted, g.counted[0])), ASK(t.IntToString(g.As<int>()))}},
    {{&Numbers, &Digits, &Hex},
     {ASK(std::make_tuple(t.ToInt(), t.ToUInt(), t.ToUInt64(), t.ToSize(), t.HexValue(),
                          Poco::NumberFormatter::format(t.ToDouble()),
                          Poco::NumberFormatter::format(t.ToFloat()), t.ParseInt(g.bytes))),
      ASK(std::make_tuple(t.ToFourCC(), t.ToVersion(), t.ToPair16().high, t.ToPair16().low,
                          t.ToPair32().high, t.ToPair32().low)),
      ASK(t.HexByte(static_cast<std::uint32_t>(g.count))),
      ASK(_written<Byte>(
          t, [&](Byte* out) { return t.HexBytes(out, static_cast<std::uint32_t>(g.count)); })),
      ASK(_written<float>(t, [&](float* out) { return t.ToList(out); })),
      ASK(_written<std::uint16_t>(t, [&](std::uint16_t* out) { return t.ToList(out); })),
      ASK(_written<Byte>(t, [&](Byte* out) { return t.ToList(out); })), ASK(t.ToList())}},
};

// Any operations one after the other: outcome, bytes, tag, form, cache, and what a subclass sees.
TEST(NString, DoesWhatTheReferenceDoes) {
    ForEachDraw(40000, [](Draw& draw) {
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
        const Operation bytes = DO(t.SetBytes(g.pointer, g.bytes.size(), g.tag));
        // Text that claims to be composed is believed from then on.
        if (draw.OneIn(3)) take(DO(t.Normalize(FormNFC)), Given{draw, Few});
        for (std::size_t steps = draw.Below(8); steps > 0 && text.Length() < 2000; --steps) {
            const auto& subject = draw.Of(Subjects);
            const auto& other = draw.OneIn(5) ? draw.Of(Subjects) : subject;
            const Pool& pool = *draw.Of(other.pools);
            if (draw.OneIn(2)) take(bytes, Given{draw, pool});
            take(draw.Of(subject.operations), Given{draw, pool});
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
