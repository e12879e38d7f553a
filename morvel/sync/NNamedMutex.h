#pragma once

#include <morvel/base/NBaseObject.h>

namespace Poco {
class NamedMutex;
}

// clang-format off: it would fold the rows of the table into sentences.
/// A lock that processes share through its name. A process that ends while it holds the lock,
/// killed or not, gives it up. The name of a lock lasts: whichever process ends first, the others
/// go on excluding each other.
///
/// What differs by platform:
///
/// |                         | Windows                         | elsewhere                       |
/// |-------------------------|---------------------------------|---------------------------------|
/// | held by                 | a thread, which may lock again  | nobody: a second Lock waits, in |
/// |                         |                                 | the same thread for ever        |
/// | two objects in a thread | don't exclude each other        | do                              |
/// | a holder that has died  | the next Lock throws, and holds | is noticed by nobody            |
/// |                         | nothing; the one after succeeds |                                 |
/// | Unlock without the lock | does nothing                    | lets one more holder in         |
/// | names                   | no backslash but in a leading   | no slash, at most 249 bytes     |
/// |                         | `Global\` or `Local\`           |                                 |
/// | what stays behind       | nothing                         | /tmp/NAME.mutex and a System V  |
/// |                         |                                 | semaphore, for the next user    |
///
/// Off Windows the key of the semaphore comes from the 16 low bits of that file's inode number, so
/// two names may share one lock, and to delete the file while the lock is in use parts its users.
/// The semaphores stay until they are removed (`ipcrm`): the system has 32,000 for all programs.
/// The file is made with the umask of its first user, and 077 keeps all other users out. A name
/// with a slash, and one whose file is a link or anything but a plain file, is refused.
///
/// @failure The constructor, Lock and Unlock throw Poco::SystemException where the system refuses.
/// Lock and Unlock throw the integer -1, which is no exception of any class, if there was no memory
/// for the lock when the object was made.
/// @threads All operations may be called from any thread.
/// @encoding A name is UTF-8 on Windows and plain bytes elsewhere: ASCII is the same everywhere.
/// @cost System calls for each Lock and Unlock, for the constructor some and a file.
// clang-format on
class MORVEL_API NNamedMutex : public NBaseObject {
public:
    explicit NNamedMutex(const char* name);               ///< REQUIRES: `name` is not null.
    NNamedMutex(const NNamedMutex&) = delete;             ///< Not copied.
    NNamedMutex& operator=(const NNamedMutex&) = delete;  ///< Not copied.
    ~NNamedMutex() override;  ///< A lock that is held then gets no special treatment.

    void Lock();    ///< Waits until the lock is held.
    void Unlock();  ///< REQUIRES: the lock is held, on Windows by the calling thread.

private:
    Poco::NamedMutex* _mutex;
};

/// Holds an NNamedMutex from its construction to the end of its scope, however that is left. The
/// lock must live longer; a null pointer is no lock.
///
/// @failure The constructor throws what Lock throws. An Unlock that throws in the destructor ends
/// the process.
/// @threads One object belongs to the thread that made it.
/// @encoding This class holds no text.
/// @cost That of Lock and Unlock.
class MORVEL_API NAutoNamedMutexLock {
public:
    /// Waits until `mutex` is held.
    explicit NAutoNamedMutexLock(NNamedMutex* mutex);
    NAutoNamedMutexLock(const NAutoNamedMutexLock&) = delete;             ///< Not copied.
    NAutoNamedMutexLock& operator=(const NAutoNamedMutexLock&) = delete;  ///< Not copied.
    virtual ~NAutoNamedMutexLock();                                       ///< Unlocks.

private:
    NNamedMutex* _mutex;
};
