#include <morvel/logging/LogFileChannel.h>

#include <cstdio>

#include <Poco/ArchiveStrategy.h>
#include <Poco/File.h>
#include <Poco/FileStream.h>
#include <Poco/Message.h>
#include <Poco/Path.h>

#include <morvel/platform/platform.h>

namespace morvel {
namespace {
// The bytes that a value of the property `rotation` stands for.
std::uint64_t sizeOf(const std::string& rotation) {
    unsigned long long number = 0;
    char unit = 0;
    std::sscanf(rotation.c_str(), "%llu %c", &number, &unit);
    return number << (unit == 'M' ? 20 : unit == 'K' ? 10 : 0);
}

bool endsInMidLine(const std::string& path) {
    try {
        Poco::FileInputStream in(path);
        in.seekg(-1, std::ios::end);
        return in && in.get() != '\n';
    } catch (const Poco::Exception&) {
        return false;  // there is no such file yet
    }
}

std::uint64_t sizeOfFile(const std::string& path) {
    const Poco::File file(path);
    return file.exists() ? file.getSize() : 0;
}
}  // namespace

LogFileChannel::LogFileChannel() = default;

LogFileChannel::~LogFileChannel() = default;

void LogFileChannel::open() {}

void LogFileChannel::close() {
    _file.reset();
}

void LogFileChannel::log(const Poco::Message& message) {
    WriteLine(message.getText());
}

void LogFileChannel::setProperty(const std::string& name, const std::string& value) {
    Poco::FileChannel::setProperty(name, value);
    if (name == PROP_ROTATION) {
        _rotationSize = sizeOf(value);
    }
}

void LogFileChannel::WriteLine(std::string_view text, std::uint64_t number, bool more) {
    try {
        if (number != 0 && number == _number && _hasComeThrough()) {
            return;
        }
        if (!_file) {
            _open();
        }
        std::uint64_t size = _file->size();
        if (_rotationSize != 0 && size >= _rotationSize) {
            _rotate();
            size = _file->size();
        }
        _sizeBefore = size;
        _number = number;
        _file->write(std::string(text), !more || platform::FlushMakesVisible());
    } catch (...) {
        _file.reset();  // its stream stays failed; the next line starts with a fresh one
        _torn = true;
    }
}

// Of the line begun last, whose writer was cut off anywhere: on opening the file for it too, which
// POCO may put off until the first line. Begins afresh with the file.
bool LogFileChannel::_hasComeThrough() {
    _file.reset();
    platform::CloseLeftOpen(platform::WideFromNarrow(path().c_str(), platform::CodePageUtf8));
    return sizeOfFile(path()) > _sizeBefore;
}

void LogFileChannel::_open() {
    const bool torn = _torn && endsInMidLine(path());  // before it is open, and maybe locked
    _file = std::make_unique<Poco::LogFile>(path());
    if (torn) {
        _file->write("");
    }
    _torn = false;
}

void LogFileChannel::_rotate() {
    _file.reset();
    try {
        // Whoever removed the folder took the file along, and there is nothing to archive.
        const Poco::Path folder = Poco::Path(path()).parent();
        Poco::File(folder).createDirectories();
        // A forked child writes to the same file; whoever comes second finds a new one in place.
        const platform::FolderLock lock(folder.toString());
        const Poco::File file(path());
        if (file.exists() && file.getSize() >= _rotationSize) {
            Poco::ArchiveByNumberStrategy strategy;
            _file.reset(strategy.archive(new Poco::LogFile(path())));
            purge();
        }
    } catch (...) {
        // it can't be archived: it grows on, and the next line tries again
    }
    if (!_file) {
        _open();
    }
}

}  // namespace morvel
