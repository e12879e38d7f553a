#include <morvel/sync/NMutex.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <thread>

#include <Poco/Path.h>
#include <gtest/gtest.h>

#include <morvel/sync/NNamedMutex.h>

namespace {

bool nothingLeft = false;  // makes the allocations fail that may return null
bool asked = false;

const bool onWindows = Poco::Path::separator() == '\\';

// What an operation throws that isn't an exception object.
template <class Operation>
int thrown(Operation operation) {
    try {
        operation();
    } catch (int value) {
        return value;
    }
    return 0;
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    asked = true;
    return nothingLeft ? nullptr : ::operator new(size);
}

TEST(NMutex, ThrowsMinusOneWithoutALock) {
    nothingLeft = true;
    NMutex mutex;
    NNamedMutex named(nullptr);  // the name isn't looked at
    nothingLeft = false;
    if (!asked) {
        GTEST_SKIP() << "the library has an allocator of its own here";
    }
    EXPECT_EQ(thrown([&] { mutex.Lock(); }), -1);
    EXPECT_EQ(thrown([&] { mutex.Unlock(); }), -1);
    EXPECT_EQ(thrown([&] { named.Lock(); }), -1);
    EXPECT_EQ(thrown([&] { named.Unlock(); }), -1);
}

TEST(NMutex, IsHeldUntilUnlockedAsOftenAsLocked) {
    NMutex& mutex = NMutex::Process();
    mutex.Lock();
    mutex.Lock();
    std::atomic<bool> through{false};
    std::thread other([&] {
        const NAutoMutexLock lock(&mutex);
        through = true;
    });
    mutex.Unlock();
    NMutex::Sleep(30);  // time enough to come through, were it open
    EXPECT_FALSE(through);
    mutex.Unlock();
    other.join();
}

TEST(NMutex, GuardLetsGoWhenAnExceptionLeavesItsScope) {
    NMutex mutex;
    try {
        const NAutoMutexLock lock(&mutex);
        const NAutoMutexLock ofNothing(nullptr);
        const NAutoNamedMutexLock namedOfNothing(nullptr);
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
    }
    std::thread([&] { const NAutoMutexLock lock(&mutex); }).join();  // else waits for ever
}

TEST(NMutexDeathTest, GuardThatCannotUnlockEndsTheProcess) {
    if (onWindows) {
        GTEST_SKIP() << "the system lets anybody unlock";
    }
    EXPECT_DEATH(
        {
            NMutex mutex;
            const NAutoMutexLock lock(&mutex);
            mutex.Unlock();
        },
        "");
}
