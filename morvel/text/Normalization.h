#pragma once

#include <string>

#include <morvel/text/NString.h>

// Internal: Unicode normalisation forms.
namespace morvel {

/// Brings UTF-8 `text` to `form` and ends it at its first NUL. False, with the text as it was, for
/// UTF-8 that is malformed before that NUL and for a `form` that is none of the four. The time is
/// linear in the length, but n log n in a long run of combining marks.
bool NormalizeText(std::string* text, NStringForm form);

}  // namespace morvel
