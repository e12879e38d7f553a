#include <morvel/sync/NMutex.h>

#include <atomic>

#include <morvel/sync/NNamedMutex.h>
#include <tests/support/TemporaryFolder.h>
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
    if (morvel::test::OnWindows) {
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
