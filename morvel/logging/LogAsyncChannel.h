#pragma once

#include <chrono>
#include <mutex>
#include <string_view>

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
/// was closed may be used again. Where the thread is stuck in the system, close and the destructor
/// give up after a few seconds, and what is queued is lost.
class LogAsyncChannel : public Poco::AsyncChannel {
public:
    explicit LogAsyncChannel(Poco::AutoPtr<LogFileChannel> file);

    void open() override;   ///< Does nothing.
    void close() override;  ///< Writes what is queued and ends the thread.
    void log(const Poco::Message& message) override;

    /// As log with a message of the text that `head`, a function without arguments, gives, and of
    /// `text` behind it. `head` is called by one thread at a time.
    template <class Head>
    void Queue(Head head, std::string_view text) {
        const std::lock_guard<platform::Worker> lock(_worker());
        _append(head(), text);
    }

    /// Waits until what is queued now, in any channel, is written; false after `timeout`, and if a
    /// line of any channel was lost since the call before.
    static bool Flush(std::chrono::seconds timeout);

    /// Writes what is queued in any channel.
    static void WriteAllQueued();

    /// The same where the system has cut off all other threads, which Windows does before it runs
    /// the destructors of a library, else nothing. To be called before anything that may wait for a
    /// lock of POCO's or of the system's: one of those threads may have held it, and Windows ends
    /// the process at once there.
    static void WriteAllIfAlone();

    /// Around a fork: what is queued is written, for a few seconds at most, and every channel
    /// stands still. The child drops the lines that the parent still has to write.
    static void PauseAll();
    static void ResumeAll(bool inChild);

protected:
    ~LogAsyncChannel() override;

private:
    struct Writer;

    platform::Worker& _worker();
    void _append(std::string_view head, std::string_view text);

    Writer* _writer;
    LogAsyncChannel* _next;  // in the list of all channels, whose lock stands for all Stop calls
};

}  // namespace morvel
