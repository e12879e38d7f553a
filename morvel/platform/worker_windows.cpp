#include <windows.h>

#include <atomic>

#include <morvel/platform/platform.h>
#include <morvel/platform/worker.h>

namespace morvel::platform {

// The steps run as a callback of a thread pool with one thread, not on a thread of ours. Stop is
// called under the loader lock when the library is unloaded, and a thread needs that lock to begin
// and to end: waiting for its end would be for ever, and one that hasn't begun would later begin in
// code that is gone. A callback needs it for neither. What waits in the pool's queue can be taken
// back, and what runs returns to a thread that isn't ours to end.
//
// Everything is guarded by `lock`; `rest` repeats `stopping || paused`, so that the callback can
// look between two steps without taking the lock.
struct Worker::State {
    State(Step theStep, void* theObject) : step(theStep), object(theObject) {}

    const Step step;
    void* const object;
    SRWLOCK lock = SRWLOCK_INIT;
    CONDITION_VARIABLE atRest = CONDITION_VARIABLE_INIT;  // what Pause waits for
    PTP_POOL pool = nullptr;
    PTP_WORK work = nullptr;  // the callback, known to the pool
    bool scheduled = false;   // the pool has the callback and it hasn't looked for the last time
    bool busy = false;        // some thread is at its steps
    bool pending = false;     // woken since a step last answered false
    bool stopping = false;    // Stop is at work and does what is left itself
    bool paused = false;
    std::atomic<bool> rest{false};

    void take();
    void release() { ReleaseSRWLockExclusive(&lock); }
    void setRest() { rest.store(stopping || paused, std::memory_order_relaxed); }
    bool makeWork();
    void schedule();
    void runSteps(const std::atomic<bool>& until);
    static void CALLBACK run(PTP_CALLBACK_INSTANCE, void* state, PTP_WORK);
};

void Worker::State::take() {
    if (OtherThreadsAreGone()) {
        TryAcquireSRWLockExclusive(&lock);  // where it is taken, its holder is gone
    } else {
        AcquireSRWLockExclusive(&lock);
    }
}

bool Worker::State::makeWork() {
    if (work != nullptr) return true;
    if (pool == nullptr) {
        pool = CreateThreadpool(nullptr);
        if (pool == nullptr) return false;
        SetThreadpoolThreadMaximum(pool, 1);
    }
    TP_CALLBACK_ENVIRON environment;
    InitializeThreadpoolEnvironment(&environment);
    SetThreadpoolCallbackPool(&environment, pool);
    work = CreateThreadpoolWork(run, this, &environment);
    DestroyThreadpoolEnvironment(&environment);
    return work != nullptr;
}

// With the lock held: hands the work to the pool, unless it is there or may not go there now.
void Worker::State::schedule() {
    if (!pending || scheduled || stopping || paused || OtherThreadsAreGone()) return;
    if (!makeWork()) return;
    scheduled = true;
    SubmitThreadpoolWork(work);
}

// With the lock held on entry and exit: steps until there is nothing left or `until` is set.
void Worker::State::runSteps(const std::atomic<bool>& until) {
    pending = false;
    busy = true;
    release();
    bool more;
    do {
        more = step(object);
    } while (more && !until.load(std::memory_order_relaxed));
    take();
    busy = false;
    pending = pending || more;
    if (paused) WakeAllConditionVariable(&atRest);
}

void CALLBACK Worker::State::run(PTP_CALLBACK_INSTANCE, void* state, PTP_WORK) {
    auto* const self = static_cast<State*>(state);
    self->take();
    while (self->pending && !self->stopping && !self->paused) self->runSteps(self->rest);
    self->scheduled = false;
    self->release();
}

Worker::Worker(Step step, void* object) : _state(new State(step, object)) {}

Worker::~Worker() {
    if (!OtherThreadsAreGone()) {  // else the pool is as dead as its thread
        if (_state->work != nullptr) CloseThreadpoolWork(_state->work);
        if (_state->pool != nullptr) CloseThreadpool(_state->pool);
    }
    delete _state;
}

void Worker::Lock() {
    _state->take();
}

void Worker::Unlock() {
    _state->release();
}

void Worker::UnlockAndWake() {
    _state->pending = true;
    _state->schedule();
    _state->release();
}

void Worker::Stop() {
    const std::atomic<bool> never{false};
    _state->take();
    _state->stopping = true;
    _state->setRest();
    if (_state->work != nullptr && !OtherThreadsAreGone()) {
        _state->release();
        WaitForThreadpoolWorkCallbacks(_state->work, TRUE);  // TRUE: takes back what hasn't begun
        _state->take();
    }
    _state->scheduled = false;
    do {
        _state->runSteps(never);
    } while (_state->pending);
    _state->stopping = false;
    _state->setRest();
    _state->release();
}

void Worker::Pause() {
    _state->take();
    _state->paused = true;
    _state->setRest();
    while (_state->busy) {
        SleepConditionVariableSRW(&_state->atRest, &_state->lock, INFINITE, 0);
    }
}

void Worker::Resume() {
    _state->paused = false;
    _state->setRest();
    _state->schedule();
    _state->release();
}

void Worker::ResumeInChild() {
    Resume();  // there are no forked children here
}

bool AtFork(void (*)(), void (*)(), void (*)()) {
    return true;
}

}  // namespace morvel::platform
