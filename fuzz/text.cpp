// Text against the dependencies' plain ways, and against itself where what is done can be undone.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
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

void codes(const std::string& bytes) {
    NString text = WithBytes(bytes, EncodingLatin1);
    text.EncodeBase64();
    text.DecodeBase64();
    ExpectEqual(text.Data(), bytes, "bytes come back from Base64");

    text = WithBytes(bytes, EncodingLatin1);
    text.UrlEncode();
    text.UrlDecode();
    ExpectEqual(text.Data(), bytes, "bytes come back from URL escapes");

    const auto* const raw = reinterpret_cast<const unsigned char*>(bytes.data());
    NString hex(NString::HexString(raw, static_cast<std::uint32_t>(bytes.size())));
    std::string back(bytes.size(), '\0');
    Expect(hex.HexBytes(reinterpret_cast<unsigned char*>(back.data()),
                        static_cast<std::uint32_t>(back.size())) == 0,
           "hexadecimal digits are read");
    ExpectEqual(back, bytes, "bytes come back from hexadecimal digits");
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

// Readers of what may be no number: a standard exception is an answer, all else is a fault.
void readers(const std::string& bytes) {
    const NString text = WithBytes(bytes, EncodingSystem);
    static_cast<void>(text.ToDouble() + text.ToFloat());
    static_cast<void>(text.ToInt() + text.ToUInt() + text.ToUInt64() + text.ToVersion());
    static_cast<void>(text.ToPair16().low + text.ToPair32().low + text.HexValue());
    try {
        static_cast<void>(text.ToList());
    } catch (const std::exception&) {
    }
    for (void (NString::*change)() :
         {static_cast<void (NString::*)()>(&NString::DecodeBase64), &NString::UrlDecode,
          &NString::ToUpper, &NString::Capitalize, &NString::SwapBytes, &NString::KeepNumeric}) {
        NString copy(text);
        try {
            (copy.*change)();
        } catch (const std::exception&) {
            ExpectEqual(copy.Data(), bytes, "unchanged by a change that failed");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto job = input.ConsumeIntegralInRange(0, 4);
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
        case 2:
            codes(input.ConsumeRemainingBytesAsString());
            break;
        case 3: {
            const std::string needle = input.ConsumeRandomLengthString(8);
            const std::string replacement = input.ConsumeRandomLengthString(8);
            search(input.ConsumeRemainingBytesAsString(), needle, replacement);
            break;
        }
        default:
            readers(input.ConsumeRemainingBytesAsString());
    }
    return 0;
}
