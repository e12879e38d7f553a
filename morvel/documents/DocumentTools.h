#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <morvel/documents/NXML.h>
#include <morvel/files/NPath.h>
#include <morvel/time/NDateTime.h>

/// @file
/// Companions of the documents. Paths are those of NDataContainer. What is handed out is a copy.
///
/// @failure Absence is an empty result, an edit that can't be done is false, a document that can't
/// be read an XmlFault; SaveSafely throws as WriteFile does. std::bad_alloc where memory runs out.
/// @threads Those that take a const document only read it: any number of threads may do so at once.
/// @encoding Every std::string is UTF-8. Load recodes what NXML would read wrong, or refuses it.
/// @cost One copy of each element that is handed out; see NXML.
namespace morvel {

/// The value of the element: what RootValue gives of a copy of it, empty for an element without
/// text; nothing if there is no such element. Costs one copy of the element.
///
///     const std::optional<NString> total = morvel::ValueOf(order, "order.total");
[[nodiscard]] MORVEL_API std::optional<NString> ValueOf(const NXML& document,
                                                        const std::string& path);

/// All text inside the element and the elements below it, in the order of the document; empty if
/// there is none or no such element.
[[nodiscard]] MORVEL_API NString TextOf(const NXML& document, const std::string& path);

/// Sets the value of the element and makes what is missing of its path, the root element too. False
/// with nothing changed for an empty path or one with an empty name in it, and where the document
/// has another root element.
///@{
MORVEL_API bool Put(NXML& document, const std::string& path, const NString& value);
MORVEL_API bool Put(NXML& document, const std::string& path, const std::string& utf8);
inline bool Put(NXML& document, const std::string& path, const char* utf8) {
    return Put(document, path, std::string(utf8));
}
inline bool Put(NXML& document, const std::string& path, std::string_view utf8) {
    return Put(document, path, std::string(utf8));
}
///@}

/// A date as 2026-11-25T08:05:09, without a zone.
MORVEL_API bool Put(NXML& document, const std::string& path, const NDateTime& value);

/// "true" or "false", or a number in the shortest form that reads back as the same value, as
/// NString::SetNumber writes it. A `char` or a `long double` doesn't compile.
template <class Number, std::enable_if_t<std::is_arithmetic_v<Number>, int> = 0>
bool Put(NXML& document, const std::string& path, Number value) {
    static_assert(!std::is_same_v<Number, char> && !std::is_same_v<Number, wchar_t> &&
                      !std::is_same_v<Number, char16_t> && !std::is_same_v<Number, char32_t>,
                  "a character is no number: give Put a text");
    static_assert(!std::is_same_v<Number, long double>, "no text of NString holds a long double");
    if constexpr (std::is_same_v<Number, bool>) {
        return Put(document, path, value ? "true" : "false");
    } else {
        NString text;
        text.SetNumber(value);
        return Put(document, path, text);
    }
}

/// A child element and its place: what GetElement and RemoveElement call the index, which counts
/// text nodes too.
struct ChildElement {
    std::int32_t index;             ///< From 0.
    std::unique_ptr<NXML> element;  ///< A document of its own, this element its root; never null.

    /// The element itself, to call an operation of.
    ///@{
    const NXML* operator->() const MORVEL_LIFETIMEBOUND { return element.get(); }
    NXML* operator->() MORVEL_LIFETIMEBOUND { return element.get(); }
    ///@}
};

/// Copies of the child elements of an element, all or those of a name (in any case), in their
/// order. Empty if there is none, or no such element. What is done to them doesn't change the
/// document.
///
///     for (const auto& item : morvel::Children(feed, "rss.channel", "item")) {
///         std::cout << morvel::ValueOf(*item.element, "item.title").value_or(NString()) << '\n';
///     }
///
/// To remove some, go from the last to the first, so that the indexes of the others stay right.
/// Each element costs about 5 kB while it is held.
[[nodiscard]] MORVEL_API std::vector<ChildElement> Children(const NXML& document,
                                                            const std::string& path,
                                                            std::string_view name = {});

/// Why a document couldn't be read, and where; in UTF-32 no place is told. Tests true where there
/// is a fault.
struct [[nodiscard]] XmlFault {
    std::string message;     ///< A sentence; empty if all is well.
    std::size_t offset = 0;  ///< In bytes of the document, of UTF-16 in those of its UTF-8.
    std::size_t line = 0;    ///< From 1; 0 without a place.
    std::size_t column = 0;  ///< From 1, in code points; 0 without a place.

    explicit operator bool() const { return !message.empty(); }  ///< Whether there is a fault.
};

/// Replaces the document by what the bytes of a file or a message hold. What pugixml reads by
/// itself goes to it (UTF-8, UTF-16 and UTF-32 with or without a BOM, ISO-8859-1); a document that
/// declares ISO-8859-15 or windows-1252 is recoded first, and one that declares an encoding that
/// nobody here knows is refused, where NXML would take its bytes for UTF-8. Bytes that aren't UTF-8
/// although they are said to be are refused too. After a fault the document is empty.
///
///     if (const morvel::XmlFault fault = morvel::Load(feed, reply)) {
///         std::cerr << "line " << fault.line << ": " << fault.message << '\n';
///     }
MORVEL_API XmlFault Load(NXML& document, std::string_view bytes);

/// The same with the bytes of a file. One that can't be read is a fault without a place, its
/// message what Describe makes of ReadFile's exception.
MORVEL_API XmlFault LoadFrom(NXML& document, const NPath& path);

/// Writes what SaveFile writes, but by WriteFile: after any failure the old file is whole. Throws
/// what WriteFile throws, and KelInvalidArgumentException for a document without a root element.
MORVEL_API void SaveSafely(NXML& document, const NPath& path);

}  // namespace morvel
