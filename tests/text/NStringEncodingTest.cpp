#include <morvel/text/NString.h>

#include <Poco/Base64Decoder.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Exception.h>

#include <morvel/text/Conversion.h>
#include <tests/support/Test.h>
#include <tests/support/Text.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;
using morvel::BytesFromWide;

const NStringEncoding tagsOfBytes[] = {Sys, Ascii, Latin1, Latin9, Utf8};

// Where wide text is wchar_t the system's encoding is its ANSI code page, 1252 in what follows.
constexpr bool ansi = std::is_same<NWideChar, wchar_t>::value;

TEST(NStringEncoding, ConvertToGivesTheBytesOfTheTarget) {
    const std::string pair = BytesFromWide(Wide({0xD83D, 0xDE00})), smile = "\xF0\x9F\x98\x80";
    const std::tuple<const char*, std::string, NStringEncoding, NStringEncoding, std::string>
        rows[] = {
            {"the euro is in Latin-9", "\xA4", Latin9, Utf8, "\xE2\x82\xAC"},
            {"and not in Latin-1", "\xA4\xE9", Latin1, Latin9, "?\xE9"},
            {"what the target lacks", "\xE2\x82\xAC!" + smile, Utf8, Latin1, "?!?"},
            {"not ASCII", "a\xE9z", Latin1, Ascii, "a?z"},
            {"bad ASCII", "a\xE9z", Ascii, Utf8, "a?z"},
            {"NUL stays", "a\0\xE9"s, Latin1, Utf8, "a\0\xC3\xA9"s},
            {"surrogates", smile, Utf8, Utf16, pair},
            {"and back", pair, Utf16, Utf8, smile},
            {"odd last byte", "a\0b"s, Utf16, Utf8, "a?"},
            {"a mark is a character", BytesFromWide(Wide({0xFEFF})), Utf16, Utf8, Mark},
            {"ASCII to UTF-16", "ab", Ascii, Utf16, BytesFromWide(Wide({'a', 'b'}))},
            {"composed on the way out", Decomposed, Utf8, Latin1, "\xE9"},
            {"to the system up to the NUL", "a\0b"s, Latin1, Sys, "a"},
            {"from the system up to the NUL", "a\0b"s, Sys, Latin1, "a"},
            {"to the system", "\xE9", Latin1, Sys, ansi ? "\xE9" : "\xC3\xA9"},
            {"from the system", "\xC3\xA9", Sys, Latin1, ansi ? "\xC3\xA9" : "\xE9"},
            {"malformed for the system", "a\xE9", Sys, Utf8, ansi ? "a\xC3\xA9" : "a?"},
        };
    for (const auto& [why, bytes, from, to, expected] : rows) {
        SCOPED_TRACE(why);
        NString text = Raw(bytes, from);
        EXPECT_TRUE(text.ConvertTo(to));
        EXPECT_EQ(text.Data(), expected);
        EXPECT_EQ(text.Encoding(), to);
    }
}

TEST(NStringEncoding, ComposesOnLeavingUtf8AndNotOnEntering) {
    NString text(BytesFromWide(Wide({'e', 0x301})), Utf16);
    text.ConvertTo(Utf8);
    EXPECT_EQ(text.Data(), Decomposed);
    text.ConvertTo(Utf8);  // the tag is right already, and yet it composes
    EXPECT_EQ(text.Data(), Composed);
    EXPECT_EQ(text.Form(), FormNFC);
}

// ASCII takes a short way between encodings of bytes; a last byte that is none forces the long one.
TEST(NStringEncoding, TagsOfBytesShareAsciiAndNoneConvertsToWhatIsNoTag) {
    std::string ascii;
    for (char c = 1; c != 127; ++c) ascii += c;
    for (const NStringEncoding from : tagsOfBytes) {
        for (const NStringEncoding to : tagsOfBytes) {
            NString quick = Raw(ascii, from), slow = Raw(ascii + Composed, from);
            EXPECT_TRUE(quick.ConvertTo(to) && slow.ConvertTo(to));
            EXPECT_EQ(quick.Data(), ascii);
            EXPECT_EQ(slow.Data().substr(0, ascii.size()), ascii);
            EXPECT_EQ(quick.Encoding(), to);
        }
        NString text = Raw(Decomposed, from), foreign = Raw("abc", NoTag);
        EXPECT_FALSE(NString(from).ConvertTo(NoTag) || text.ConvertTo(NoTag));
        EXPECT_EQ(text.Data(), from == Utf8 ? Composed : Decomposed);
        EXPECT_EQ(text.Encoding(), from);
        EXPECT_FALSE(foreign.ConvertTo(from));
        EXPECT_EQ(foreign.Encoding(), NoTag);
        EXPECT_TRUE(foreign.ConvertTo(NoTag));  // nothing to convert
    }
}

TEST(NStringEncoding, NormalizeClaimsTheFormInEveryCase) {
    const auto expect = [](const std::string& bytes, NStringEncoding tag, NStringForm form,
                           const std::string& expected) {
        NString text = Raw(bytes, tag);
        text.Normalize(form);
        EXPECT_EQ(text.Data(), expected);
        EXPECT_EQ(text.Form(), form);
        text = Raw(Decomposed, Utf8);
        text.Normalize(form);  // with the form it has, it isn't looked at again
        EXPECT_EQ(text.Data(), Decomposed);
    };
    const std::string fi = "\xEF\xAC\x81", malformed = "e\xCC\x81\x80\0x"s;
    expect(fi + Decomposed, Utf8, FormNFD, fi + Decomposed);
    expect(fi + Decomposed, Utf8, FormNFKD, "fi" + Decomposed);
    expect(fi + Decomposed, Utf8, FormNFC, fi + Composed);
    expect(fi + Decomposed, Utf8, FormNFKC, "fi" + Composed);
    expect(fi + Decomposed, Utf8, static_cast<NStringForm>(4), fi + Decomposed);
    expect(Decomposed, Latin1, FormNFC, Decomposed);
    expect(malformed, Utf8, FormNFC, malformed);
    expect("ab\0cd"s, Utf8, FormNFC, "ab");
}

TEST(NStringEncoding, ConvertedLeavesTheTextAlone) {
    const NString text = Raw(Decomposed, Utf8);
    const std::string& cache = text.Converted(Latin1);
    EXPECT_EQ(testing::PrintToString(text), Composed);  // a stream gets UTF-8, the cache stays
    EXPECT_EQ(cache, "\xE9");
    EXPECT_EQ(text.Converted(NoTag), Composed);  // refused, but composed before that
    EXPECT_EQ(text.Data(Utf8), cache.c_str());   // one place for all of them
    EXPECT_EQ(text.Data(), Decomposed);
    EXPECT_EQ(text.Form(), FormUnknown);
}

TEST(NStringEncoding, DataWithBOMPutsOneMarkInFront) {
    using Row = std::tuple<const char*, std::string, NStringEncoding, NStringEncoding, std::string,
                           std::string>;
    const Row rows[] = {
        {"UTF-8", Decomposed, Utf8, Utf8, Mark + Composed, Mark + Decomposed},
        {"UTF-16", "z", Utf8, Utf16, "\xFF\xFEz\0"s, Mark + "z"},
        {"none for others", "\xE9", Latin1, Latin1, "\xE9", "\xE9"},
        {"in place of its own", Mark + "z", Utf8, Utf8, Mark + "z", Mark + "z"},
        {"a mark under any tag goes", "\xFF\xFEz", Latin1, Latin1, "z", "z"},
        {"of a mark alone nothing is left", Mark, Utf8, Utf8, "", ""},
        {"empty", "", Utf16, Utf8, "", ""},
        {"unconverted, and marked all the same", "z", NoTag, Utf8, Mark + "z", "z"},
    };
    for (const auto& [why, bytes, from, to, converted, own] : rows) {
        SCOPED_TRACE(why);
        const NString text = Raw(bytes, from);
        const std::string& cache = text.Converted(from);
        EXPECT_EQ(text.DataWithBOM(to), converted);
        EXPECT_EQ(text.DataWithBOM(), own);
        EXPECT_EQ(cache, own);
        EXPECT_EQ(text.Data(), bytes);
    }
}

TEST(NStringEncoding, WideIsComposedAndEndsAtTheNul) {
    EXPECT_EQ(Raw(Decomposed + "\xF0\x9F\x98\x80", Utf8).Wide(), Wide({0xE9, 0xD83D, 0xDE00}));
    EXPECT_EQ(Raw("f\xE9\0x"s, Latin1).Wide(), Wide({'f', 0xE9}));
    EXPECT_EQ(Raw(BytesFromWide(Wide({'e', 0x301})), Utf16).Wide(), Wide({0xE9}));
    EXPECT_EQ(Raw("a\x80", Utf8).Wide(), NWideString()) << "malformed";
    EXPECT_EQ(Raw(Composed, NoTag).Wide(), Wide({0xE9})) << "taken for UTF-8";
}

TEST(NStringEncoding, CodePages) {
    for (const int utf8 : {65001, -1, -7}) {
        EXPECT_EQ(NString::StringToWide(Decomposed + "\0x"s, utf8), Wide({0xE9})) << utf8;
        EXPECT_EQ(NString::StringToWide("a\xC3", utf8), NWideString()) << utf8;
        EXPECT_EQ(NString::WideToString(Wide({'e', 0x301, 0, 'x'}), utf8), Decomposed) << utf8;
        EXPECT_EQ(NString::WideToString(Wide({'a', 0xD800}), utf8), "a\xEF\xBF\xBD") << utf8;
    }
    // The system's own isn't composed.
    const NWideString asItIs = ansi ? Wide({'e', 0xCC, 0x81}) : Wide({'e', 0x301});
    EXPECT_EQ(NString::StringToWide(Decomposed + "\0x"s, 0), asItIs);
    EXPECT_EQ(NString::WideToString(Wide({0xE9, 0, 'x'}), 0), ansi ? "\xE9" : Composed);
    EXPECT_EQ(NString::StringToWide("a", 99999), NWideString());
    EXPECT_EQ(NString::WideToString(Wide({'a'}), 99999), "");
}

TEST(NStringEncoding, SwapBytesPairsAnOddByteWithNul) {
    NString text = Raw("abc", Utf16), other = Raw("abc", Utf8);
    text.SwapBytes();
    other.SwapBytes();
    EXPECT_EQ(text.Data() + other.Data(), "ba\0cabc"s);
}

TEST(NStringEncoding, UrlEncodeEscapesAllButTheUnreserved) {
    const std::string kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._";
    std::string all, expected;
    for (int byte = 0; byte < 256; ++byte) {
        const auto code = static_cast<unsigned char>(byte);
        all += static_cast<char>(byte);
        const bool stays = kept.find(all.back()) != kept.npos;
        expected += stays ? all.substr(all.size() - 1) : "%" + NString::HexString(&code, 1);
    }
    NString text = Raw(all, Latin1);
    text.UrlEncode();
    EXPECT_EQ(text.Data(), expected);
    text.UrlDecode();
    EXPECT_EQ(text.Data(), all);
}

TEST(NStringEncoding, UrlDecodeKeepsPlusesAndRaisesOnBadEscapes) {
    NString text("a+b?c+d%2Be%00%e9"s, Ascii), broken("ok%zz");
    text.UrlDecode();
    EXPECT_EQ(text.Data(), "a+b?c+d+e\0\xE9"s);  // in a query, plus may mean a blank
    EXPECT_EQ(text.Encoding(), Ascii);
    EXPECT_THROW(broken.UrlDecode(), Poco::URISyntaxException);
    EXPECT_EQ(broken.Data(), "ok%zz");
}

// POCO's encoder, told not to break the text into lines, is the second way to the same digits.
TEST(NStringEncoding, EncodeBase64AsPocoHasIt) {
    std::mt19937 random(22);
    for (std::size_t length = 0; length < 300; ++length) {
        std::string bytes;
        while (bytes.size() < length) bytes += static_cast<char>(random());
        std::ostringstream lines;
        Poco::Base64Encoder encoder(lines);
        encoder.rdbuf()->setLineLength(0);
        encoder << bytes;
        encoder.close();
        NString own = Raw(bytes, Latin9), given("old", Latin9);
        own.EncodeBase64();
        given.EncodeBase64(reinterpret_cast<const unsigned char*>(bytes.data()),
                           static_cast<std::uint32_t>(length));
        ASSERT_EQ(own.Data(), lines.str());
        ASSERT_EQ(given.Data(), lines.str());
        ASSERT_EQ(given.Encoding(), Latin9);
    }
}

// Short texts of few different bytes, so that digits, padding in every place, blanks and bad bytes
// meet. What is read before a bad byte counts for the caller's memory, not for the text.
TEST(NStringEncoding, DecodeBase64AsPocoHasIt) {
    const std::string pool = "=A/9+Zg=Q \r\n*-\xC3\0"s;
    std::mt19937 random(23);
    int refused = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::size_t width = random() % 2 != 0 ? 9 : pool.size();
        std::string digits;
        for (std::size_t i = random() % 13; i > 0; --i) digits += pool[random() % width];
        SCOPED_TRACE(testing::PrintToString(digits));

        std::istringstream forBytes(digits), forWhole(digits);
        Poco::Base64Decoder byBytes(forBytes), byWhole(forWhole);
        std::string expected;
        for (char c; byBytes.get(c);) expected += c;
        NString text = Raw(digits, Sys);
        std::uint32_t count = 99;
        std::string out(16, '#');
        text.DecodeBase64(reinterpret_cast<unsigned char*>(&out[0]), &count);
        ASSERT_EQ(out, expected + std::string(16 - expected.size(), '#'));
        text.DecodeBase64(nullptr, &count);
        ASSERT_EQ(count, expected.size());
        try {
            const std::string whole(std::istreambuf_iterator<char>(byWhole.rdbuf()), {});
            ASSERT_NO_THROW(text.DecodeBase64());
            ASSERT_EQ(text.Data(), whole);
        } catch (const Poco::DataFormatException&) {
            ++refused;
            ASSERT_THROW(text.DecodeBase64(), Poco::DataFormatException);
            ASSERT_EQ(text.Data(), digits);
        }
    }
    EXPECT_GT(refused, 1000);
    EXPECT_LT(refused, 9000);
}

// Converted has short ways of its own. Text that isn't in NFC or has a NUL is made byte
// by byte.
TEST(NStringEncoding, ConvertedIsWhatConvertToMakesOfACopy) {
    const std::string pieces[] = {"plain ASCII",  "e",    "\xCC\x81",           Composed, "\0"s,
                                  "\xE2\x84\xAB", "\xFF", std::string(300, 'x')};
    const NStringEncoding encodings[] = {Sys, Ascii, Latin1, Latin9, Utf8, Utf16};
    for (const NStringEncoding own : encodings) {
        for (std::size_t i = 0; i < std::size(pieces) * std::size(pieces); ++i) {
            const std::string bytes = pieces[i % std::size(pieces)] + pieces[i / std::size(pieces)];
            NString text = Raw(std::string(bytes.size(), 'a'), own);
            for (std::size_t at = 0; at < bytes.size(); ++at) text[at] = bytes[at];
            for (const NStringEncoding to : encodings) {
                NString copy(text);
                copy.ConvertTo(to);
                EXPECT_EQ(text.Converted(to), copy.Data()) << own << " to " << to << ", row " << i;
            }
        }
    }
}

}  // namespace
