#pragma once

namespace morvel::platform {

/// One background thread that works off, step by step, what other threads queue for it, together
/// with the lock that guards the queue. The queue itself belongs to the owner:
///
///     bool Owner::_step() {                  // on the worker's thread
///         if (_batch.empty()) {
///             _worker.Lock();
///             _batch.swap(_queue);
///             _worker.Unlock();
///         }
///         return !_batch.empty() && _doOne();
///     }
///     void Owner::Add(Item item) {           // on any thread
///         _worker.Lock();
///         _queue.push_back(std::move(item));
///         _worker.UnlockAndWake();
///     }
///
/// Steps never overlap, whichever thread runs them. There is no thread before the first
/// UnlockAndWake, nor after Stop. Threads: Lock, Unlock and UnlockAndWake from any; all others from
/// one thread at a time, and never from within a step. Nothing but the constructor throws.
class Worker {
public:
    /// Does one piece of work without the lock (it may take it meanwhile); false if there was none.
    /// Must not throw. When a Windows process ends, the system cuts the thread off wherever it is,
    /// and Stop goes on with the next step: so a step leaves at each moment what the next one needs
    /// to tell how far it came, and works under no lock that the next one would need.
    using Step = bool (*)(void* object);

    /// Starts nothing. Steps will be `step(object)`.
    Worker(Step step, void* object);

    /// REQUIRES: Stop was called and nothing was woken since.
    ~Worker();

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// The lock of the queue; not recursive, held for moments only.
    void Lock();
    void Unlock();

    /// Gives the lock back and sees to it that, from now on, steps are run until one answers false.
    /// Starts the thread if there is none and Stop isn't at work; if the system has no thread to
    /// give, the work waits for the next call or for Stop. A thread that is awake costs no system
    /// call. REQUIRES: the caller holds the lock.
    void UnlockAndWake();

    /// Ends the thread between two steps, then runs the steps that are left on the calling thread
    /// until one answers false and nothing was woken meanwhile. May be called while the library is
    /// being unloaded and while the process ends, where the thread, and whoever held the lock, may
    /// be gone already on Windows. A later UnlockAndWake starts a new thread.
    void Stop();

    /// Waits until no step is running and holds the lock then, so that the owner's data stand
    /// still: for the moment of a fork. Resume undoes it.
    void Pause();
    void Resume();

    /// In place of Resume in a forked child: the thread stayed with the parent. Nothing counts as
    /// woken afterwards, and the next UnlockAndWake starts a thread of the child's own.
    /// REQUIRES: Pause was called before the fork, by the thread that forked.
    void ResumeInChild();

private:
    struct State;
    State* _state;
};

/// From now on until the library is unloaded, each fork of the process calls `before` ahead of it,
/// and behind it `inParent` in the one process and `inChild` in the other, all on the forking
/// thread. False if the system refuses. Does nothing, with success, where processes don't fork.
bool AtFork(void (*before)(), void (*inParent)(), void (*inChild)());

}  // namespace morvel::platform
