#include <morvel/sync/NMutex.h>

#include <morvel/sync/NNamedMutex.h>
#include <tests/support/Test.h>

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
    // Time enough to come through, were it open.
    EXPECT_GE(SecondsOf([] { NMutex::Sleep(30); }), 0.029);
    EXPECT_FALSE(through);
    mutex.Unlock();
    other.join();
}

TEST(NMutexDeathTest, GuardUnlocksHoweverItsScopeIsLeftAndElseEndsTheProcess) {
    NMutex mutex;
    try {
        const NAutoMutexLock lock(&mutex), ofNothing(nullptr);
        const NAutoNamedMutexLock namedOfNothing(nullptr);
        throw std::runtime_error("leave");
    } catch (const std::runtime_error&) {
    }
    std::thread([&] { const NAutoMutexLock lock(&mutex); }).join();  // else waits for ever
    if (OnWindows) GTEST_SKIP() << "the system lets anybody unlock";
    const auto unlockTwice = [&] {
        const NAutoMutexLock lock(&mutex);
        mutex.Unlock();
    };
    EXPECT_DEATH(unlockTwice(), "");
}
