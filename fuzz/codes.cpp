// Base64, URL escapes and hexadecimal digits, against the rules of RFC 4648 and RFC 3986 on the way
// out, and against POCO's readers on the way in.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <exception>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>

#include <Poco/Base64Decoder.h>
#include <Poco/URI.h>

#include <morvel/text/NString.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::WithBytes;

std::string base64(const std::string& bytes) {
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string digits;
    std::uint32_t group = 0, bits = 0;
    for (const char byte : bytes) {
        group = group << 8 | static_cast<unsigned char>(byte);
        for (bits += 8; bits >= 6; bits -= 6) digits += alphabet[group >> (bits - 6) & 63];
    }
    if (bits > 0) digits += alphabet[group << (6 - bits) & 63];
    while (digits.size() % 4 != 0) digits += '=';
    return digits;
}

std::string hexadecimal(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned>(byte & 0xFF));
        digits += pair;
    }
    return digits;
}

std::string escaped(const std::string& bytes) {
    static const std::string kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._";
    std::string url;
    for (const char byte : bytes) {
        const std::string text(1, byte);
        url += kept.find(byte) != std::string::npos ? text : "%" + hexadecimal(text);
    }
    return url;
}

void written(const std::string& bytes) {
    NString text = WithBytes(bytes, EncodingLatin1);
    text.EncodeBase64();
    ExpectEqual(text.Data(), base64(bytes), "Base64 by RFC 4648");
    text.DecodeBase64();
    ExpectEqual(text.Data(), bytes, "bytes come back from Base64");

    text.UrlEncode();
    ExpectEqual(text.Data(), escaped(bytes), "escapes by RFC 3986");
    text.UrlDecode();
    ExpectEqual(text.Data(), bytes, "bytes come back from URL escapes");

    const auto count = static_cast<std::uint32_t>(bytes.size());
    text.SetHex(reinterpret_cast<const unsigned char*>(bytes.data()), count);
    ExpectEqual(text.Data(), hexadecimal(bytes), "two digits a byte");
    std::string back(bytes.size(), '\0');
    Expect(text.HexBytes(reinterpret_cast<unsigned char*>(back.data()), count) == 0,
           "hexadecimal digits are read");
    ExpectEqual(back, bytes, "bytes come back from hexadecimal digits");
}

// What `reader` gives; nothing where it throws.
template <class Reader>
std::optional<std::string> outcome(Reader reader) {
    try {
        return reader();
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void read(const std::string& bytes) {
    const struct {
        void (NString::*ours)();
        std::string (*theirs)(const std::string& text);
    } readers[] = {
        {&NString::DecodeBase64,
         [](const std::string& text) {
             std::istringstream digits(text);
             Poco::Base64Decoder decoder(digits);
             std::string
                 decoded;  // in a loop: a string that is made by an iterator which throws leaks
             for (std::istreambuf_iterator<char> byte(decoder.rdbuf()), end; byte != end; ++byte) {
                 decoded += *byte;
             }
             return decoded;
         }},
        {&NString::UrlDecode,
         [](const std::string& text) {
             std::string decoded;
             Poco::URI::decode(text, decoded, false);
             return decoded;
         }},
    };
    for (const auto& reader : readers) {
        NString text = WithBytes(bytes, EncodingLatin1);
        const auto expected = outcome([&] { return reader.theirs(bytes); });
        const auto got = outcome([&] {
            (text.*reader.ours)();
            return text.Data();
        });
        Expect(got.has_value() == expected.has_value(), "refused as POCO refuses it");
        ExpectEqual(text.Data(), expected.value_or(bytes), "read as POCO reads it, or left alone");
    }
    std::uint32_t counted = 0, count = 0;
    const NString text = WithBytes(bytes, EncodingLatin1);
    text.DecodeBase64(nullptr, &counted);
    std::string room(counted, '\0');
    text.DecodeBase64(reinterpret_cast<unsigned char*>(room.data()), &count);
    Expect(count == counted, "as many bytes as were counted");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const bool out = input.ConsumeBool();
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    out ? written(bytes) : read(bytes);
    return 0;
}
