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
class Load : public Test {
protected:
    std::filesystem::path file(const std::string& name = "morvel.log") const {
        return std::filesystem::path(_data.File("data")) / "Tarnwick Software" / name;
    }

    /// What a host answers to the questions among the steps, each answer with a blank behind it. In
    /// front of them stand "on" or "off", for the log's switch in a fresh folder, and "linked" for
    /// a host that is linked to the library.
    std::string answers(const std::string& steps) {
        std::istringstream in(steps);
        std::string word;
        in >> word;
        std::filesystem::remove_all(file().parent_path());
        std::filesystem::create_directories(file().parent_path());
        std::filesystem::create_directory(_data.File("other"));
        if (word == "on") std::ofstream out(file());
        const bool isLinked = steps.find("linked") != std::string::npos;
        if (isLinked) in >> word;
        std::vector<std::string> arguments{LOG_PLUGIN, POCO_PLUGIN};
        arguments.insert(arguments.end(), std::istream_iterator<std::string>(in), {});
        // A leak check in a child misses the threads of its parent, and says so.
        const bool forks = steps.find("fork") != std::string::npos;
        const ProcessResult result =
            RunProcess(isLinked ? LINKED_HOST : LOAD_HOST, arguments,
                       {{"XDG_DATA_HOME", _data.File("data")},
                        {"OTHER_DATA", _data.File("other")},
                        {forks ? "ASAN_OPTIONS" : "UNUSED", "detect_leaks=0"}});
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return result.output;
    }

    /// How many lines of writer 0 each file of the folder has, or their numbers if some are
    /// missing.
    std::string files() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(file().parent_path())) {
            const std::vector<int> numbers = WrittenLines(entry.path())[0];
            const auto count = static_cast<int>(numbers.size());
            found[entry.path().filename().string()] =
                numbers == Numbers(count) ? std::to_string(count) : PrintToString(numbers);
        }
        std::string text;
        for (const auto& [name, lines] : found) text += name + ' ' + lines + ' ';
        return text;
    }

    TemporaryFolder _data;
};
}  // namespace

TEST_F(Load, BeginsWritesAndEndsAsItsStepsTell) {
    const struct {
        const char *steps, *answers, *files;
        bool isOnWindowsToo = true;
    } rows[] = {
        // off, on, and decided afresh on each load
        {"off load log? channel? 10 unload", "off no-channel ", ""},
        {"on load log? channel? unload mapped? channel?", "on no-channel gone no-channel ",
         "morvel.log 0 "},
        {"on load 20000 channel? unload mapped? channel?", "channel gone no-channel ",
         "morvel.log 20000 "},
        {"off load create log? 5 unload mapped? load log? 10 unload mapped?", "off gone on gone ",
         "morvel.log 10 "},
        {"on load 10 unload remove load log? 10 unload mapped?", "off gone ", ""},
        {"off give-channel channel? load channel?", "channel no-channel ", ""},
        // a default log that the application asks for, in force or not
        {"off linked load default-log 10", "", ""},
        {"off linked load default-log-in-force 10", "", "LinkedHost.log 10 "},
        {"on linked load default-log 10", "", "morvel.log 10 "},
        {"on linked load default-log-in-force 10", "", "LinkedHost.log 10 morvel.log 0 "},
        {"on load default-log-in-force 10 unload mapped?", "gone ",
         "LoadHost.log 10 morvel.log 0 "},
        // modules that log in their own clean-up, and in that of the log
        {"on linked load last-word 9", "", "morvel.log 10 "},
        {"on load last-word 9 unload mapped?", "gone ", "morvel.log 10 "},
        {"on load 10 own-channel unload mapped?", "gone ", "LoadHost.log { 10 } morvel.log 10 "},
        // behind the end of the log, where the application's exit handlers run last
        {"on late-write load arm-late-write 10", "", "morvel.log 10 ", false},
        {"on late-write load arm-late-write default-log", "", "morvel.log 0 ", false},
        // forks, also behind an unload
        {"on load 10 fork unload mapped? fork load fork unload fork",
         "child-ended gone child-ended child-ended child-ended ", "morvel.log 10 ", false},
    };
    for (const auto& row : rows) {
        if (OnWindows && !row.isOnWindowsToo) continue;
        SCOPED_TRACE(row.steps);
        EXPECT_EQ(answers(row.steps), row.answers);
        EXPECT_EQ(files(), row.files);
    }
}

TEST_F(Load, FiftyTimesUnloadsWithWhateverIsQueued) {
    std::string steps = "on ";
    for (int round = 1; round <= 50; ++round) {
        steps += "load " + std::to_string(round % 10 == 0 ? 1000 : round % 10) + " unload ";
    }
    EXPECT_EQ(answers(steps + "mapped?"), "gone ");
    EXPECT_EQ(WrittenLines(file())[0].size(), 5 * (1000 + 45));
}

TEST_F(Load, NormalEndOfALinkedProgramWritesWhatIsQueued) {
    const int step = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 333 : 10;
    for (int round = 1; round <= 60; ++round) {
        const std::string count = std::to_string(step * round);
        answers("on linked load " + count);
        EXPECT_EQ(files(), "morvel.log " + count + ' ');
    }
}

// A library that came after main began hears of the end on Windows when the other threads are gone,
// and under Wine one of them may have gone with a lock of Wine's own.
TEST_F(Load, NormalEndWhileOtherThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        answers(OnWindows || round % 2 == 0 ? "on linked load write-on" : "on load write-on");
        for (const auto& [writer, numbers] : WrittenLines(file())) {
            EXPECT_EQ(numbers, Numbers(static_cast<int>(numbers.size()))) << "writer " << writer;
        }
    }
}

// Making it asks the shell for the folder, and what the dead threads held may end the process
// there.
TEST_F(Load, LinesAreWrittenAheadOfTheDefaultLogWhereOnlyDestructorsRun) {
    if (!OnWindows) GTEST_SKIP() << "only Windows ends a process so";
    answers("on load 20000 move-data");
    EXPECT_EQ(files(), "morvel.log 20000 ");
    EXPECT_LE(std::filesystem::last_write_time(file()),
              std::filesystem::last_write_time(_data.File("other") + "\\Tarnwick Software"));
}
