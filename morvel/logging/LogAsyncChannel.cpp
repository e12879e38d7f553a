#include <morvel/logging/LogAsyncChannel.h>

#include <mutex>
#include <utility>

#include <Poco/Message.h>

namespace morvel {
namespace {
// A queue that grew in a burst gives its memory back; below this it is kept for the next lines.
constexpr std::size_t KeptLines = 4096;

std::mutex listLock;
LogAsyncChannel* first = nullptr;
}  // namespace

LogAsyncChannel::LogAsyncChannel(Poco::AutoPtr<LogFileChannel> file)
    : Poco::AsyncChannel(file, Poco::Thread::PRIO_NORMAL),
      _file(std::move(file)),
      _worker(_step, this) {
    const std::lock_guard<std::mutex> lock(listLock);
    _next = first;
    first = this;
}

LogAsyncChannel::~LogAsyncChannel() {
    _worker.Stop();
    const std::lock_guard<std::mutex> lock(listLock);
    LogAsyncChannel** place = &first;
    while (*place != this) {
        place = &(*place)->_next;
    }
    *place = _next;
}

void LogAsyncChannel::open() {}

void LogAsyncChannel::close() {
    _worker.Stop();
}

void LogAsyncChannel::log(const Poco::Message& message) {
    Queue(message.getText());
}

void LogAsyncChannel::Queue(std::string line) {
    _worker.Lock();
    try {
        _queue.push_back(std::move(line));
    } catch (...) {
        _worker.Unlock();
        throw;
    }
    _worker.UnlockAndWake();
}

bool LogAsyncChannel::_step(void* channel) {
    return static_cast<LogAsyncChannel*>(channel)->_writeOne();
}

bool LogAsyncChannel::_writeOne() {
    if (_written >= _batch.size()) {  // above it where a thread was cut off in the lines below
        _before += _batch.size();     // ahead of all that empties the batch: no number comes again
        if (_batch.capacity() > KeptLines) {
            std::vector<std::string>().swap(_batch);
        }
        _batch.clear();
        _written = 0;
        _worker.Lock();
        _batch.swap(_queue);
        _worker.Unlock();
        if (_batch.empty()) {
            return false;
        }
    }
    // Where a thread is cut off in here, the next step comes with the same line and number.
    _file->WriteLine(_batch[_written], _before + _written + 1, _written + 1 < _batch.size());
    _batch[_written] = std::string();
    ++_written;
    return true;
}

void LogAsyncChannel::WriteAllQueued() {
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
        channel->_queue.clear();
        channel->_before += channel->_batch.size();
        channel->_batch.clear();
        channel->_written = 0;
        channel->_worker.ResumeInChild();
    }
    listLock.unlock();
}

}  // namespace morvel
