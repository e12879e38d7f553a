#include <windows.h>

#include <morvel/platform/platform.h>
#include <morvel/platform/worker.h>

namespace morvel::platform {

// The steps run as a callback of a thread pool with one thread, not on a thread of ours. Stop is
// called under the loader lock when the library is unloaded, and a thread needs that lock to begin
// and to end: waiting for its end would be for ever, and one that hasn't begun would later begin in
// code that is gone. A callback needs it for neither. What waits in the pool's queue can be taken
// back, and what runs returns to a thread that isn't ours to end.
struct Worker::State {  // all guarded by `mutex`
    State(Step theStep, void* theObject) : step(theStep), object(theObject) {}

    const Step step;
    void* const object;
    Mutex mutex;
    PTP_POOL pool = nullptr;
    PTP_WORK work = nullptr;  // the callback, known to the pool
    bool scheduled = false;   // the pool has the callback and it hasn't looked for the last time
    bool busy = false;        // a step is running
    bool pending = false;     // woken since a step last returned false
    bool stopping = false;    // Stop is at work and does what is left itself

    bool MakeWork();
    void RunStep();
    static void CALLBACK Run(PTP_CALLBACK_INSTANCE, void* state, PTP_WORK);
};

bool Worker::State::MakeWork() {
    if (pool == nullptr) {
        pool = CreateThreadpool(nullptr);
        if (pool == nullptr) return false;
        SetThreadpoolThreadMaximum(pool, 1);
    }
    if (work == nullptr) {
        TP_CALLBACK_ENVIRON environment;
        InitializeThreadpoolEnvironment(&environment);
        SetThreadpoolCallbackPool(&environment, pool);
        work = CreateThreadpoolWork(Run, this, &environment);
        DestroyThreadpoolEnvironment(&environment);
    }
    return work != nullptr;
}

// With the lock held on entry and exit.
void Worker::State::RunStep() {
    pending = false;
    busy = true;
    mutex.unlock();
    const bool more = step(object);
    mutex.lock();
    busy = false;
    pending = pending || more;
}

void CALLBACK Worker::State::Run(PTP_CALLBACK_INSTANCE, void* state, PTP_WORK) {
    auto* const self = static_cast<State*>(state);
    self->mutex.lock();
    while (self->pending && !self->stopping) self->RunStep();
    self->scheduled = false;
    self->mutex.unlock();
}

Worker::Worker(Step step, void* object) : _state(new State(step, object)) {}

Worker::~Worker() {
    if (!OtherThreadsAreGone()) {  // else the pool is as dead as its thread
        if (_state->work != nullptr) CloseThreadpoolWork(_state->work);
        if (_state->pool != nullptr) CloseThreadpool(_state->pool);
    }
    delete _state;
}

void Worker::lock() {
    _state->mutex.lock();
}

void Worker::unlock() {
    _state->mutex.unlock();
}

void Worker::Wake() {
    _state->pending = true;
    if (!_state->scheduled && !_state->stopping && !OtherThreadsAreGone() && _state->MakeWork()) {
        _state->scheduled = true;
        SubmitThreadpoolWork(_state->work);
    }
}

bool Worker::IsIdle() const {
    return !_state->busy && !_state->pending;
}

bool Worker::Stop() {
    const auto end = std::chrono::steady_clock::now() + StuckTimeout;
    _state->mutex.lock();
    _state->stopping = true;
    if (_state->work != nullptr && !OtherThreadsAreGone()) {
        while (_state->busy && std::chrono::steady_clock::now() < end) {
            _state->mutex.unlock();
            SleepMilliseconds(1);
            _state->mutex.lock();
        }
        if (_state->busy) {
            _state->stopping = false;
            _state->mutex.unlock();
            return false;
        }
        _state->mutex.unlock();
        WaitForThreadpoolWorkCallbacks(_state->work, TRUE);  // TRUE: takes back what hasn't begun
        _state->mutex.lock();
    }
    _state->scheduled = false;
    do {
        _state->RunStep();  // at least one: a thread that was cut off in a step left it undone
    } while (_state->pending);
    _state->stopping = false;
    _state->mutex.unlock();
    return true;
}

void Worker::Pause() {}

void Worker::Resume(bool) {}

bool AtFork(void (*)(), void (*)(), void (*)()) {
    return true;
}

}  // namespace morvel::platform
