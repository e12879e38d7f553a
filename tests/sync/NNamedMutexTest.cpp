#include <morvel/sync/NNamedMutex.h>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Path.h>
#include <Poco/SharedMemory.h>
#include <gtest/gtest.h>

#include <morvel/sync/NMutex.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>

using morvel::test::BackgroundProcess;

namespace {

const bool onWindows = Poco::Path::separator() == '\\';

std::string program;

// What the processes of a test tell each other by, in memory that they share. The counter is
// counted up in two steps, so that it comes out right only under a lock.
struct Board {
    std::atomic<int> arrived;
    std::atomic<bool> go;
    std::atomic<int> counter;

    void CountUp(bool yield) {
        const int value = counter.load(std::memory_order_relaxed);
        if (yield) {
            std::this_thread::yield();
        }
        counter.store(value + 1, std::memory_order_relaxed);
    }
};

class SharedBoard {
public:
    explicit SharedBoard(const std::string& file)
        : _memory(Poco::File(file), Poco::SharedMemory::AM_WRITE) {}
    Board* operator->() { return reinterpret_cast<Board*>(_memory.begin()); }

private:
    Poco::SharedMemory _memory;
};

bool waitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        NMutex::Sleep(1);
    }
    return true;
}

// What a process of a test does: makes the lock of that name, says so, and then
// "make": waits for the word to go on, and is done;
// "hold": takes the lock, says so, waits for the word and gives it back;
// "count": counts up `rounds` times.
int childMain(const std::string& role, const std::string& file, const std::string& name,
              int rounds) {
    SharedBoard board(file);
    const auto toldToGo = [&] { return board->go.load(); };
    NNamedMutex mutex(name.c_str());
    ++board->arrived;
    if (role == "make") {
        return waitUntil(toldToGo) ? 0 : 3;
    }
    if (role == "hold") {
        const NAutoNamedMutexLock lock(&mutex);
        ++board->arrived;
        return waitUntil(toldToGo) ? 0 : 3;
    }
    for (int i = 0; i < rounds; ++i) {
        const NAutoNamedMutexLock lock(&mutex);
        board->CountUp(i % 100 == 0);
    }
    return 0;
}

// Names that nobody else uses, and what stays behind of them removed again.
class NNamedMutexTest : public testing::Test {
protected:
    NNamedMutexTest()
        : _boardFile(_folder.Write("board", std::string(sizeof(Board), '\0'))), board(_boardFile) {
        std::random_device random;
        _prefix = "morvel-test-" + std::to_string(random()) + "-";
    }

    ~NNamedMutexTest() override {
#ifndef _WIN32
        for (int i = 0; i < _names; ++i) {
            const std::string file = FileOf(_prefix + std::to_string(i));
            const key_t key = ftok(file.c_str(), 'p');
            const int semaphore = key != -1 ? semget(key, 1, 0) : -1;
            if (semaphore >= 0) {
                semctl(semaphore, 0, IPC_RMID);
            }
            std::remove(file.c_str());
        }
#endif
    }

    static std::string FileOf(const std::string& name) {
        return "/tmp/" + name + ".mutex";
    }

    std::string NewName() {
        return _prefix + std::to_string(_names++);
    }

    std::unique_ptr<BackgroundProcess> Start(const std::string& role, const std::string& name,
                                             int rounds = 0) {
        return std::make_unique<BackgroundProcess>(
            program,
            std::vector<std::string>{"--child", role, _boardFile, name, std::to_string(rounds)});
    }

    bool WaitForArrivals(int count) {
        return waitUntil([&] { return board->arrived >= count; });
    }

private:
    morvel::test::TemporaryFolder _folder;
    std::string _boardFile;
    std::string _prefix;
    int _names = 0;

protected:
    SharedBoard board;
};

}  // namespace

TEST_F(NNamedMutexTest, ExcludesProcesses) {
    const std::string name = NewName();
    const auto one = Start("count", name, 10000);
    const auto two = Start("count", name, 10000);
    EXPECT_EQ(one->Wait(), 0);
    EXPECT_EQ(two->Wait(), 0);
    EXPECT_EQ(board->counter, 20000);
}

// The object that makes the lock used to take it away with it: whoever waited was thrown out, and
// whoever came next got another lock of the same name.
TEST_F(NNamedMutexTest, OutlivesItsMakerWhileAnotherHoldsAndAThirdWaits) {
    const std::string name = NewName();
    const auto maker = Start("make", name);
    ASSERT_TRUE(WaitForArrivals(1));
    NNamedMutex mutex(name.c_str());
    mutex.Lock();
    const auto waiting = Start("count", name, 1000);
    ASSERT_TRUE(WaitForArrivals(2));
    board->go = true;
    ASSERT_EQ(maker->Wait(), 0);
    const auto late = Start("count", name, 1000);
    ASSERT_TRUE(WaitForArrivals(3));
    NMutex::Sleep(50);  // time enough to begin, were they let in
    EXPECT_EQ(board->counter, 0);
    mutex.Unlock();
    EXPECT_EQ(waiting->Wait(), 0);
    EXPECT_EQ(late->Wait(), 0);
    EXPECT_EQ(board->counter, 2000);
}

TEST_F(NNamedMutexTest, OutlivesAMakerThatHoldsItToTheEnd) {
    const std::string name = NewName();
    const auto maker = Start("hold", name);
    ASSERT_TRUE(WaitForArrivals(2));
    const auto one = Start("count", name, 1000);
    const auto two = Start("count", name, 1000);
    ASSERT_TRUE(WaitForArrivals(4));
    NMutex::Sleep(50);  // let them come to wait
    EXPECT_EQ(board->counter, 0);
    board->go = true;
    EXPECT_EQ(maker->Wait(), 0);
    EXPECT_EQ(one->Wait(), 0);
    EXPECT_EQ(two->Wait(), 0);
    EXPECT_EQ(board->counter, 2000);
}

// Windows tells the next one, and that one holds nothing; elsewhere nobody notices.
TEST_F(NNamedMutexTest, IsGivenUpByAHolderThatIsKilled) {
    const std::string name = NewName();
    const auto holder = Start("hold", name);
    ASSERT_TRUE(WaitForArrivals(2));
    NNamedMutex mutex(name.c_str());
    holder->Kill();
    holder->Wait();
    if (onWindows) {
        EXPECT_THROW(mutex.Lock(), Poco::SystemException);
        const auto next = Start("count", name, 10);
        EXPECT_EQ(next->Wait(), 0);
    }
    mutex.Lock();
    const auto waiting = Start("count", name, 1000);
    ASSERT_TRUE(WaitForArrivals(3));
    board->CountUp(true);
    mutex.Unlock();
    EXPECT_EQ(waiting->Wait(), 0);
    EXPECT_EQ(board->counter, onWindows ? 1011 : 1001);
}

// The first moments of a lock are the delicate ones: who comes second must not take a lock that is
// in use already for one that was never set.
TEST_F(NNamedMutexTest, HasOneHolderHoweverManyMakeItAtOnce) {
    for (int round = 0; round < 400; ++round) {
        const std::string name = NewName();
        std::atomic<int> ready{0};
        const int before = board->counter;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                ++ready;
                while (ready < 4) {
                    std::this_thread::yield();
                }
                NNamedMutex mutex(name.c_str());
                for (int j = 0; j < 5; ++j) {
                    const NAutoNamedMutexLock lock(&mutex);
                    board->CountUp(true);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(board->counter, before + 20);
    }
}

TEST_F(NNamedMutexTest, StandsBesideAThousandOthers) {
    std::vector<std::unique_ptr<NNamedMutex>> held;
    std::set<long> keys;
    for (int i = 0; i < 1000; ++i) {
        const std::string name = NewName();
        held.push_back(std::make_unique<NNamedMutex>(name.c_str()));
#ifndef _WIN32
        if (!keys.insert(ftok(FileOf(name).c_str(), 'p')).second) {
            held.pop_back();  // shares its lock with a former one, by its file's number
            continue;
        }
#endif
        held.back()->Lock();  // were two of the names one lock, this would wait for good
    }
    EXPECT_GT(held.size(), 900u);
    for (const auto& mutex : held) {
        mutex->Unlock();
        const NAutoNamedMutexLock again(mutex.get());
    }
}

#ifndef _WIN32

TEST_F(NNamedMutexTest, IsOpenThoughItsMakerDiedBeforeItCouldSetIt) {
    const std::string name = NewName();
    std::fclose(std::fopen(FileOf(name).c_str(), "w"));
    ASSERT_GE(semget(ftok(FileOf(name).c_str(), 'p'), 1, 0666 | IPC_CREAT | IPC_EXCL), 0);
    NNamedMutex mutex(name.c_str());
    const NAutoNamedMutexLock lock(&mutex);  // else waits for good
}

// Whoever makes the lock is alone with the file meanwhile, so that no two set it. But the file lock
// is anybody's to take, and so is waited for only a moment.
TEST_F(NNamedMutexTest, IsMadeByOneAtATime) {
    const std::string name = NewName();
    const int file = open(FileOf(name).c_str(), O_RDONLY | O_CREAT, 0644);
    ASSERT_EQ(flock(file, LOCK_EX), 0);
    std::thread other([&] {
        NNamedMutex mutex(name.c_str());
        const NAutoNamedMutexLock lock(&mutex);
    });
    NMutex::Sleep(50);
    EXPECT_EQ(semget(ftok(FileOf(name).c_str(), 'p'), 1, 0), -1);
    other.join();  // else waits for good
    close(file);
}

// A second object finds a lock at 0 too, but one that is in use.
TEST_F(NNamedMutexTest, IsLeftAsItStandsByThoseThatComeLater) {
    const std::string name = NewName();
    const auto valueOf = [&] {
        return semctl(semget(ftok(FileOf(name).c_str(), 'p'), 1, 0), 0, GETVAL);
    };
    NNamedMutex first(name.c_str());
    EXPECT_EQ(valueOf(), 1);
    first.Lock();
    {
        NNamedMutex second(name.c_str());
        EXPECT_EQ(valueOf(), 0);
    }
    EXPECT_EQ(valueOf(), 0);
    first.Unlock();
    EXPECT_EQ(valueOf(), 1);
}

TEST_F(NNamedMutexTest, PassesOnWhatPocoSaysOfANameThatCannotBe) {
    EXPECT_THROW(NNamedMutex("morvel-test/no-such-folder"), Poco::SystemException);
    EXPECT_THROW(NNamedMutex(std::string(300, 'x').c_str()), Poco::SystemException);
    const std::string taken = NewName();
    ASSERT_EQ(mkdir(FileOf(taken).c_str(), 0700), 0);
    EXPECT_THROW(NNamedMutex{taken.c_str()}, Poco::SystemException);
}

TEST_F(NNamedMutexTest, GuardLosesALockThatTheSystemTookAway) {
    const std::string name = NewName();
    EXPECT_DEATH(
        {
            NNamedMutex mutex(name.c_str());
            const NAutoNamedMutexLock lock(&mutex);
            semctl(semget(ftok(FileOf(name).c_str(), 'p'), 1, 0), 0, IPC_RMID);
        },
        "");
}

#endif

int main(int argc, char** argv) {
    if (argc == 6 && argv[1] == std::string("--child")) {
        return childMain(argv[2], argv[3], argv[4], std::stoi(argv[5]));
    }
    program = argv[0];
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
