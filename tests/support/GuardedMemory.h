#pragma once

#include <cstddef>
#include <string_view>

namespace morvel::test {

/// Memory of `size` bytes, whole pages, between two pages without access: whoever reads beyond an
/// end crashes. Kept until the end of the program.
char* GuardedMemory(std::size_t size);

/// A copy of `text` at the front or at the end of such memory, until the next call.
inline std::string_view Guarded(std::string_view text, bool atFront) {
    constexpr std::size_t Size = 0x40000;
    static char* const memory = GuardedMemory(Size);
    char* const copy = atFront ? memory : memory + Size - text.size();
    return {copy, text.copy(copy, text.size())};
}

}  // namespace morvel::test
