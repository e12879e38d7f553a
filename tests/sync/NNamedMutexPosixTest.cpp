#include <morvel/sync/NNamedMutex.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstdio>

#include <Poco/Exception.h>

#include <morvel/sync/NMutex.h>
#include <tests/support/Test.h>
#include <tests/sync/NamedMutexNames.h>

namespace {

struct NNamedMutexPosix : testing::Test {
    key_t Key() const { return ftok(file.c_str(), 'p'); }
    int Semaphore() const { return Key() == -1 ? -1 : semget(Key(), 1, 0); }

    NamedMutexNames names;
    const std::string name = names.New(), file = NamedMutexNames::FileOf(name);
};

}  // namespace

TEST_F(NNamedMutexPosix, IsOpenThoughItsMakerDiedBeforeItCouldSetIt) {
    std::fclose(std::fopen(file.c_str(), "w"));
    ASSERT_GE(semget(Key(), 1, 0666 | IPC_CREAT | IPC_EXCL), 0);
    NNamedMutex mutex(name.c_str());
    const NAutoNamedMutexLock lock(&mutex);  // else waits for good
}

// Whoever makes the lock is alone with the file meanwhile, so that no two set it. But the file lock
// is anybody's to take, and so is waited for only a moment.
TEST_F(NNamedMutexPosix, IsMadeByOneAtATime) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CREAT, 0644);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    std::thread other([&] {
        NNamedMutex mutex(name.c_str());
        const NAutoNamedMutexLock lock(&mutex);
    });
    NMutex::Sleep(50);
    EXPECT_EQ(Semaphore(), -1);
    other.join();  // else waits for good
    close(descriptor);
}

// A second object finds a lock at 0 too, but one that is in use.
TEST_F(NNamedMutexPosix, IsLeftAsItStandsByThoseThatComeLater) {
    NNamedMutex first(name.c_str());
    const NAutoNamedMutexLock lock(&first);
    NNamedMutex second(name.c_str());
    EXPECT_EQ(semctl(Semaphore(), 0, GETVAL), 0);
}

TEST_F(NNamedMutexPosix, PassesOnWhatPocoSaysOfANameThatCannotBe) {
    EXPECT_THROW(NNamedMutex("morvel-test/no-such-folder"), Poco::SystemException);
}
