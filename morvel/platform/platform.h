#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <morvel/platform/config.h>

namespace Poco {
class FileStreamBuf;
}

/// The operating system as the library sees it. Internal: no public header includes this file. Each
/// function is written once for each platform and, where nothing else is said, may be called from
/// any thread, throws nothing but std::bad_alloc, and leaves its arguments alone. What is opened
/// here is closed in programs that the process starts, and is none of the descriptors 0 to 2,
/// whatever the host has done with its standard streams.
namespace morvel::platform {

/// Code pages that mean the same on every platform: the system's own narrow encoding, and UTF-8.
/// Off Windows the system's encoding is UTF-8 too.
constexpr std::int32_t CodePageSystem = 0;
constexpr std::int32_t CodePageUtf8 = 65001;

/// The wide text up to its first NUL in `codePage`. A character that the code page lacks becomes
/// '?' (on Windows possibly a best fit), a lone surrogate in UTF-8 becomes U+FFFD. Off Windows a
/// code page other than the two above is unknown and gives an empty text.
std::string NarrowFromWide(const NWideChar* text, std::int32_t codePage);

/// The narrow text up to its first NUL as wide text. Malformed UTF-8 becomes U+FFFD under
/// CodePageUtf8; under CodePageSystem off Windows it becomes '?', as a character that can't be
/// encoded does. A code page that the platform doesn't know gives an empty text.
NWideString WideFromNarrow(const char* text, std::int32_t codePage);

/// `strcmp` and `strncmp` with ASCII letters folded to lower case.
int CompareNoCase(const char* a, const char* b);
int CompareNoCase(const char* a, const char* b, std::size_t count);

/// A file name in the form in which calls that take wide names on Windows want it: wide text there,
/// UTF-8 elsewhere.
#if defined(_WIN32)
using NativeName = std::wstring;
#else
using NativeName = std::string;
#endif
NativeName NativeFileName(const NWideString& name);

/// Makes the folder and all of its parents that are missing, as Poco::File::createDirectories does
/// and with its exceptions, but takes the name as it stands: POCO reads it as a path off Windows,
/// in which "~" is the home folder and "a:" a device.
void CreateDirectories(const std::string& name);

/// Folders that the system sets aside for applications; the values are those of the shell's CSIDL.
enum class Folder { AppData = 26, CommonAppData = 35, CommonDocuments = 46 };

/// Full name of such a folder, or an empty text if the system has none. Off Windows the user's
/// folder is made, for the user alone, where it is missing; a process with raised privileges takes
/// it from the password database and not from the environment.
NWideString SpecialFolder(Folder folder);

/// Full path of the running program in the system's narrow encoding; empty if the system won't say.
std::string ExecutablePath();

/// The moment `name` came into being, in seconds since 1970-01-01 00:00:00 UTC; nothing if the
/// system won't say. Where the file system keeps no such moment, the last change of status stands
/// in for it.
std::optional<std::int64_t> CreationTime(const NWideString& name);

/// Creates or truncates the file and opens it for binary writing. Others may read it meanwhile; a
/// second writer is refused, off Windows only one that comes through this function (locks are
/// advisory there). Null if it can't be opened. The caller closes it with std::fclose.
std::FILE* OpenForWriting(const NWideString& name);

/// What a file is opened for: to be read; to be made or emptied and written; to be made, where no
/// file has the name, and written.
enum class Access { Read, Write, New };

/// As std::fopen in binary mode: whatever others do with the file. Null, with the reason in errno,
/// if it can't be opened, ENOMEM among them. The caller closes it with std::fclose.
std::FILE* Open(const NativeName& name, Access access);

/// Gives an open file the permissions of the file `from`, if there is one; false, with the reason
/// in errno, where that can't be done. Does nothing on Windows, whose files inherit them from their
/// folder.
bool CopyPermissions(const NativeName& from, std::FILE* to);

/// Returns when all that was written is on the disk; false, with the reason in errno, if it isn't.
bool FlushToDisk(std::FILE* file);

/// Keeps the open file of a Poco::FileStreamBuf from programs that the process starts, and off the
/// descriptors 0 to 2. Does nothing on Windows, which has neither hazard.
void KeepPrivate(Poco::FileStreamBuf* file);

/// A file that is open for appending.
using FileHandle = std::intptr_t;
constexpr FileHandle NoFile = -1;

/// Opens or creates a text file of a UTF-8 name, shared as POCO shares its log files: with
/// everybody off Windows, with readers there. NoFile if it can't be opened, as a FIFO that nobody
/// reads.
FileHandle OpenForAppending(const std::string& name);

/// Appends `text`, with the line ends of the platform, and gives the number of bytes that were
/// appended; 0 if it couldn't be written whole. What has been written outlives the process; with
/// `flush` it is visible to others, too, which on Windows takes a wait for the disk.
std::size_t Append(FileHandle file, std::string_view text, bool flush);

/// 0 for NoFile and for what has no size.
std::uint64_t SizeOf(FileHandle file);

/// NoFile is left alone.
void Close(FileHandle file);

/// Renames, over a file that has the new name already.
std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to);

/// Whether the process is ending and the system has cut off all other threads, each wherever it
/// was: what they held stays held. So Windows ends a process; elsewhere it never is so.
bool OtherThreadsAreGone();

/// A lock for std::lock_guard which needs no code at load and doesn't outlive the thread that holds
/// it: once OtherThreadsAreGone it lets everybody pass. Not recursive.
class Mutex {
public:
    constexpr Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock();
    void unlock();

private:
#if defined(_WIN32)
    void* _lock = nullptr;  // an SRWLOCK
#else
    std::mutex _lock;
#endif
};

/// The wall clock at `time`, in the zone that the process has at the moment. REQUIRES: a time that
/// the C library can read: on Windows from 1970 to the year 3000.
std::tm LocalTime(std::time_t time);

/// Suspends the calling thread.
void SleepMilliseconds(std::uint32_t milliseconds);

/// Held while files of a folder are renamed that other processes rename too. Waits a second for
/// another holder and then goes on without, as it does for a folder that can't be locked. Does
/// nothing on Windows, where a file that is renamed can be open in one process only.
class FolderLock {
public:
    explicit FolderLock(const std::string& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    [[maybe_unused]] int _descriptor;
};

/// Makes what a Poco::NamedMutex of this name finds in place and so doesn't own. POCO's object,
/// where it made the system's lock itself, removes it at its own end, under the feet of all other
/// users. Throws Poco::SystemException, as POCO would, for a name with a slash and where the lock's
/// file can't be opened or is no plain file: a link of another user's leads anywhere. Does nothing
/// on Windows, where the system counts the users.
void PrepareNamedMutex(const std::string& name);

/// Whether a Poco::NamedMutex may be held by the calling thread although locking it has thrown. So
/// it is on Windows, which hands over the lock of a dead thread and reports the death with one
/// answer.
bool FailedNamedLockMayHold();

/// Calls `cleanUp(object)` when the library is unloaded or the process ends normally: last come,
/// first called, in one order with the destructors of the library's static objects. May be called
/// while that list runs; the new entry is then the next to run. `cleanUp` must not throw.
void AtUnload(void (*cleanUp)(void*), void* object);

/// Keeps the order that AtUnload promises where the C runtime doesn't: before this object is gone,
/// everything that AtUnload was given since its construction has been called. One is at the end
/// of the library's list of static objects, and one in front of each object whose destructor, or
/// whose construction, calls AtUnload.
class UnloadMark {
public:
    UnloadMark();
    ~UnloadMark();
    UnloadMark(const UnloadMark&) = delete;
    UnloadMark& operator=(const UnloadMark&) = delete;

private:
    [[maybe_unused]] const void* _newest;  // what AtUnload had been given last
};

}  // namespace morvel::platform
