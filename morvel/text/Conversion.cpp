// One loop over a pair of codecs, in place of POCO's converter with its two virtual calls a
// character; the results are POCO's, but for a low surrogate alone, which is '?' here. Covered by
// ConversionTest, which runs both.
#include <morvel/text/Conversion.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <Poco/Platform.h>

#include <morvel/platform/Codecs.h>
#include <morvel/text/NfcQuickCheck.h>

#if !defined(POCO_ARCH_LITTLE_ENDIAN)
#error "The lowest byte of a word has to be the first one in memory."
#endif

using morvel::Transcoder;

namespace {

// Copies ASCII, the same code units in every encoding, until another character or the last few
// bytes come, and returns the count of units.
template <class From, class To>
std::size_t _copyAscii(const unsigned char* p, const unsigned char* end, char* to) {
    constexpr std::size_t InWord = 8 / sizeof(From);
    constexpr std::uint64_t High = sizeof(From) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    constexpr std::uint64_t Ones = sizeof(From) == 1 ? 0x0101010101010101 : 0x0001000100010001;
    std::size_t count = 0;
    for (; end - p >= 8; p += 8, to += InWord * sizeof(To), count += InWord) {
        std::uint64_t word;
        From units[InWord];
        To copies[InWord];
        std::memcpy(&word, p, sizeof word);
        std::memcpy(units, p, sizeof units);
        for (std::size_t i = 0; i < InWord; ++i) copies[i] = static_cast<To>(units[i]);
        std::memcpy(to, copies, sizeof copies);
        const std::uint64_t other = word & High;
        if (other != 0) {
            // Below the lowest bit that is set lie the units in front of the first that isn't
            // ASCII, and the lowest bit of that one itself.
            const std::uint64_t below = ((other & (0 - other)) - 1) & Ones;
            return count + (below * Ones >> (64 - 8 * sizeof(From))) - 1;
        }
    }
    return count;
}

template <class Unit>
bool _isAscii(const unsigned char* p, const unsigned char* end) {
    Unit unit = 0;
    if (end - p >= std::ptrdiff_t{sizeof unit}) std::memcpy(&unit, p, sizeof unit);
    return unit <= 0x7F;
}

template <class From, class To>
char* _transcode(const unsigned char*& from, const unsigned char* stop, const unsigned char* end,
                 char* to) {
    using Unit = typename From::Unit;
    const unsigned char* p = from;  // a local: `from` might be what is written through `to`
    while (p < stop) {
        const std::size_t ascii = _copyAscii<Unit, typename To::Unit>(p, stop, to);
        p += ascii * sizeof(Unit);
        to += ascii * sizeof(typename To::Unit);
        while (p < stop) {
            const char32_t c = From::Read(p, end);
            to = To::Write(to, c != morvel::Malformed ? c : '?');
            if (_isAscii<Unit>(p, end)) break;
        }
    }
    from = p;
    return to;
}

// The encodings that have a codec, in the order of their numbers.
constexpr unsigned CodecCount = 5;

template <class From>
constexpr Transcoder To[CodecCount] = {
    _transcode<From, morvel::AsciiCodec>, _transcode<From, morvel::Latin1Codec>,
    _transcode<From, morvel::Latin9Codec>, _transcode<From, morvel::Utf8Codec>,
    _transcode<From, morvel::Utf16Codec>};

constexpr const Transcoder* Pairs[CodecCount] = {To<morvel::AsciiCodec>, To<morvel::Latin1Codec>,
                                                 To<morvel::Latin9Codec>, To<morvel::Utf8Codec>,
                                                 To<morvel::Utf16Codec>};

}  // namespace

Transcoder morvel::PortableTranscoder(NStringEncoding from, NStringEncoding to) {
    const unsigned row = from - EncodingASCII, column = to - EncodingASCII;
    return row < CodecCount && column < CodecCount ? Pairs[row][column] : nullptr;
}

// Chunk by chunk through the stack: a string that is resized first would be filled with zeros, half
// of the time that ASCII takes.
void morvel::Transcode(std::string_view text, Transcoder transcoder, std::string* out) {
    constexpr std::size_t Chunk = 4032;  // not a power of two: copies would collide in the cache
    char buffer[3 * Chunk + ConversionSlack];
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = p + text.size();
    out->clear();
    while (p != end) {
        const std::size_t left = static_cast<std::size_t>(end - p);
        const char* const to = transcoder(p, p + std::min(left, Chunk), end, buffer);
        const std::size_t read = left - static_cast<std::size_t>(end - p);
        const auto written = static_cast<std::size_t>(to - buffer);
        // The first chunk says how long the result will be, or nearly so.
        if (left == text.size() && read < left) {
            out->reserve(left / read * written + left % read * written / read + left / 16);
        }
        out->append(buffer, written);
    }
}

bool morvel::Transcode(std::string_view text, NStringEncoding from, NStringEncoding to,
                       std::string* out) {
    constexpr std::size_t WorthSimd = 64;
    Transcoder transcoder = text.size() >= WorthSimd ? Sse42Transcoder(from, to) : nullptr;
    if (transcoder == nullptr) transcoder = PortableTranscoder(from, to);
    if (transcoder != nullptr) Transcode(text, transcoder, out);
    return transcoder != nullptr;
}

bool morvel::KeepsBytes(std::string_view text, NStringEncoding from, NStringEncoding to) {
    if (from == to) return from != EncodingUTF8 || NfcQuickCheck(text);
    return from < EncodingUTF16 && to < EncodingUTF16 && IsAscii(text);
}
