#include <morvel/sync/NNamedMutex.h>

#include <new>
#include <string>

#include <Poco/Exception.h>
#include <Poco/NamedMutex.h>

#include <morvel/platform/platform.h>

namespace {

std::string _prepared(std::string name) {
    morvel::platform::PrepareNamedMutex(name);
    return name;
}

}  // namespace

// Room comes first: where there is none, the name isn't looked at.
NNamedMutex::NNamedMutex(const char* name) : _mutex(nullptr) {
    _mutex = new (std::nothrow) Poco::NamedMutex(_prepared(name));
}

NNamedMutex::~NNamedMutex() {
    delete _mutex;
}

void NNamedMutex::Lock() {
    if (_mutex == nullptr) throw -1;
    try {
        _mutex->lock();
    } catch (const Poco::Exception&) {
        if (morvel::platform::FailedNamedLockMayHold()) {
            _mutex->unlock();  // without effect for a thread that doesn't hold it
        }
        throw;
    }
}

void NNamedMutex::Unlock() {
    if (_mutex == nullptr) throw -1;
    _mutex->unlock();
}

NAutoNamedMutexLock::NAutoNamedMutexLock(NNamedMutex* mutex) : _mutex(mutex) {
    if (_mutex != nullptr) _mutex->Lock();
}

NAutoNamedMutexLock::~NAutoNamedMutexLock() {
    if (_mutex != nullptr) _mutex->Unlock();
}
