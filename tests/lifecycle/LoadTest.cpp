// Loading, using and unloading the library, in processes that, where nothing else is said, are
// linked neither to it nor to POCO.

#include <cstdlib>

#include <tests/logging/LogReader.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;
using namespace testing;

namespace {
class Load : public Test {
protected:
    Load() { std::filesystem::create_directory(_data.File("data")); }

    std::filesystem::path folder() const {
        return std::filesystem::path(_data.File("data")) / "Tarnwick Software";
    }
    std::string file(const char* name = "morvel.log") const { return (folder() / name).string(); }

    void arm() {
        std::filesystem::remove_all(folder());
        std::filesystem::create_directories(folder());
        std::ofstream out(file());
    }

    /// What the host answers to the questions among the steps; each answer has a blank behind it.
    std::string answers(std::vector<std::string> steps,
                        std::map<std::string, std::string> environment = {},
                        const char* host = LOAD_HOST) {
        steps.insert(steps.begin(), {LOG_PLUGIN, POCO_PLUGIN});
        environment["XDG_DATA_HOME"] = _data.File("data");
        const ProcessResult result = RunProcess(host, steps, environment);
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return result.output;
    }

private:
    TemporaryFolder _data;
};
}  // namespace

TEST_F(Load, WithoutTheFileMakesTheFolderAndNothingElse) {
    EXPECT_EQ(answers({"load", "log?", "thread?", "channel?", "write", "10", "thread?", "unload"}),
              "off no-thread no-channel no-thread ");
    EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

TEST_F(Load, WithTheFileArmsTheLogUntilTheFirstLine) {
    arm();
    EXPECT_EQ(answers({"load", "log?", "thread?", "channel?", "unload", "mapped?", "channel?"}),
              "on no-thread no-channel gone no-channel ");
    EXPECT_EQ(ReadLog(file()), "");
    EXPECT_FALSE(std::filesystem::exists(file("LoadHost.log")));
}

TEST_F(Load, TakesAwayTheHostsChannelWhereTheLogIsOff) {
    EXPECT_EQ(answers({"give-channel", "channel?", "load", "channel?"}), "channel no-channel ");
}

TEST_F(Load, UnloadWritesWhatIsQueuedAndLeavesNothingBehind) {
    arm();
    EXPECT_EQ(answers({"load", "write", "20000", "thread?", "channel?", "unload", "mapped?",
                       "thread-left?", "channel?"}),
              "thread channel gone no-thread no-channel ");
    EXPECT_EQ(Gap(WrittenLines(file())[0], 20000), "");
    EXPECT_FALSE(std::filesystem::exists(file("LoadHost.log")));
}

TEST_F(Load, DecidesAfreshOnEachLoad) {
    EXPECT_EQ(
        answers({"load",   "create", file(),  "log?", "write",  "5",       "unload", "mapped?",  //
                 "load",   "log?",   "write", "100",  "unload", "mapped?",                       //
                 "remove", file(),   "load",  "log?", "write",  "5",       "unload", "mapped?"}),
        "off gone on gone off gone ");
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(Load, FiftyTimesUnloadsWithWhateverIsQueued) {
    arm();
    std::vector<std::string> steps;
    std::size_t lines = 0;
    for (int round = 0; round < 50; ++round) {
        const int count = round % 10 == 9 ? 1000 : round % 10;
        lines += static_cast<std::size_t>(count);
        steps.insert(steps.end(), {"load", "write", std::to_string(count), "unload"});
    }
    steps.push_back("mapped?");
    EXPECT_EQ(answers(steps), "gone ");
    EXPECT_EQ(WrittenLines(file())[0].size(), lines);
}

TEST_F(Load, NormalEndWithoutUnloadWritesWhatIsQueued) {
    arm();
    answers({"load", "write", "20000"});
    EXPECT_EQ(Gap(WrittenLines(file())[0], 20000), "");
}

TEST_F(Load, NormalEndOfALinkedProgramWritesWhatIsQueued) {
    const int most = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 20000 : 600;
    for (int round = 1; round <= 60; ++round) {
        SCOPED_TRACE(round);
        const int lines = most * round / 60;
        arm();
        answers({"load", "write", std::to_string(lines)}, {}, LINKED_HOST);
        EXPECT_EQ(Gap(WrittenLines(file())[0], static_cast<std::size_t>(lines)), "");
    }
}

// A library that came after main began hears of the end on Windows when the other threads are gone,
// and under Wine one of them may have gone with a lock of Wine's own.
TEST_F(Load, NormalEndWhileOtherThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        arm();
        answers({"load", "write-on"}, {}, OnWindows || round % 2 == 0 ? LINKED_HOST : LOAD_HOST);
        for (const auto& writer : WrittenLines(file())) {
            EXPECT_EQ(Gap(writer.second, writer.second.size()), "") << "writer " << writer.first;
        }
    }
}

TEST_F(Load, DefaultLogAskedForByTheApplicationIsCleanedUp) {
    for (const bool on : {false, true}) {
        for (const std::string step : {"default-log", "default-log-in-force"}) {
            if (on) arm();
            SCOPED_TRACE(step + (on ? ", on" : ", off"));
            const std::size_t lines = step == "default-log" ? 0 : 300;
            answers({"load", step, "write", "300"}, {}, LINKED_HOST);
            EXPECT_EQ(Gap(WrittenLines(file("LinkedHost.log"))[0], lines), "");
            EXPECT_EQ(answers({"load", step, "write", "300", "unload", "mapped?"}), "gone ");
            EXPECT_EQ(Gap(WrittenLines(file("LoadHost.log"))[0], lines), "");
            std::filesystem::remove_all(folder());
        }
    }
}

TEST_F(Load, ModulesOfTheApplicationLogInTheirOwnCleanUp) {
    arm();
    answers({"load", "last-word", "write", "3"}, {}, LINKED_HOST);
    EXPECT_THAT(ReadLog(file()), EndsWith("\"last word\"\n"));
    EXPECT_EQ(answers({"load", "last-word", "unload", "mapped?"}), "gone ");
    EXPECT_THAT(ReadLog(file()), EndsWith("\"last word\"\n"));
    EXPECT_FALSE(std::filesystem::exists(file("LoadHost.log")));
}

TEST_F(Load, LineBehindTheEndOfTheLogIsDropped) {
    if (OnWindows) {
        GTEST_SKIP() << "the application's exit list runs ahead of every library's there";
    }
    arm();
    answers({"late-write", "load", "arm-late-write", "write", "3"});
    EXPECT_EQ(Gap(WrittenLines(file())[0], 3), "");
    // a default log of the application's that is gone when the owner asks for one
    answers({"late-write", "load", "arm-late-write", "default-log"});
    EXPECT_EQ(Gap(WrittenLines(file())[0], 3), "");
    EXPECT_FALSE(std::filesystem::exists(file("LoadHost.log")));
}

TEST_F(Load, ForksAfterUnloadFindNothingOfTheLibrary) {
    if (OnWindows) {
        GTEST_SKIP() << "processes don't fork there";
    }
    arm();
    // A leak check in a child misses the threads of its parent, and says so.
    EXPECT_EQ(answers({"load", "write", "10", "fork", "unload", "mapped?", "fork", "load", "write",
                       "0", "fork", "unload", "fork"},
                      {{"ASAN_OPTIONS", "detect_leaks=0"}}),
              "child-ended gone child-ended child-ended child-ended ");
}
