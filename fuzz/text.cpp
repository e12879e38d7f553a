// Text against the dependencies' plain ways, and against itself where what is done can be undone.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include <utf8proc.h>

#include <morvel/text/NString.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;
using fuzz::WithBytes;

// The text up to its first NUL as utf8proc alone brings it to `form`; malformed text as it is.
std::string byUtf8proc(const std::string& text, NStringForm form) {
    const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.c_str());
    utf8proc_uint8_t* const result = form == FormNFC    ? utf8proc_NFC(bytes)
                                     : form == FormNFD  ? utf8proc_NFD(bytes)
                                     : form == FormNFKC ? utf8proc_NFKC(bytes)
                                                        : utf8proc_NFKD(bytes);
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
    return result == nullptr ? text : reinterpret_cast<const char*>(result);
}

void normalize(const std::string& bytes, NStringForm form) {
    NString text = WithBytes(bytes, EncodingUTF8);
    ExpectEqual(text.Data(), byUtf8proc(bytes, FormNFC), "text comes in as NFC");
    const std::string before = text.Data();
    if (form == FormNFC) return;
    text.Normalize(form);
    ExpectEqual(text.Data(), byUtf8proc(before, form), "normalised as utf8proc does it");
}

void convert(const std::string& bytes, NStringEncoding from, NStringEncoding to) {
    const NString text = WithBytes(bytes, from);
    NString converted(text);
    const bool done = converted.ConvertTo(to);
    if (done) ExpectEqual(text.Converted(to), converted.Data(), "exported as converted in place");

    // Well-formed UTF-8 with no NUL to end it comes back from UTF-16.
    if (to != EncodingUTF8 || converted.Data().find('\0') != std::string::npos) return;
    if (from != EncodingASCII && from != EncodingLatin1 && from != EncodingLatin9) return;
    NString back(converted);
    back.Normalize(FormNFC);
    const std::string expected = back.Data();
    back.ConvertTo(EncodingUTF16);
    back.ConvertTo(EncodingUTF8);
    ExpectEqual(back.Data(), expected, "UTF-8 comes back from UTF-16");
}

void search(const std::string& bytes, const std::string& from, const std::string& to) {
    NString text = WithBytes(bytes, EncodingLatin1);
    Expect(text.Find(from, 0) == static_cast<long long>(bytes.find(from)), "found where it is");
    if (from.empty()) return;
    std::string expected;
    std::size_t begin = 0;
    for (std::size_t at; (at = bytes.find(from, begin)) != std::string::npos;) {
        expected.append(bytes, begin, at - begin).append(to);
        begin = at + from.size();
    }
    expected.append(bytes, begin);
    text.ReplaceAll(from, to);
    ExpectEqual(text.Data(), expected, "all replaced from left to right");
}

// Changes of single bytes, against the same done byte by byte.
void changes(const std::string& bytes) {
    const auto expect = [&](void (NString::*change)(), char (*rule)(char), const char* what) {
        NString text = WithBytes(bytes, EncodingLatin1);
        (text.*change)();
        std::string expected = bytes;
        const auto end = expected.begin() + static_cast<std::ptrdiff_t>(bytes.find('\0'));
        std::transform(expected.begin(),
                       bytes.find('\0') == std::string::npos ? expected.end() : end,
                       expected.begin(), rule);
        ExpectEqual(text.Data(), expected, what);
    };
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    expect(&NString::ToUpper, upper, "ASCII in upper case");
    expect(&NString::ToLower, lower, "ASCII in lower case");

    NString text = WithBytes(bytes, EncodingUTF16);
    text.SwapBytes();
    Expect(text.Length() == (bytes.size() + 1) / 2 * 2, "whole units");
    text.SwapBytes();
    ExpectEqual(text.Data().substr(0, bytes.size()), bytes, "units come back swapped twice");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto job = input.ConsumeIntegralInRange(0, 3);
    const auto from = static_cast<NStringEncoding>(input.ConsumeIntegralInRange(0, 6));
    const auto to = static_cast<NStringEncoding>(input.ConsumeIntegralInRange(0, 6));
    const auto form = static_cast<NStringForm>(input.ConsumeIntegralInRange(0, 3));
    switch (job) {
        case 0:
            normalize(input.ConsumeRemainingBytesAsString(), form);
            break;
        case 1:
            convert(input.ConsumeRemainingBytesAsString(), from, to);
            break;
        case 2: {
            const std::string needle = input.ConsumeRandomLengthString(8);
            const std::string replacement = input.ConsumeRandomLengthString(8);
            search(input.ConsumeRemainingBytesAsString(), needle, replacement);
            break;
        }
        default:
            changes(input.ConsumeRemainingBytesAsString());
    }
    return 0;
}
