#include <windows.h>

#include <tests/support/GuardedMemory.h>

char* morvel::test::GuardedMemory(std::size_t size) {
    constexpr std::size_t Page = 4096;
    void* const whole = VirtualAlloc(nullptr, size + 2 * Page, MEM_RESERVE, PAGE_NOACCESS);
    return static_cast<char*>(
        VirtualAlloc(static_cast<char*>(whole) + Page, size, MEM_COMMIT, PAGE_READWRITE));
}
