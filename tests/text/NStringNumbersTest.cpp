#include <cfloat>
#include <climits>
#include <cmath>

#include <Poco/Exception.h>
#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>

#include <morvel/text/NString.h>
#include <tests/support/Test.h>
#include <tests/support/Text.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;
using testing::ElementsAre;

NString _text(const std::string& text) {
    return NString(text, Latin1);
}

TEST(NStringNumbers, WritersReplaceTheText) {
    const NPair16 pair16 = {-1, INT16_MIN};
    const NPair32 pair32 = {7, INT32_MIN};
    const float floats[] = {1.5f, -2.0f, 1e6f};
    const std::uint16_t words[] = {0, 65535};
    const std::int16_t shorts[] = {-32768, 32767};
    const unsigned char bytes[] = {7, 0, 255};
    struct Row {
        std::string expected;
        std::function<void(NString&)> write;
        NStringEncoding tag = Sys;
    };
    const Row rows[] = {
        {"-2147483648", [](auto& t) { t.SetNumber(INT_MIN); }},
        {"4294967295", [](auto& t) { t.SetNumber(UINT_MAX); }},
        {"-5", [](auto& t) { t.SetNumber(-5L); }},
        {"7", [](auto& t) { t.SetNumber(7UL); }},
        {"-9223372036854775808", [](auto& t) { t.SetNumber(LLONG_MIN); }},
        {"18446744073709551615", [](auto& t) { t.SetNumber(ULLONG_MAX); }},
        {"0.1", [](auto& t) { t.SetNumber(0.1); }},
        {"0.1", [](auto& t) { t.SetNumber(0.1f); }},
        {"1.00", [](auto& t) { t.SetNumber(1.005, 2); }},
        {"0.13", [](auto& t) { t.SetNumber(0.125f, 2); }},
        {"1", [](auto& t) { t.SetNumber(1.25, -1); }},  // POCO alone may end the process here
        {"2", [](auto& t) { t.SetNumber(1.75f, INT_MIN); }},
        {"-32768,-1", [&](auto& t) { t.SetPair(pair16); }},
        {"-2147483648,7", [&](auto& t) { t.SetPair(pair32); }},
        {"-3,4", [](auto& t) { t.SetPair(-3, 4); }},
        {"1.2", [](auto& t) { t.SetVersion(0x00010200); }},
        {"1.2.3", [](auto& t) { t.SetVersion(0x00010203); }},
        {"65535.255.255", [](auto& t) { t.SetVersion(0xFFFFFFFF); }},
        {"\xE9\xFF\x80\x01", [](auto& t) { t.SetFourCC(0xE9FF8001); }},
        {"A", [](auto& t) { t.SetFourCC(0x41004242); }},
        {"0", [](auto& t) { t.SetHex(0u); }},
        {"FFABCDEF", [](auto& t) { t.SetHex(0xFFABCDEFu); }},
        {"0009A5FF", [](auto& t) { t.SetHex(0, 9, 0xA5, 0xFF); }},
        {"0700FF", [&](auto& t) { t.SetHex(bytes, 3); }},
        {"", [](auto& t) { t.SetHex(nullptr, 0); }},
        {"1.5,-2,1e+6", [&](auto& t) { t.SetList(floats, 3); }, Utf8},
        {"0,65535", [&](auto& t) { t.SetList(words, 2); }, Utf8},
        {"-32768,32767", [&](auto& t) { t.SetList(shorts, 2); }, Utf8},
        {"7,0,255", [&](auto& t) { t.SetList(bytes, 3); }, Utf8},
        {"", [&](auto& t) { t.SetList(bytes, 0); }, Utf8},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        NString text("before"s, Utf8);
        row.write(text);
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Encoding(), row.tag);
        EXPECT_EQ(text.Form(), FormNFC);
    }
    EXPECT_EQ(NString::IntToString(INT_MIN), "-2147483648");
}

TEST(NStringNumbers, PlainReadersGiveTheNumberOrZero) {
    using Row = std::tuple<const char*, std::int32_t, std::uint32_t, std::uint32_t,
                           unsigned long long, double>;
    const Row rows[] = {
        {"-5", -5, 0, 0, 0, -5},
        {"1,234,567", 1234567, 1234567, 0, 1234567, 1234567},
        {"", 0, 0, 0, 0, 0},
        {"5x", 0, 0, 0, 0, 0},
        {"1.5", 0, 0, 0, 0, 1.5},
        {"1e3", 0, 0, 0x1E3, 0, 1000},
        {"0x1F", 0, 0, 0x1F, 0, 0},
        {"ffffffff", 0, 0, UINT_MAX, 0, 0},
        {"100000000", 100000000, 100000000, 0, 100000000, 1e8},
        {"2147483648", 0, 2147483648, 0, 2147483648, 2147483648},
        {"-2147483648", INT_MIN, 0, 0, 0, INT_MIN},
        {"4294967296", 0, 0, 0, 4294967296, 4294967296},
        {"18446744073709551615", 0, 0, 0, ULLONG_MAX, 18446744073709551616.0},
        {"18446744073709551620", 0, 0, 0, 0, 18446744073709551616.0},
        {"1,234.5", 0, 0, 0, 0, 1234.5},
        {"1e400", 0, 0, 0x1E400, 0, 0},
        {"inf", 0, 0, 0, 0, 0},
    };
    for (const auto& [bytes, toInt, toUInt, hexValue, toUInt64, toDouble] : rows) {
        SCOPED_TRACE(bytes);
        const NString text = _text(bytes);
        EXPECT_EQ(text.ToInt(), toInt);
        EXPECT_EQ(NString::ParseInt(bytes), toInt);
        EXPECT_EQ(text.ToUInt(), toUInt);
        EXPECT_EQ(text.HexValue(), hexValue);
        EXPECT_EQ(text.ToUInt64(), toUInt64);
        EXPECT_EQ(text.ToSize(), toUInt64);
        EXPECT_EQ(text.ToDouble(), toDouble);
        EXPECT_EQ(text.ToFloat(), static_cast<float>(toDouble));
    }
    EXPECT_EQ(_text("-1e39").ToFloat(), -HUGE_VALF) << "a double out of float's range";
}

TEST(NStringNumbers, ReadsVersionsAndFourCharacterCodes) {
    const auto version = [](const char* text) { return _text(text).ToVersion(); };
    EXPECT_EQ(version(""), 0u);
    EXPECT_EQ(version("65535.255.255"), 0xFFFFFFFF);
    EXPECT_EQ(version("x.1,000.2."), 0x0003E802u) << "fields are not masked";
    EXPECT_EQ(version("0.0.0.1.2.3.4.5"), 0x05020304u) << "places go round";
    EXPECT_EQ(_text("\xFE\xFF\x80\x01more").ToFourCC(), 0xFEFF8001u);
    EXPECT_EQ(_text("A\0"s).ToFourCC(), 0x41000000u) << "what isn't there counts as zero";
}

TEST(NStringNumbers, ReadsPairs) {
    const auto expect = [](const char* text, std::int32_t high, std::int32_t low) {
        SCOPED_TRACE(text);
        EXPECT_EQ(_text(text).ToPair32().high, high);
        EXPECT_EQ(_text(text).ToPair32().low, low);
        EXPECT_EQ(_text(text).ToPair16().high, static_cast<std::int16_t>(high));
        EXPECT_EQ(_text(text).ToPair16().low, static_cast<std::int16_t>(low));
    };
    expect("-3,4", -3, 4);
    expect("", 0, 0);
    expect("5,x", 5, 0);
    expect("x,5", 0, 0);     // the first half stops it
    expect("1,2,3", 1, 23);  // behind the first comma, commas are separators of thousands
    expect("-2147483648,65537", INT_MIN, 65537);
}

// Every pair of bytes reads, or raises, as POCO alone has it.
TEST(NStringNumbers, HexBytesAgreesWithThePlainParser) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const NString text = Raw({static_cast<char>(pair >> 8), static_cast<char>(pair)}, Latin1);
        unsigned char out = 0;
        try {
            const unsigned expected = Poco::NumberParser::parseHex(text.Data());
            ASSERT_EQ(text.HexBytes(&out, 1), 0) << pair;
            ASSERT_EQ(out, expected) << pair;
        } catch (const Poco::SyntaxException&) {
            ASSERT_THROW(text.HexBytes(&out, 1), Poco::SyntaxException) << pair;
        }
    }
}

TEST(NStringNumbers, HexadecimalAtTheEndOfTheText) {
    const NString text = _text("B12A");
    EXPECT_EQ(text.HexByte(0), 0xB1u);
    EXPECT_EQ(text.HexByte(2), 0u);
    EXPECT_EQ(_text("B12").HexByte(1), 0x20u) << "a lone digit stands in the higher place";
    EXPECT_THROW(_text("1g").HexByte(0), Poco::SyntaxException);
    const auto raises = testing::ThrowsMessage<std::out_of_range>("invalid string position");
    EXPECT_THAT([&] { text.HexByte(3); }, raises);
    EXPECT_THAT([&] { text.HexByte(0x80000000); }, raises) << "twice that wraps at 32 bits";

    unsigned char out[] = {1, 2, 3};
    EXPECT_EQ(_text("ABCDE").HexBytes(out, 0), -1) << "odd is told first";
    EXPECT_EQ(_text("ABCDEF").HexBytes(out, 2), -2);
    EXPECT_THROW(_text("A0zz").HexBytes(out, 3), Poco::SyntaxException);
    EXPECT_THAT(out, ElementsAre(0xA0, 2, 3)) << "what was read so far stays, and no more";
}

TEST(NStringNumbers, ReadsLists) {
    float floats[3] = {};
    std::uint16_t words[3] = {};
    unsigned char bytes[3] = {};
    EXPECT_EQ(_text("1.5, -2 ,1e39").ToList(floats), 3u);
    EXPECT_THAT(floats, ElementsAre(1.5f, -2.0f, HUGE_VALF));
    EXPECT_EQ(_text("65535,65536,-1").ToList(words), 3u);
    EXPECT_THAT(words, ElementsAre(65535, 0, 65535)) << "cut to 16 bits";
    EXPECT_EQ(_text("258").ToList(bytes), 1u);
    EXPECT_THAT(bytes, ElementsAre(2, 0, 0));
    EXPECT_THAT(_text("-2147483648,+0").ToList(), ElementsAre(INT_MIN, 0));
    for (const char* text : {"", "1,", ",1", "1,x"}) {
        SCOPED_TRACE(text);
        EXPECT_THROW(_text(text).ToList(floats), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(words), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(bytes), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(), Poco::SyntaxException);
    }
    EXPECT_THAT(bytes, ElementsAre(1, 0, 0)) << "what was read so far stays";
}

TEST(NStringNumbers, FormatMakesANewText) {
    const NString object("untouched"s, Latin1);
    for (const std::size_t length : {0u, 255u, 256u, 100000u}) {
        const std::string expected(length, 'x');
        EXPECT_EQ(object.Format("%s", expected.c_str()).Data(), expected);
    }
    EXPECT_EQ(object.Format("a%cb", 0).Data(), "a") << "up to the first NUL";
    EXPECT_EQ(object.Format("%s-%05d", "\xE9", 42).Data(), "\xE9-00042");
    const NString marked = object.Format("%s%s", Mark.c_str(), Decomposed.c_str());
    EXPECT_EQ(marked.Encoding(), Utf8);
    EXPECT_EQ(marked.Data(), Composed) << "a mark says UTF-8, which is composed";
    const char* volatile none = nullptr;
    EXPECT_EQ(object.Format(none).Data(), "");
    EXPECT_EQ(object.Data(), "untouched");
}

}  // namespace

// The quick ways against POCO itself: every length of digits, points and zeros in every place.
TEST(NStringNumbers, PlainNumbersAreReadAndWrittenAsByPoco) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 60000; ++round) {
        std::string digits(random() % 24, '0');
        for (char& c : digits) c = static_cast<char>('0' + (random() % 3 ? random() % 10 : 0));
        if (random() % 2) digits.insert(random() % (digits.size() + 1), 1, '.');
        if (random() % 8 == 0)
            digits.insert(random() % (digits.size() + 1), 1, "-,. e"[random() % 5]);
        double number = 0;
        Poco::UInt64 whole = 0;
        if (!Poco::NumberParser::tryParseFloat(digits, number, '.', ',')) number = 0;
        if (!Poco::NumberParser::tryParseUnsigned64(digits, whole, ',')) whole = 0;
        const NString text(digits);
        ASSERT_EQ(text.ToDouble(), number) << digits;
        ASSERT_EQ(text.ToUInt64(), whole) << digits;

        const auto value = static_cast<long long>(random() >> random() % 64);
        NString written;
        written.SetNumber(value);
        ASSERT_EQ(written.Data(), Poco::NumberFormatter::format(value));
        written.SetNumber(-value);
        ASSERT_EQ(written.Data(), Poco::NumberFormatter::format(-value));
    }
}
