#include <morvel/text/NString.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>
#include <Poco/URI.h>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

const NStringEncoding byteEncodings[] = {EncodingSystem, EncodingASCII, EncodingLatin1,
                                         EncodingLatin9, EncodingUTF8};
const auto noEncoding = static_cast<NStringEncoding>(6);
const std::string decomposed = "e\xCC\x81";
const std::string composed = "\xC3\xA9";

// Where wide text is wchar_t the system's encoding is its ANSI code page, 1252 in what follows.
constexpr bool ansiSystem = std::is_same<NWideChar, wchar_t>::value;

// Bytes without the look that a constructor takes at them.
NString raw(const std::string& bytes, NStringEncoding encoding) {
    NString text(EncodingLatin1);
    text.Normalize(FormNFC);  // the tag that keeps SetBytes from composing
    text.SetBytes(bytes.data(), bytes.size(), encoding);
    return NString(text);
}

NWideString wide(std::initializer_list<int> units) {
    NWideString text;
    for (const int unit : units) text += static_cast<NWideChar>(unit);
    return text;
}

std::string bytesOf(const NWideString& text) {
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(NWideChar));
}

TEST(NStringEncoding, ConvertToGivesTheBytesOfTheTarget) {
    const struct {
        const char* why;
        std::string bytes;
        NStringEncoding from, to;
        std::string expected;
    } rows[] = {
        {"two bytes to one", "caf\xC3\xA9", EncodingUTF8, EncodingLatin1, "caf\xE9"},
        {"0xA4 is the euro in Latin-9", "\xA4", EncodingLatin9, EncodingUTF8, "\xE2\x82\xAC"},
        {"0xA4 is the currency sign in Latin-1", "\xA4", EncodingLatin1, EncodingUTF8, "\xC2\xA4"},
        {"between the two", "\xA4\xE9", EncodingLatin1, EncodingLatin9, "?\xE9"},
        {"what the target lacks", "\xE2\x82\xAC!\xF0\x9F\x98\x80", EncodingUTF8, EncodingLatin1,
         "?!?"},
        {"not ASCII", "a\xE9z", EncodingLatin1, EncodingASCII, "a?z"},
        {"bad ASCII", "a\xE9z", EncodingASCII, EncodingUTF8, "a?z"},
        {"NUL stays", "a\0\xE9"s, EncodingLatin1, EncodingUTF8, "a\0\xC3\xA9"s},
        {"malformed takes what it announces", "\xE9xyz", EncodingUTF8, EncodingLatin1, "?z"},
        {"a pair of surrogates", "\xF0\x9F\x98\x80", EncodingUTF8, EncodingUTF16,
         bytesOf(wide({0xD83D, 0xDE00}))},
        {"and back", bytesOf(wide({0xD83D, 0xDE00, 'x'})), EncodingUTF16, EncodingUTF8,
         "\xF0\x9F\x98\x80x"},
        {"odd last byte", "a\0b"s, EncodingUTF16, EncodingUTF8, "a?"},
        {"a mark is a character", bytesOf(wide({0xFEFF, 'a'})), EncodingUTF16, EncodingUTF8,
         "\xEF\xBB\xBF"
         "a"},
        {"ASCII to UTF-16", "ab", EncodingASCII, EncodingUTF16, bytesOf(wide({'a', 'b'}))},
        {"composed on the way out", decomposed, EncodingUTF8, EncodingLatin1, "\xE9"},
        {"to the system up to the NUL", "a\0b"s, EncodingLatin1, EncodingSystem, "a"},
        {"from the system up to the NUL", "a\0b"s, EncodingSystem, EncodingLatin1, "a"},
        {"to the system", "\xE9", EncodingLatin1, EncodingSystem, ansiSystem ? "\xE9" : "\xC3\xA9"},
        {"from the system", "\xC3\xA9", EncodingSystem, EncodingLatin1,
         ansiSystem ? "\xC3\xA9" : "\xE9"},
        {"malformed for the system", "a\xE9", EncodingSystem, EncodingUTF8,
         ansiSystem ? "a\xC3\xA9" : "a?"},
        {"empty", "", EncodingSystem, EncodingUTF16, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        NString text = raw(row.bytes, row.from);
        EXPECT_TRUE(text.ConvertTo(row.to));
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Encoding(), row.to);
    }
}

// ASCII takes a short way between encodings of bytes; a last byte that is none forces the long one.
TEST(NStringEncoding, AsciiIsTheSameUnderEveryTagOfBytes) {
    std::string ascii;
    for (char c = 1; c > 0; ++c) {
        ascii += c;
        if (c == 127) break;
    }
    for (const NStringEncoding from : byteEncodings) {
        for (const NStringEncoding to : byteEncodings) {
            NString quick = raw(ascii, from), slow = raw(ascii + "\xC3\xA9", from);
            EXPECT_TRUE(quick.ConvertTo(to));
            EXPECT_TRUE(slow.ConvertTo(to));
            EXPECT_EQ(quick.Data(), ascii);
            EXPECT_EQ(slow.Data().substr(0, ascii.size()), ascii);
            EXPECT_EQ(quick.Encoding(), to);
        }
    }
}

TEST(NStringEncoding, ComposesOnLeavingUtf8AndNotOnEntering) {
    NString text(bytesOf(wide({'e', 0x301})), EncodingUTF16);
    text.ConvertTo(EncodingUTF8);
    EXPECT_EQ(text.Data(), decomposed);
    EXPECT_EQ(text.Form(), FormUnknown);
    text.ConvertTo(EncodingUTF8);  // the tag is right already, and yet it composes
    EXPECT_EQ(text.Data(), composed);
    EXPECT_EQ(text.Form(), FormNFC);

    text.SetBytes(decomposed.data(), decomposed.size(), EncodingUTF8);
    EXPECT_TRUE(text.ConvertTo(EncodingUTF8));  // the form claims it is done
    EXPECT_EQ(text.Data(), decomposed);
}

TEST(NStringEncoding, ConvertToRefusesWhatIsNoTag) {
    for (const NStringEncoding tag : byteEncodings) {
        NString empty(tag), text = raw(decomposed, tag);
        EXPECT_FALSE(empty.ConvertTo(noEncoding));
        EXPECT_FALSE(text.ConvertTo(noEncoding));
        EXPECT_EQ(text.Data(), tag == EncodingUTF8 ? composed : decomposed);
        EXPECT_EQ(text.Encoding(), tag);

        NString foreign = raw("abc", noEncoding);
        EXPECT_FALSE(foreign.ConvertTo(tag));
        EXPECT_EQ(foreign.Data(), "abc");
        EXPECT_EQ(foreign.Encoding(), noEncoding);
        EXPECT_TRUE(foreign.ConvertTo(noEncoding));  // nothing to convert
    }
}

TEST(NStringEncoding, NormalizeBringsUtf8ToTheForm) {
    const std::string ligature = "\xEF\xAC\x81";  // fi
    const struct {
        NStringForm form;
        std::string expected;
    } rows[] = {
        {FormNFD, ligature + decomposed},
        {FormNFKD, "fi" + decomposed},
        {FormNFC, ligature + composed},
        {FormNFKC, "fi" + composed},
        {static_cast<NStringForm>(4), ligature + decomposed},
    };
    for (const auto& row : rows) {
        NString text = raw(ligature + decomposed, EncodingUTF8);
        text.Normalize(row.form);
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Form(), row.form);
        text[0] = '\x80';  // with the form it has, it isn't looked at again
        text.Normalize(row.form);
        EXPECT_EQ(text.Data()[0], '\x80');
    }
}

TEST(NStringEncoding, NormalizeClaimsTheFormInEveryCase) {
    NString latin(decomposed, EncodingLatin1);
    latin.Normalize(FormNFD);
    EXPECT_EQ(latin.Data(), decomposed);
    EXPECT_EQ(latin.Form(), FormNFD);

    NString malformed = raw("e\xCC\x81\x80\0x"s, EncodingUTF8);
    malformed.Normalize(FormNFC);
    EXPECT_EQ(malformed.Data(), "e\xCC\x81\x80\0x"s);
    EXPECT_EQ(malformed.Form(), FormNFC);
    malformed.Normalize(FormUnknown);
    EXPECT_EQ(malformed.Form(), FormUnknown);

    NString cut = raw("ab\0cd"s, EncodingUTF8);
    cut.Normalize(FormNFC);
    EXPECT_EQ(cut.Data(), "ab");
}

TEST(NStringEncoding, ConvertedLeavesTheTextAlone) {
    NString text = raw(decomposed, EncodingUTF8);
    const std::string& first = text.Converted(EncodingLatin1);
    EXPECT_EQ(first, "\xE9");
    EXPECT_EQ(text.Converted(EncodingUTF8), composed);
    EXPECT_EQ(first, composed);  // one place for all of them
    const char* const bytes = text.Data(EncodingUTF8);
    EXPECT_EQ(bytes, first.c_str());
    EXPECT_EQ(text.Converted(noEncoding), composed);  // refused, but composed before that
    EXPECT_EQ(text.Data(), decomposed);
    EXPECT_EQ(text.Encoding(), EncodingUTF8);
    EXPECT_EQ(text.Form(), FormUnknown);
    EXPECT_EQ(raw("\xE9", noEncoding).Converted(EncodingUTF8), "\xE9");
}

TEST(NStringEncoding, DataWithBOMPutsOneMarkInFront) {
    const struct {
        const char* why;
        std::string bytes;
        NStringEncoding from, to;
        std::string converted, own;
    } rows[] = {
        {"UTF-8", decomposed, EncodingUTF8, EncodingUTF8, "\xEF\xBB\xBF" + composed,
         "\xEF\xBB\xBF" + decomposed},
        {"UTF-16", "a", EncodingUTF8, EncodingUTF16,
         "\xFF\xFE"
         "a\0"s,
         "\xEF\xBB\xBF"
         "a"},
        {"none for others", "\xE9", EncodingLatin1, EncodingLatin1, "\xE9", "\xE9"},
        {"in place of its own",
         "\xEF\xBB\xBF"
         "a",
         EncodingUTF8, EncodingUTF8,
         "\xEF\xBB\xBF"
         "a",
         "\xEF\xBB\xBF"
         "a"},
        {"a mark under any tag goes",
         "\xFF\xFE"
         "a",
         EncodingLatin1, EncodingLatin1, "a", "a"},
        {"of a mark alone nothing is left", "\xEF\xBB\xBF", EncodingUTF8, EncodingUTF8, "", ""},
        {"empty UTF-8", "", EncodingUTF8, EncodingUTF16, "", ""},
        {"empty UTF-16", "", EncodingUTF16, EncodingUTF8, "", ""},
        {"unconverted, and marked all the same", "a", noEncoding, EncodingUTF8,
         "\xEF\xBB\xBF"
         "a",
         "a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const NString text = raw(row.bytes, row.from);
        const std::string& cache = text.Converted(row.from);
        EXPECT_EQ(text.DataWithBOM(row.to), row.converted);
        EXPECT_EQ(cache, row.converted);
        EXPECT_EQ(text.DataWithBOM(), row.own);
        EXPECT_EQ(cache, row.own);
        EXPECT_EQ(text.Data(), row.bytes);
    }
}

TEST(NStringEncoding, WideIsComposedAndEndsAtTheNul) {
    const struct {
        const char* why;
        std::string bytes;
        NStringEncoding encoding;
        NWideString expected;
    } rows[] = {
        {"UTF-8", decomposed + "\xF0\x9F\x98\x80", EncodingUTF8, wide({0xE9, 0xD83D, 0xDE00})},
        {"Latin-1", "caf\xE9\0x"s, EncodingLatin1, wide({'c', 'a', 'f', 0xE9})},
        {"UTF-16", bytesOf(wide({'e', 0x301})), EncodingUTF16, wide({0xE9})},
        {"system", "a", EncodingSystem, wide({'a'})},
        {"malformed gives nothing", "a\x80", EncodingUTF8, {}},
        {"no tag is taken for UTF-8", composed, noEncoding, wide({0xE9})},
        {"empty", "", EncodingUTF8, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        NString text = raw(row.bytes, row.encoding);
        const std::string& cache = text.Converted(EncodingASCII);
        const std::string before = cache;
        EXPECT_EQ(text.Wide(), row.expected);
        EXPECT_EQ(cache, before);
        EXPECT_EQ(text.Data(), row.bytes);
    }
}

TEST(NStringEncoding, CodePages) {
    for (const int utf8 : {65001, -1, -7}) {
        EXPECT_EQ(NString::StringToWide(decomposed + "\0x"s, utf8), wide({0xE9})) << utf8;
        EXPECT_EQ(NString::StringToWide("a\xC3", utf8), NWideString()) << utf8;
        EXPECT_EQ(NString::WideToString(wide({'e', 0x301, 0, 'x'}), utf8), decomposed) << utf8;
        EXPECT_EQ(NString::WideToString(wide({'a', 0xD800}), utf8), "a\xEF\xBF\xBD") << utf8;
    }
    // The system's own isn't composed.
    EXPECT_EQ(NString::StringToWide("e\0x"s, 0), wide({'e'}));
    EXPECT_EQ(NString::StringToWide(decomposed, 0),
              ansiSystem ? wide({'e', 0xCC, 0x81}) : wide({'e', 0x301}));
    EXPECT_EQ(NString::WideToString(wide({'a', 0xE9, 0, 'x'}), 0),
              ansiSystem ? "a\xE9" : "a\xC3\xA9");
    EXPECT_EQ(NString::StringToWide("a", 99999), NWideString());
    EXPECT_EQ(NString::WideToString(wide({'a'}), 99999), "");
}

TEST(NStringEncoding, SwapBytesPairsAnOddByteWithNul) {
    const struct {
        std::string bytes;
        NStringEncoding encoding;
        std::string expected;
    } rows[] = {
        {"abcd", EncodingUTF16, "badc"}, {"abc", EncodingUTF16, "ba\0c"s},
        {"a", EncodingUTF16, "\0a"s},    {"", EncodingUTF16, ""},
        {"abcd", EncodingUTF8, "abcd"},  {"abc", EncodingSystem, "abc"},
    };
    for (const auto& row : rows) {
        NString text = raw(row.bytes, row.encoding);
        text.SwapBytes();
        EXPECT_EQ(text.Data(), row.expected);
        EXPECT_EQ(text.Encoding(), row.encoding);
    }
}

// Byte by byte against the rule (POCO's own escapes and ten more), and against a list of what
// stays.
TEST(NStringEncoding, UrlEncodeEscapesAllButTheUnreserved) {
    const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._";
    std::string all, expectedOfAll;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        std::string expected;
        Poco::URI::encode(one, "#&+/:;=?@~", expected);
        if (one == "~") expected = "%7E";  // POCO leaves this one alone even when told
        NString text = raw(one, EncodingLatin1);
        text.UrlEncode();
        EXPECT_EQ(text.Data(), expected) << byte;
        EXPECT_EQ(text.Data() == one, kept.find(one) != kept.npos) << byte;
        all += one;
        expectedOfAll += expected;
    }
    NString text = raw(all, EncodingLatin1);
    text.UrlEncode();
    EXPECT_EQ(text.Data(), expectedOfAll);
    text.UrlDecode();
    EXPECT_EQ(text.Data(), all);
}

TEST(NStringEncoding, UrlDecode) {
    NString text("a+b?c+d%2Be%00%e9"s, EncodingASCII);  // in a query, plus may mean a blank
    text.UrlDecode();
    EXPECT_EQ(text.Data(), "a+b?c+d+e\0\xE9"s);
    EXPECT_EQ(text.Encoding(), EncodingASCII);
    for (const char* bad : {"ok%", "ok%4", "ok%zz", "ok%%41"}) {
        NString broken(bad);
        EXPECT_THROW(broken.UrlDecode(), Poco::URISyntaxException) << bad;
        EXPECT_EQ(broken.Data(), bad);
    }
}

TEST(NStringEncoding, Base64) {
    const struct {
        std::string bytes, digits;
    } rows[] = {
        // RFC 4648, section 10
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\0\xFF\xFE\x0D\x0A"s, "AP/+DQo="},
        // longer than a line, of which there is only one
        {std::string(300, '\xFF'), std::string(400, '/')},
    };
    for (const auto& row : rows) {
        const auto* const bytes = reinterpret_cast<const unsigned char*>(row.bytes.data());
        NString given("old", EncodingLatin9), own = raw(row.bytes, EncodingLatin9);
        given.EncodeBase64(bytes, static_cast<std::uint32_t>(row.bytes.size()));
        EXPECT_EQ(given.Data(), row.digits);
        EXPECT_EQ(given.Encoding(), EncodingLatin9);
        own.EncodeBase64();
        EXPECT_EQ(own.Data(), row.digits);

        std::uint32_t count = 99;
        own.DecodeBase64(nullptr, &count);
        ASSERT_EQ(count, row.bytes.size());
        std::vector<unsigned char> out(count + 1, '#');
        own.DecodeBase64(out.data(), &count);
        EXPECT_EQ(std::string(out.begin(), out.end()), row.bytes + "#");
        EXPECT_EQ(own.Data(), row.digits);
        own.DecodeBase64();
        EXPECT_EQ(own.Data(), row.bytes);
    }
}

TEST(NStringEncoding, DecodeBase64OfWhatIsNone) {
    NString lines("Zm9v\r\n Yg=\t=");
    lines.DecodeBase64();
    EXPECT_EQ(lines.Data(), "foob");

    for (const char* bad : {"Zm9v*g==", "Zm9vYg", "Zm9vYg=*"}) {
        NString text(bad);
        unsigned char out[8] = "#######";
        std::uint32_t count = 99;
        text.DecodeBase64(out, &count);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out)), "foo####") << bad;
        EXPECT_EQ(count, 3u) << bad;
        EXPECT_THROW(text.DecodeBase64(), Poco::DataFormatException) << bad;
        EXPECT_EQ(text.Data(), bad);
    }
}

// POCO's encoder breaks the text into lines; apart from that it is the second way to the same
// result.
TEST(NStringEncoding, Base64AsPocoHasIt) {
    std::mt19937 random(22);
    for (std::size_t length = 0; length < 300; ++length) {
        std::string bytes;
        while (bytes.size() < length) bytes += static_cast<char>(random());
        std::ostringstream lines;
        Poco::Base64Encoder encoder(lines);
        encoder.write(bytes.data(), static_cast<std::streamsize>(length));
        encoder.close();
        std::string expected = lines.str();
        expected.erase(std::remove_if(expected.begin(), expected.end(),
                                      [](char c) { return c == '\r' || c == '\n'; }),
                       expected.end());
        NString text = raw(bytes, EncodingSystem);
        text.EncodeBase64();
        ASSERT_EQ(text.Data(), expected);
    }
}

// Short texts of few different bytes, so that digits, padding in every place, blanks and bad bytes
// meet.
TEST(NStringEncoding, DecodeBase64AsPocoHasIt) {
    const std::string pool = "=A/9+Zg=Q \r\n*-\xC3\0"s;
    std::mt19937 random(23);
    int refused = 0, accepted = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::size_t width = random() % 2 != 0 ? 9 : pool.size();
        std::string digits;
        for (std::size_t i = random() % 13; i > 0; --i) digits += pool[random() % width];

        std::istringstream forBytes(digits), forWhole(digits);
        Poco::Base64Decoder byBytes(forBytes), byWhole(forWhole);
        std::string expected;
        for (int c = byBytes.get(); byBytes.good(); c = byBytes.get()) {
            expected += static_cast<char>(c);
        }
        NString text = raw(digits, EncodingSystem);
        std::uint32_t count = 99;
        unsigned char out[16];
        text.DecodeBase64(out, &count);
        ASSERT_EQ(std::string(reinterpret_cast<char*>(out), count), expected) << digits;
        text.DecodeBase64(nullptr, &count);
        ASSERT_EQ(count, expected.size()) << digits;
        try {
            const std::string whole(std::istreambuf_iterator<char>(byWhole.rdbuf()), {});
            ++accepted;
            ASSERT_NO_THROW(text.DecodeBase64()) << digits;
            ASSERT_EQ(text.Data(), whole) << digits;
        } catch (const Poco::DataFormatException&) {
            ++refused;
            ASSERT_THROW(text.DecodeBase64(), Poco::DataFormatException) << digits;
            ASSERT_EQ(text.Data(), digits);
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(accepted, 1000);
}

}  // namespace
