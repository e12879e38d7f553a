// Loading, using and unloading the library, in processes that, where nothing else is said, are
// linked neither to it nor to POCO.

#include <tests/logging/Log.h>
#include <tests/support/Process.h>

namespace {
struct Load : Test {
    /// What a host answers to the questions among the steps, a blank between them. In front
    /// of them stand "on" or "off", for the log's switch in a fresh folder, and "linked" for
    /// a host that is linked to the library.
    std::string Answers(const std::string& steps) {
        std::istringstream in(steps);
        std::string log, host;
        in >> log >> host;
        std::filesystem::remove_all(file.parent_path());
        std::filesystem::create_directories(file.parent_path());
        std::filesystem::create_directory(data.File("other"));
        if (log == "on") std::ofstream{file};
        std::vector<std::string> arguments{LOG_PLUGIN, POCO_PLUGIN};
        if (host != "linked") arguments.push_back(host);
        arguments.insert(arguments.end(), std::istream_iterator<std::string>(in), {});
        // A leak check in a child misses the threads of its parent, and says so.
        const bool forks = steps.find("fork") != std::string::npos;
        const ProcessResult result =
            RunProcess(host == "linked" ? LINKED_HOST : LOAD_HOST, arguments,
                       {{"XDG_DATA_HOME", data.File("data")},
                        {"OTHER_DATA", data.File("other")},
                        {forks ? "ASAN_OPTIONS" : "UNUSED", "detect_leaks=0"}});
        EXPECT_EQ(result.exitCode, 0) << result.output;
        return result.output.empty() ? "-" : result.output.substr(0, result.output.size() - 1);
    }

    /// How many lines of writer 0 each file of the folder has, or their numbers if some are
    /// missing.
    std::string Files() const {
        std::map<std::string, std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(file.parent_path())) {
            const std::vector<int> numbers = WrittenLines(entry.path())[0];
            found[entry.path().filename().string()] = numbers == Numbers(numbers.size())
                                                          ? std::to_string(numbers.size())
                                                          : PrintToString(numbers);
        }
        std::string text;
        for (const auto& [name, lines] : found) text += ' ' + name + ' ' + lines;
        return text.empty() ? "-" : text.substr(1);
    }

    const TemporaryFolder data;
    const std::filesystem::path file = data.Path() / "data" / "Tarnwick Software" / "morvel.log";
};
}  // namespace

TEST_F(Load, BeginsWritesAndEndsAsItsStepsTell) {
    for (const auto& row : ReadTable(STEPS, 3)) {
        const bool isPosix = row[0][0] == '!';
        if (isPosix && OnWindows) continue;
        EXPECT_EQ(Answers(row[0].substr(isPosix ? 2 : 0)), row[1]) << row[0];
        EXPECT_EQ(Files(), row[2]) << row[0];
    }
}

TEST_F(Load, FiftyTimesUnloadsWithWhateverIsQueued) {
    std::string steps = "on ";
    for (int round = 1; round <= 50; ++round) {
        steps += "load " + std::to_string(round % 10 == 0 ? 1000 : round % 10) + " unload ";
    }
    EXPECT_EQ(Answers(steps + "mapped?"), "gone");
    EXPECT_EQ(WrittenLines(file)[0].size(), 5 * (1000 + 45));
}

TEST_F(Load, NormalEndOfALinkedProgramWritesWhatIsQueued) {
    const int step = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 333 : 10;
    for (int round = 1; round <= 60; ++round) {
        Answers("on linked load " + std::to_string(step * round));
        EXPECT_EQ(WrittenLines(file)[0], Numbers(step * round));
    }
}

// A library that came after main began hears of the end on Windows when the other threads are gone,
// and under Wine one of them may have gone with a lock of Wine's own.
TEST_F(Load, NormalEndWhileOtherThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        Answers(OnWindows || round % 2 == 0 ? "on linked load write_on" : "on load write_on");
        for (const auto& [writer, numbers] : WrittenLines(file)) {
            EXPECT_EQ(numbers, Numbers(numbers.size())) << "writer " << writer;
        }
    }
}

// Making it asks the shell for the folder, and what the dead threads held may end the process
// there.
TEST_F(Load, LinesAreWrittenAheadOfTheDefaultLogWhereOnlyDestructorsRun) {
    if (!OnWindows) GTEST_SKIP() << "only Windows ends a process so";
    Answers("on load 20000 move-data");
    EXPECT_EQ(Files(), "morvel.log 20000");
    EXPECT_LE(std::filesystem::last_write_time(file),
              std::filesystem::last_write_time(data.File("other") + "\\Tarnwick Software"));
}
