#pragma once

#include <cstddef>
#include <string_view>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace morvel::test {

/// A copy of `text` at the front or at the end of memory between two pages without access, so that
/// whoever reads beyond an end crashes. Kept until the next call. On Windows, where the same code
/// reads, the memory is any.
inline std::string_view Guarded(std::string_view text, bool atFront) {
    constexpr std::size_t Size = 0x40000;
#if __has_include(<sys/mman.h>)
    static char* const memory = [] {
        constexpr std::size_t Page = 0x10000;  // the largest of any system
        void* const whole =
            mmap(nullptr, Size + 2 * Page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        mprotect(static_cast<char*>(whole) + Page, Size, PROT_READ | PROT_WRITE);
        return static_cast<char*>(whole) + Page;
    }();
#else
    static char memory[Size];
#endif
    char* const copy = atFront ? memory : memory + Size - text.size();
    return {copy, text.copy(copy, text.size())};
}

}  // namespace morvel::test
