#pragma once

#include <chrono>

namespace morvel::platform {

/// How long anybody waits for a thread that makes no progress: it may be stuck in the system, in a
/// FIFO whose reader sleeps or in a network folder that is gone.
constexpr std::chrono::seconds StuckTimeout(5);

/// A background thread that works off what other threads queue, and the lock that guards the queue.
/// The queue itself belongs to the owner:
///
///     void Owner::Add(Item item) {           // on any thread
///         const std::lock_guard<Worker> lock(_worker);
///         _queue[_filled].push_back(std::move(item));
///         _worker.Wake();
///     }
///     bool Owner::_step() {                  // on the background thread
///         if (_next == _queue[1 - _filled].size()) {
///             const std::lock_guard<Worker> lock(_worker);
///             _queue[1 - _filled].clear();
///             _next = 0;
///             _filled = 1 - _filled;
///         }
///         return _next < _queue[1 - _filled].size() && _writeOne();
///     }
///
/// Steps never overlap. There is no thread before the first Wake, nor after Stop. Wake may be
/// called from any thread; Stop, Pause and Resume from one at a time, and never from within a step.
/// Nothing but the constructor throws.
class Worker {
public:
    /// Does a piece of work without the lock (it may take it meanwhile); false if there was none.
    /// Must not throw. When a Windows process ends, the system cuts the thread off wherever it is,
    /// and Stop goes on with the next step: so a step leaves at each moment what the next one needs
    /// to tell how far it came.
    using Step = bool (*)(void* object);

    /// Starts nothing. Steps will be `step(object)`.
    Worker(Step step, void* object);

    /// REQUIRES: Stop returned true, and nothing was woken since.
    ~Worker();

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// The lock of the queue, for std::lock_guard; not recursive, held for moments only.
    void lock();
    void unlock();

    /// From now on steps are run until one returns false. Starts the thread if there is none; if
    /// the system has no thread to give, the work waits for the next call or for Stop. A thread
    /// that is awake costs no system call. REQUIRES: the caller holds the lock.
    void Wake();

    /// Whether no work is left. REQUIRES: the caller holds the lock.
    bool IsIdle() const;

    /// Returns when all work is done and the thread has ended; a later Wake starts a new one. May
    /// be called while the library is being unloaded and while the process ends, where the thread,
    /// and whoever held the lock, may be gone already on Windows. False if a step has been stuck
    /// for the timeout: the thread goes on when the system lets it, so the worker and what its
    /// steps use must stay.
    bool Stop();

    /// For the moment of a fork: waits for the timeout at most until all work is done, and returns
    /// with the lock held. Resume gives it back. In the forked child, where the thread is missing,
    /// nothing counts as woken afterwards. Both do nothing where processes don't fork.
    void Pause();
    void Resume(bool inChild);

private:
    struct State;
    State* _state;
};

/// From now on until the library is unloaded, each fork of the process calls `before` ahead of it,
/// and behind it `inParent` in the one process and `inChild` in the other, all on the forking
/// thread. False if the system refuses. Does nothing, with success, where processes don't fork.
bool AtFork(void (*before)(), void (*inParent)(), void (*inChild)());

}  // namespace morvel::platform
