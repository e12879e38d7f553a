// Loading, using and unloading the library, in processes that, where nothing else is said, are
// linked neither to it nor to POCO.

#include <cstdlib>

#include <tests/logging/Log.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;
using namespace testing;

namespace {
using Lines = std::map<std::string, std::vector<int>>;

class Load : public Test {
protected:
    std::filesystem::path file(const std::string& name = "morvel.log") const {
        return std::filesystem::path(_data.File("data")) / "Tarnwick Software" / name;
    }

    /// In a fresh folder, in which the log is switched on or off.
    void arm(bool on = true) {
        std::filesystem::remove_all(file().parent_path());
        std::filesystem::create_directories(file().parent_path());
        std::filesystem::create_directory(_data.File("other"));
        if (on) std::ofstream out(file());
    }

    /// What the host answers to the questions among the steps; each answer has a blank behind it.
    std::string answers(const std::string& steps, const char* host = LOAD_HOST) {
        std::istringstream in(steps);
        std::vector<std::string> arguments{LOG_PLUGIN, POCO_PLUGIN};
        arguments.insert(arguments.end(), std::istream_iterator<std::string>(in), {});
        // A leak check in a child misses the threads of its parent, and says so.
        const bool forks = steps.find("fork") != std::string::npos;
        const ProcessResult result =
            RunProcess(host, arguments,
                       {{"XDG_DATA_HOME", _data.File("data")},
                        {"OTHER_DATA", _data.File("other")},
                        {forks ? "ASAN_OPTIONS" : "UNUSED", "detect_leaks=0"}});
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return result.output;
    }

    /// The lines of writer 0 in each file of the folder.
    Lines lines() const {
        Lines found;
        for (const auto& entry : std::filesystem::directory_iterator(file().parent_path())) {
            found[entry.path().filename().string()] = WrittenLines(entry.path())[0];
        }
        return found;
    }

    TemporaryFolder _data;
};
}  // namespace

TEST_F(Load, BeginsWritesAndEndsAsItsStepsTell) {
    const auto ten = Numbers(10), many = Numbers(20000);
    const struct {
        bool on;
        const char* host;
        const char* steps;
        const char* answers;
        Lines lines;
        bool notOnWindows = false;
    } rows[] = {
        // off, on, and decided afresh on each load
        {false,
         LOAD_HOST,
         "load log? thread? channel? 10 thread? unload",
         "off no-thread no-channel no-thread ",
         {}},
        {true,
         LOAD_HOST,
         "load log? thread? channel? unload mapped? channel?",
         "on no-thread no-channel gone no-channel ",
         {{"morvel.log", {}}}},
        {true,
         LOAD_HOST,
         "load 20000 thread? channel? unload mapped? thread-left? channel?",
         "thread channel gone no-thread no-channel ",
         {{"morvel.log", many}}},
        {false,
         LOAD_HOST,
         "load create log? 5 unload mapped? load log? 10 unload mapped?",
         "off gone on gone ",
         {{"morvel.log", ten}}},
        {true, LOAD_HOST, "load 10 unload remove load log? 10 unload mapped?", "off gone ", {}},
        {false, LOAD_HOST, "give-channel channel? load channel?", "channel no-channel ", {}},
        // a default log that the application asks for, in force or not
        {false, LINKED_HOST, "load default-log 10", "", {}},
        {false, LINKED_HOST, "load default-log-in-force 10", "", {{"LinkedHost.log", ten}}},
        {true, LINKED_HOST, "load default-log 10", "", {{"morvel.log", ten}}},
        {true,
         LINKED_HOST,
         "load default-log-in-force 10",
         "",
         {{"morvel.log", {}}, {"LinkedHost.log", ten}}},
        {true,
         LOAD_HOST,
         "load default-log-in-force 10 unload mapped?",
         "gone ",
         {{"morvel.log", {}}, {"LoadHost.log", ten}}},
        // modules that log in their own clean-up, and in that of the log
        {true, LINKED_HOST, "load last-word 9", "", {{"morvel.log", ten}}},
        {true, LOAD_HOST, "load last-word 9 unload mapped?", "gone ", {{"morvel.log", ten}}},
        {true,
         LOAD_HOST,
         "load 10 own-channel unload mapped?",
         "gone ",
         {{"morvel.log", ten}, {"LoadHost.log", {10}}}},
        // behind the end of the log, where the application's exit handlers run last
        {true, LOAD_HOST, "late-write load arm-late-write 10", "", {{"morvel.log", ten}}, true},
        {true,
         LOAD_HOST,
         "late-write load arm-late-write default-log",
         "",
         {{"morvel.log", {}}},
         true},
        // forks, also behind an unload
        {true,
         LOAD_HOST,
         "load 10 fork unload mapped? fork load fork unload fork",
         "child-ended gone child-ended child-ended child-ended ",
         {{"morvel.log", ten}},
         true},
    };
    for (const auto& row : rows) {
        if (OnWindows && row.notOnWindows) continue;
        SCOPED_TRACE(row.steps + std::string(row.on ? ", on" : ", off"));
        arm(row.on);
        EXPECT_EQ(answers(row.steps, row.host), row.answers);
        EXPECT_EQ(lines(), row.lines);
    }
}

TEST_F(Load, FiftyTimesUnloadsWithWhateverIsQueued) {
    arm();
    std::string steps;
    std::size_t count = 0;
    for (int round = 0; round < 50; ++round) {
        const int lines = round % 10 == 9 ? 1000 : round % 10 + 1;
        count += static_cast<std::size_t>(lines);
        steps += "load " + std::to_string(lines) + " unload ";
    }
    EXPECT_EQ(answers(steps + "mapped?"), "gone ");
    EXPECT_EQ(WrittenLines(file())[0].size(), count);
}

TEST_F(Load, NormalEndOfALinkedProgramWritesWhatIsQueued) {
    const int most = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 20000 : 600;
    for (int round = 1; round <= 60; ++round) {
        SCOPED_TRACE(round);
        const int count = most * round / 60;
        arm();
        answers("load " + std::to_string(count), LINKED_HOST);
        EXPECT_EQ(lines(), (Lines{{"morvel.log", Numbers(count)}}));
    }
}

// A library that came after main began hears of the end on Windows when the other threads are gone,
// and under Wine one of them may have gone with a lock of Wine's own.
TEST_F(Load, NormalEndWhileOtherThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        arm();
        answers("load write-on", OnWindows || round % 2 == 0 ? LINKED_HOST : LOAD_HOST);
        for (const auto& [writer, numbers] : WrittenLines(file())) {
            EXPECT_EQ(numbers, Numbers(static_cast<int>(numbers.size()))) << "writer " << writer;
        }
    }
}

// Making it asks the shell for the folder, and what the dead threads held may end the process
// there.
TEST_F(Load, LinesAreWrittenAheadOfTheDefaultLogWhereOnlyDestructorsRun) {
    if (!OnWindows) GTEST_SKIP() << "only Windows ends a process so";
    arm();
    answers("load 20000 move-data");
    EXPECT_EQ(lines(), (Lines{{"morvel.log", Numbers(20000)}}));
    EXPECT_LE(std::filesystem::last_write_time(file()),
              std::filesystem::last_write_time(_data.File("other") + "\\Tarnwick Software"));
}
