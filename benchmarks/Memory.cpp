#include "Memory.h"

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <fstream>

namespace {

std::atomic<bool> _counting{false};
std::atomic<std::uint64_t> _allocations{0};

void _count() {
    if (_counting.load(std::memory_order_relaxed)) {
        _allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

}  // namespace

// In front of the C library's own, for the program and all libraries in it; operator new comes by
// here, too. Blocks of a wanted alignment aren't counted: no subject asks for any.
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
    _count();
    return __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
    _count();
    return __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) noexcept {
    _count();
    return __libc_realloc(block, size);
}

}  // extern "C"

namespace bench {

void CountAllocations() {
    _allocations = 0;
    _counting = true;
}

std::uint64_t CountedAllocations() {
    _counting = false;
    return _allocations;
}

std::uint64_t StatusBytes(const std::string& line) {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == line) {
            std::uint64_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024;
        }
    }
    return 0;
}

std::uint64_t PeakBytes(const std::function<void()>& work) {
    malloc_trim(0);
    const std::uint64_t before = StatusBytes("VmRSS:");
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts again from here
    work();
    const std::uint64_t peak = StatusBytes("VmHWM:");
    return peak > before ? peak - before : 0;
}

}  // namespace bench
