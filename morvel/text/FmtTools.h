#pragma once

#include <string>
#include <type_traits>

#include <fmt/format.h>

#include <morvel/text/TextTools.h>

/// @file
/// A companion of NString for programs that use fmt: `fmt::format("{:>20}", text)`. It includes
/// fmt's header, which comes with the program and not with this library, so companions.h leaves it
/// out. TextTools.h has the same for std::format.
///
/// @failure What fmt throws, and std::bad_alloc.
/// @threads Texts are only read: any number of threads may format the same one.
/// @encoding A text is written in UTF-8, brought to NFC.
/// @cost That of morvel::Utf8, and of fmt for a std::string.

namespace fmt {

/// A text or a path, by the rules for std::string.
template <class Text>
struct formatter<Text, char, std::enable_if_t<std::is_base_of_v<NString, Text>>>
    : formatter<std::string> {
    /// Writes the text as UTF-8.
    template <class Context>
    auto format(const NString& text, Context& context) const {
        return formatter<std::string>::format(morvel::Utf8(text), context);
    }
};

}  // namespace fmt
