#include <sys/mman.h>
#include <unistd.h>

#include <tests/support/GuardedMemory.h>

char* morvel::test::GuardedMemory(std::size_t size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const int flags = MAP_PRIVATE | MAP_ANONYMOUS;
    void* const whole = mmap(nullptr, size + 2 * page, PROT_NONE, flags, -1, 0);
    char* const memory = static_cast<char*>(whole) + page;
    mprotect(memory, size, PROT_READ | PROT_WRITE);
    return memory;
}
