#pragma once

#include <atomic>
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
/// was closed may be used again.
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
        const Turn turn(_worker);
        _append(head(), text);
    }

    /// Writes what is queued in any channel. REQUIRES: no other thread goes on logging.
    static void WriteAllQueued();

    /// Around a fork: every channel stands still between two lines. The child drops the lines that
    /// the parent still has to write.
    static void PauseAll();
    static void ResumeAll();
    static void ResumeAllInChild();

protected:
    ~LogAsyncChannel() override;

private:
    // A caller's time with the queue.
    class Turn {
    public:
        explicit Turn(platform::Worker& worker) : _worker(worker) { _worker.Lock(); }
        ~Turn() { _worker.UnlockAndWake(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

    private:
        platform::Worker& _worker;
    };

    struct Chunk;

    static bool _step(void* channel);
    bool _writeOne();
    void _append(std::string_view head, std::string_view text);
    void _readNextChunk(Chunk* next);
    void _makeSpare();
    void _dropQueued();

    Poco::AutoPtr<LogFileChannel> _file;
    platform::Worker _worker;
    // The queue is a chain of chunks. Callers, under the worker's lock, write to the last one,
    // steps read the first one without it.
    Chunk* _reading;
    Chunk* _last;
    std::atomic<Chunk*> _spare{nullptr};  // for the next time that the last one is full

    LogAsyncChannel* _next;  // in the list of all channels, whose lock stands for all Stop calls
};

}  // namespace morvel
