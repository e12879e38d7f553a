#include <morvel/logging/LogGate.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/platform/platform.h>
#include <morvel/platform/worker.h>

namespace morvel {
namespace {
std::atomic<int> _inside{0};
std::atomic<bool> _closed{false};
std::atomic<bool> _ending{false};  // it was closed for the end of the process
std::atomic<bool> _forksGuarded{false};
platform::Mutex _defaultLogLock;

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

bool _tryEnter() {
    ++_inside;
    if (!_closed) return true;
    --_inside;
    return false;
}

void _close() {
    _waitFor([] { return !_closed.exchange(true); });
    _waitFor([] { return _inside == 0; });
}

void _beforeFork() {
    _defaultLogLock.lock();
    _close();
    LogAsyncChannel::PauseAll();
}

void _afterForkInParent() {
    LogAsyncChannel::ResumeAll(false);
    _closed = false;
    _defaultLogLock.unlock();
}

void _afterForkInChild() {
    LogAsyncChannel::ResumeAll(true);
    _inside = 0;
    _closed = false;
    _defaultLogLock.unlock();
}
}  // namespace

LogGate::Pass::Pass() {
    if (!_tryEnter() && !_waitFor(_tryEnter)) {
        if (_ending.exchange(false)) {
            _closed = false;
        }
        ++_inside;
    }
}

LogGate::Pass::~Pass() {
    --_inside;
}

LogGate::Closure::Closure() {
    _close();
}

LogGate::Closure::~Closure() {
    _closed = false;
}

LogGate::DefaultLogTurn::DefaultLogTurn() {
    _defaultLogLock.lock();
}

LogGate::DefaultLogTurn::~DefaultLogTurn() {
    _defaultLogLock.unlock();
}

void LogGate::CloseForTheEnd() {
    _close();
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
