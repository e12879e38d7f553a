#include <morvel/logging/LogGate.h>

#include <chrono>
#include <new>
#include <thread>

#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/platform/worker.h>

namespace morvel {

LogGate _logGate;
platform::Mutex _defaultLogLock;

namespace {
std::atomic<bool> _forksGuarded{false};

// False after a timeout.
template <class Condition>
bool _waitFor(Condition isTrue) {
    for (int turn = 0; turn < 100; ++turn) {
        if (isTrue()) return true;
        if (platform::OtherThreadsAreGone()) {
            return false;  // whoever is awaited won't come
        }
        std::this_thread::yield();
    }
    const auto end = std::chrono::steady_clock::now() + platform::StuckTimeout;
    while (std::chrono::steady_clock::now() < end) {
        if (isTrue()) return true;
        platform::SleepMilliseconds(1);
    }
    return false;
}

void _beforeFork() {
    _defaultLogLock.lock();
    _logGate.lock();
    LogAsyncChannel::PauseAll();
}

void _afterForkInParent() {
    LogAsyncChannel::ResumeAll(false);
    _logGate.unlock();
    _defaultLogLock.unlock();
}

void _afterForkInChild() {
    LogAsyncChannel::ResumeAll(true);
    new (&_logGate) LogGate;  // whoever was inside or waited is no thread of this process
    _defaultLogLock.unlock();
}
}  // namespace

void LogGate::lock_shared() {
    if (!_waitFor([this] { return _tryEnter(); })) {
        if (_ending.exchange(false)) _closed = false;
        ++_inside;
    }
}

bool LogGate::_tryEnter() {
    ++_inside;
    if (!_closed) return true;
    --_inside;
    return false;
}

void LogGate::unlock_shared() {
    --_inside;
}

void LogGate::lock() {
    _waitFor([this] { return !_closed.exchange(true); });
    _waitFor([this] { return _inside == 0; });
}

void LogGate::unlock() {
    _closed = false;
}

void LogGate::CloseForTheEnd() {
    lock();
    LogAsyncChannel::WriteAllQueued();
    _ending = true;
}

void LogGate::GuardForks() {
    if (!_forksGuarded.exchange(true) &&
        !platform::AtFork(_beforeFork, _afterForkInParent, _afterForkInChild)) {
        _forksGuarded = false;  // memory was short; the next log tries again
    }
}

}  // namespace morvel
