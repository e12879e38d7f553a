#include <morvel/logging/LogGate.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/platform/platform.h>
#include <morvel/platform/worker.h>

namespace morvel {
namespace {
constexpr std::chrono::seconds Patience(5);

std::atomic<int> inside{0};
std::atomic<bool> closed{false};
std::atomic<bool> ending{false};  // it was closed for the end of the process
std::atomic<bool> forksGuarded{false};
platform::Mutex defaultLogLock;

// False if the patience ended first.
template <class Condition>
bool waitFor(Condition isMet) {
    for (int turn = 0; turn < 100; ++turn) {
        if (isMet()) {
            return true;
        }
        if (platform::OtherThreadsAreGone()) {
            return false;  // whoever is awaited won't come
        }
        std::this_thread::yield();
    }
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (std::chrono::steady_clock::now() < end) {
        if (isMet()) {
            return true;
        }
        platform::SleepMilliseconds(1);
    }
    return false;
}

bool tryEnter() {
    ++inside;
    if (!closed) {
        return true;
    }
    --inside;
    return false;
}

void close() {
    waitFor([] { return !closed.exchange(true); });
    waitFor([] { return inside == 0; });
}

void beforeFork() {
    defaultLogLock.lock();
    close();
    LogAsyncChannel::PauseAll();
}

void afterForkInParent() {
    LogAsyncChannel::ResumeAll();
    closed = false;
    defaultLogLock.unlock();
}

void afterForkInChild() {
    LogAsyncChannel::ResumeAllInChild();
    inside = 0;
    closed = false;
    defaultLogLock.unlock();
}
}  // namespace

LogGate::Pass::Pass() {
    if (!tryEnter() && !waitFor(tryEnter)) {
        if (ending.exchange(false)) {
            closed = false;
        }
        ++inside;
    }
}

LogGate::Pass::~Pass() {
    --inside;
}

LogGate::Closure::Closure() {
    close();
}

LogGate::Closure::~Closure() {
    closed = false;
}

LogGate::DefaultLogTurn::DefaultLogTurn() {
    defaultLogLock.lock();
}

LogGate::DefaultLogTurn::~DefaultLogTurn() {
    defaultLogLock.unlock();
}

void LogGate::CloseForTheEnd() {
    close();
    LogAsyncChannel::WriteAllQueued();
    ending = true;
}

void LogGate::GuardForks() {
    if (!forksGuarded.exchange(true) &&
        !platform::AtFork(beforeFork, afterForkInParent, afterForkInChild)) {
        forksGuarded = false;  // memory was short; the next log tries again
    }
}

}  // namespace morvel
