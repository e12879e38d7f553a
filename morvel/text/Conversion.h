#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include <morvel/text/NString.h>

// Internal: from one encoding to another.
namespace morvel {

/// Converts the characters that begin between `from` and `stop`, of a text that goes on to `end`,
/// moves `from` behind them and returns the end of what is written. What is malformed, and what the
/// target lacks, becomes '?'. REQUIRES: room for three bytes a byte that is read, and for
/// ConversionSlack more.
using Transcoder = char* (*)(const unsigned char*& from, const unsigned char* stop,
                             const unsigned char* end, char* to);
constexpr std::size_t ConversionSlack = 64;

/// The transcoder of a pair, null where either is EncodingSystem or no encoding at all.
Transcoder PortableTranscoder(NStringEncoding from, NStringEncoding to);

/// One that uses SIMD; null for pairs that have none, and where the processor hasn't SSE 4.2.
Transcoder Sse42Transcoder(NStringEncoding from, NStringEncoding to);

/// Replaces `*out` by all of `text`, converted. `text` must not lie in `*out`.
void Transcode(std::string_view text, Transcoder transcoder, std::string* out);

/// The same with the quickest transcoder of the pair; false where it has none.
bool Transcode(std::string_view text, NStringEncoding from, NStringEncoding to, std::string* out);

/// Whether ConvertTo(to) leaves all bytes of a text under the tag `from` as they are, a conversion
/// that is refused aside.
bool KeepsBytes(std::string_view text, NStringEncoding from, NStringEncoding to);

/// Calls `use` with the bytes of `text` as ConvertTo(encoding) would leave them.
template <class Use>
auto WithBytesIn(NStringEncoding encoding, const NString& text, Use use) {
    if (KeepsBytes(text.Data(), text.Encoding(), encoding)) return use(text.Data());
    NString converted(text);
    converted.ConvertTo(encoding);
    return use(converted.Data());
}

/// Bytes, at any address, as wide units; an odd last byte is left out.
inline NWideString WideFromBytes(std::string_view bytes) {
    NWideString wide(bytes.size() / sizeof(NWideChar), NWideChar());
    if (!wide.empty()) std::memcpy(&wide[0], bytes.data(), wide.size() * sizeof(NWideChar));
    return wide;
}
inline std::string BytesFromWide(const NWideString& wide) {
    return std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(NWideChar));
}

}  // namespace morvel
