#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <Poco/Exception.h>
#include <Poco/NumberParser.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvel/text/NString.h>

namespace {

using namespace std::string_literals;

constexpr double Infinity = std::numeric_limits<double>::infinity();
constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

NString _text(const std::string& text) {
    return NString(text, EncodingLatin1);
}

/// What the writer leaves in a text that was UTF-8.
template <class Writer>
NString _written(Writer write) {
    NString text("before"s, EncodingUTF8);
    write(text);
    return text;
}

#define WRITTEN(call) _written([&](NString& text) { text.call; })

TEST(NStringNumbers, WritesWholeNumbers) {
    const struct {
        NString written;
        const char* expected;
    } rows[] = {
        {WRITTEN(SetNumber(0)), "0"},
        {WRITTEN(SetNumber(INT_MIN)), "-2147483648"},
        {WRITTEN(SetNumber(UINT_MAX)), "4294967295"},
        {WRITTEN(SetNumber(-5L)), "-5"},
        {WRITTEN(SetNumber(7UL)), "7"},
        {WRITTEN(SetNumber(LLONG_MIN)), "-9223372036854775808"},
        {WRITTEN(SetNumber(ULLONG_MAX)), "18446744073709551615"},
        {WRITTEN(SetPair(NPair16{-1, INT16_MIN})), "-32768,-1"},
        {WRITTEN(SetPair(NPair32{7, INT32_MIN})), "-2147483648,7"},
        {WRITTEN(SetPair(-3, 4)), "-3,4"},
        {WRITTEN(SetVersion(0)), "0.0"},
        {WRITTEN(SetVersion(0x00010200)), "1.2"},
        {WRITTEN(SetVersion(0x00010203)), "1.2.3"},
        {WRITTEN(SetVersion(0x01020000)), "258.0"},
        {WRITTEN(SetVersion(0xFFFFFFFF)), "65535.255.255"},
        {WRITTEN(SetFourCC(0x4D6F7276)), "Morv"},
        {WRITTEN(SetFourCC(0x41004242)), "A"},
        {WRITTEN(SetFourCC(0x00414243)), ""},
        {WRITTEN(SetFourCC(0xE9FF8001)), "\xE9\xFF\x80\x01"},
        {WRITTEN(SetHex(0u)), "0"},
        {WRITTEN(SetHex(0xABCDEFu)), "ABCDEF"},
        {WRITTEN(SetHex(0xFFFFFFFFu)), "FFFFFFFF"},
        {WRITTEN(SetHex(0, 9, 0xA5, 0xFF)), "0009A5FF"},
        {WRITTEN(SetHex(nullptr, 0)), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.written.Data(), row.expected);
        EXPECT_EQ(row.written.Encoding(), EncodingSystem) << row.expected;
    }
    EXPECT_EQ(NString::IntToString(INT_MIN), "-2147483648");
}

TEST(NStringNumbers, WritesFloatingNumbers) {
    const struct {
        NString written;
        const char* expected;
    } rows[] = {
        // The fewest digits that read back as the same value.
        {WRITTEN(SetNumber(0.1)), "0.1"},
        {WRITTEN(SetNumber(0.1f)), "0.1"},
        {WRITTEN(SetNumber(1.0 / 3)), "0.3333333333333333"},
        {WRITTEN(SetNumber(-2.0)), "-2"},
        {WRITTEN(SetNumber(-0.0)), "0"},
        {WRITTEN(SetNumber(Infinity)), "inf"},
        {WRITTEN(SetNumber(NotANumber)), "nan"},
        // Fixed, halves away from zero, on the exact binary value.
        {WRITTEN(SetNumber(2.5, 0)), "3"},
        {WRITTEN(SetNumber(-1.5, 0)), "-2"},
        {WRITTEN(SetNumber(1.005, 2)), "1.00"},
        {WRITTEN(SetNumber(0.125f, 2)), "0.13"},
        {WRITTEN(SetNumber(1e15, 1)), "1000000000000000.0"},
        {WRITTEN(SetNumber(-Infinity, 2)), "-inf"},
        // The limits of the digits, and a precision that makes no sense.
        {WRITTEN(SetNumber(1e60, 0)), ""},
        {WRITTEN(SetNumber(1.0, 61)), ""},
        {WRITTEN(SetNumber(1.0, INT_MAX)), ""},
        {WRITTEN(SetNumber(1.25, -1)), "1"},
        {WRITTEN(SetNumber(1.75f, INT_MIN)), "2"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.written.Data(), row.expected);
        EXPECT_EQ(row.written.Encoding(), EncodingSystem) << row.expected;
    }
}

TEST(NStringNumbers, WritersLeaveTheForm) {
    NString text("\xC3\xA9"s, EncodingUTF8);
    ASSERT_EQ(text.Form(), FormNFC);
    text.SetNumber(1);
    EXPECT_EQ(text.Form(), FormNFC);
}

TEST(NStringNumbers, ListsAreJoinedAndLeaveTheTag) {
    const float floats[] = {1.5f, -2.0f, 1e6f};
    const std::uint16_t words[] = {0, 65535};
    const std::int16_t shorts[] = {-32768, 32767};
    const unsigned char bytes[] = {7, 0, 255};
    const struct {
        NString written;
        const char* expected;
    } rows[] = {
        {WRITTEN(SetList(floats, 3)), "1.5,-2,1e+6"},
        {WRITTEN(SetList(words, 2)), "0,65535"},
        {WRITTEN(SetList(shorts, 2)), "-32768,32767"},
        {WRITTEN(SetList(bytes, 3)), "7,0,255"},
        {WRITTEN(SetList(bytes, 1)), "7"},
        {WRITTEN(SetList(bytes, 0)), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.written.Data(), row.expected);
        EXPECT_EQ(row.written.Encoding(), EncodingUTF8) << row.expected;
    }
    const std::vector<unsigned char> most(255, 1);
    EXPECT_EQ(WRITTEN(SetList(most.data(), 255)).Length(), 255u * 2 - 1);
}

TEST(NStringNumbers, ReadsWholeNumbersOrZero) {
    const struct {
        const char* text;
        std::int32_t toInt;
        std::uint32_t toUInt;
        unsigned long long toUInt64;
    } rows[] = {
        {"42", 42, 42, 42},
        {"+5", 5, 5, 5},
        {" 5", 5, 5, 5},
        {"-5", -5, 0, 0},
        {"1,234,567", 1234567, 1234567, 1234567},
        {"1,5", 15, 15, 15},
        // No numbers.
        {"", 0, 0, 0},
        {"-", 0, 0, 0},
        {"none", 0, 0, 0},
        {"5 ", 0, 0, 0},
        {"1.5", 0, 0, 0},
        {"1e3", 0, 0, 0},
        {"0x10", 0, 0, 0},
        // The ends of each range.
        {"2147483647", INT_MAX, 2147483647, 2147483647},
        {"2147483648", 0, 2147483648, 2147483648},
        {"-2147483648", INT_MIN, 0, 0},
        {"-2147483649", 0, 0, 0},
        {"4294967295", 0, UINT_MAX, UINT_MAX},
        {"4294967296", 0, 0, 4294967296},
        {"18446744073709551615", 0, 0, ULLONG_MAX},
        {"18446744073709551620", 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const NString text = _text(row.text);
        EXPECT_EQ(text.ToInt(), row.toInt);
        EXPECT_EQ(NString::ParseInt(row.text), row.toInt);
        EXPECT_EQ(text.ToUInt(), row.toUInt);
        EXPECT_EQ(text.ToUInt64(), row.toUInt64);
        EXPECT_EQ(text.ToSize(), row.toUInt64);
        EXPECT_EQ(text.Data(), row.text);
        EXPECT_EQ(text.Encoding(), EncodingLatin1);
    }
    EXPECT_EQ(_text("12\0"
                    "34"s)
                  .ToInt(),
              12)
        << "a NUL ends the number";
}

TEST(NStringNumbers, ReadsFloatingNumbersOrZero) {
    const struct {
        const char* text;
        double expected;
    } rows[] = {
        {"1.5", 1.5},  {" -1.5e3 ", -1500}, {"1,234.5", 1234.5}, {"1,5", 15},
        {"1.5f", 1.5}, {"1e-400", 0},       {"1e308", 1e308},    {"", 0},
        {"none", 0},   {"1.5x", 0},         {"0x10", 0},         {"1e", 0},
        {"1e400", 0},  {"-1e400", 0},       {"inf", 0},          {"nan", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(_text(row.text).ToDouble(), row.expected);
        if (row.expected > FLT_MAX) continue;
        EXPECT_EQ(_text(row.text).ToFloat(), static_cast<float>(row.expected));
    }
    EXPECT_EQ(_text("1e39").ToFloat(), HUGE_VALF);
    EXPECT_EQ(_text("-1e39").ToFloat(), -HUGE_VALF);
    EXPECT_EQ(_text("3.4028235e38").ToFloat(), FLT_MAX);
    EXPECT_EQ(_text("1e-50").ToFloat(), 0.0f);
}

TEST(NStringNumbers, ReadsVersions) {
    const struct {
        const char* text;
        std::uint32_t expected;
    } rows[] = {
        {"", 0},
        {"1", 0x00010000},
        {"1.2", 0x00010200},
        {"1.2.3", 0x00010203},
        {"258.0", 0x01020000},
        {"65535.255.255", 0xFFFFFFFF},
        {"1.2.3.", 0x00010203},
        {".2", 0x00000200},
        {"x.2.y", 0x00000200},
        {"1,000.2", 0x03E80200},
        // Fields are not masked, and their places go round.
        {"1.256", 0x00010000},
        {"0.0.0.1", 0x01000000},
        {"0.0.0.0.1", 0x00010000},
        {"0.0.0.0.0.1.2", 0x00000102},
        {"65536", 0},
        {"-1", 0xFFFF0000},
    };
    for (const auto& row : rows) EXPECT_EQ(_text(row.text).ToVersion(), row.expected) << row.text;
}

TEST(NStringNumbers, ReadsFourCharacterCodes) {
    EXPECT_EQ(_text("Morv").ToFourCC(), 0x4D6F7276u);
    EXPECT_EQ(_text("\xFE\xFF\x80\x01more").ToFourCC(), 0xFEFF8001u);
    EXPECT_EQ(_text("A\0"s).ToFourCC(), 0x41000000u) << "what isn't there counts as zero";
    NString text;
    text.SetFourCC(0xE9000001);
    EXPECT_EQ(text.ToFourCC(), 0xE9000000);
}

TEST(NStringNumbers, ReadsPairs) {
    const struct {
        const char* text;
        std::int16_t high, low;
    } rows[] = {
        {"-3,4", -3, 4},  {"-32768,-1", -32768, -1},
        {"", 0, 0},       {"5", 0, 0},
        {"5,", 5, 0},     {",5", 0, 0},  // the first half stops it
        {"5,x", 5, 0},    {"x,5", 0, 0},
        {"1,2,3", 1, 23},  // behind the first comma, commas are separators of thousands
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(_text(row.text).ToPair16().high, row.high);
        EXPECT_EQ(_text(row.text).ToPair16().low, row.low);
        EXPECT_EQ(_text(row.text).ToPair32().high, row.high);
        EXPECT_EQ(_text(row.text).ToPair32().low, row.low);
    }
    EXPECT_EQ(_text("65537,-65538").ToPair16().high, 1) << "cut to 16 bits";
    EXPECT_EQ(_text("65537,-65538").ToPair16().low, -2);
    EXPECT_EQ(_text("-2147483648,65537").ToPair32().high, INT_MIN);
    EXPECT_EQ(_text("-2147483648,65537").ToPair32().low, 65537);
}

// All 256 bytes there and back.
TEST(NStringNumbers, HexadecimalOfEveryByte) {
    const char digits[] = "0123456789ABCDEF";
    std::vector<unsigned char> every;
    std::string expected;
    for (unsigned byte = 0; byte < 256; ++byte) {
        every.push_back(static_cast<unsigned char>(byte));
        expected += digits[byte / 16];
        expected += digits[byte % 16];
    }
    NString text;
    text.SetHex(every.data(), 256);
    EXPECT_EQ(text.Data(), expected);
    EXPECT_EQ(NString::HexString(every.data(), 256), expected);
    for (unsigned byte = 0; byte < 256; ++byte) EXPECT_EQ(text.HexByte(byte), byte);
    std::vector<unsigned char> out(256, 0xEE);
    EXPECT_EQ(text.HexBytes(out.data(), 256), 0);
    EXPECT_EQ(out, every);
    text.ToLower();
    EXPECT_EQ(text.HexBytes(out.data(), 256), 0);
    EXPECT_EQ(out, every);
}

// Every pair of bytes reads, or raises, as POCO alone has it.
TEST(NStringNumbers, HexBytesAgreesWithThePlainParser) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string digits = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        NString text;
        text.SetBytes(digits.data(), 2, EncodingLatin1);
        unsigned expected = 0;
        unsigned char out = 0;
        if (Poco::NumberParser::tryParseHex(digits, expected)) {
            ASSERT_EQ(text.HexBytes(&out, 1), 0) << pair;
            ASSERT_EQ(out, expected) << pair;
        } else {
            ASSERT_THROW(text.HexBytes(&out, 1), Poco::SyntaxException) << pair;
        }
    }
}

TEST(NStringNumbers, HexValueReadsOrGivesZero) {
    const struct {
        const char* text;
        std::uint32_t expected;
    } rows[] = {
        {"ff", 0xFF},      {"0x1F", 0x1F},   {"FFFFFFFF", 0xFFFFFFFF},
        {"00000000A", 10}, {"100000000", 0}, {"", 0},
        {"xyz", 0},        {"-1", 0},        {"1 ", 0},
        {"1,0", 0},
    };
    for (const auto& row : rows) EXPECT_EQ(_text(row.text).HexValue(), row.expected) << row.text;
}

TEST(NStringNumbers, HexByteAtTheEndOfTheText) {
    EXPECT_EQ(_text("12A").HexByte(1), 0xA0u) << "a lone digit stands in the higher place";
    EXPECT_EQ(_text("12").HexByte(1), 0u);
    EXPECT_EQ(_text("").HexByte(0), 0u);
    EXPECT_THROW(_text("1g").HexByte(0), Poco::SyntaxException);
    EXPECT_THROW(_text("+1").HexByte(0), Poco::SyntaxException);
    for (const std::uint32_t index :
         {2u, 0x80000000u, 0xFFFFFFFFu}) {  // twice the last two wrap at 32 bits
        try {
            _text("123").HexByte(index);
            ADD_FAILURE() << index;
        } catch (const std::out_of_range& e) {
            EXPECT_STREQ(e.what(), "invalid string position");
        }
    }
}

TEST(NStringNumbers, HexBytesChecksTheSizesFirst) {
    unsigned char out[] = {1, 2, 3};
    EXPECT_EQ(_text("ABC").HexBytes(out, 3), -1);
    EXPECT_EQ(_text("ABCDE").HexBytes(out, 0), -1) << "odd is told first";
    EXPECT_EQ(_text("ABCDEF").HexBytes(out, 2), -2);
    EXPECT_THAT(out, testing::ElementsAre(1, 2, 3));
    EXPECT_EQ(_text("").HexBytes(nullptr, 0), 0);
    EXPECT_EQ(_text("FF").HexBytes(out, 3), 0);
    EXPECT_THAT(out, testing::ElementsAre(0xFF, 2, 3));
    EXPECT_THROW(_text("A0zz").HexBytes(out, 3), Poco::SyntaxException);
    EXPECT_THAT(out, testing::ElementsAre(0xA0, 2, 3)) << "what was read so far stays";
}

TEST(NStringNumbers, ReadsLists) {
    float floats[3] = {};
    EXPECT_EQ(_text("1.5, -2 ,1e39").ToList(floats), 3u);
    EXPECT_THAT(floats, testing::ElementsAre(1.5f, -2.0f, HUGE_VALF));
    std::uint16_t words[3] = {};
    EXPECT_EQ(_text("65535,65536,-1").ToList(words), 3u);
    EXPECT_THAT(words, testing::ElementsAre(65535, 0, 65535)) << "cut to 16 bits";
    unsigned char bytes[2] = {};
    EXPECT_EQ(_text("255,258").ToList(bytes), 2u);
    EXPECT_THAT(bytes, testing::ElementsAre(255, 2));
    EXPECT_THAT(_text("7").ToList(), testing::ElementsAre(7));
    EXPECT_THAT(_text("-2147483648,+0").ToList(), testing::ElementsAre(INT_MIN, 0));
}

TEST(NStringNumbers, ListsRaiseOnWhatIsNoNumber) {
    for (const char* text : {"", ",", "1,", ",1", "1,,2", "1,x", "1;2"}) {
        SCOPED_TRACE(text);
        float floats[3];
        std::uint16_t words[3];
        unsigned char bytes[3];
        EXPECT_THROW(_text(text).ToList(floats), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(words), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(bytes), Poco::SyntaxException);
        EXPECT_THROW(_text(text).ToList(), Poco::SyntaxException);
    }
    unsigned char bytes[] = {9, 9, 9};
    EXPECT_THROW(_text("1,2,x").ToList(bytes), Poco::SyntaxException);
    EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 9));
}

TEST(NStringNumbers, FormatMakesANewText) {
    const NString object("untouched"s, EncodingLatin1);
    EXPECT_EQ(object.Format("%s-%05d-%.2f", "a", 42, 0.25).Data(), "a-00042-0.25");
    for (const std::size_t length : {0u, 254u, 255u, 256u, 257u, 100000u}) {
        const std::string expected(length, 'x');
        EXPECT_EQ(object.Format("%s", expected.c_str()).Data(), expected);
    }
    EXPECT_EQ(object.Format("a%cb", 0).Data(), "a") << "up to the first NUL";
    EXPECT_EQ(object.Data(), "untouched");

    const NString plain = object.Format("%s", "\xE9");
    EXPECT_EQ(plain.Encoding(), EncodingSystem);
    EXPECT_EQ(plain.Data(), "\xE9");
    const NString marked = object.Format("%se%s", "\xEF\xBB\xBF", "\xCC\x81");
    EXPECT_EQ(marked.Encoding(), EncodingUTF8);
    EXPECT_EQ(marked.Data(), "\xC3\xA9") << "a mark says UTF-8, which is composed";
    const char* volatile none = nullptr;
    EXPECT_EQ(object.Format(none).Data(), "");
}

// The second place of 64-bit numbers writes as the first does; only a subclass can reach it.
TEST(NStringNumbers, BothPlacesOf64BitNumbersWriteTheSame) {
    struct Reaching : NString {
        using NString::operator=;
        using NString::SetNumber64;
    } text;
    text.ConvertTo(EncodingUTF8);
    text.SetNumber64(LLONG_MIN);
    EXPECT_EQ(text.Data(), "-9223372036854775808");
    EXPECT_EQ(text.Encoding(), EncodingSystem);
}

}  // namespace
