#include <morvel/files/WholeFile.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <new>

#include <morvel/platform/platform.h>

using morvel::platform::Access;

namespace {

std::error_code _lastError() {
    return std::error_code(errno, std::generic_category());
}

std::FILE* _open(const std::filesystem::path& name, Access access) {
    std::FILE* const file = morvel::platform::Open(name.native(), access);
    if (file == nullptr && errno == ENOMEM) throw std::bad_alloc();
    return file;
}

bool _isFolder(const std::filesystem::path& name) {
    std::error_code ignored;
    return std::filesystem::is_directory(name, ignored);
}

// Writes to the disk what `file` is to hold when it takes the place of `name`.
std::error_code _fill(std::FILE* file, const std::filesystem::path& name, std::string_view bytes) {
    if (!morvel::platform::CopyPermissions(name.native(), file)) return _lastError();
    std::setvbuf(file, nullptr, _IONBF, 0);  // what a signal interrupts is written again here
    while (!bytes.empty()) {
        bytes.remove_prefix(std::fwrite(bytes.data(), 1, bytes.size(), file));
        if (!bytes.empty() && errno != EINTR) return _lastError();
    }
    return morvel::platform::FlushToDisk(file) ? std::error_code() : _lastError();
}

}  // namespace

std::error_code morvel::ReadWholeFile(const std::filesystem::path& name, std::string* bytes) {
    if (_isFolder(name)) return std::make_error_code(std::errc::is_a_directory);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_open(name, Access::Read),
                                                               std::fclose);
    if (!file) return _lastError();
    std::error_code unknown;  // the size of a pipe
    const std::uintmax_t size = std::filesystem::file_size(name, unknown);
    if (!unknown) bytes->reserve(static_cast<std::size_t>(size));
    char buffer[65536];
    while (std::feof(file.get()) == 0) {
        const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get());
        if (std::ferror(file.get()) != 0) {
            if (errno != EINTR) return _lastError();
            std::clearerr(file.get());
        }
        bytes->append(buffer, count);
    }
    return {};
}

std::error_code morvel::ReplaceContents(const std::filesystem::path& name, std::string_view bytes) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(name, ignored);
    if (is_directory(status)) return std::make_error_code(std::errc::is_a_directory);
    // A device or a pipe would be replaced, and no longer be one.
    if (exists(status) && !is_regular_file(status)) {
        return std::make_error_code(std::errc::not_supported);
    }
    std::filesystem::path newName;
    std::FILE* file = nullptr;
    // Another process may have its file here, or have left it.
    for (int number = 0; number < 1000 && file == nullptr; ++number) {
        newName = name;
        newName += "." + std::to_string(number) + ".new";
        file = _open(newName, Access::New);
        if (file == nullptr && errno != EEXIST) break;
    }
    if (file == nullptr) return _lastError();
    std::error_code error = _fill(file, name, bytes);
    if (std::fclose(file) != 0 && !error) error = _lastError();
    if (!error) error = platform::Rename(newName, name);
    // The failure itself is what counts.
    if (error) std::filesystem::remove(newName, ignored);
    return error;
}
