// Numbers read from arbitrary text and written as text, against POCO's parser and formatter; and
// what was written reads back as the same number.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>

#include <morvel/text/NString.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using Parser = Poco::NumberParser;

// What `reader` gives, 0 where it throws.
template <class Reader>
auto orZero(Reader reader) {
    try {
        return reader();
    } catch (const std::exception&) {
        return decltype(reader()){};
    }
}

// Equal bit for bit, so that no two zeros and no NaN pass for each other.
template <class Number>
bool isSame(Number a, Number b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

int integer(const std::string& text) {
    return orZero([&] { return Parser::parse(text, ','); });
}

void read(const std::string& bytes) {
    const NString text = fuzz::WithBytes(bytes, EncodingSystem);
    Expect(text.ToInt() == integer(bytes) && NString::ParseInt(bytes) == integer(bytes), "integer");
    Expect(text.ToUInt() == orZero([&] { return Parser::parseUnsigned(bytes, ','); }), "unsigned");
    const auto wide = orZero([&] { return Parser::parseUnsigned64(bytes, ','); });
    Expect(text.ToUInt64() == wide && text.ToSize() == wide, "unsigned of 64 bits");
    Expect(text.HexValue() == orZero([&] { return Parser::parseHex(bytes); }), "hexadecimal");
    const double number = orZero([&] { return Parser::parseFloat(bytes, '.', ','); });
    Expect(isSame(text.ToDouble(), number), "floating number");
    Expect(isSame(text.ToFloat(), static_cast<float>(number)), "narrowed");

    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        code = code << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0);
    }
    Expect(text.ToFourCC() == code, "the first four bytes");

    std::uint32_t version = 0, shift = 16;
    std::vector<std::int32_t> list;
    bool isList = true;
    for (const char separator : {'.', ','}) {
        std::string rest = bytes;
        for (bool more = true; more && isList;) {
            const std::size_t end = rest.find(separator);
            const std::string field = rest.substr(0, end);
            more = end != std::string::npos;
            rest.erase(0, more ? end + 1 : end);
            if (separator == '.') {
                version |= static_cast<std::uint32_t>(integer(field)) << (shift % 32);
                shift -= 8;
            } else {
                int value = 0;
                isList = Parser::tryParse(field, value, ',');
                list.push_back(value);
            }
        }
    }
    Expect(text.ToVersion() == version, "a version's fields");
    try {
        Expect(text.ToList() == list && isList, "a list's numbers");
    } catch (const std::exception&) {
        Expect(!isList, "a list is read");
    }
    const std::size_t comma = bytes.find(',');
    NPair32 pair{};
    if (comma != std::string::npos && Parser::tryParse(bytes.substr(0, comma), pair.high, ',')) {
        pair.low = integer(bytes.substr(comma + 1));
    }
    Expect(text.ToPair32().low == pair.low && text.ToPair32().high == pair.high, "a pair");
    Expect(text.ToPair16().low == static_cast<std::int16_t>(pair.low), "a narrow pair");
}

template <class Number>
void written(Number value, Number (*readBack)(const NString&)) {
    NString text("former");
    text.SetNumber(value);
    ExpectEqual(text.Data(), Poco::NumberFormatter::format(value), "written as POCO writes it");
    if (std::isfinite(static_cast<double>(value))) {
        const Number zero{};  // of which there are two, and only one in text
        Expect(isSame(readBack(text), value) || (value == zero && readBack(text) == zero),
               "a number comes back from its text");
    }
}

void write(FuzzedDataProvider& input) {
    std::uint64_t bits = input.ConsumeIntegral<std::uint64_t>();
    double number = 0;
    float narrow = 0;
    std::memcpy(&number, &bits, sizeof number);
    std::memcpy(&narrow, &bits, sizeof narrow);
    written<double>(number, [](const NString& text) { return text.ToDouble(); });
    written<float>(narrow, [](const NString& text) { return text.ToFloat(); });
    written<int>(static_cast<int>(bits), [](const NString& text) { return text.ToInt(); });
    written<unsigned long long>(
        bits, [](const NString& text) -> unsigned long long { return text.ToUInt64(); });

    const int precision = input.ConsumeIntegralInRange(-2, 70);
    NString text;
    text.SetNumber(number, precision);
    if (std::isfinite(number)) {  // too many digits are no text, and how many those are, POCO says
        ExpectEqual(text.Data(), Poco::NumberFormatter::format(number, std::max(precision, 0)),
                    "fixed as POCO has it");
    }
    text.SetHex(static_cast<std::uint32_t>(bits));
    Expect(text.HexValue() == static_cast<std::uint32_t>(bits), "hexadecimal comes back");
    text.SetVersion(static_cast<std::uint32_t>(bits) & 0x7FFFFFFF);
    Expect(text.ToVersion() == (bits & 0x7FFFFFFF), "a version comes back");
    text.SetPair(static_cast<std::int32_t>(bits), static_cast<std::int32_t>(bits >> 32));
    Expect(text.ToPair32().high == static_cast<std::int32_t>(bits) &&
               text.ToPair32().low == static_cast<std::int32_t>(bits >> 32),
           "a pair comes back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    input.ConsumeBool() ? write(input) : read(input.ConsumeRemainingBytesAsString());
    return 0;
}
