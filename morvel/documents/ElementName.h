#pragma once

#include <cctype>
#include <string_view>

// Internal: when two names of a document are the same.
namespace morvel {

inline char LowerCase(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

/// Whether the names are equal but for case, as the C library's locale has it.
inline bool IsSameName(std::string_view name, const char* other) {
    for (const char c : name) {
        if (c != *other) {
            // In every locale the cases of an ASCII letter differ in the bit 20 alone, or one of
            // them is outside of ASCII.
            const int difference = c ^ *other, either = c | *other;
            if (((either & 0x80) == 0 && difference != 0x20) || LowerCase(c) != LowerCase(*other)) {
                return false;
            }
        } else if (c == '\0') {
            return false;
        }
        ++other;
    }
    return *other == '\0';
}

}  // namespace morvel
