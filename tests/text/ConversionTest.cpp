#include <morvel/text/Conversion.h>

#include <tests/text/ReferenceText.h>

namespace {

// With SIMD and without it comes out what POCO gives, from memory that ends with the text.
void _expectAsByPoco(const std::string& bytes, NStringEncoding from, NStringEncoding to,
                     bool atFront) {
    const std::string_view text = Guarded(bytes, atFront);
    const std::string expected = ByPoco(bytes, from, to);
    std::string simd = "left from the last conversion", portable = simd;
    ASSERT_TRUE(morvel::Transcode(text, from, to, &simd));
    morvel::Transcode(text, morvel::PortableTranscoder(from, to), &portable);
    ASSERT_EQ(simd, expected) << PrintToString(bytes) << " from " << from;
    ASSERT_EQ(portable, expected) << PrintToString(bytes) << " from " << from;
}

}  // namespace

// All that a table of 256 bytes could have wrong, and all that a target could lack. Many units
// together take the ways that long text takes.
TEST(Conversion, GivesWhatPocoGivesForEveryByteAndUnit) {
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

// Any characters, or one over and over, and what is malformed among them, at every alignment to a
// block of 16 bytes and to the four that are classified together; with nothing behind, too.
TEST(Conversion, GivesWhatPocoGivesForAnyMixture) {
    // Several chunks that grow as much as any text does: three bytes for each.
    _expectAsByPoco(std::string(9001, '\xA4'), Latin9, Utf8, false);
    const int edges[] = {'a', 0,      0x7F,   0x80,   0xE9,    0x7FF,   0x800,   0x6F22,
                         'a', 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF};
    const int units[] = {0,      0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                         0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
    ForEachDraw(120000, [&](Draw& draw) {
        std::string text;
        const std::size_t broken = draw.Below(6);
        for (std::size_t part = 1 + draw.Below(4); part > 0; --part) {
            text += Repeated(Utf8Of(draw.Of(edges)), draw.Below(45));
            for (std::size_t more = draw.Below(20); more > 14; --more)
                text += Utf8Of(draw.Of(edges));
            if (part == broken) text += OddCharacter(draw);
        }
        if (draw.OneIn(200)) text = Repeated(text, 24);  // more than is converted at a time
        std::string wide = ByPoco(text, Utf8, Utf16);
        for (std::size_t faults = draw.Below(7); faults > 3; --faults) {
            wide.replace(2 * draw.Below(wide.size() / 2 + 1), 2 * draw.Below(2),
                         BytesOf(Wide({draw.Of(units), draw.Of(units)})));
        }
        if (draw.OneIn(9)) wide += 'x';
        _expectAsByPoco(text, Latin1, Utf8, draw.OneIn(2));
        _expectAsByPoco(text, Utf8, Utf16, draw.OneIn(2));
        _expectAsByPoco(wide, Utf16, Utf8, draw.OneIn(2));
    });
}
