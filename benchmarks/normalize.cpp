// UTF-8 text to NFC, a new text from an old one.
#include <benchmark/benchmark.h>
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <utf8proc.h>

#include <QString>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <morvel/text/NString.h>

#include "Subject.h"

namespace {

std::string _utf8proc(const std::string& text) {
    const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> result(
        utf8proc_NFC(reinterpret_cast<const utf8proc_uint8_t*>(text.c_str())), &std::free);
    return reinterpret_cast<const char*>(result.get());
}

// The least that anybody has to do: look at each byte, 16 at a time, then copy.
std::string _checkAndCopy(const std::string& text) {
    const char* const bytes = text.data();
    std::uint64_t found = 0;
    std::size_t at = 0;
    for (; at + 16 <= text.size(); at += 16) {
        std::uint64_t words[2];
        std::memcpy(words, bytes + at, 16);
        found |= (words[0] | words[1]) & 0x8080808080808080;
        if (found != 0) break;
    }
    for (; at < text.size(); ++at) found |= static_cast<unsigned char>(bytes[at]) & 0x80u;
    return found == 0 ? text : std::string();
}

void _addCase(const std::string& script, std::size_t bytes) {
    const std::string text = bench::Text(script, bytes);
    const std::string expected = _utf8proc(text);
    const std::string name = script + ", " + bench::SizeName(bytes);
    const bench::Size size = bench::Bytes(text.size());

    const auto add = [&](const char* subject, auto work) {
        bench::AddEqual(name + '/' + subject, size, work, expected);
    };
    add("Morvel", [text] { return NString(text, EncodingUTF8); });
    add("utf8proc (raw)", [text] { return _utf8proc(text); });

    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const nfc = icu::Normalizer2::getNFCInstance(status);
    add("ICU", [text, nfc] {
        std::string result;
        icu::StringByteSink<std::string> sink(&result, static_cast<int>(text.size()));
        UErrorCode error = U_ZERO_ERROR;
        nfc->normalizeUTF8(0, text, sink, nullptr, error);
        return result;
    });

    // From and to its own UTF-16: no conversion is counted.
    const QString wide = QString::fromStdString(text);
    bench::Add(
        name + "/Qt 6", size, [wide] { return wide.normalized(QString::NormalizationForm_C); },
        [expected](const QString& result) { return result.toStdString() == expected; });

    if (script == "ascii") add("ceiling: check and copy", [text] { return _checkAndCopy(text); });
}

}  // namespace

void AddSubjects() {
    _addCase("ascii", 64);
    _addCase("ascii", 64 << 10);
    for (const char* script :
         {"latin", "greek", "cyrillic", "kana", "cjk", "hangul", "decomposed"}) {
        _addCase(script, 64 << 10);
    }

    // Half a million marks on one letter, each pair in the wrong order.
    const std::string marks = "a" + bench::Repeated("\u0301\u0323", 1 << 20);
    std::string ordered = "\u1EA1";  // a with the first of the dots below, and the rest in order
    const std::size_t pairs = (marks.size() - 1) / 4;
    for (std::size_t i = 1; i < pairs; ++i) ordered += "\u0323";
    for (std::size_t i = 0; i < pairs; ++i) ordered += "\u0301";
    bench::AddEqual(
        "alternating marks, 1 MiB/Morvel", bench::Bytes(marks.size()),
        [marks] { return NString(marks, EncodingUTF8); }, ordered);
}
