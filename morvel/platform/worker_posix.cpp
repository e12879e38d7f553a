#include <pthread.h>
#include <signal.h>

#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

#include <morvel/platform/worker.h>

namespace morvel::platform {
namespace {

// A signal of the host's is handled on a thread of the host's; one that a write raises, SIGPIPE or
// SIGXFSZ, ends nobody.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &_former);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &_former, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t _former;
};

}  // namespace

struct Worker::State {  // all guarded by `mutex`
    State(Step theStep, void* theObject) : step(theStep), object(theObject) {}

    const Step step;
    void* const object;
    std::mutex mutex;
    std::condition_variable wakeUp;  // what the thread waits for
    std::condition_variable atRest;  // what Stop and Pause wait for: the thread finished a step
    std::thread thread;
    bool running = false;  // the thread is in Run
    bool busy = false;     // a step is running
    bool pending = false;  // woken since a step last returned false
    bool ending = false;   // the thread is to end when all work is done
    bool stuck = false;    // the step that is running has outlasted the timeout before

    void Start();
    void Run();
    void RunStep(std::unique_lock<std::mutex>& lock);
};

void Worker::State::Start() {
    if (thread.joinable()) thread.join();
    const SignalsBlocked inherited;  // by the thread
    try {
        ending = false;
        thread = std::thread(&State::Run, this);
        running = true;
    } catch (const std::exception&) {
        // no thread to be had: the next Wake tries again
    }
}

void Worker::State::Run() {
    std::unique_lock<std::mutex> lock(mutex);
    while (pending || !ending) {
        if (pending) {
            RunStep(lock);
        } else {
            wakeUp.wait(lock);
        }
    }
    running = false;
    atRest.notify_all();
}

void Worker::State::RunStep(std::unique_lock<std::mutex>& lock) {
    pending = false;
    busy = true;
    lock.unlock();
    const bool more = step(object);
    lock.lock();
    busy = stuck = false;
    pending = pending || more;
    atRest.notify_all();
}

Worker::Worker(Step step, void* object) : _state(new State(step, object)) {}

Worker::~Worker() {
    delete _state;
}

void Worker::lock() {
    _state->mutex.lock();
}

void Worker::unlock() {
    _state->mutex.unlock();
}

void Worker::Wake() {
    const bool asleep = !_state->busy && !_state->pending;
    _state->pending = true;
    if (!_state->running) {
        _state->Start();
    } else if (asleep) {
        _state->wakeUp.notify_one();
    }
}

bool Worker::IsIdle() const {
    return !_state->busy && !_state->pending;
}

bool Worker::Stop() {
    std::unique_lock<std::mutex> lock(_state->mutex);
    _state->ending = true;
    _state->wakeUp.notify_one();
    while (_state->running && _state->ending) {  // a Wake may have begun another thread
        // Each step that ends notifies, and begins the time anew.
        if (_state->stuck ||
            (_state->atRest.wait_for(lock, StuckTimeout) == std::cv_status::timeout &&
             _state->busy)) {
            _state->stuck = true;
            return false;
        }
    }
    if (!_state->running && _state->thread.joinable()) _state->thread.join();
    if (!_state->running && _state->pending) {  // the system had no thread to give
        const SignalsBlocked here;
        while (_state->pending) _state->RunStep(lock);
    }
    return true;
}

void Worker::Pause() {
    std::unique_lock<std::mutex> lock(_state->mutex);
    const auto isDone = [this] { return !_state->running || _state->stuck || IsIdle(); };
    if (!_state->atRest.wait_for(lock, StuckTimeout, isDone)) {
        _state->stuck = _state->busy;  // until this step ends: whoever comes next doesn't wait
    }
    lock.release();
}

void Worker::Resume(bool inChild) {
    if (inChild) {
        // The thread, and its wait for a condition, don't exist in this process.
        new (&_state->wakeUp) std::condition_variable;
        new (&_state->atRest) std::condition_variable;
        new (&_state->thread) std::thread;
        _state->running = _state->busy = _state->pending = _state->stuck = false;
    }
    _state->mutex.unlock();
}

bool AtFork(void (*before)(), void (*inParent)(), void (*inChild)()) {
    return pthread_atfork(before, inParent, inChild) == 0;
}

}  // namespace morvel::platform
