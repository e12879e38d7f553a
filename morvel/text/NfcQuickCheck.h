#pragma once

#include <string_view>

// Internal: text that a normalisation form leaves alone, told quickly from its bytes.
namespace morvel {

/// The first byte from `p` on that isn't 01 to 7F.
const unsigned char* SkipAscii(const unsigned char* p, const unsigned char* end);

/// Whether all bytes are 01 to 7F: then the text is the same in every form, and in every encoding
/// of bytes.
bool IsAscii(std::string_view text);

/// The quick check of Unicode Standard Annex 15 for NFC: true for Yes, where `text` is well-formed
/// UTF-8 in NFC, without a NUL; false for No and for Maybe, where only normalising tells.
bool NfcQuickCheck(std::string_view text);

/// The same without SIMD.
bool NfcQuickCheckPortable(std::string_view text);

}  // namespace morvel
