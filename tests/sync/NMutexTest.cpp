#include <morvel/sync/NMutex.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include <Poco/Path.h>
#include <gtest/gtest.h>

#include <morvel/sync/NNamedMutex.h>

namespace {

bool nothingLeft = false;  // makes the allocations fail that may return null
bool asked = false;

const bool onWindows = Poco::Path::separator() == '\\';

// What an operation throws that isn't an exception object.
template <class Operation>
int thrownInteger(Operation operation) {
    try {
        operation();
    } catch (int value) {
        return value;
    }
    return 0;
}

template <class Mutex>
void expectAllThrowMinusOne(Mutex* mutex) {
    EXPECT_EQ(thrownInteger([&] { mutex->Lock(); }), -1);
    EXPECT_EQ(thrownInteger([&] { mutex->Unlock(); }), -1);
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    asked = true;
    if (nothingLeft) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

TEST(NMutex, ThrowsMinusOneWithoutALock) {
    nothingLeft = true;
    NMutex mutex;
    NNamedMutex named(nullptr);  // the name isn't looked at
    nothingLeft = false;
    if (!asked) {
        GTEST_SKIP() << "the library has an allocator of its own here";
    }
    expectAllThrowMinusOne(&mutex);
    expectAllThrowMinusOne(&named);
    EXPECT_EQ(thrownInteger([&] { NAutoMutexLock lock(&mutex); }), -1);
    EXPECT_EQ(thrownInteger([&] { NAutoNamedMutexLock lock(&named); }), -1);
}

TEST(NMutex, ExcludesThreads) {
    NMutex mutex;
    std::atomic<int> counter{0};  // atomic for the sake of the language, counted up in two steps
    const auto count = [&] {
        for (int i = 0; i < 10000; ++i) {
            const NAutoMutexLock lock(&mutex);
            const int value = counter.load(std::memory_order_relaxed);
            if (i % 100 == 0) {
                NMutex::Sleep(0);
            }
            counter.store(value + 1, std::memory_order_relaxed);
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back(count);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 40000);
}

TEST(NMutex, IsHeldUntilUnlockedAsOftenAsLocked) {
    NMutex mutex;
    mutex.Lock();
    mutex.Lock();
    std::atomic<bool> through{false};
    std::thread other([&] {
        mutex.Lock();
        through = true;
        mutex.Unlock();
    });
    mutex.Unlock();
    NMutex::Sleep(30);  // time enough to come through, were it open
    EXPECT_FALSE(through);
    mutex.Unlock();
    other.join();
    EXPECT_TRUE(through);
}

TEST(NMutex, GuardLetsGoWhenAnExceptionLeavesItsScope) {
    NMutex mutex;
    try {
        const NAutoMutexLock lock(&mutex);
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
    }
    std::thread([&] { const NAutoMutexLock lock(&mutex); }).join();  // else waits for ever
}

TEST(NMutex, GuardOfNothingDoesNothing) {
    const NAutoMutexLock lock(nullptr);
    const NAutoNamedMutexLock named(nullptr);
    static_assert(std::has_virtual_destructor<NAutoMutexLock>::value, "");
    static_assert(std::has_virtual_destructor<NAutoNamedMutexLock>::value, "");
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

TEST(NMutex, ProcessHasOneOfItsOwn) {
    EXPECT_EQ(&NMutex::Process(), &NMutex::Process());
    const NAutoMutexLock lock(&NMutex::Process());
    const NAutoMutexLock again(&NMutex::Process());
}
