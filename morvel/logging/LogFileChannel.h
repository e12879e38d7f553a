#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <Poco/FileChannel.h>

#include <morvel/platform/platform.h>

namespace morvel {

/// POCO's file channel, as far as properties, names of archives and purging go, with a file of our
/// own and an outcome for each failure: what can't be written is lost, nothing is thrown and
/// nothing else is harmed. The base class would go on with a deleted file when archiving fails, and
/// archive an empty file for each line that a full disk refuses. A thread may be cut off in it, as
/// happens at the end of a process on Windows: it takes no lock, which would stay behind.
///
/// Rotates by size only ("10 M", "500 K", "1000000") and archives by number. One thread at a time.
class LogFileChannel : public Poco::FileChannel {
public:
    LogFileChannel();

    void open() override;   ///< Does nothing: the file is opened for the first line.
    void close() override;  ///< The next line opens the file again.
    void log(const Poco::Message& message) override;
    void setProperty(const std::string& name, const std::string& value) override;

    /// Writes one line, given with its line feed; false if it is lost. Never throws. `number` tells
    /// lines apart: one that comes again, because the thread was cut off in it, is written only if
    /// it hasn't reached the file yet. A line of number 0 doesn't come again. With `more`, another
    /// line follows at once, and the disk need not be waited for behind this one.
    bool WriteLine(std::string_view line, std::uint64_t number = 0, bool more = false);

protected:
    ~LogFileChannel() override;

private:
    void _rotate();

    platform::FileHandle _file = platform::NoFile;
    std::uint64_t _rotationSize = 0;  // 0: never
    std::uint64_t _number = 0;        // the line begun last
    std::uint64_t _sizeBefore = 0;    // of the file, before that line
    std::uint64_t _sizeBehind = 0;    // of the file, behind that line; 0: to be asked for
    std::uint64_t _tornSize = 0;      // of a file whose last line could be written in part only
};

}  // namespace morvel
