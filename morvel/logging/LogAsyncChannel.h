#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <Poco/AsyncChannel.h>
#include <Poco/AutoPtr.h>

#include <morvel/logging/LogFileChannel.h>
#include <morvel/platform/worker.h>

namespace morvel {

/// POCO's asynchronous channel with a queue and a thread of our own; those of the base class are
/// never used, since they can't be ended while a library is being unloaded on Windows and wait for
/// ever in a forked child. The thread comes with the first line.
///
/// Any thread may log. Lines reach the file in the order in which they were queued. A channel that
/// was closed may be used again.
class LogAsyncChannel : public Poco::AsyncChannel {
public:
    explicit LogAsyncChannel(Poco::AutoPtr<LogFileChannel> file);

    void open() override;   ///< Does nothing.
    void close() override;  ///< Writes what is queued and ends the thread.
    void log(const Poco::Message& message) override;
    void Queue(std::string line);  ///< As log with a message of this text.

    /// Writes what is queued in any channel. REQUIRES: there is no other thread.
    static void WriteAllQueued();

    /// Around a fork: every channel stands still between two lines. The child drops the lines that
    /// the parent still has to write.
    static void PauseAll();
    static void ResumeAll();
    static void ResumeAllInChild();

protected:
    ~LogAsyncChannel() override;

private:
    static bool _step(void* channel);
    bool _writeOne();

    Poco::AutoPtr<LogFileChannel> _file;
    std::vector<std::string> _queue;  // under the worker's lock; all else is for steps alone
    std::vector<std::string> _batch;
    std::size_t _written = 0;   // lines of the batch that are done with
    std::uint64_t _before = 0;  // lines of the batches before it
    platform::Worker _worker;

    LogAsyncChannel* _next;  // in the list of all channels
};

}  // namespace morvel
