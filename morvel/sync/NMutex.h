#pragma once

#include <cstdint>

#include <morvel/base/NBaseObject.h>

namespace Poco {
class Mutex;
}

/// A lock between the threads of one process. Recursive: the thread that holds it may lock it
/// again, and unlocks it as often. All operations may be called from any thread.
///
/// Lock and Unlock throw the integer -1, which is no exception of any class, if there was no memory
/// for the lock when the object was made.
class MORVEL_API NMutex : public NBaseObject {
public:
    NMutex();
    NMutex(const NMutex&) = delete;
    NMutex& operator=(const NMutex&) = delete;
    ~NMutex() override;  ///< A lock that is held then gets no special treatment.

    void Lock();  ///< Waits until the calling thread holds the lock.

    /// REQUIRES: the calling thread holds the lock. Off Windows a call without it throws
    /// Poco::SystemException; on Windows it damages the lock.
    void Unlock();

    /// One lock for the whole process, there as long as the library is loaded. The library itself
    /// never takes it.
    static NMutex& Process();

    /// Suspends the calling thread for at least `milliseconds`. Touches no lock.
    static void Sleep(std::uint32_t milliseconds);

private:
    MORVEL_LOCAL static NMutex _process;

    Poco::Mutex* _mutex;
};

/// Holds an NMutex from its construction to the end of its scope, however that is left. The lock
/// must live longer; a null pointer is no lock. An Unlock that throws in the destructor ends the
/// process.
class MORVEL_API NAutoMutexLock {
public:
    explicit NAutoMutexLock(NMutex* mutex);
    NAutoMutexLock(const NAutoMutexLock&) = delete;
    NAutoMutexLock& operator=(const NAutoMutexLock&) = delete;
    virtual ~NAutoMutexLock();

private:
    NMutex* _mutex;
};
