#pragma once

#include <string>
#include <string_view>

#include <morvel/text/NString.h>

// Internal: the one way of the library to a Unicode normalisation form.
namespace morvel {

/// Brings UTF-8 `text` to `form` and ends it at its first NUL. False, with the text as it was, for
/// UTF-8 that is malformed before that NUL and for a `form` that is none of the four. The time is
/// linear in the length, but n log n in a long run of combining marks.
bool NormalizeText(std::string* text, NStringForm form);

/// Whether all bytes of `text` are 01 to 7F: then it is the same text in every form, and in every
/// encoding of bytes.
bool IsAsciiText(std::string_view text);

/// Whether `text` is well-formed UTF-8 without a NUL that FormNFC leaves alone, told quickly from
/// its bytes. True is certain; false says only that the normaliser has to be asked.
bool IsPlainlyNfc(std::string_view text);

/// The same without vector code.
bool IsPlainlyNfcPortably(std::string_view text);

}  // namespace morvel
