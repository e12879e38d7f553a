#include <morvel/sync/NNamedMutex.h>

#include <atomic>

#include <Poco/Exception.h>
#include <Poco/File.h>
#include <Poco/Process.h>
#include <Poco/SharedMemory.h>

#include <morvel/sync/NMutex.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/sync/NamedMutexNames.h>

using namespace morvel::test;

namespace {

std::string program;

template <class Condition>
bool waitUntil(Condition condition) {
    for (int i = 0; i < 60000 && !condition(); ++i) NMutex::Sleep(1);
    return condition();
}

// What the processes of a test tell each other by, in memory that they share. The counter is
// counted up in two steps, so that it comes out right only under a lock.
struct Board {
    std::atomic<int> arrived, counter;
    std::atomic<bool> go;

    void CountUp(NNamedMutex* mutex, int rounds) {
        for (int i = 0; i < rounds; ++i) {
            const NAutoNamedMutexLock lock(mutex);
            const int value = counter.load(std::memory_order_relaxed);
            if (i % 10 == 0) std::this_thread::yield();
            counter.store(value + 1, std::memory_order_relaxed);
        }
    }
};

class SharedBoard : Poco::SharedMemory {
public:
    explicit SharedBoard(const std::string& file) : SharedMemory(Poco::File(file), AM_WRITE) {}
    Board* operator->() { return reinterpret_cast<Board*>(begin()); }
};

// What a process of a test does: makes the lock of that name, takes it if it is to "hold" it, says
// so, and then counts up `rounds` times, or with none waits for the word to end.
int childMain(const std::string& role, const std::string& file, const std::string& name,
              int rounds) {
    SharedBoard board(file);
    NNamedMutex mutex(name.c_str());
    const NAutoNamedMutexLock lock(role == "hold" ? &mutex : nullptr);
    ++board->arrived;
    board->CountUp(&mutex, rounds);
    return rounds > 0 || waitUntil([&] { return board->go.load(); }) ? 0 : 3;
}

class NNamedMutexTest : public testing::Test {
protected:
    // One that nobody waits for ends by itself.
    Poco::ProcessHandle Start(const std::string& role, int rounds) {
        return StartProcess(program, {role, _boardFile, name, std::to_string(rounds)});
    }

    bool WaitForArrivals(int count) {
        return waitUntil([&] { return board->arrived >= count; });
    }

private:
    TemporaryFolder _folder;
    std::string _boardFile = _folder.Write("board", std::string(sizeof(Board), '\0'));

protected:
    SharedBoard board{_boardFile};
    NamedMutexNames names;
    const std::string name = names.New();
};

}  // namespace

// The object that makes the lock used to take it away with it: whoever waited was thrown out, and
// whoever came next got another lock of the same name.
TEST_F(NNamedMutexTest, OutlivesItsMakerWhileAnotherHoldsAndAThirdWaits) {
    const std::string another = names.New();
    NNamedMutex beside(another.c_str());
    const NAutoNamedMutexLock held(&beside);  // a lock of its own
    const auto maker = Start("make", 0);
    ASSERT_TRUE(WaitForArrivals(1));
    NNamedMutex mutex(name.c_str());
    mutex.Lock();
    const auto waiting = Start("count", 5000);
    ASSERT_TRUE(WaitForArrivals(2));
    board->go = true;
    ASSERT_EQ(maker.wait(), 0);
    const auto late = Start("count", 5000);
    ASSERT_TRUE(WaitForArrivals(3));
    NMutex::Sleep(50);  // time enough to begin, were they let in
    EXPECT_EQ(board->counter, 0);
    mutex.Unlock();
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(late.wait(), 0);
    EXPECT_EQ(board->counter, 10000);
}

// Windows tells the next one, and that one holds nothing; elsewhere nobody notices.
TEST_F(NNamedMutexTest, IsGivenUpByAHolderThatIsKilled) {
    const auto holder = Start("hold", 0);
    ASSERT_TRUE(WaitForArrivals(1));
    NNamedMutex mutex(name.c_str());
    Poco::Process::kill(holder.id());  // by the handle it would be closed, and nothing waited for
    holder.wait();
    if (OnWindows) {
        EXPECT_THROW(mutex.Lock(), Poco::SystemException);
        EXPECT_EQ(Start("count", 1).wait(), 0);
    }
    mutex.Lock();
    const int before = board->counter;
    const auto waiting = Start("count", 1000);
    ASSERT_TRUE(WaitForArrivals(OnWindows ? 3 : 2));
    NMutex::Sleep(50);
    EXPECT_EQ(board->counter, before);
    mutex.Unlock();
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(board->counter, before + 1000);
}

int main(int argc, char** argv) {
    if (argc == 5 && argv[1][0] != '-') {
        return childMain(argv[1], argv[2], argv[3], std::stoi(argv[4]));
    }
    program = argv[0];
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
