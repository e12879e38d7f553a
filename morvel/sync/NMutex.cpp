#include <morvel/sync/NMutex.h>

#include <new>

#include <Poco/Mutex.h>

#include <morvel/platform/platform.h>

NMutex::NMutex() : _mutex(nullptr) {
    _mutex = new (std::nothrow) Poco::Mutex;
}

NMutex::~NMutex() {
    delete _mutex;
}

void NMutex::Lock() {
    if (_mutex == nullptr) throw -1;
    _mutex->lock();
}

void NMutex::Unlock() {
    if (_mutex == nullptr) throw -1;
    _mutex->unlock();
}

NMutex& NMutex::Process() {
    return _process;
}

void NMutex::Sleep(std::uint32_t milliseconds) {
    morvel::platform::SleepMilliseconds(milliseconds);
}

NAutoMutexLock::NAutoMutexLock(NMutex* mutex) : _mutex(mutex) {
    if (_mutex != nullptr) _mutex->Lock();
}

NAutoMutexLock::~NAutoMutexLock() {
    if (_mutex != nullptr) _mutex->Unlock();
}
