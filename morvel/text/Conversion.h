#pragma once

#include <string>
#include <string_view>

#include <morvel/text/NString.h>

// Internal: the quick way between encodings.
namespace morvel {

/// Converts well-formed `text` from one encoding to another. False, with anything in `*out`, where
/// either is EncodingSystem or none at all, and for malformed text, which POCO's converters have
/// their own outcome for; where the result is true, `*out` is what they give, with '?' for what the
/// target lacks. `text` must not lie in `*out`. Storage that `*out` has is used again.
bool ConvertWellFormed(std::string_view text, NStringEncoding from, NStringEncoding to,
                       std::string* out);

/// The same without vector code.
bool ConvertPortably(std::string_view text, NStringEncoding from, NStringEncoding to,
                     std::string* out);

/// Converts UTF-8 to UTF-16 as ConvertWellFormed does, but doesn't look for faults.
/// REQUIRES: the text is well formed.
void Utf16FromKnownUtf8(std::string_view text, std::string* out);

}  // namespace morvel
