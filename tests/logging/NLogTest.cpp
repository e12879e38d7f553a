#include <morvel/logging/NLog.h>

#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>

#include <morvel/files/FileTools.h>
#include <morvel/logging/LogTools.h>
#include <tests/logging/Log.h>

namespace {
constexpr std::uintmax_t RotationSize = 10485760;
const std::filesystem::path File = InLogFolder("LogInForce.log");
const std::string Long(100000, 'x');  // for which the queue grows
const std::string Stars(53, '*');
const std::string Title = Stars + "\n* - Log System -\t\t\t\t\t\t\t\t\t \n";

// The log file is `missing` bytes short of being rotated, without archives.
void _makeAlmostFull(std::uintmax_t missing) {
    for (const char* archive : {".0", ".1"}) std::filesystem::remove(File.string() + archive);
    const auto last = static_cast<std::streamoff>(RotationSize - missing - 1);
    std::ofstream(File, std::ios::binary).seekp(last).put('\n');
}

// A channel of the host's, which does something with the first message and at its end.
struct HostChannel : Poco::Channel {
    void log(const Poco::Message& message) override {
        messages.push_back(message);
        std::exchange(atFirst, [] {})();
    }
    std::vector<Poco::Message> messages;
    std::function<void()> atFirst = [] {}, atEnd = [] {};

protected:
    ~HostChannel() override { atEnd(); }
};

Poco::AutoPtr<Poco::FormattingChannel> _chain() {
    return Poco::Logger::root().getChannel().cast<Poco::FormattingChannel>();
}
}  // namespace

// For the line that comes from within the set-up, a few seconds are lost.
TEST(NLog, SetsUpItsChainOnceThoughAHostLogsMeanwhile) {
    Poco::AutoPtr<HostChannel> host(new HostChannel);
    const LogInForce inForce;
    Poco::Logger::get("LogInForce").setChannel(host);
    host->atFirst = [] { NLog::Information("more"); };
    NLog::Information("one");
    ASSERT_EQ(host->messages.size(), 6u + 2u) << "the banner and two lines";

    // Words by their priorities; the other ones have none.
    host->messages.clear();
    const std::vector<std::string> words = {"",       "FATAL",       "CRITICAL", "ERROR", "WARNING",
                                            "NOTICE", "INFORMATION", "DEBUG",    "TRACE", "notice",
                                            "INFO ",  "INFORMATIO",  "INFO"};
    std::string routed;
    for (const std::string& word : words) NLog::Write(word, word);
    for (const Poco::Message& message : host->messages) {
        routed += message.getText() + ' ' + std::to_string(message.getPriority()) + ' ';
    }
    EXPECT_EQ(routed,
              "FATAL 1 CRITICAL 2 ERROR 3 WARNING 4 NOTICE 5 INFORMATION 6 TRACE 8 INFO 6 ");
}

TEST(NLog, ObeysAHostThatChangesItsChain) {
    Poco::AutoPtr<HostChannel> host(new HostChannel);
    EXPECT_THAT(WholeLogOf([&] {
                    NLog::Write("DEBUG", "no line, and so no chain yet");
                    EXPECT_TRUE(_chain().isNull());
                    NLog::Information("one");
                    Poco::Logger::get("LogInForce").setLevel(Poco::Message::PRIO_WARNING);
                    NLog::Information("too quiet");
                    const auto writer = _chain()->getChannel();
                    _chain()->setChannel(host);
                    NLog::Write("ERROR", "to the host");
                    _chain()->setChannel(writer);
                    _chain()->setFormatter(new Poco::PatternFormatter("<%s %t>"));
                    NLog::Write("ERROR", "two");
                }),
                EndsWith(" - one\n<LogInForce two>\n"));
    EXPECT_THAT(host->messages.at(0).getText(), EndsWith(" - to the host"));
}

TEST(NLog, SetGivesTheFormerOneAndDeletesNothing) {
    NLog first;
    EXPECT_EQ(NLog::Set(&first), nullptr);
    {
        NLog second;
        EXPECT_EQ(NLog::Set(&second), &first);
    }
    EXPECT_EQ(NLog::Set(&first), nullptr);
    EXPECT_EQ(NLog::Set(nullptr), &first);
}

// Both chains go with the first, the older one ahead; whoever logs meanwhile doesn't wait.
TEST(NLog, TakesTheChainsOfOthersAlongWithoutMakingThemWait) {
    _makeAlmostFull(RotationSize);
    std::filesystem::remove(InLogFolder("older.log"));
    auto older = std::make_unique<LogInForce>("older");
    NLog::Information("first");
    const LogInForce inForce;
    WriteLines(0, 0, 100);
    std::string ended;
    for (const std::string logger : {"older", ""}) {
        Poco::AutoPtr<HostChannel> host(new HostChannel);
        host->atEnd = [&, logger] { NLog::Information("late"), ended += '<' + logger + '>'; };
        Poco::Logger::get(logger).setChannel(host);
    }
    EXPECT_LT(SecondsOf([&] { older.reset(); }), 2);
    EXPECT_EQ(ended, "<older><>");
    EXPECT_THAT(ReadLog(InLogFolder("older.log")), EndsWith(" - first\n"));
    EXPECT_EQ(WrittenLines(File)[0], Numbers(100));
}

TEST(NLog, NamesItsFileByItsName) {
    for (const std::string name : {"NLogTest", "other.txt", "caf\xC3\xA9"}) {
        const std::filesystem::path file = InLogFolder(name.substr(0, name.find('.')) + ".log");
        std::filesystem::remove(file);
        NLog log;  // named as the program at first
        if (name != "NLogTest") log.SetName(NString(name, EncodingUTF8));
        NLog::Set(&log);
        NLog::Information("x");
        EXPECT_TRUE(morvel::FlushLog(60));
        EXPECT_THAT(ReadLog(file), HasSubstr("* Name: " + name + "\n"));
    }
}

// Two lines, the second at any moment of the writer's work on the first, and one that finds it at
// rest; also behind a host that closes the channel.
TEST(NLog, LinesReachTheFileWhileTheProgramRuns) {
    _makeAlmostFull(RotationSize);
    const LogInForce inForce;
    std::ifstream in(File, std::ios::binary);
    const auto ends = [&](const std::string& end) {
        char last[16] = "";
        in.clear();
        in.seekg(-15, std::ios::end).read(last, 15);
        return std::string(last).find(end) != std::string::npos;
    };
    using Clock = std::chrono::steady_clock;
    for (int line = 0; line < 6000; ++line) {
        WriteLines(0, line, 1);
        for (const auto next = Clock::now() + line % 97 * 300ns; Clock::now() < next;) {
        }
        if (line % 3 == 0) continue;
        ASSERT_TRUE(Becomes([&] { return ends(' ' + std::to_string(line) + '"'); })) << line;
        if (line % 500 == 499) _chain()->getChannel()->close();
    }
    WriteLines(0, 6000, 1000);
    EXPECT_TRUE(morvel::FlushLog(60));
    EXPECT_EQ(WrittenLines(File)[0], Numbers(7000));
    WriteLines(0, 7000, 1000);
    _chain()->getChannel()->close();  // returns when all is written
    EXPECT_EQ(WrittenLines(File)[0], Numbers(8000));
}

TEST(NLog, FlushWaitsForNoLineThatComesLater) {
    const LogInForce inForce;
    std::atomic<bool> flushed{false};
    InThreads(4, [&](int thread) {
        for (int i = 0; i < 3000 || (thread != 0 && !flushed); ++i) WriteLines(thread, i, 1);
        if (thread == 0) flushed = morvel::FlushLog(20);
        EXPECT_TRUE(flushed.exchange(true));
    });
}

// Threads that begin at the same moment: with the first lines of a log, and across a rotation.
TEST(NLog, KeepsEveryLineOfManyThreadsInItsThreadsOrder) {
    const int many = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 125000 : 5000;
    for (int round = 0; round <= 25; ++round) {
        const int threads = round == 0 ? 8 : 6, lines = round == 0 ? many : 2;
        _makeAlmostFull(round == 0 ? 1000000 : RotationSize);
        {
            const LogInForce inForce;
            InThreads(threads, [&](int writer) { WriteLines(writer, 0, lines); });
            NLog::Information(Long);
        }
        std::map<int, std::vector<int>> expected;
        for (int writer = 0; writer < threads; ++writer) expected[writer] = Numbers(lines);
        EXPECT_EQ(WrittenLines(File), expected);
        EXPECT_THAT(ReadLog(File), EndsWith(" - " + Long + "\n"));
    }
}

// Each log is deleted halfway through what threads have to log in its time.
TEST(NLog, ComesAndGoesWhileOtherThreadsLog) {
    constexpr int Rounds = 200;
    _makeAlmostFull(RotationSize);
    std::atomic<bool> go{true};
    std::atomic<int> written{0}, due{0};
    InThreads(5, [&](int writer) {
        for (int round = 0; writer == 4 && round < Rounds; ++round) {
            const LogInForce inForce;
            const int before = written;
            due = before + 200;
            while (written < before + 20) std::this_thread::yield();
        }
        if (writer == 4) go = false;
        for (int i = 0; go; std::this_thread::yield()) {
            for (; go && written < due; ++written) WriteLines(writer, i++, 1);
        }
    });

    // Each banner is whole, with no line of a thread's in it: six lines between the dates.
    int banners = 0;
    std::istringstream in(ReadLog(File));
    for (std::string line; std::getline(in, line);) {
        if (line != Stars) continue;
        for (const char* part :
             {"* - Log System -", "* Creation date: ", "* Name: ", "*  ", "***"}) {
            EXPECT_TRUE(std::getline(in, line) && line.rfind(part, 0) == 0) << line;
        }
        ++banners;
    }
    EXPECT_EQ(banners, Rounds);
    for (const auto& [writer, numbers] : WrittenLines(File)) {
        EXPECT_GE(writer, 0);
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST(NLog, RotatesAtTenMegabytesAndRemovesArchivesOlderThanADay) {
    const std::string newest = File.string() + ".0", next = File.string() + ".1";
    const std::pair<std::uintmax_t, std::string> rows[] = {{0, ""}, {1, Stars + "\n"}, {56, Title}};
    for (const auto& [missing, added] : rows) {
        _makeAlmostFull(missing);
        std::ofstream(newest) << "a day less ten minutes";
        std::ofstream(next) << "a day and ten minutes";
        const auto now = std::filesystem::file_time_type::clock::now();
        std::filesystem::last_write_time(newest, now - 23h - 50min);
        std::filesystem::last_write_time(next, now - 24h - 10min);
        {
            const LogInForce inForce;
            NLog::Information("x");
        }
        EXPECT_EQ(ReadLog(newest).substr(RotationSize - missing), added);
        EXPECT_EQ(ReadLog(next), "a day less ten minutes");
        EXPECT_FALSE(std::filesystem::exists(File.string() + ".2"));
        EXPECT_THAT(ReadLog(File), HasSubstr("* Name: LogInForce\n"));
    }
}

TEST(NLog, LosesLinesAndNothingElseWhereItCannotOpenItsFile) {
    std::filesystem::remove(File);
    std::filesystem::create_directories(File);
    {
        const LogInForce inForce;
        WriteLines(0, 0, 300);
        EXPECT_FALSE(morvel::FlushLog(60));
        EXPECT_TRUE(morvel::FlushLog(0));  // nothing more was lost
    }
    EXPECT_TRUE(std::filesystem::remove(File));
}

TEST(LogTools, StartsALogOfTheProgramOnce) {
    EXPECT_TRUE(morvel::LogFile().IsEmpty());
    std::filesystem::remove_all(InLogFolder(""));
    std::filesystem::create_directories(InLogFolder("taken.log"));
    for (const char* const name : {"", "a/b", "a\\b", "a:b", "a.b", "taken"}) {
        EXPECT_FALSE(morvel::StartLog(name)) << name;
    }
    EXPECT_EQ(NLog::Get(), nullptr);
    EXPECT_TRUE(morvel::StartLog(NString("Zo\xEB", EncodingLatin1)));
    WriteLines(0, 0, 1000);
    EXPECT_TRUE(morvel::FlushLog(60));
    EXPECT_EQ(morvel::ToStdPath(morvel::LogFile()), InLogFolder(u8"Zo\u00EB.log"));
    EXPECT_EQ(WrittenLines(morvel::ToStdPath(morvel::LogFile()))[0], Numbers(1000));
    EXPECT_FALSE(morvel::StartLog("other"));
    NLog::Set(nullptr);
}
