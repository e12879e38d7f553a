#include <morvel/sync/NNamedMutex.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <Poco/Exception.h>

#include <morvel/sync/NMutex.h>
#include <tests/sync/NamedMutexName.h>

namespace {

struct NNamedMutexPosix : Test, NamedMutexName {
    int Semaphore(int flags) const { return semget(ftok(file.c_str(), 'p'), 1, flags); }
    void MakeAndLock() const {
        NNamedMutex mutex(name.c_str());
        const NAutoNamedMutexLock lock(&mutex);
    }
};

}  // namespace

TEST_F(NNamedMutexPosix, IsOpenThoughItsMakerDiedBeforeItCouldSetIt) {
    std::ofstream(file).flush();
    ASSERT_GE(Semaphore(0666 | IPC_CREAT | IPC_EXCL), 0);
    MakeAndLock();  // else waits for good
}

// Whoever makes the lock is alone with the file meanwhile, so that no two set it. But the file lock
// is anybody's to take, and so is waited for only a moment.
TEST_F(NNamedMutexPosix, IsMadeByOneAtATime) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CREAT, 0644);
    ASSERT_EQ(flock(descriptor, LOCK_EX), 0);
    std::thread other([&] { MakeAndLock(); });
    NMutex::Sleep(50);
    EXPECT_EQ(Semaphore(0), -1);
    other.join();  // else waits for good
    close(descriptor);
}

// A name that leaves the folder, and a file that another user has put there to be followed.
TEST_F(NNamedMutexPosix, RefusesAFileThatIsNoneOfALock) {
    const std::string target = file + ".target", folder = "/tmp/" + name;
    ASSERT_EQ(symlink(target.c_str(), file.c_str()), 0);
    std::filesystem::create_directory(folder);
    for (const std::string& refused :
         {name, name + "/x", "../tmp/" + name, std::string(300, 'x')}) {
        EXPECT_THAT([&] { NNamedMutex(refused.c_str()); },
                    Throws<Poco::SystemException>(Property(
                        &Poco::Exception::message, "cannot create named mutex /tmp/" + refused +
                                                       ".mutex (lockfile): " + refused)));
    }
    EXPECT_FALSE(std::filesystem::exists(target) || std::filesystem::exists(folder + "/x.mutex"));
    std::filesystem::remove_all(folder);
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);  // to open it would wait for a writer
    EXPECT_THROW(NNamedMutex(name.c_str()), Poco::SystemException);
}
