#pragma once

#include <string>
#include <string_view>

#include <morvel/text/NString.h>

// Internal: the quick way between encodings.
namespace morvel {

/// Converts well-formed `text` where there is a quick way from `from` to `to`: between UTF-8 and
/// UTF-16, and from Latin-1 to UTF-8. False, with anything in `*out`, for other pairs and for
/// malformed text, which POCO's converters have their own outcome for; where the result is true,
/// `*out` is what they give. `text` must not lie in `*out`. Storage that `*out` has is used again.
bool ConvertWellFormed(std::string_view text, NStringEncoding from, NStringEncoding to,
                       std::string* out);

/// The same without vector code.
bool ConvertPortably(std::string_view text, NStringEncoding from, NStringEncoding to,
                     std::string* out);

}  // namespace morvel
