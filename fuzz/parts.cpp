// Paths, dates and tokens from arbitrary text.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <exception>
#include <string>

#include <morvel/files/NPath.h>
#include <morvel/text/NStringTokenizer.h>
#include <morvel/time/NDateTime.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

void paths(FuzzedDataProvider& input) {
    const std::string tail = input.ConsumeRandomLengthString(16);
    NPath path(input.ConsumeRemainingBytesAsString(), EncodingUTF8);
    try {
        NPath folder(path);
        folder.MakeDirectory();
        Expect(!folder.IsFile() || path.Encoding() == EncodingUTF16, "a folder is no file");
        NPath(path).MakeFile();
        (void)path.Parent();
        (void)path.BaseName();
        NPath(path).SetExtension(NString(tail));
        NPath(path).Append(tail);
        (void)path.Absolute();
    } catch (const std::exception&) {  // Poco::PathSyntaxException and the like
    }
}

void dates(FuzzedDataProvider& input) {
    const std::string pattern = input.ConsumeRandomLengthString(16);
    const std::string text = input.ConsumeRemainingBytesAsString();
    std::int32_t zone = 7;
    try {
        const NDateTime read = NDateTime::Parse(pattern, text, zone);
        Expect(read.Month() >= 1 && read.Month() <= 12 && read.Day() >= 1 && read.Day() <= 31,
               "a date has a month and a day");
        static_cast<void>(NDateTime::Format(read, pattern, zone));
    } catch (const std::exception&) {
    }
    constexpr const char* iso = "%Y-%m-%dT%H:%M:%S";
    const NDateTime first = NDateTime::Parse(iso, text, zone);
    if (first.Year() <= 1582) return;  // no time of day in the calendar before Gregory's
    const std::string written = NDateTime::Format(first, iso, 0);
    ExpectEqual(NDateTime::Format(NDateTime::Parse(iso, written, zone), iso, 0), written,
                "a date comes back from its own text");
}

void tokens(FuzzedDataProvider& input) {
    const std::string separators = input.ConsumeRandomLengthString(4);
    const auto options = input.ConsumeIntegralInRange<std::uint32_t>(0, 3);
    const std::string text = input.ConsumeRemainingBytesAsString();
    const NStringTokenizer tokenizer(fuzz::WithBytes(text, EncodingLatin1),
                                     fuzz::WithBytes(separators, EncodingLatin1), options);
    std::size_t length = 0;
    for (std::size_t i = 0; i < tokenizer.Count(); ++i) {
        Expect(tokenizer.Token(i).find_first_of(separators) == std::string::npos,
               "no token holds a separator");
        length += tokenizer.Token(i).size();
    }
    Expect(length <= text.size(), "tokens are parts of the text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    switch (input.ConsumeIntegralInRange(0, 2)) {
        case 0:
            paths(input);
            break;
        case 1:
            dates(input);
            break;
        default:
            tokens(input);
    }
    return 0;
}
