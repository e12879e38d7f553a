#include <morvel/platform/platform.h>

#include <fcntl.h>
#include <locale.h>
#include <pwd.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>

#include <morvel/platform/Codecs.h>

// What the compiler itself registers the destructors of static objects with. The handle tells the
// shared library that an entry belongs to, so that unloading it runs the entry.
extern "C" {
extern void* __dso_handle __attribute__((visibility("hidden")));
int __cxa_atexit(void (*function)(void*), void* argument, void* library) noexcept;
}

namespace morvel::platform {

namespace {

std::error_code _lastError() {
    return std::error_code(errno, std::generic_category());
}

union semun {  // left to the caller by the C library
    int val;
    semid_ds* buf;
};

constexpr char32_t Replacement = 0xFFFD;
bool _isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool _isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

// Reads one code point and moves `p` behind it. Of malformed text it takes the longest prefix that
// could have begun one, or else one byte, as the Unicode Standard recommends in 3.9 and the
// converter of Windows does.
char32_t _nextUtf8(const unsigned char*& p, const unsigned char* end) {
    const unsigned char* const begin = p;
    const char32_t c = Utf8Codec::Read(p, end);
    if (c == Malformed) {
        // The second byte has a narrower range where the whole one would allow overlong forms,
        // surrogates and what lies above U+10FFFF.
        const unsigned char lead = *begin;
        const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        p = begin + 1;
        if (lead >= 0xC2 && lead <= 0xF4 && p != end && *p >= low && *p <= high) {
            p = std::find_if_not(p, end, Utf8Codec::IsContinuation);
        }
    }
    return c;
}

std::string _homeFolder() {
    const char* home = secure_getenv("HOME");
    if (home != nullptr && *home != '\0') return home;
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "";
}

// Makes whatever is missing of a folder. A failure shows when the folder is used.
void _makeFolders(const std::string& folder) {
    for (std::size_t end = 0; end != std::string::npos;) {
        end = folder.find('/', end + 1);
        mkdir(folder.substr(0, end).c_str(), 0700);
    }
}

std::string _userDataFolder() {
    std::string folder;
    // The base directory rules of freedesktop.org tell to ignore a relative name.
    const char* configured = secure_getenv("XDG_DATA_HOME");
    if (configured != nullptr && *configured == '/') {
        folder = configured;
    } else {
        folder = _homeFolder();
        if (folder.empty()) return folder;
        folder += "/.local/share";
    }
    _makeFolders(folder);
    return folder;
}

// Where the host runs without its standard streams, what it prints must not end in a file of ours.
int _aboveStandardStreams(int file) {
    if (file < 0 || file > STDERR_FILENO) return file;
    const int moved = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(file);
    return moved;
}

int _open(const std::string& name, int flags, mode_t mode = 0666) {
    return _aboveStandardStreams(open(name.c_str(), flags | O_CLOEXEC, mode));
}

// The stream closes the descriptor, which is closed at once where there is none; errno tells why.
std::FILE* _asStream(int file, const char* mode) {
    if (file < 0) return nullptr;
    errno = ENOMEM;  // a host's own allocator need not set it
    std::FILE* const stream = fdopen(file, mode);
    if (stream == nullptr) {
        const int reason = errno;
        close(file);
        errno = reason;
    }
    return stream;
}

// POCO 1.11 keeps its descriptor to itself, but an explicit instantiation may name what is private.
int& _descriptorOf(Poco::FileStreamBuf& file);
template <auto Member>
struct Descriptor {
    friend int& _descriptorOf(Poco::FileStreamBuf& file) { return file.*Member; }
};
template struct Descriptor<&Poco::FileStreamBuf::_fd>;

// Gives up after a second: any user who may read a file in /tmp may also hold its lock for good.
void _lockForASecond(int file) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        if (flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
        SleepMilliseconds(1);
    }
}

// Finds or makes the System V semaphore and sees to it that it isn't left at 0, where it begins.
void _makeSemaphore(key_t key) {
    int semaphore = semget(key, 1, 0666 | IPC_CREAT | IPC_EXCL);
    if (semaphore < 0 && errno == EEXIST) {
        semaphore = semget(key, 1, 0);
        // One at 0 that nobody has ever taken was made by a process that died before it could set
        // it. In this order: one that is taken for the first time between the two questions shows
        // at 1 first, or with the time of that in its status.
        semid_ds status;
        semun argument;
        argument.buf = &status;
        if (semaphore < 0 || semctl(semaphore, 0, GETVAL) != 0 ||
            semctl(semaphore, 0, IPC_STAT, argument) != 0 || status.sem_otime != 0) {
            return;
        }
    }
    if (semaphore >= 0) {
        semun argument;
        argument.val = 1;
        semctl(semaphore, 0, SETVAL, argument);
    }
}

// Not the locale that the application has set: there I may fold to a dotless i, E9 to C9.
locale_t _asciiLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

}  // namespace

std::string NarrowFromWide(const NWideChar* text, std::int32_t codePage) {
    std::string result;
    if (codePage != CodePageSystem && codePage != CodePageUtf8) return result;
    // Not by the codec, which reads surrogates as POCO does: here each lone one is U+FFFD.
    while (*text != 0) {
        char32_t c = *text++;
        if (_isHighSurrogate(c) && _isLowSurrogate(*text)) {
            c = 0x10000 + ((c - 0xD800) << 10) + (*text++ - 0xDC00);
        } else if (_isHighSurrogate(c) || _isLowSurrogate(c)) {
            c = Replacement;
        }
        char bytes[4];
        result.append(bytes, Utf8Codec::Write(bytes, c));
    }
    return result;
}

NWideString WideFromNarrow(const char* text, std::int32_t codePage) {
    NWideString result;
    if (codePage != CodePageSystem && codePage != CodePageUtf8) return result;
    const char32_t substitute = codePage == CodePageUtf8 ? Replacement : U'?';
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* const end = p + std::strlen(text);
    while (p != end) {
        char32_t c = _nextUtf8(p, end);
        if (c == Malformed) c = substitute;
        NWideChar units[2];
        const char* const stop = Utf16Codec::Write(reinterpret_cast<char*>(units), c);
        result.append(units, stop == reinterpret_cast<char*>(units + 1) ? 1 : 2);
    }
    return result;
}

int CompareNoCase(const char* a, const char* b) {
    return strcasecmp_l(a, b, _asciiLocale());
}

int CompareNoCase(const char* a, const char* b, std::size_t count) {
    return strncasecmp_l(a, b, count, _asciiLocale());
}

NativeName NativeFileName(const NWideString& name) {
    return NarrowFromWide(name.c_str(), CodePageUtf8);
}

void CreateDirectories(const std::string& name) {
    if (Poco::File(name).exists()) return;
    std::size_t end = 0;
    do {
        end = name.find('/', end + 1);
        try {
            Poco::File(name.substr(0, end)).createDirectory();
        } catch (const Poco::FileExistsException&) {
            // a file has the name, and what is to stand in it tells
        }
    } while (end != std::string::npos);
}

NWideString SpecialFolder(Folder folder) {
    std::string name = folder == Folder::CommonAppData ? "/var/lib" : "/usr/local/share";
    if (folder == Folder::AppData) name = _userDataFolder();
    return WideFromNarrow(name.c_str(), CodePageUtf8);
}

std::string ExecutablePath() {
    std::error_code ignored;  // without /proc the path is empty, as promised
    return std::filesystem::read_symlink("/proc/self/exe", ignored).string();
}

std::optional<std::int64_t> CreationTime(const NWideString& name) {
    const NativeName native = NativeFileName(name);
    struct statx birth;
    // Some file systems say that they know the birth time and then report 0.
    if (statx(AT_FDCWD, native.c_str(), 0, STATX_BTIME, &birth) == 0 &&
        (birth.stx_mask & STATX_BTIME) != 0 && birth.stx_btime.tv_sec != 0) {
        return birth.stx_btime.tv_sec;
    }
    struct stat status;
    if (stat(native.c_str(), &status) != 0) return {};
    return status.st_ctime;
}

std::FILE* OpenForWriting(const NWideString& name) {
    const int file = _open(NativeFileName(name), O_WRONLY | O_CREAT);
    if (file < 0) return nullptr;
    struct stat status;
    bool usable = fstat(file, &status) == 0;
    if (usable && S_ISREG(status.st_mode)) {
        // Locked before it is truncated: the file of another writer must stay whole. A file system
        // that has no locks is no reason to refuse.
        const bool taken = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
        usable = !taken && ftruncate(file, 0) == 0;
    }
    if (!usable) {
        close(file);
        return nullptr;
    }
    return _asStream(file, "wb");
}

std::FILE* Open(const NativeName& name, Access access) {
    const int flags = access == Access::Read    ? O_RDONLY
                      : access == Access::Write ? O_WRONLY | O_CREAT | O_TRUNC
                                                : O_WRONLY | O_CREAT | O_EXCL;
    const int file = _open(name, flags);
    std::FILE* const stream = _asStream(file, access == Access::Read ? "rb" : "wb");
    if (file >= 0 && stream == nullptr && access == Access::New) {
        const int reason = errno;
        unlink(name.c_str());
        errno = reason;
    }
    return stream;
}

bool CopyPermissions(const NativeName& from, std::FILE* to) {
    struct stat status;
    if (stat(from.c_str(), &status) != 0) {
        return errno == ENOENT;  // there is nothing to copy from
    }
    return fchmod(fileno(to), status.st_mode & 07777) == 0;
}

bool FlushToDisk(std::FILE* file) {
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}

void KeepPrivate(Poco::FileStreamBuf* file) {
    int& descriptor = _descriptorOf(*file);
    descriptor = _aboveStandardStreams(descriptor);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

FileHandle OpenForAppending(const std::string& name) {
    // A FIFO without a reader is refused instead of waited for; other files never wait.
    const int file = _open(name, O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK);
    if (file >= 0) fcntl(file, F_SETFL, O_APPEND);
    return file;
}

std::size_t Append(FileHandle file, std::string_view text, bool) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written =
            write(static_cast<int>(file), text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return 0;
        done += static_cast<std::size_t>(written);
    }
    return done;
}

std::uint64_t SizeOf(FileHandle file) {
    const off_t size = lseek(static_cast<int>(file), 0, SEEK_END);
    return size < 0 ? 0 : static_cast<std::uint64_t>(size);
}

void Close(FileHandle file) {
    if (file != NoFile) close(static_cast<int>(file));
}

std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (rename(from.c_str(), to.c_str()) != 0) return _lastError();
    // The new name outlives a power failure once its folder is on the disk.
    const std::filesystem::path folder = to.parent_path();
    const int file = _open(folder.empty() ? "." : folder.native(), O_RDONLY | O_DIRECTORY);
    if (file >= 0) {
        fsync(file);  // not every file system has that for a folder
        close(file);
    }
    return {};
}

bool OtherThreadsAreGone() {
    return false;
}

void Mutex::lock() {
    _lock.lock();
}

void Mutex::unlock() {
    _lock.unlock();
}

std::tm LocalTime(std::time_t time) {
    std::tm local = {};
    tzset();  // localtime_r alone keeps the zone of its first call
    localtime_r(&time, &local);
    return local;
}

void SleepMilliseconds(std::uint32_t milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));  // signals don't end it
}

FolderLock::FolderLock(const std::string& folder)
    : _descriptor(_open(folder, O_RDONLY | O_DIRECTORY)) {
    if (_descriptor >= 0) _lockForASecond(_descriptor);
}

FolderLock::~FolderLock() {
    if (_descriptor >= 0) {
        flock(_descriptor, LOCK_UN);
        close(_descriptor);
    }
}

void PrepareNamedMutex(const std::string& name) {
    // The file, its mode, the key, the mode of the semaphore and what is thrown are those of POCO's
    // class.
    const std::string fileName = "/tmp/" + name + ".mutex";
    const int file = name.find('/') != std::string::npos
                         ? -1
                         : _open(fileName, O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0644);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        if (file >= 0) close(file);
        throw Poco::SystemException("cannot create named mutex " + fileName + " (lockfile)", name);
    }
    _lockForASecond(file);  // two processes that come at once must not both set the semaphore
    const key_t key = ftok(fileName.c_str(), 'p');
    if (key != -1) _makeSemaphore(key);
    flock(file, LOCK_UN);  // also for a child that was forked meanwhile and shares the open file
    close(file);
}

bool FailedNamedLockMayHold() {
    return false;
}

void AtUnload(void (*cleanUp)(void*), void* object) {
    auto* const library = static_cast<void*>(&__dso_handle);
    if (__cxa_atexit(cleanUp, object, library) != 0) throw std::bad_alloc();
}

UnloadMark::UnloadMark() : _newest(nullptr) {}  // the C runtime keeps the order by itself

UnloadMark::~UnloadMark() {}

}  // namespace morvel::platform
