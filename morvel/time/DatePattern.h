#pragma once

#include <string_view>

// Internal.
namespace morvel {

/// Whether a date pattern has a conversion (% and a letter) by one of the letters.
inline bool HasLetterOf(std::string_view letters, std::string_view pattern) {
    for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern[i] != '%') continue;
        ++i;
        if (letters.find(pattern[i]) != letters.npos) return true;
    }
    return false;
}

}  // namespace morvel
