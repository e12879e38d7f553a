#pragma once

#if !defined(_WIN32)
#include <shared_mutex>
#endif

// Internal.
namespace morvel::platform {

/// A lock for std::shared_lock and std::lock_guard. Not recursive.
#if defined(_WIN32)
class SharedMutex {  // the lock of readers and writers that comes with MinGW lets both in together
public:
    SharedMutex() = default;
    SharedMutex(const SharedMutex&) = delete;
    SharedMutex& operator=(const SharedMutex&) = delete;

    void lock();
    void unlock();
    void lock_shared();
    void unlock_shared();

private:
    void* _lock = nullptr;  // an SRWLOCK
};
#else
using SharedMutex = std::shared_mutex;
#endif

}  // namespace morvel::platform
