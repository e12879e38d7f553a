#include <morvel/logging/LogFileChannel.h>

#include <cstdio>
#include <new>
#include <utility>

#include <Poco/File.h>
#include <Poco/Message.h>
#include <Poco/Path.h>

namespace morvel {
namespace {
// The bytes that a value of the property `rotation` stands for.
std::uint64_t _bytesOf(const std::string& rotation) {
    unsigned long long number = 0;
    char unit = 0;
    std::sscanf(rotation.c_str(), "%llu %c", &number, &unit);
    return number << (unit == 'M' ? 20 : unit == 'K' ? 10 : 0);
}

// A process that is killed can leave a part of a line: the system writes page by page.
bool _endsInsideALine(const std::string& path) {
    using namespace platform;
    std::FILE* const file =
        Open(NativeFileName(WideFromNarrow(path.c_str(), CodePageUtf8)), Access::Read);
    if (file == nullptr) return false;
    const bool isInside = std::fseek(file, -1, SEEK_END) == 0 && std::fgetc(file) != '\n';
    std::fclose(file);
    return isInside;
}
}  // namespace

LogFileChannel::LogFileChannel() = default;

LogFileChannel::~LogFileChannel() {
    LogFileChannel::close();
}

void LogFileChannel::open() {}

void LogFileChannel::close() {
    platform::Close(std::exchange(_file, platform::NoFile));
    _sizeBehind = 0;
}

void LogFileChannel::log(const Poco::Message& message) {
    WriteLine(message.getText() + "\n");
}

void LogFileChannel::setProperty(const std::string& name, const std::string& value) {
    Poco::FileChannel::setProperty(name, value);
    if (name == PROP_ROTATION) _rotationSize = _bytesOf(value);
}

bool LogFileChannel::WriteLine(std::string_view line, std::uint64_t number, bool more) {
    try {
        if (number != 0 && number == _number && platform::SizeOf(_file) > _sizeBefore) return true;
        if (_file == platform::NoFile) {
            _file = platform::OpenForAppending(path());
            const std::uint64_t size = platform::SizeOf(_file);
            if (size != 0 && _endsInsideALine(path())) _tornSize = size;
        }
        // To ask for the size costs as much as to write a line, and only forked children change it.
        std::uint64_t size = std::exchange(_sizeBehind, 0);
        if (size == 0) size = platform::SizeOf(_file);
        if (_rotationSize != 0 && size >= _rotationSize) {
            _rotate();
            size = platform::SizeOf(_file);
        }
        if (_tornSize != 0 && _tornSize == size) size += platform::Append(_file, "\n", false);
        _sizeBefore = size;
        _number = number;
        if (const std::size_t written = platform::Append(_file, line, !more)) {
            _sizeBehind = more ? size + written : 0;
            _tornSize = 0;
            return true;
        }
        size = platform::SizeOf(_file);
        if (size > _sizeBefore) _tornSize = size;
    } catch (const std::bad_alloc&) {
        // this line is lost
    }
    close();  // the next line tries a fresh one, since the path may lead elsewhere by then
    return false;
}

// A forked child writes to the same file. Whoever comes second finds a new one in place.
void LogFileChannel::_rotate() {
    close();
    try {
        // Whoever removed the folder took the file along, and there is nothing to archive.
        const Poco::Path folder = Poco::Path(path()).parent();
        Poco::File(folder).createDirectories();
        const platform::FolderLock lock(folder.toString());
        Poco::File file(path());
        if (file.exists() && file.getSize() >= _rotationSize) {
            const auto archive = [this](int n) { return path() + "." + std::to_string(n); };
            int oldest = 0;
            while (Poco::File(archive(oldest)).exists()) ++oldest;
            for (; oldest > 0; --oldest) Poco::File(archive(oldest - 1)).renameTo(archive(oldest));
            file.renameTo(archive(0));
            purge();
        }
    } catch (...) {
        // it can't be archived: it grows on, and the next line tries again
    }
    _file = platform::OpenForAppending(path());
}

}  // namespace morvel
