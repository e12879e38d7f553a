#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>

#include <tests/logging/LogInForce.h>
#include <tests/support/Test.h>

using namespace morvel::test;

namespace {
constexpr int Children = 20;
constexpr int Lines = 6000;  // of each thread

// Children that end normally, every other one without a line, forked while threads log and the
// queue is long. Writers 0 to 2 are the parent's threads, those from 100 on the children.
[[noreturn]] void beBusyAndFork() {
    NLog::Set(NLog::DefaultLog());
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 3; ++writer) {
        threads.emplace_back([writer] {
            for (int line = 0; line < Lines; line += 50) {
                WriteLines(writer, line, 50);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    int failures = 0;
    for (int i = 0; i < Children; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(60);  // rather than wait for ever
            WriteLines(100 + i, 0, i % 2 * 50);
            std::exit(0);
        }
        int status = 1;
        waitpid(child, &status, 0);
        failures += status != 0;
    }
    for (std::thread& thread : threads) thread.join();
    std::exit(failures);
}

// A child that asks for the default log is forked while another thread, which began `head start`
// ago, asks for the first time.
[[noreturn]] void askForTheDefaultLogAndFork(std::chrono::microseconds headStart) {
    std::atomic<bool> begun{false};
    std::thread other([&] {
        begun = true;
        NLog::DefaultLog();
    });
    while (!begun) {
    }
    const auto end = std::chrono::steady_clock::now() + headStart;
    while (std::chrono::steady_clock::now() < end) {
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        _exit(NLog::DefaultLog() == nullptr);
    }
    int status = 1;
    waitpid(child, &status, 0);
    other.join();
    _exit(status != 0);
}
}  // namespace

TEST(NLogPosix, ChildrenOfABusyParentLogAndEnd) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' own allocators don't survive a fork beside busy threads";
#endif
    const std::filesystem::path file = InLogFolder("NLogPosixTest.log");
    std::filesystem::remove(file);
    EXPECT_EXIT(beBusyAndFork(), testing::ExitedWithCode(0), "");
    std::map<int, std::vector<int>> written = WrittenLines(file);
    EXPECT_EQ(written.size(), 3u + Children / 2);
    for (int writer = 0; writer < 3; ++writer) {
        EXPECT_EQ(Gap(written[writer], Lines), "") << "writer " << writer;
    }
    for (int child = 101; child < 100 + Children; child += 2) {
        EXPECT_EQ(Gap(written[child], 50), "") << "writer " << child;
    }
}

TEST(NLogPosix, ChildForkedWhileTheDefaultLogIsMadeGetsItsOwn) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' own allocators don't survive a fork beside busy threads";
#endif
    for (int headStart = 0; headStart < 200; headStart += 2) {
        const pid_t process = fork();
        if (process == 0) askForTheDefaultLogAndFork(std::chrono::microseconds(headStart));
        int status = 1;
        waitpid(process, &status, 0);
        ASSERT_EQ(status, 0) << headStart;
    }
}
