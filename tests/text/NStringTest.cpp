#include <morvel/text/NString.h>

#include <clocale>

#include <Poco/Environment.h>
#include <Poco/NumberFormatter.h>

#include <tests/text/ReferenceText.h>

namespace {

/// What texts are made of, by subject.
using Pool = std::vector<std::string>;
const Pool Letters = {"a", "A", "e", "z", "Z", "[", "_", "\0"s, Composed, "\xCC\x81", "\xC9", Mark};
const Pool Few = {"a", "b", "\0"s, "ab"};
const Pool Bytes = {"x", "\0"s, std::string(60, 'y'), Mark, Composed, "\xA4", "\xC3", "\xFF"};
const Pool Units = {"\xFF\xFE",          "a\0"s,    "\0\0"s,   "e\0\x01\x03"s,
                    "\x3D\xD8\x00\xDE"s, "\0\xD8"s, "\xFF\xDF"};
const Pool Unicode = {
    Decomposed, "\xEF\xAC\x81", "\xE2\x84\xAB", "\xC3", "\xE2\x82", "\xED\xA0\x80", "e"};

constexpr int Units16[] = {'e', 0x301, 'e', 0x301, 0xE9, 0xFFFE, 0xFEFF, 0, 0xD83D, 0xDE00};
constexpr NStringEncoding Tags[] = {Sys, Ascii, Latin1, Latin9, Utf8, Utf8, Utf8, Utf16, NoTag};

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
    const NStringForm form = static_cast<NStringForm>(static_cast<int>(draw.Below(7)) - 2);
    const std::size_t pos = draw.Below(bytes.size() + 4) - 1;  // the greatest number, too
    const std::size_t count = draw.Below(9) - draw.Below(2), kind = draw.Below(8);

    /// Each calls `f` with the text in one of the forms that some operations take it in.
    template <class Function, class... Tag>
    auto Flat(Function f, Tag... own) const {
        return kind % 2 == 0 ? f(bytes, own...) : f(pointer, own...);
    }
    template <class Text, class Function>
    auto Plain(const Text& like, Function f) const {
        return kind < 4 ? Flat(f) : kind < 6 ? f(counted) : f(Like(like));
    }
    template <class Function>
    auto Any(Function f) const {
        if (kind < 4) return kind < 2 ? Flat(f) : Flat(f, tag);
        if (kind < 6) return kind == 4 ? f(counted) : f(counted, tag);
        return kind == 6 ? f(wide) : f(wide.c_str());
    }

    template <class Text>
    Text Like(const Text&) const {  ///< A text of the type of another.
        return wide.empty() ? Text(bytes, tag) : Text(wide);
    }
};

#define NOTED(Result, Name, Parameters, ...)            \
    Result Name Parameters override {                   \
        return Note(#Name), NString::Name(__VA_ARGS__); \
    }

/// Notes what arrives at the operations that a subclass overrides, and goes on as NString does.
struct Spy : NString {
    using NString::NString;
    using NString::operator=;
    using NString::operator+=;
    using NString::operator==;
    using NString::ReplaceAll;
    using NString::SetNumber64;
    Spy(const Spy&) = default;
    Spy& operator=(const Spy& other) { return *this = static_cast<const NString&>(other), *this; }

    NOTED(bool, operator==, (const NString& other) const, other)
    NOTED(NString&, operator=, (const NString& other), other)
    NOTED(NString&, operator+=, (const NString& other), other)
    NOTED(void, Normalize, (NStringForm form), form)
    NOTED(void, TrimLeft, (char byte), byte)
    NOTED(void, TrimRight, (char byte), byte)
    NOTED(std::string, Mid, (std::size_t pos, std::size_t count) const, pos, count)
    NOTED(void, ReplaceAll, (const std::string& from, const std::string& to), from, to)

    void Note(const char* call) const { calls += call; }
    mutable std::string calls;
};

/// A text of the type of another.
template <class Text, class... Arguments>
Text _made(const Text&, const Arguments&... arguments) {
    return Text(arguments...);
}

template <class Text>
std::string _printed(const Text& t) {
    return PrintToString(std::make_tuple(t.Data(), t.Encoding(), t.Form()));
}

/// An operation, as NString and as the reference have it, and its outcome.
struct Operation {
    template <class Function>
    Operation(const std::pair<const char*, Function>& named)
        : name(named.first), ours(named.second), reference(named.second) {}

    const char* name;
    std::function<std::string(Spy&, const Given&)> ours;
    std::function<std::string(ReferenceText&, const Given&)> reference;
};

#define NAMED(code, ...) \
    std::make_pair(      \
        code, [](auto& t, [[maybe_unused]] auto& g) { return Outcome([&] { __VA_ARGS__; }); })
#define DO(...) NAMED(#__VA_ARGS__, __VA_ARGS__)
#define ASK(...) NAMED(#__VA_ARGS__, return __VA_ARGS__)

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
      ASK(PrintToString(t)), ASK(_printed(_made(t))), ASK(_printed(_made(t, t))),
      ASK(_printed(_made(t, g.tag))),
      ASK(g.Any([&](const auto&... a) { return _printed(_made(t, a...)); }))}},
    {{&Letters, &Units, &Bytes, &Unicode},
     {ASK(t.ConvertTo(g.tag)), DO(t.Normalize(g.form)), ASK(t.Converted(g.tag)),
      ASK(std::string(t.Data(g.tag))), ASK(t.DataWithBOM()), ASK(t.DataWithBOM(g.tag)),
      ASK(BytesOf(t.Wide())), ASK(BytesOf(t.StringToWide(g.bytes, -1))), DO(t.SwapBytes()),
      ASK(g.Plain(t, [&](const auto& a) { return t == a; })), ASK(t == _made(t, t))}},
    {{&Letters, &Few, &Few, &Bytes},
     {DO(t.Trim(g.bytes[0])), DO(t.TrimLeft(g.bytes[0]), t.TrimRight(g.padded[1])),
      ASK(t.Mid(g.pos, g.count)), ASK(t.Left(g.pos)), ASK(t.Right(g.pos)),
      ASK(std::make_tuple(t.Find(g.needle, g.pos), t.Find(g.needle.c_str(), g.pos),
                          t.ReverseFind(g.needle, g.pos), t.ReverseFind(g.needle.c_str(), g.pos))),
      ASK(t.Replace(g.pos, g.count, g.needle)), ASK(t.Replace(g.pos, g.count, g.needle.c_str())),
      ASK(t.Replace(0, g.count, t.Data().c_str() + t.Data().size() / 2)),
      DO(t.ReplaceAll("a" + g.needle, g.bytes)), DO(t.ReplaceAll("a", g.pointer)),
      DO(t.ReplaceAll(_made(t, "b" + g.needle), g.Like(t))),
      DO(t += 'a', t.ReplaceAll(t, g.Like(t)))}},
};

using Poco::NumberFormatter;

/// What an operation on bytes is given: a text, or the number that it says, and room for a result.
struct Argument {
    const std::string text;
    const unsigned char* const data = reinterpret_cast<const unsigned char*>(text.data());
    const double real = std::strtod(text.c_str(), nullptr);
    const float single = static_cast<float>(real);
    const unsigned long long huge = std::strtoull(text.c_str(), nullptr, 0);
    const long long big = static_cast<long long>(huge);
    const unsigned number = static_cast<unsigned>(huge), size = static_cast<unsigned>(text.size());
    const int whole = static_cast<int>(huge);
    const NPair32 pair = {INT_MIN, whole};
    const NPair16 shorts = {SHRT_MAX, static_cast<std::int16_t>(huge)};
    const unsigned char length = static_cast<unsigned char>(huge);
    std::uint32_t count = 99;
    unsigned char bytes[8] = {99, 99, 99, 99, 99, 99, 99, 99};
    std::uint16_t units[3] = {99, 99, 99};
    float floats[3] = {99, 99, 99};

    std::string Written() const {
        std::ostringstream out;
        for (const int byte : bytes) out << (byte == 99 ? "" : ' ' + std::to_string(byte));
        for (const int unit : units) out << (unit == 99 ? "" : ' ' + std::to_string(unit));
        for (const float x : floats) out << (x == 99 ? "" : ' ' + NumberFormatter::format(x));
        return out.str() + (count == 99 ? "" : " of " + std::to_string(count));
    }
};

using ByteOperation = std::pair<const char*, std::function<std::string(Spy&, Argument&)>>;

constexpr float Floats[] = {1.5F, -0.0F, 1e10F};
constexpr std::uint16_t Words[] = {0, 65535, 7};
constexpr std::int16_t Shorts[] = {-32768, 32767, 0};

/// What deals with bytes alone, and the tag that text of Latin-1 has afterwards.
const struct {
    NStringEncoding tag;
    std::vector<ByteOperation> operations;
} ByteOperations[] = {
    {Latin1, {DO(t.ToUpper()), DO(t.ToLower()), DO(t.Capitalize()), DO(t.KeepNumeric())}},
    {Latin1, {DO(t.UrlEncode()), DO(t.UrlDecode()), DO(t.EncodeBase64()), DO(t.DecodeBase64())}},
    {Latin1,
     {DO(t.EncodeBase64(g.data, g.size / 2)), DO(t.DecodeBase64(g.bytes, &g.count)),
      DO(t.DecodeBase64(nullptr, &g.count))}},
    {Latin1,
     {ASK(t.ToInt()), ASK(t.ParseInt(g.text)), ASK(t.ToUInt()), ASK(t.ToUInt64()),
      ASK(t.ToSize())}},
    {Latin1,
     {ASK(NumberFormatter::format(t.ToDouble())), ASK(NumberFormatter::format(t.ToFloat()))}},
    {Latin1,
     {ASK(t.HexValue()), ASK(t.HexByte(1)), ASK(t.HexBytes(g.bytes, 2)),
      ASK(t.HexString(g.data, g.size)), ASK(t.IntToString(g.whole))}},
    {Latin1,
     {ASK(t.ToFourCC()), ASK(t.ToVersion()),
      ASK(std::make_pair(t.ToPair16().high, t.ToPair16().low)),
      ASK(std::make_pair(t.ToPair32().high, t.ToPair32().low))}},
    {Latin1,
     {ASK(t.ToList(g.floats)), ASK(t.ToList(g.units)), ASK(t.ToList(g.bytes)), ASK(t.ToList())}},
    {Latin1,
     {DO(t.SetList(Floats, g.length)), DO(t.SetList(Words, g.length)),
      DO(t.SetList(Shorts, g.length)), DO(t.SetList(g.data, g.length))}},
    {Sys,
     {DO(t.SetNumber(g.real)), DO(t.SetNumber(g.real, -1)), DO(t.SetNumber(g.real, 2)),
      DO(t.SetNumber(g.real, 61))}},
    {Sys, {DO(t.SetNumber(g.single)), DO(t.SetNumber(g.single, -1)), DO(t.SetNumber(g.single, 1))}},
    {Sys,
     {DO(t.SetNumber(g.whole)), DO(t.SetNumber(g.number)), DO(t.SetNumber(g.big)),
      DO(t.SetNumber(g.huge)), DO(t.SetNumber64(g.big))}},
    {Sys, {DO(t.SetFourCC(g.number)), DO(t.SetVersion(g.number))}},
    {Sys, {DO(t.SetHex(g.number)), DO(t.SetHex(g.data, g.size)), DO(t.SetHex(0xA5, 9, 0, 0xFF))}},
    {Sys, {DO(t.SetPair(g.whole, 7)), DO(t.SetPair(g.pair)), DO(t.SetPair(g.shorts))}},
};

}  // namespace

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
                << operation.name << " after " << before << PrintToString(g.bytes);
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

// The rows of operations.txt, each of which has an operation, what it is given and what comes of
// it, bytes as in a URL. Reading leaves the text, and all of them leave form and cache.
TEST(NString, OperationsOnBytesGiveWhatTheirRowsTell) {
    std::map<std::string, std::map<std::string, std::string>> rows;
    for (const auto& row : ReadTable(OPERATIONS, 3))
        rows[row[0]][Decoded(row[1])] = Decoded(row[2]);
    for (const auto& [tag, operations] : ByteOperations) {
        for (const auto& [name, run] : operations) {
            EXPECT_FALSE(rows[name].empty()) << name;
            for (const auto& [given, expected] : rows[name]) {
                Spy text;
                text.SetBytes(given.data(), given.size(), Latin1);
                text.Normalize(FormNFD);
                const std::string& cache = text.Converted(Latin1);
                Argument argument{given};
                std::string outcome = run(text, argument);
                EXPECT_TRUE(outcome.empty() || text.Data() == given) << name;
                if (outcome.empty()) outcome = text.Data();
                EXPECT_EQ(std::make_tuple(outcome + argument.Written(), text.Encoding(),
                                          text.Form(), cache),
                          std::make_tuple(expected, tag, FormNFD, given))
                    << name << " of " << given;
            }
        }
    }
}

// By the bytes as they stand, by the first of them, and the same two with ASCII letters folded; the
// application's locale may have other pairs of letters: I and a dotless i, E9 and C9.
TEST(NString, ComparesInEveryLocale) {
    const TemporaryFolder folder;
    if (!OnWindows) {
        std::system(("localedef -i tr_TR -f CP1254 " + folder.File("tr_TR") + " 2>&1").c_str());
        Poco::Environment::set("LOCPATH", folder.File(""));
        std::setlocale(LC_ALL, "tr_TR");  // as far as the system has what makes it
    }
    const std::map<std::string, NStringEncoding> tags = {
        {"System", Sys}, {"Latin1", Latin1}, {"UTF-8", Utf8}};
    for (const auto& row : ReadTable(COMPARISONS, 7)) {
        const NString text = Raw(Decoded(row[2]), tags.at(row[1]));
        const std::string other = Decoded(row[4]);
        const NStringEncoding tag = tags.at(row[3]);
        const std::size_t count = std::stoull(row[5]);
        std::string signs = row[6].substr(0, OnWindows ? row[6].find('!') : row[6].npos);
        signs.erase(std::remove(signs.begin(), signs.end(), '!'), signs.end());
        const auto expectSigns = [&](const auto&... given) {
            const int all[] = {text.Compare(given...),
                               text.CompareN(given..., static_cast<std::uint32_t>(count)),
                               text.CompareNoCase(given...), text.CompareNoCaseN(given..., count)};
            for (std::size_t i = 0; i < signs.size(); ++i) {
                EXPECT_EQ("<=>"[(all[i] > 0) - (all[i] < 0) + 1], signs[i]) << row[0] << i;
            }
        };
        expectSigns(Raw(other, tag));
        expectSigns(other, tag);
        expectSigns(other.c_str(), tag);
        if (tag == Sys) expectSigns(other), expectSigns(other.c_str());
    }
    NString small = Raw("\xFF", Latin1);  // whose capital that locale has at 9F
    small.ToUpper();
    EXPECT_EQ(small.Data(), "\xFF");
    std::setlocale(LC_ALL, "C");
}

// What the reference takes from the library itself. The system's encoding is its ANSI code page on
// Windows, 1252 here, and UTF-8 elsewhere.
TEST(NString, ConvertsByCodePages) {
    constexpr bool Ansi = std::is_same<NWideChar, wchar_t>::value;
    const NWideString odd =
        Wide({'e', 0x301, 0xD83D, 0xDE00, 0xD800, 'a', 0xDC00, 0xDFFF, 0xDBFF, 0, 'x'});
    for (const int utf8 : {65001, -1, -7}) {
        EXPECT_EQ(NString::WideToString(odd, utf8), "e\u0301\U0001F600\uFFFDa\uFFFD\uFFFD\uFFFD");
    }
    EXPECT_EQ(NString::WideToString(Wide({0xE9, 0, 'x'}), 0), Ansi ? "\xE9" : Composed);
    EXPECT_EQ(NString::WideToString(Wide({'a'}), 99999), "");
    EXPECT_EQ(NString::StringToWide("a", 99999), NWideString());
    if (Ansi) {
        EXPECT_EQ(NString::StringToWide("e\xCC\x81\xE9\0x"s, 0), Wide({'e', 0xCC, 0x81, 0xE9}));
        return;
    }
    const auto whole = "e\u0301\x7F\u0080\u07FF\u0800\uD7FB\uE000\uFFFF\U00010000\U0010FFFF"s;
    const NWideString wide = WideOf(ByPoco(whole, Utf8, Utf16));
    EXPECT_EQ(NString::StringToWide(whole + "\0x"s, 0), wide);
    EXPECT_EQ(NString::WideToString(wide, 0), whole);
    // The Unicode Standard, 3.9, tables 3-8 to 3-11: one replacement for each longest prefix of a
    // character.
    const std::pair<const char*, std::string> malformed[] = {
        {"\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", "????????A"},
        {"\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", "????????A"},
        {"\xF4\x91\x92\x93\xFF\x41\x80\xBF", "?????A??"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", "????A"},
        {"a\xE2\x82", "a?"},
    };
    for (const auto& [bytes, replaced] : malformed) {
        EXPECT_EQ(NString::StringToWide(bytes, 0), NWideString(replaced.begin(), replaced.end()));
    }
}

TEST(NString, TakesNullTextsLongOnesAndMoves) {
    const char* volatile none = nullptr;
    EXPECT_EQ(_printed(NString(none)), _printed(NString()));
    EXPECT_EQ(_printed(NString().Format(none, 0)), _printed(NString()));
    for (const std::size_t length : {9, 254, 255, 256, 300}) {
        for (const std::string& bom : {""s, Mark}) {
            const std::string printed = bom + std::string(length - bom.size(), 'x');
            EXPECT_EQ(_printed(NString().Format("%s", printed.c_str())),
                      _printed(NString(printed)));
            EXPECT_EQ(_printed(NString().Format("%s%cx", printed.c_str(), 0)),
                      _printed(NString(printed)));
        }
    }
    NString text(Decomposed, Utf8);
    const NString copy(text), moved(std::move(text));
    EXPECT_EQ(_printed(moved), _printed(copy)) << "without the form";
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_TRUE(std::is_nothrow_move_constructible<NString>::value);
    text += "cache";
    const std::string& cache = text.Converted(Sys);
    text.SetNumber(LONG_MIN);
    EXPECT_EQ(cache + text.Data(), "cache" + std::to_string(LONG_MIN));
    text.SetNumber(ULONG_MAX);
    EXPECT_EQ(cache + text.Data(), "cache" + std::to_string(ULONG_MAX));
}
