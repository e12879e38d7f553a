#include <morvel/logging/LogAsyncChannel.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include <Poco/Message.h>

#include <morvel/platform/platform.h>

namespace morvel {
namespace {
constexpr std::size_t UsualCapacity = 64 << 10;

platform::Mutex listLock;
LogAsyncChannel* first = nullptr;
}  // namespace

// Lines in a row, each behind its length. Nothing moves or grows, so a line costs the same whether
// few or many wait. All memory is written to at once: a caller would come to a new page with every
// thirtieth line or so, and wait for the system to find one.
struct LogAsyncChannel::Chunk {
    Chunk(std::size_t capacity, std::uint64_t theBefore) : bytes(capacity), before(theBefore) {}

    std::size_t Room() const { return bytes.size() - used.load(std::memory_order_relaxed); }

    void Add(std::string_view head, std::string_view text) {
        const std::size_t size = head.size() + text.size();
        char* to = bytes.data() + used.load(std::memory_order_relaxed);
        std::memcpy(to, &size, sizeof size);
        to += sizeof size;
        std::copy(text.begin(), text.end(), std::copy(head.begin(), head.end(), to));
        used.store(used.load(std::memory_order_relaxed) + sizeof size + size,
                   std::memory_order_release);
    }

    std::vector<char> bytes;
    std::uint64_t before;              // bytes of all chunks before it
    std::atomic<std::size_t> used{0};  // final once there is a next one
    std::size_t read = 0;              // for steps alone
    std::atomic<Chunk*> next{nullptr};
};

LogAsyncChannel::LogAsyncChannel(Poco::AutoPtr<LogFileChannel> file)
    : Poco::AsyncChannel(file, Poco::Thread::PRIO_NORMAL),
      _file(std::move(file)),
      _worker(_step, this),
      _reading(new Chunk(UsualCapacity, 0)),
      _last(_reading) {
    const std::lock_guard<platform::Mutex> lock(listLock);
    _next = first;
    first = this;
}

LogAsyncChannel::~LogAsyncChannel() {
    const std::lock_guard<platform::Mutex> lock(listLock);
    _worker.Stop();
    LogAsyncChannel** place = &first;
    while (*place != this) {
        place = &(*place)->_next;
    }
    *place = _next;
    _dropQueued();
    delete _reading;
    delete _spare.load();
}

void LogAsyncChannel::open() {}

void LogAsyncChannel::close() {
    const std::lock_guard<platform::Mutex> lock(listLock);
    _worker.Stop();
}

void LogAsyncChannel::log(const Poco::Message& message) {
    Queue([] { return std::string_view(); }, message.getText());
}

void LogAsyncChannel::_append(std::string_view head, std::string_view text) {
    const std::size_t needed = sizeof(std::size_t) + head.size() + text.size();
    if (needed <= _last->Room()) {
        _last->Add(head, text);
        return;
    }
    const std::uint64_t before = _last->before + _last->bytes.size();
    Chunk* chunk = needed <= UsualCapacity ? _spare.exchange(nullptr) : nullptr;
    if (chunk != nullptr) {
        chunk->before = before;
    } else {
        chunk = new Chunk(std::max(needed, UsualCapacity), before);
    }
    chunk->Add(head, text);
    _last->next.store(chunk, std::memory_order_release);
    _last = chunk;
}

bool LogAsyncChannel::_step(void* channel) {
    return static_cast<LogAsyncChannel*>(channel)->_writeOne();
}

// Where a thread is cut off in here, the next step finds everything as it was or as it should be:
// `_reading` and `read` change by one store each, and a line that comes again has its number again.
bool LogAsyncChannel::_writeOne() {
    Chunk* next = _reading->next.load(std::memory_order_acquire);
    std::size_t used = _reading->used.load(std::memory_order_acquire);
    if (_reading->read == used) {
        if (next == nullptr) {
            return false;
        }
        _readNextChunk(next);
        used = _reading->used.load(std::memory_order_acquire);
        next = _reading->next.load(std::memory_order_acquire);
    }
    if (next != nullptr && _spare.load(std::memory_order_relaxed) == nullptr) {
        _makeSpare();
    }
    const char* const from = _reading->bytes.data() + _reading->read;
    std::size_t size;
    std::memcpy(&size, from, sizeof size);
    const std::size_t end = _reading->read + sizeof size + size;
    _file->WriteLine({from + sizeof size, size}, _reading->before + _reading->read + 1, end < used);
    _reading->read = end;
    return true;
}

void LogAsyncChannel::_readNextChunk(Chunk* next) {
    Chunk* done = _reading;
    _reading = next;
    if (done->bytes.size() == UsualCapacity) {
        done->used.store(0, std::memory_order_relaxed);
        done->read = 0;
        done->next.store(nullptr, std::memory_order_relaxed);
        done = _spare.exchange(done);
    }
    delete done;
}

// While lines come faster than they go: the memory for them is found here, not by a caller.
void LogAsyncChannel::_makeSpare() {
    try {
        delete _spare.exchange(new Chunk(UsualCapacity, 0));
    } catch (const std::bad_alloc&) {
        // the caller who needs it tries again
    }
}

void LogAsyncChannel::_dropQueued() {
    while (Chunk* const next = _reading->next) {
        delete _reading;
        _reading = next;
    }
    _reading->read = _reading->used;
}

void LogAsyncChannel::WriteAllQueued() {
    const std::lock_guard<platform::Mutex> lock(listLock);
    for (LogAsyncChannel* channel = first; channel != nullptr; channel = channel->_next) {
        channel->_worker.Stop();
    }
}

void LogAsyncChannel::PauseAll() {
    listLock.lock();
    for (LogAsyncChannel* channel = first; channel != nullptr; channel = channel->_next) {
        channel->_worker.Pause();
    }
}

void LogAsyncChannel::ResumeAll() {
    for (LogAsyncChannel* channel = first; channel != nullptr; channel = channel->_next) {
        channel->_worker.Resume();
    }
    listLock.unlock();
}

void LogAsyncChannel::ResumeAllInChild() {
    for (LogAsyncChannel* channel = first; channel != nullptr; channel = channel->_next) {
        channel->_dropQueued();
        channel->_worker.ResumeInChild();
    }
    listLock.unlock();
}

}  // namespace morvel
