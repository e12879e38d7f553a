#include <morvel/text/Conversion.h>

#include <tests/support/Generated.h>
#include <tests/support/GuardedMemory.h>
#include <tests/text/ReferenceText.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;

// With SIMD and without it comes out what POCO gives.
void _expectAsByPoco(const std::string& bytes, NStringEncoding from, NStringEncoding to,
                     bool atFront) {
    const std::string_view text = Guarded(bytes, atFront);
    const std::string expected = ByPoco(bytes, from, to);
    std::string simd = "left from the last conversion", portable = simd;
    ASSERT_TRUE(morvel::Transcode(text, from, to, &simd));
    morvel::Transcode(text, morvel::PortableTranscoder(from, to), &portable);
    ASSERT_EQ(simd, expected) << testing::PrintToString(bytes) << " from " << from;
    ASSERT_EQ(portable, expected) << testing::PrintToString(bytes) << " from " << from;
}

// At every alignment to a block of 16 bytes and across the edge of four, which are classified
// together, among one character over and over: with more of it behind, and with nothing behind but
// memory without access.
void _expectAtEveryAlignment(const std::string& piece, const std::string& filler,
                             NStringEncoding from, NStringEncoding to) {
    const std::string ascii = from == Utf16 ? "a\0"s : "a"s;
    const auto front = [&](std::size_t size) {
        const std::size_t left = size % filler.size() / ascii.size();
        return Repeated(ascii, left) + Repeated(filler, size / filler.size());
    };
    for (std::size_t offset = 44; offset <= 66; offset += ascii.size()) {
        _expectAsByPoco(front(offset) + piece + front(80), from, to, true);
        _expectAsByPoco(front(offset) + piece, from, to, false);
        if (testing::Test::HasFailure()) return;
    }
}

// All that a table of 256 bytes could have wrong, and all that a target could lack. Many units
// together take the ways that long text takes.
TEST(Conversion, EveryByteAndUnit) {
    const NStringEncoding tags[] = {Sys, Ascii, Latin1, Latin9, Utf8, Utf16};
    for (const NStringEncoding from : tags) {
        for (unsigned c = 0; c < (from == Utf16 ? 0x10000 : 0x100); c += from == Utf16 ? 64 : 1) {
            ReferenceText reference(from);
            for (unsigned unit = c; from == Utf16 && unit < c + 64; ++unit) {
                reference.data += {static_cast<char>(unit), static_cast<char>(unit >> 8), 'a', 0};
            }
            if (from != Utf16) reference.data = static_cast<char>(c);
            for (const NStringEncoding to : tags) {
                NString text = Raw(reference.data, from);
                ASSERT_TRUE(text.ConvertTo(to));
                ASSERT_EQ(text.Data(), reference.In(to)) << c << ", " << from << " to " << to;
            }
        }
    }
}

TEST(Conversion, Utf8OfEveryKindAtEveryAlignment) {
    const std::string fillers[] = {"a", "\xC3\xA9", "\xE6\xBC\xA2", "\xF0\x9F\x98\x80"};
    const auto bytes = "\x22\x7F\x80\x8F\x90\x9F\xA0\xBF\xC2"s, some = "\x22\x80\xBF\xC2"s;
    std::size_t turn = 0;
    for (const char lead : "\x41\x80\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEF\xF0\xF1\xF4\xF5\xFF"s) {
        for (const char second : bytes) {
            for (std::size_t i = 0; i < some.size() * some.size(); ++i) {
                const std::string piece = {lead, second, some[i / some.size()],
                                           some[i % some.size()]};
                const std::string& filler = fillers[turn++ % std::size(fillers)];
                _expectAtEveryAlignment(piece.substr(0, 4 - turn % 3 % 2), filler, Utf8, Utf16);
                if (HasFailure()) return;
            }
        }
    }
}

TEST(Conversion, Utf16OfEveryKindAtEveryAlignment) {
    const std::string fillers[] = {"a\0"s, "\xE9\0"s, "\x22\x6F"s, "\x3D\xD8\x00\xDE"s};
    const std::vector<NWideString> units = {Wide({0}),      Wide({0x7F}),   Wide({0x80}),
                                            Wide({0x7FF}),  Wide({0x800}),  Wide({0xD7FF}),
                                            Wide({0xD800}), Wide({0xDBFF}), Wide({0xDC00}),
                                            Wide({0xDFFF}), Wide({0xE000}), Wide({0xFFFF})};
    for (std::size_t i = 0; i < 12 * 12 * 12; ++i) {
        const std::string piece = BytesOf(units[i / 144] + units[i / 12 % 12] + units[i % 12]);
        _expectAtEveryAlignment(piece.substr(i % 2), fillers[i % 4], Utf16, Utf8);
        if (HasFailure()) return;
    }
}

TEST(Conversion, AnyMixture) {
    // Several chunks that grow as much as any text does: three bytes for each.
    _expectAsByPoco(std::string(9001, '\xA4'), Latin9, Utf8, false);
    const int edges[] = {0,     'a',    0x7F,   0x80,   0xE9,    0x7FF,
                         0x800, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
    ForEachDraw(15000, [&](Draw& draw) {
        std::string text = draw.Bytes(9);
        for (std::size_t left = draw.Below(60); left > 0; --left) {
            text += draw.OneIn(9) ? std::string(33, 'x') : Utf8Of(draw.Of(edges));
        }
        if (draw.OneIn(20)) text = Repeated(text, 24);  // more than is converted at a time
        std::string wide = ByPoco(text, Utf8, Utf16);
        for (std::string* bytes : {&text, &wide}) {
            for (std::size_t faults = draw.Below(7); faults > 3; --faults) {
                bytes->replace(draw.Below(bytes->size() + 1), draw.Below(3), draw.Bytes(2));
            }
        }
        _expectAsByPoco(text, Latin1, Utf8, draw.OneIn(2));
        _expectAsByPoco(text, Utf8, Utf16, draw.OneIn(2));
        _expectAsByPoco(wide, Utf16, Utf8, draw.OneIn(2));
    });
}

}  // namespace
