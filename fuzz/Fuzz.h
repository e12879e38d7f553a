#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include <morvel/text/NString.h>

/// What the fuzzers share.
namespace fuzz {

/// All the bytes under this tag, a byte-order mark among them.
inline NString WithBytes(const std::string& bytes, NStringEncoding encoding) {
    NString text(encoding);
    text.SetBytes(bytes.data(), bytes.size(), encoding);
    return text;
}

inline void Show(const char* name, const std::string& text) {
    std::fprintf(stderr, "  %s:", name);
    for (const char byte : text) {
        std::fprintf(stderr, " %02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    }
    std::fprintf(stderr, "\n");
}

/// Ends the program, which keeps the input for libFuzzer to report, where the two texts differ.
inline void ExpectEqual(const std::string& got, const std::string& expected, const char* what) {
    if (got == expected) return;
    std::fprintf(stderr, "%s\n", what);
    Show("got", got);
    Show("expected", expected);
    std::abort();
}

inline void Expect(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

}  // namespace fuzz
