// A lock that nobody else wants.
#include <Poco/Mutex.h>

#include <mutex>

#include <morvel/sync/NMutex.h>

#include "Subject.h"

namespace {

template <class Lock>
void _add(const std::string& subject, Lock lock) {
    bench::AddEqual(
        "lock and unlock/" + subject, bench::Items(1000),
        [lock] {
            int count = 0;
            for (int i = 0; i < 1000; ++i) count += lock();
            return count;
        },
        1000);
}

}  // namespace

void AddSubjects() {
    const auto own = std::make_shared<NMutex>();
    _add("Morvel", [own] {
        own->Lock();
        own->Unlock();
        return 1;
    });
    const auto raw = std::make_shared<Poco::Mutex>();
    _add("POCO (raw)", [raw] {
        raw->lock();
        raw->unlock();
        return 1;
    });
    const auto standard = std::make_shared<std::recursive_mutex>();
    _add("std::recursive_mutex", [standard] {
        standard->lock();
        standard->unlock();
        return 1;
    });
}
