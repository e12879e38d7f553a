#include <morvel/logging/LogAsyncChannel.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <Poco/Message.h>

#include <morvel/platform/platform.h>

namespace morvel {
namespace {
constexpr std::size_t UsualCapacity = 64 << 10;
constexpr int LinesOfAStep = 64;  // so that the lock is rarely taken by the writer

platform::Mutex _listLock;
LogAsyncChannel* _first = nullptr;
std::atomic<bool> _lineLost{false};  // since somebody last asked

// Lines in a row, each behind its length. A thread may be cut off in here, so nothing counts before
// it is whole.
struct Buffer {
    void Append(std::string_view head, std::string_view text) {
        const std::size_t size = head.size() + text.size() + 1;
        if (sizeof size + size > capacity - used) _grow(used + sizeof size + size);
        char* to = bytes.get() + used;
        std::memcpy(to, &size, sizeof size);
        to = std::copy(head.begin(), head.end(), to + sizeof size);
        *std::copy(text.begin(), text.end(), to) = '\n';
        used += sizeof size + size;
    }

    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
    std::size_t used = 0;

private:
    // All memory is written to at once: a caller would come to a new page with every thirtieth line
    // or so, and wait for the system to find one.
    void _grow(std::size_t needed) {
        const std::size_t larger = std::max({needed, 2 * capacity, UsualCapacity});
        std::unique_ptr<char[]> copy(new char[larger]());
        std::copy_n(bytes.get(), used, copy.get());
        bytes.swap(copy);
        capacity = larger;
    }
};
}  // namespace

// What the thread works on: the one that it takes lines from and writes, and the one that callers
// fill under the worker's lock. It outlives its channel if the thread is stuck.
struct LogAsyncChannel::Writer {
    explicit Writer(Poco::AutoPtr<LogFileChannel> theFile) : file(std::move(theFile)) {}

    bool WriteSome();
    bool Swap();
    void DropQueued();
    std::uint64_t Queued() const { return base + buffers[0].used + buffers[1].used; }

    Poco::AutoPtr<LogFileChannel> file;
    platform::Worker worker{[](void* writer) { return static_cast<Writer*>(writer)->WriteSome(); },
                            this};
    Buffer buffers[2];
    int filled = 0;          // the buffer of the callers; the thread has the other one
    std::uint64_t done = 0;  // bytes of all lines so far: identifies a line that comes again
    std::uint64_t base = 0;  // `done` at the start of the thread's buffer
};

// Where a thread is cut off in here, the next step finds everything as it was or as it should be: a
// line that comes again has its number again.
bool LogAsyncChannel::Writer::WriteSome() {
    if (done - base >= buffers[1 - filled].used && !Swap()) return false;
    const Buffer& buffer = buffers[1 - filled];
    for (int line = 0; line < LinesOfAStep && done - base < buffer.used; ++line) {
        const char* const from = buffer.bytes.get() + (done - base);
        std::size_t size;
        std::memcpy(&size, from, sizeof size);
        const std::uint64_t next = done + sizeof size + size;
        if (!file->WriteLine({from + sizeof size, size}, done + 1, next - base < buffer.used)) {
            _lineLost = true;
        }
        done = next;
    }
    return true;
}

bool LogAsyncChannel::Writer::Swap() {
    const std::lock_guard<platform::Worker> lock(worker);
    Buffer& written = buffers[1 - filled];
    written.used = 0;
    base = done;
    if (buffers[filled].used != 0) {
        filled = 1 - filled;
        return true;
    }
    for (Buffer& buffer : buffers) {  // all is written: what a burst took is given back
        if (buffer.capacity > UsualCapacity) {
            buffer.capacity = 0;
            buffer.bytes.reset();
        }
    }
    return false;
}

void LogAsyncChannel::Writer::DropQueued() {
    buffers[0].used = buffers[1].used = 0;
    base = ++done;  // what comes next is not the line that the parent is writing
}

LogAsyncChannel::LogAsyncChannel(Poco::AutoPtr<LogFileChannel> file)
    : Poco::AsyncChannel(file, Poco::Thread::PRIO_NORMAL), _writer(new Writer(std::move(file))) {
    const std::lock_guard<platform::Mutex> lock(_listLock);
    _next = _first;
    _first = this;
}

LogAsyncChannel::~LogAsyncChannel() {
    const std::lock_guard<platform::Mutex> lock(_listLock);
    LogAsyncChannel** link = &_first;
    while (*link != this) link = &(*link)->_next;
    *link = _next;
    if (_writer->worker.Stop()) delete _writer;
}

void LogAsyncChannel::open() {}

void LogAsyncChannel::close() {
    const std::lock_guard<platform::Mutex> lock(_listLock);
    _writer->worker.Stop();
}

void LogAsyncChannel::log(const Poco::Message& message) {
    Queue([] { return std::string_view(); }, message.getText());
}

platform::Worker& LogAsyncChannel::_worker() {
    return _writer->worker;
}

void LogAsyncChannel::_append(std::string_view head, std::string_view text) {
    _writer->buffers[_writer->filled].Append(head, text);
    _writer->worker.Wake();
}

bool LogAsyncChannel::Flush(std::chrono::seconds timeout) {
    const auto end = std::chrono::steady_clock::now() + timeout;
    // Where a channel goes meanwhile, it has written its lines.
    std::vector<std::pair<const Writer*, std::uint64_t>> awaited;
    const auto forEach = [](auto use) {
        const std::lock_guard<platform::Mutex> lock(_listLock);
        for (LogAsyncChannel* channel = _first; channel != nullptr; channel = channel->_next) {
            const std::lock_guard<platform::Worker> workerLock(channel->_writer->worker);
            use(*channel->_writer);
        }
    };
    forEach([&](const Writer& writer) { awaited.emplace_back(&writer, writer.Queued()); });
    for (;;) {
        bool written = true;
        forEach([&](const Writer& writer) {
            if (writer.worker.IsIdle()) return;
            for (const auto& [channel, queued] : awaited) {
                written = written && (channel != &writer || writer.base >= queued);
            }
        });
        if (written) return !_lineLost.exchange(false);
        if (std::chrono::steady_clock::now() >= end) return false;
        platform::SleepMilliseconds(1);
    }
}

void LogAsyncChannel::WriteAllQueued() {
    const std::lock_guard<platform::Mutex> lock(_listLock);
    for (LogAsyncChannel* channel = _first; channel != nullptr; channel = channel->_next) {
        channel->_writer->worker.Stop();
    }
}

void LogAsyncChannel::WriteAllIfAlone() {
    if (platform::OtherThreadsAreGone()) WriteAllQueued();
}

void LogAsyncChannel::PauseAll() {
    _listLock.lock();
    for (LogAsyncChannel* channel = _first; channel != nullptr; channel = channel->_next) {
        channel->_writer->worker.Pause();
    }
}

void LogAsyncChannel::ResumeAll(bool inChild) {
    for (LogAsyncChannel* channel = _first; channel != nullptr; channel = channel->_next) {
        if (inChild) channel->_writer->DropQueued();
        channel->_writer->worker.Resume(inChild);
    }
    _listLock.unlock();
}

}  // namespace morvel
