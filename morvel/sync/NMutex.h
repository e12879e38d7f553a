#pragma once

#include <cstdint>

#include <morvel/base/NBaseObject.h>

namespace Poco {
class Mutex;
}

/// A lock between the threads of one process. Recursive: the thread that holds it may lock it
/// again, and unlocks it as often.
///
/// @failure Lock and Unlock throw the integer -1, which is no exception of any class, if there was
/// no memory for the lock when the object was made.
/// @threads All operations may be called from any thread.
/// @encoding This class holds no text.
/// @cost A lock that nobody else wants takes no system call.
class MORVEL_API NMutex : public NBaseObject {
public:
    NMutex();                                   ///< Not held.
    NMutex(const NMutex&) = delete;             ///< Not copied.
    NMutex& operator=(const NMutex&) = delete;  ///< Not copied.
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
/// must live longer; a null pointer is no lock.
///
/// @failure The constructor throws what Lock throws. An Unlock that throws in the destructor ends
/// the process.
/// @threads One object belongs to the thread that made it.
/// @encoding This class holds no text.
/// @cost That of Lock and Unlock.
class MORVEL_API NAutoMutexLock {
public:
    /// Waits until `mutex` is held.
    explicit NAutoMutexLock(NMutex* mutex);
    NAutoMutexLock(const NAutoMutexLock&) = delete;             ///< Not copied.
    NAutoMutexLock& operator=(const NAutoMutexLock&) = delete;  ///< Not copied.
    virtual ~NAutoMutexLock();                                  ///< Unlocks.

private:
    NMutex* _mutex;
};
