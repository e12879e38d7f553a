#include <morvel/files/NFile.h>

#include <Poco/File.h>

#include <morvel/files/ThrowTranslated.h>
#include <morvel/platform/platform.h>
#include <morvel/text/Conversion.h>

// POCO's headers may have brought windows.h in.
#undef CreateDirectory
#undef CreateFile

namespace {

Poco::File _pocoFile(const NString& path) {
    return morvel::WithBytesIn(EncodingUTF8, path,
                               [](const std::string& bytes) { return Poco::File(bytes); });
}

}  // namespace

NFile::NFile(const NString& path) {
    _path = NPath(path);
}

NFile::~NFile() = default;

bool NFile::CreateFile() const {
    try {
        return _pocoFile(_path).createFile();
    } catch (...) {
        return false;  // by contract; CreateDirectories tells the reason
    }
}

bool NFile::CreateDirectory() const {
    try {
        return _pocoFile(_path).createDirectory();
    } catch (...) {
        return false;  // by contract, as above
    }
}

void NFile::CreateDirectories() const {
    const NString path(_path);  // ahead of the guard: out of memory here is std::bad_alloc
    try {
        morvel::platform::CreateDirectories(_pocoFile(path).path());
    } catch (...) {
        morvel::ThrowTranslated();
    }
}

NTimestamp NFile::CreationTime() const {
    try {
        if (const auto seconds = morvel::platform::CreationTime(_path.Wide())) {
            // Unsigned, for the sake of a file system with absurd stamps: wraps instead of
            // overflowing.
            return NTimestamp(
                static_cast<std::int64_t>(static_cast<std::uint64_t>(*seconds) * 1000000));
        }
    } catch (...) {  // a timestamp of 0 says that nobody knows
    }
    return NTimestamp(0);
}

bool NFile::Exists() const {
    try {
        return !_path.IsEmpty() && _pocoFile(_path).exists();
    } catch (...) {
        return false;  // a denied or malformed path is a plain no
    }
}

void NFile::Remove(bool recursive) const {
    if (_path.IsEmpty()) return;
    const NString path(_path);  // ahead of the guard, as above
    try {
        _pocoFile(path).remove(recursive);
    } catch (...) {
        morvel::ThrowTranslated();
    }
}

bool NFile::SetPermissions(std::uint32_t) const {
    return false;
}
