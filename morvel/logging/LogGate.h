#pragma once

#include <atomic>

#include <morvel/platform/platform.h>

namespace morvel {

/// Keeps callers that log apart from the moments that they must not meet: POCO's loggers and
/// formatters can't be used while they are set up or shut down, and a fork must find no lock of
/// theirs taken. A lock that a line goes through shares: it costs two atomic additions. Whoever
/// changes the loggers holds it alone. For std::shared_lock and std::lock_guard; not recursive
/// there.
///
/// No wait is for ever. A thread that the end of a process cut off inside, and a caller that locks
/// the gate while it passes, cost a few seconds and the protection, not a hang.
class LogGate {
public:
    void lock_shared();
    void unlock_shared();
    void lock();
    void unlock();

    /// For the moment before the system cuts off all threads but the caller's: what is queued is in
    /// the file afterwards, and whoever logs from then on waits outside and holds nothing. Where
    /// that moment doesn't come, the first of those who wait opens the gate again.
    void CloseForTheEnd();

    /// From now on each fork of the process waits until the lines queued so far are written and the
    /// default log isn't being made, for a few seconds at most where the writer is stuck.
    static void GuardForks();

private:
    bool _tryEnter();

    std::atomic<int> _inside{0};
    std::atomic<bool> _closed{false};
    std::atomic<bool> _ending{false};  // it was closed for the end of the process
};

extern LogGate _logGate;

/// Held while the default log is asked for or taken away: one thread at a time, and no fork.
extern platform::Mutex _defaultLogLock;

}  // namespace morvel
