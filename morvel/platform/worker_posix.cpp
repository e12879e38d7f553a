#include <pthread.h>
#include <signal.h>

#include <atomic>

#include <morvel/platform/worker.h>

namespace morvel::platform {

// Everything is guarded by `mutex`; `rest` repeats `ending || paused`, so that a thread in the
// middle of its work can look between two steps without taking the lock.
struct Worker::State {
    State(Step theStep, void* theObject) : step(theStep), object(theObject) {}

    const Step step;
    void* const object;
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t wakeUp = PTHREAD_COND_INITIALIZER;  // what the working thread waits for
    pthread_cond_t atRest = PTHREAD_COND_INITIALIZER;  // what Pause waits for
    pthread_t thread{};
    bool running = false;   // the thread exists
    bool busy = false;      // some thread is at its steps
    bool pending = false;   // woken since a step last answered false
    bool ending = false;    // the thread is to end
    bool stopping = false;  // Stop is at work and does what is left itself
    bool paused = false;
    std::atomic<bool> rest{false};

    void start();
    void setRest() { rest.store(ending || paused, std::memory_order_relaxed); }
    void runSteps();
    void work();
};

void Worker::State::start() {
    // A signal of the host's is handled on a thread of the host's.
    sigset_t all, former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    const auto run = [](void* state) -> void* {
        static_cast<State*>(state)->work();
        return nullptr;
    };
    running = pthread_create(&thread, nullptr, run, this) == 0;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

// With the mutex held on entry and exit: steps until there is nothing left or the thread has to
// rest.
void Worker::State::runSteps() {
    pending = false;
    busy = true;
    pthread_mutex_unlock(&mutex);
    bool more;
    do {
        more = step(object);
    } while (more && !rest.load(std::memory_order_relaxed));
    pthread_mutex_lock(&mutex);
    busy = false;
    pending = pending || more;
    if (paused) pthread_cond_broadcast(&atRest);
}

void Worker::State::work() {
    pthread_mutex_lock(&mutex);
    while (!ending) {
        if (pending && !paused) {
            runSteps();
        } else {
            pthread_cond_wait(&wakeUp, &mutex);
        }
    }
    pthread_mutex_unlock(&mutex);
}

Worker::Worker(Step step, void* object) : _state(new State(step, object)) {}

Worker::~Worker() {
    delete _state;
}

void Worker::Lock() {
    pthread_mutex_lock(&_state->mutex);
}

void Worker::Unlock() {
    pthread_mutex_unlock(&_state->mutex);
}

void Worker::UnlockAndWake() {
    const bool asleep = !_state->busy && !_state->pending;
    _state->pending = true;
    if (!_state->running && !_state->stopping) _state->start();
    // Under the lock: behind it, the worker may be gone already.
    if (asleep) pthread_cond_signal(&_state->wakeUp);
    pthread_mutex_unlock(&_state->mutex);
}

void Worker::Stop() {
    pthread_mutex_lock(&_state->mutex);
    _state->stopping = true;
    if (_state->running) {
        _state->ending = true;
        _state->setRest();
        pthread_cond_broadcast(&_state->wakeUp);
        pthread_mutex_unlock(&_state->mutex);
        pthread_join(_state->thread, nullptr);
        pthread_mutex_lock(&_state->mutex);
        _state->running = false;
        _state->ending = false;
        _state->setRest();
    }
    do {
        while (_state->paused) pthread_cond_wait(&_state->wakeUp, &_state->mutex);
        _state->runSteps();
    } while (_state->pending);
    _state->stopping = false;
    pthread_mutex_unlock(&_state->mutex);
}

void Worker::Pause() {
    pthread_mutex_lock(&_state->mutex);
    _state->paused = true;
    _state->setRest();
    while (_state->busy) pthread_cond_wait(&_state->atRest, &_state->mutex);
}

void Worker::Resume() {
    _state->paused = false;
    _state->setRest();
    pthread_cond_broadcast(&_state->wakeUp);
    pthread_mutex_unlock(&_state->mutex);
}

void Worker::ResumeInChild() {
    // The waiting threads that the condition variables know of don't exist in this process.
    _state->wakeUp = PTHREAD_COND_INITIALIZER;
    _state->atRest = PTHREAD_COND_INITIALIZER;
    _state->running = false;
    _state->busy = false;
    _state->pending = false;
    _state->ending = false;
    _state->stopping = false;
    _state->paused = false;
    _state->setRest();
    pthread_mutex_unlock(&_state->mutex);
}

bool AtFork(void (*before)(), void (*inParent)(), void (*inChild)()) {
    return pthread_atfork(before, inParent, inChild) == 0;
}

}  // namespace morvel::platform
