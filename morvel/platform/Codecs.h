#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Internal: one codec an encoding. They stand below the text wing because the platform layer writes
// UTF-8, too, where the system has no code pages. Each has
//
//     using Unit = ...;                                     its code unit
//     char32_t Read(const unsigned char*& p, const unsigned char* end);
//     char* Write(char* to, char32_t c);
//
// Read takes one code point from `p`, which it moves on; where no character stands there it gives
// Malformed and skips what POCO's converter skips. REQUIRES: `p` is not `end`. Write puts down one
// code point, '?' where the encoding lacks it, and returns the end of that. It may write four bytes
// for any code point.
namespace morvel {

constexpr char32_t Malformed = 0xFFFFFFFF;

template <char32_t Last>
struct ByteCodec {
    using Unit = unsigned char;
    static char32_t Read(const unsigned char*& p, const unsigned char*) {
        const char32_t c = *p++;
        return c <= Last ? c : Malformed;
    }
    static char* Write(char* to, char32_t c) {
        *to = static_cast<char>(c <= Last ? c : '?');
        return to + 1;
    }
};
using AsciiCodec = ByteCodec<0x7F>;
using Latin1Codec = ByteCodec<0xFF>;

struct Latin9Codec {
    using Unit = unsigned char;

    // Where ISO 8859-15 differs from ISO 8859-1.
    static constexpr struct {
        char32_t byte, codePoint;
    } Differences[] = {{0xA4, 0x20AC}, {0xA6, 0x0160}, {0xA8, 0x0161}, {0xB4, 0x017D},
                       {0xB8, 0x017E}, {0xBC, 0x0152}, {0xBD, 0x0153}, {0xBE, 0x0178}};

    static char32_t Read(const unsigned char*& p, const unsigned char*) {
        const char32_t byte = *p++;
        for (const auto& difference : Differences) {
            if (difference.byte == byte) return difference.codePoint;
        }
        return byte;
    }
    static char* Write(char* to, char32_t c) {
        char32_t byte = c <= 0xFF ? c : '?';
        for (const auto& difference : Differences) {
            if (difference.codePoint == c) byte = difference.byte;
            if (difference.byte == c) byte = '?';
        }
        *to = static_cast<char>(byte);
        return to + 1;
    }
};

struct Utf8Codec {
    using Unit = unsigned char;

    static bool IsContinuation(unsigned byte) { return (byte & 0xC0) == 0x80; }

    static char32_t Read(const unsigned char*& p, const unsigned char* end) {
        const unsigned char* const at = p;
        const char32_t lead = *at;
        // What the lead byte announces; a byte that is none stands alone.
        const std::ptrdiff_t length = lead < 0xC0 || lead >= 0xF8 ? 1
                                      : lead < 0xE0               ? 2
                                      : lead < 0xF0               ? 3
                                                                  : 4;
        p += std::min(length, end - at);
        if (lead < 0x80) return lead;
        if (p - at != length || !std::all_of(at + 1, p, IsContinuation)) return Malformed;
        if (length == 2 && lead >= 0xC2) return (lead & 0x1F) << 6 | (at[1] & 0x3Fu);
        if (length == 3) {
            const char32_t c = (lead & 0xF) << 12 | (at[1] & 0x3Fu) << 6 | (at[2] & 0x3Fu);
            if (c >= 0x800 && (c & 0xF800) != 0xD800) return c;
        }
        if (length == 4) {
            const char32_t c =
                (lead & 0x7) << 18 | (at[1] & 0x3Fu) << 12 | (at[2] & 0x3Fu) << 6 | (at[3] & 0x3Fu);
            if (c >= 0x10000 && c <= 0x10FFFF) return c;
        }
        return Malformed;
    }

    static char* Write(char* to, char32_t c) {
        if (c < 0x800) {
            // Without a branch for the length: a second byte that isn't needed is overwritten.
            const unsigned two = c > 0x7F;
            to[0] = static_cast<char>(two != 0 ? 0xC0 | c >> 6 : c);
            to[1] = static_cast<char>(0x80 | (c & 0x3F));
            return to + 1 + two;
        }
        if (c < 0x10000) {
            *to++ = static_cast<char>(0xE0 | c >> 12);
        } else {
            *to++ = static_cast<char>(0xF0 | c >> 18);
            *to++ = static_cast<char>(0x80 | (c >> 12 & 0x3F));
        }
        *to++ = static_cast<char>(0x80 | (c >> 6 & 0x3F));
        *to++ = static_cast<char>(0x80 | (c & 0x3F));
        return to;
    }
};

struct Utf16Codec {
    using Unit = std::uint16_t;

    static char32_t Read(const unsigned char*& p, const unsigned char* end) {
        const char32_t c = _readUnit(p, end);
        if ((c & ~char32_t{0x7FF}) != 0xD800) return c;
        if (c >= 0xDC00) return Malformed;  // a low surrogate without a high one
        const char32_t low = _readUnit(p, end);
        // POCO takes any unit from DC00 on for a low surrogate.
        return low >= 0xDC00 && low != Malformed ? 0x10000 + ((c & 0x3FF) << 10) + (low & 0x3FF)
                                                 : Malformed;
    }

    static char* Write(char* to, char32_t c) {
        if (c < 0x10000) return _writeUnit(to, c);
        to = _writeUnit(to, 0xD7C0 + (c >> 10));
        return _writeUnit(to, 0xDC00 | (c & 0x3FF));
    }

private:
    static char32_t _readUnit(const unsigned char*& p, const unsigned char* end) {
        Unit unit;
        if (end - p < std::ptrdiff_t{sizeof unit}) {
            p = end;
            return Malformed;
        }
        std::memcpy(&unit, p, sizeof unit);
        p += sizeof unit;
        return unit;
    }
    static char* _writeUnit(char* to, char32_t c) {
        const Unit unit = static_cast<Unit>(c);
        std::memcpy(to, &unit, sizeof unit);
        return to + sizeof unit;
    }
};

}  // namespace morvel
