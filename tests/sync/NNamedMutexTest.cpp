#include <morvel/sync/NNamedMutex.h>

#include <Poco/Exception.h>
#include <Poco/Process.h>

#include <morvel/sync/NMutex.h>
#include <tests/support/Process.h>
#include <tests/sync/NamedMutexName.h>

namespace {

std::string _program;

// What a process of a test does: makes the lock of that name, takes it if it is to "hold" it, says
// so, and then counts up `rounds` times, or with none waits for the word to end. The counter comes
// out right only under a lock.
int _childMain(const std::string& role, const std::string& folder, const char* name, int rounds) {
    NNamedMutex mutex(name);
    const NAutoNamedMutexLock held(role == "hold" ? &mutex : nullptr);
    std::ofstream(folder + "arrived", std::ios::app) << '.';
    for (int i = 0; i < rounds; ++i) {
        const NAutoNamedMutexLock lock(&mutex);
        int value = 0;
        std::ifstream(folder + "counter") >> value;
        std::ofstream(folder + "counter") << value + 1;
    }
    return rounds > 0 || Becomes([&] { return std::ifstream(folder + "go").good(); }) ? 0 : 3;
}

struct NNamedMutexTest : Test, NamedMutexName {
    // One that nobody waits for ends by itself.
    Poco::ProcessHandle Start(const std::string& role, int rounds) {
        Poco::ProcessHandle process =
            StartProcess(_program, {role, folder.File(""), name, std::to_string(rounds)});
        arrived += '.';
        EXPECT_TRUE(Becomes([&] { return folder.Read("arrived") == arrived; }));
        return process;
    }

    std::string Counted() const { return folder.Read("counter"); }

    const TemporaryFolder folder;
    const std::string files[2] = {folder.Write("counter", "0"), folder.Write("arrived", "")};
    std::string arrived;
};

}  // namespace

// The object that makes the lock used to take it away with it: whoever waited was thrown out, and
// whoever came next got another lock of the same name.
TEST_F(NNamedMutexTest, OutlivesItsMakerWhileAnotherHoldsAndAThirdWaits) {
    const NamedMutexName another;
    NNamedMutex beside(another.name.c_str());
    const NAutoNamedMutexLock held(&beside);  // a lock of its own
    const auto maker = Start("make", 0);
    NNamedMutex mutex(name.c_str());
    mutex.Lock();
    const auto waiting = Start("count", 1000);
    folder.Write("go", "");
    ASSERT_EQ(maker.wait(), 0);
    const auto late = Start("count", 1000);
    NMutex::Sleep(50);  // time enough to begin, were they let in
    EXPECT_EQ(Counted(), "0");
    mutex.Unlock();
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(late.wait(), 0);
    EXPECT_EQ(Counted(), "2000");
}

// Windows tells the next one, and that one holds nothing; elsewhere nobody notices.
TEST_F(NNamedMutexTest, IsGivenUpByAHolderThatIsKilled) {
    const auto holder = Start("hold", 0);
    NNamedMutex mutex(name.c_str());
    Poco::Process::kill(holder.id());  // by the handle it would be closed, and nothing waited for
    holder.wait();
    if (OnWindows) {
        EXPECT_THROW(mutex.Lock(), Poco::SystemException);
        EXPECT_EQ(Start("count", 1).wait(), 0);
    }
    mutex.Lock();
    const std::string before = Counted();
    const auto waiting = Start("count", 1);
    NMutex::Sleep(50);
    EXPECT_EQ(Counted(), before);
    mutex.Unlock();
    EXPECT_EQ(waiting.wait(), 0);
}

int main(int argc, char** argv) {
    if (argc == 5 && argv[1][0] != '-') {
        return _childMain(argv[1], argv[2], argv[3], std::stoi(argv[4]));
    }
    _program = argv[0];
    InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
