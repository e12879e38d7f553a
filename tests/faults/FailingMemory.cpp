#include <tests/faults/FailingMemory.h>

#include <dlfcn.h>

#include <pugixml.hpp>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MORVEL_OWN_MALLOC 0
#else
#define MORVEL_OWN_MALLOC 1
#endif

namespace {

thread_local long untilFailure = -1;  // negative: none fails
thread_local bool allFail = false;
thread_local bool hasFailed = false;
thread_local bool watching = false;

bool _failsNow() {
    if (untilFailure < 0) {
        return false;
    }
    if (untilFailure > 0) {
        --untilFailure;
        return false;
    }
    hasFailed = true;
    if (!allFail) {
        untilFailure = -1;
    }
    errno = ENOMEM;
    return true;
}

// The addresses that a watched thread has got: a table with open addressing, since a container
// would allocate.
class Addresses {
public:
    void Clear() {
        const Lock lock(*this);
        for (void*& slot : _slots) slot = nullptr;
        _count = 0;
    }

    void Add(void* address) {
        const Lock lock(*this);
        for (std::size_t i = _first(address);; i = (i + 1) % Size) {
            if (_slots[i] == nullptr || _slots[i] == _removed()) {
                _slots[i] = address;
                ++_count;
                return;
            }
        }
    }

    bool Remove(void* address) {
        const Lock lock(*this);
        for (std::size_t i = _first(address); _slots[i] != nullptr; i = (i + 1) % Size) {
            if (_slots[i] == address) {
                _slots[i] = _removed();
                --_count;
                return true;
            }
        }
        return false;
    }

    long Count() const { return _count; }

private:
    static constexpr std::size_t Size = 1 << 17;

    struct Lock {
        explicit Lock(Addresses& owner) : addresses(owner) {
            while (addresses._busy.test_and_set(std::memory_order_acquire)) {
            }
        }
        ~Lock() { addresses._busy.clear(std::memory_order_release); }
        Addresses& addresses;
    };

    static void* _removed() { return reinterpret_cast<void*>(std::uintptr_t{1}); }
    static std::size_t _first(void* address) {
        return (reinterpret_cast<std::uintptr_t>(address) >> 4) * 2654435761u % Size;
    }

    std::atomic_flag _busy = ATOMIC_FLAG_INIT;
    std::atomic<long> _count{0};
    void* _slots[Size] = {};
};

Addresses addresses;

}  // namespace

#if MORVEL_OWN_MALLOC

namespace {
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
    if (_failsNow()) {
        return nullptr;
    }
    void* const memory = __libc_malloc(size);
    if (watching && memory != nullptr) {
        addresses.Add(memory);
    }
    return memory;
}

void* calloc(std::size_t count, std::size_t size) {
    if (_failsNow()) {
        return nullptr;
    }
    void* const memory = __libc_calloc(count, size);
    if (watching && memory != nullptr && !_isLoader(__builtin_return_address(0))) {
        addresses.Add(memory);
    }
    return memory;
}

void free(void* memory) {
    if (memory != nullptr && addresses.Count() > 0) {
        addresses.Remove(memory);  // before another thread can be given the same address
    }
    __libc_free(memory);
}

void* realloc(void* memory, std::size_t size) {
    if (_failsNow()) {
        return nullptr;
    }
    // What was there before the watch began stays uncounted when it grows.
    const bool counted = memory == nullptr ? watching : addresses.Remove(memory);
    void* const grown = __libc_realloc(memory, size);
    if (counted) {
        if (grown != nullptr) {
            addresses.Add(grown);
        } else if (memory != nullptr && size != 0) {
            addresses.Add(memory);
        }
    }
    return grown;
}
}

#else

void* operator new(std::size_t size) {
    void* const memory = _failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return _failsNow() ? nullptr : std::malloc(size == 0 ? 1 : size);
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

#endif

namespace morvel::test {

MemoryWatch::MemoryWatch() {
#if !MORVEL_OWN_MALLOC
    pugi::set_memory_management_functions(
        [](std::size_t size) { return _failsNow() ? nullptr : std::malloc(size); }, std::free);
#endif
    addresses.Clear();
    watching = true;
}

MemoryWatch::~MemoryWatch() {
    watching = false;
    addresses.Clear();
}

long MemoryWatch::Alive() const {
    return addresses.Count();
}

bool MemoryWatch::SeesAll() {
    return MORVEL_OWN_MALLOC != 0;
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
