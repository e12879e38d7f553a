#include <morvel/platform/SharedMutex.h>
#include <morvel/platform/platform.h>

#include <Poco/File.h>  // ahead of windows.h, since it brings winsock2.h
//
#include <windows.h>
//
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <shlobj.h>
#include <sys/stat.h>

#include <atomic>
#include <cstring>

// Exported by ntdll since Windows XP. The documented way to learn it is an argument of DllMain,
// which says the same at the same time.
extern "C" __declspec(dllimport) BOOLEAN NTAPI RtlDllShutdownInProgress(void);

namespace morvel::platform {

namespace {

struct UnloadEntry {
    void (*cleanUp)(void*);
    void* object;
    UnloadEntry* older;
};

std::atomic<UnloadEntry*> _newestEntry;  // zero before any code runs

PSRWLOCK _asLock(void** lock) {
    static_assert(sizeof(SRWLOCK) == sizeof(void*));
    return reinterpret_cast<PSRWLOCK>(lock);
}

}  // namespace

std::string NarrowFromWide(const NWideChar* text, std::int32_t codePage) {
    const auto page = static_cast<UINT>(codePage);
    const int size = WideCharToMultiByte(page, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0) return {};
    std::string result(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(page, 0, text, -1, &result[0], size, nullptr, nullptr);
    result.pop_back();  // the terminating NUL counts in the size
    return result;
}

NWideString WideFromNarrow(const char* text, std::int32_t codePage) {
    const auto page = static_cast<UINT>(codePage);
    const int size = MultiByteToWideChar(page, 0, text, -1, nullptr, 0);
    if (size <= 0) return {};
    NWideString result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(page, 0, text, -1, &result[0], size);
    result.pop_back();
    return result;
}

int CompareNoCase(const char* a, const char* b) {
    return _stricmp(a, b);
}

int CompareNoCase(const char* a, const char* b, std::size_t count) {
    return _strnicmp(a, b, count);
}

NativeName NativeFileName(const NWideString& name) {
    return name;
}

void CreateDirectories(const std::string& name) {
    Poco::File(name).createDirectories();
}

NWideString SpecialFolder(Folder folder) {
    static_assert(static_cast<int>(Folder::AppData) == CSIDL_APPDATA &&
                  static_cast<int>(Folder::CommonAppData) == CSIDL_COMMON_APPDATA &&
                  static_cast<int>(Folder::CommonDocuments) == CSIDL_COMMON_DOCUMENTS);
    wchar_t path[MAX_PATH];
    // Not FAILED: S_FALSE names a folder that isn't there.
    if (SHGetFolderPathW(nullptr, static_cast<int>(folder), nullptr, 0, path) != S_OK) return {};
    return path;
}

std::string ExecutablePath() {
    char path[MAX_PATH];
    // A name that doesn't fit is cut, on some systems without a NUL behind it.
    return std::string(path, strnlen(path, GetModuleFileNameA(nullptr, path, MAX_PATH)));
}

std::optional<std::int64_t> CreationTime(const NWideString& name) {
    struct _stat64i32 status;
    if (_wstat64i32(name.c_str(), &status) != 0) return {};
    return status.st_ctime;
}

std::FILE* OpenForWriting(const NWideString& name) {
    const int file =
        _wsopen(name.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                _SH_DENYWR, _S_IREAD | _S_IWRITE);
    std::FILE* const stream = file < 0 ? nullptr : _fdopen(file, "wb");
    if (file >= 0 && stream == nullptr) _close(file);
    return stream;
}

std::FILE* Open(const NativeName& name, Access access) {
    constexpr int Shared = _O_BINARY | _O_NOINHERIT;
    const int flags = access == Access::Read    ? _O_RDONLY
                      : access == Access::Write ? _O_WRONLY | _O_CREAT | _O_TRUNC
                                                : _O_WRONLY | _O_CREAT | _O_EXCL;
    const int file = _wopen(name.c_str(), flags | Shared, _S_IREAD | _S_IWRITE);
    std::FILE* const stream =
        file < 0 ? nullptr : _fdopen(file, access == Access::Read ? "rb" : "wb");
    if (file >= 0 && stream == nullptr) {
        _close(file);
        if (access == Access::New) _wunlink(name.c_str());
        errno = ENOMEM;
    }
    return stream;
}

bool CopyPermissions(const NativeName&, std::FILE*) {
    return true;
}

bool FlushToDisk(std::FILE* file) {
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}

void KeepPrivate(Poco::FileStreamBuf*) {}

FileHandle OpenForAppending(const std::string& name) {
    const NWideString wide = WideFromNarrow(name.c_str(), CodePageUtf8);
    const HANDLE file = CreateFileW(wide.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    SetFilePointer(file, 0, nullptr, FILE_END);
    return reinterpret_cast<FileHandle>(file);
}

std::size_t Append(FileHandle file, std::string_view text, bool flush) {
    std::string bytes;
    bytes.reserve(text.size() + 16);
    for (const char c : text) bytes += c == '\n' ? "\r\n" : std::string_view(&c, 1);
    const auto handle = reinterpret_cast<HANDLE>(file);
    const auto size = static_cast<DWORD>(bytes.size());
    DWORD written = 0;
    const bool isWhole =
        WriteFile(handle, bytes.data(), size, &written, nullptr) && written == size;
    return isWhole && (!flush || FlushFileBuffers(handle)) ? written : 0;
}

std::uint64_t SizeOf(FileHandle file) {
    LARGE_INTEGER size{};
    GetFileSizeEx(reinterpret_cast<HANDLE>(file), &size);
    return static_cast<std::uint64_t>(size.QuadPart);
}

void Close(FileHandle file) {
    if (file != NoFile) CloseHandle(reinterpret_cast<HANDLE>(file));
}

std::error_code Rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    const DWORD attributes = GetFileAttributesW(to.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return std::make_error_code(std::errc::is_a_directory);
    }
    if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        return {};
    }
    switch (GetLastError()) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return std::make_error_code(std::errc::no_such_file_or_directory);
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            return std::make_error_code(std::errc::permission_denied);
        case ERROR_DISK_FULL:
            return std::make_error_code(std::errc::no_space_on_device);
        default:
            return std::make_error_code(std::errc::io_error);
    }
}

bool OtherThreadsAreGone() {
    return RtlDllShutdownInProgress() != FALSE;
}

void Mutex::lock() {
    if (!OtherThreadsAreGone()) AcquireSRWLockExclusive(_asLock(&_lock));
}

// A release would go to those who wait, on stacks that are gone with their threads.
void Mutex::unlock() {
    if (!OtherThreadsAreGone()) ReleaseSRWLockExclusive(_asLock(&_lock));
}

void SharedMutex::lock() {
    AcquireSRWLockExclusive(_asLock(&_lock));
}

void SharedMutex::unlock() {
    ReleaseSRWLockExclusive(_asLock(&_lock));
}

void SharedMutex::lock_shared() {
    AcquireSRWLockShared(_asLock(&_lock));
}

void SharedMutex::unlock_shared() {
    ReleaseSRWLockShared(_asLock(&_lock));
}

std::tm LocalTime(std::time_t time) {
    std::tm local = {};
    _localtime64_s(&local, &time);
    return local;
}

void SleepMilliseconds(std::uint32_t milliseconds) {
    ::Sleep(milliseconds);
}

FolderLock::FolderLock(const std::string&) : _descriptor(-1) {}

FolderLock::~FolderLock() = default;

void PrepareNamedMutex(const std::string&) {}

bool FailedNamedLockMayHold() {
    return true;
}

// The runtime's own list won't do: what is registered while it runs is never called. Entries are
// pushed without a lock, since at the end of a process the threads that could hold one are gone.
void AtUnload(void (*cleanUp)(void*), void* object) {
    auto* const entry = new UnloadEntry{cleanUp, object, _newestEntry.load()};
    while (!_newestEntry.compare_exchange_weak(entry->older, entry)) {
    }
}

UnloadMark::UnloadMark() : _newest(_newestEntry.load()) {}

UnloadMark::~UnloadMark() {
    while (_newestEntry.load() != _newest) {
        UnloadEntry* const entry = _newestEntry.load();
        _newestEntry.store(entry->older);  // first, so that a new entry comes on top
        entry->cleanUp(entry->object);
        delete entry;
    }
}

}  // namespace morvel::platform
