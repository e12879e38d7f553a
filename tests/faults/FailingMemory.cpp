#include <tests/faults/FailingMemory.h>

#include <dlfcn.h>

#include <pugixml.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

thread_local long untilFailure = -1;  // negative: none fails
thread_local bool allFail = false;
thread_local bool hasFailed = false;
thread_local long alive = 0;

bool _failsNow() {
    if (untilFailure != 0) {
        untilFailure -= untilFailure > 0;
        return false;
    }
    hasFailed = true;
    untilFailure = allFail ? 0 : -1;
    errno = ENOMEM;
    return true;
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

const bool morvel::test::SeesAllAllocations = false;

namespace {
void* _allocated(std::size_t size) {
    return _failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
}
const bool pugixmlCanFail = (pugi::set_memory_management_functions(_allocated, std::free), true);
}  // namespace

void* operator new(std::size_t size) {
    void* const memory = _allocated(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return _allocated(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

#else

const bool morvel::test::SeesAllAllocations = true;

namespace {
void* _counted(void* memory) {
    alive += memory != nullptr;
    return memory;
}

// The loader allocates for threads, whose memory the C library keeps for the next ones.
bool _isLoader(const void* code) {
    Dl_info object;
    return dladdr(code, &object) != 0 && std::strstr(object.dli_fname, "/ld-linux") != nullptr;
}
}  // namespace

// The program's definitions stand in front of the C library's for all shared libraries.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size) {
    return _failsNow() ? nullptr : _counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
    if (_failsNow()) return nullptr;
    void* const memory = __libc_calloc(count, size);
    return _isLoader(__builtin_return_address(0)) ? memory : _counted(memory);
}

void* realloc(void* memory, std::size_t size) {
    if (_failsNow()) return nullptr;
    return memory == nullptr ? _counted(__libc_malloc(size)) : __libc_realloc(memory, size);
}

void free(void* memory) {
    alive -= memory != nullptr;
    __libc_free(memory);
}
}

#endif

namespace morvel::test {

long AllocationsAlive() {
    return alive;
}

void FailAllocationsAfter(long count, bool all) {
    hasFailed = false;
    allFail = all;
    untilFailure = count;
}

bool StopFailing() {
    untilFailure = -1;
    return hasFailed;
}

}  // namespace morvel::test
