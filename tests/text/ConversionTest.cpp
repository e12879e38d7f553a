#include <morvel/text/Conversion.h>

#include <Poco/ASCIIEncoding.h>
#include <Poco/Latin1Encoding.h>
#include <Poco/Latin9Encoding.h>
#include <Poco/TextConverter.h>
#include <Poco/UTF16Encoding.h>
#include <Poco/UTF8Encoding.h>

#include <string_view>

#include <tests/support/Test.h>

namespace {

std::unique_ptr<Poco::TextEncoding> pocoEncoding(NStringEncoding encoding) {
    if (encoding == EncodingASCII) return std::make_unique<Poco::ASCIIEncoding>();
    if (encoding == EncodingLatin1) return std::make_unique<Poco::Latin1Encoding>();
    if (encoding == EncodingLatin9) return std::make_unique<Poco::Latin9Encoding>();
    if (encoding == EncodingUTF8) return std::make_unique<Poco::UTF8Encoding>();
    return std::make_unique<Poco::UTF16Encoding>(Poco::UTF16Encoding::NATIVE_BYTE_ORDER);
}

// POCO's result, but that a low surrogate alone is malformed.
std::string byPoco(std::string text, NStringEncoding from, NStringEncoding to) {
    for (std::size_t i = 1; from == EncodingUTF16 && i < text.size(); i += 2) {
        const int kind = text[i] & 0xFC;
        if (kind == 0xD8) i += 2;
        if (kind == 0xDC) text.replace(i - 1, 2, "?\0", 2);
    }
    std::string result;
    const auto source = pocoEncoding(from), target = pocoEncoding(to);
    Poco::TextConverter(*source, *target, '?').convert(text, result);
    return result;
}

constexpr NStringEncoding encodings[] = {EncodingASCII, EncodingLatin1, EncodingLatin9,
                                         EncodingUTF8, EncodingUTF16};

void expectAsByPoco(const std::string& bytes, NStringEncoding from, NStringEncoding to) {
    SCOPED_TRACE(testing::Message() << from << " to " << to);
    // Ends where its block of memory does, so that the sanitizer sees any byte read behind it.
    const std::vector<char> exact(bytes.begin(), bytes.end());
    const std::string_view text(exact.data(), exact.size());
    const std::string expected = byPoco(bytes, from, to);
    std::string actual = "left from the last conversion";
    ASSERT_TRUE(morvel::Transcode(text, from, to, &actual));
    ASSERT_EQ(actual, expected);
    morvel::Transcode(text, morvel::PortableTranscoder(from, to), &actual);
    ASSERT_EQ(actual, expected);
}

void expectAsByPoco(const std::string& bytes) {
    expectAsByPoco(bytes, EncodingLatin1, EncodingUTF8);
    expectAsByPoco(bytes, EncodingUTF8, EncodingUTF16);
    expectAsByPoco(bytes, EncodingUTF16, EncodingUTF8);
}

std::string utf8(char32_t c) {
    const int low = static_cast<int>(c);
    unsigned char bytes[4];
    const int count = Poco::UTF8Encoding().convert(low, bytes, 4);
    return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
}

// Whole characters of each length, and what lies beside the borders.
const std::vector<std::string> whole = {"a",
                                        "plain text ",
                                        std::string(33, 'x'),
                                        std::string(1, '\0'),
                                        "\x7F",
                                        "\xC2\x80",
                                        "\xC3\xA9",
                                        "\xDF\xBF",
                                        "\xE0\xA0\x80",
                                        "\xE2\x82\xAC",
                                        "\xED\x9F\xBF",
                                        "\xEE\x80\x80",
                                        "\xEF\xBB\xBF",
                                        "\xEF\xBF\xBF",
                                        "\xF0\x90\x80\x80",
                                        "\xF4\x8F\xBF\xBF"};
const std::vector<std::string> broken = {"\x80",
                                         "\xBF",
                                         "\xC0",
                                         "\xC1\xBF",
                                         "\xC2",
                                         "\xE0\x80\x80",
                                         "\xE0\x9F\xBF",
                                         "\xE2\x82",
                                         "\xE2\x82" + std::string(64, 'x') + "\xAC",
                                         "\xED\xA0\x80",
                                         "\xF0\x8F\xBF\xBF",
                                         "\xF0\x9F\x98",
                                         "\xF4\x90\x80\x80",
                                         "\xF5\x80\x80\x80",
                                         "\xFF",
                                         "\x3D\xD8\x00\xDE",
                                         "\x3D\xD8",
                                         std::string("\x00\xDE", 2)};

}  // namespace

// Each alone, in front of and behind ASCII of all lengths that a block is looked at in.
TEST(Conversion, TakesEveryCodePointThereAndBack) {
    const std::string ascii(70, 'a');
    std::string wide, back;
    for (char32_t c = 0; c <= 0x10FFFF; c += c < 0x3000 ? 1 : 7) {
        if (c >= 0xD800 && c <= 0xDFFF) continue;
        const std::size_t around = c % 71;
        const std::string text = ascii.substr(0, around) + utf8(c) + ascii.substr(around);
        ASSERT_TRUE(morvel::Transcode(text, EncodingUTF8, EncodingUTF16, &wide)) << c;
        ASSERT_EQ(wide, byPoco(text, EncodingUTF8, EncodingUTF16)) << c;
        ASSERT_TRUE(morvel::Transcode(wide, EncodingUTF16, EncodingUTF8, &back)) << c;
        ASSERT_EQ(back, text) << c;
    }
}

// At every place of the blocks that are looked at together, among characters of each length.
TEST(Conversion, GivesWhatPocoGivesAtEveryPlaceOfABlock) {
    const std::string fillers[] = {"a",
                                   "\xC3\xA9",
                                   "\xE6\xBC\xA2",
                                   "\xF0\x9F\x98\x80",
                                   std::string("w\0", 2),
                                   std::string("\x3D\xD8\x00\xDE", 4)};
    for (const std::string& filler : fillers) {
        for (std::string front; front.size() < 70; front += filler) {
            for (const auto* pieces : {&whole, &broken}) {
                for (const std::string& piece : *pieces) {
                    std::string text = front + piece;
                    while (text.size() < 200) text += filler;
                    expectAsByPoco(text);
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST(Conversion, GivesWhatPocoGivesForAnyMixture) {
    std::mt19937 engine(1);
    const auto any = [&](const std::vector<std::string>& pieces) {
        return pieces[engine() % pieces.size()];
    };
    for (int turn = 0; turn < 20000; ++turn) {
        const unsigned oneIn = 1u << engine() % 8;
        std::string text;
        for (unsigned count = engine() % 60; count > 0; --count) {
            text += engine() % 128 < oneIn ? any(broken) : any(whole);
        }
        expectAsByPoco(text);
        std::string wide = byPoco(text, EncodingUTF8, EncodingUTF16);
        if (turn % 2 != 0 && !wide.empty()) wide.erase(engine() % wide.size() & ~std::size_t{1}, 2);
        expectAsByPoco(wide);
        if (HasFatalFailure()) return;
    }
    for (int turn = 0; turn < 40000; ++turn) {
        std::string text(engine() % 10, '\0');
        for (char& c : text) c = static_cast<char>(engine());
        expectAsByPoco(text);
        if (HasFatalFailure()) return;
    }
}

// All that a table of 256 bytes could have wrong, and all that a target could lack.
TEST(Conversion, GivesWhatPocoGivesForEveryByteAndUnit) {
    for (const NStringEncoding from : encodings) {
        for (const NStringEncoding to : encodings) {
            if (from == to) continue;
            const unsigned count = from == EncodingUTF16 ? 0x10000 : 0x100;
            for (unsigned c = 0; c < count; ++c) {
                std::string text(1, static_cast<char>(c));
                if (count > 0x100) text += static_cast<char>(c >> 8);
                expectAsByPoco(text, from, to);
                if (HasFatalFailure()) return;
            }
            // Through UTF-16 where there is no straight way; U+1F600 is one character to lack.
            const std::string text =
                byPoco("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80.", EncodingUTF8, from);
            std::string result;
            EXPECT_TRUE(morvel::Transcode(text, from, to, &result)) << from << " to " << to;
            EXPECT_EQ(result, byPoco(text, from, to)) << from << " to " << to;
        }
    }
}

TEST(Conversion, RefusesOtherWays) {
    std::string result;
    for (const NStringEncoding encoding : {EncodingSystem, static_cast<NStringEncoding>(6)}) {
        EXPECT_FALSE(morvel::Transcode("a", EncodingUTF8, encoding, &result));
        EXPECT_FALSE(morvel::Transcode("a", encoding, EncodingUTF8, &result));
    }
}
