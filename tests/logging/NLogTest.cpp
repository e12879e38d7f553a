#include <morvel/logging/NLog.h>

#include <atomic>
#include <chrono>

#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
#include <Poco/RegularExpression.h>

#include <morvel/files/FileTools.h>
#include <morvel/logging/LogTools.h>
#include <tests/logging/Log.h>
#include <tests/support/Test.h>

using namespace std::chrono_literals;
using namespace morvel::test;
using namespace testing;

namespace {
constexpr std::uintmax_t RotationSize = 10485760;
const std::string Stars(53, '*');
const std::string Title = Stars + "\n* - Log System -\t\t\t\t\t\t\t\t\t \n";

// A log file that is `missing` bytes short of being rotated, without archives.
std::filesystem::path AlmostFull(std::uintmax_t missing) {
    const std::filesystem::path file = InLogFolder("LogInForce.log");
    for (const char* archive : {".0", ".1"}) {
        std::filesystem::remove(file.string() + archive);
    }
    std::ofstream(file, std::ios::trunc).close();
    std::filesystem::resize_file(file, RotationSize - missing);
    return file;
}

// All begin at the same moment.
void WriteOnThreads(int count, int lines) {
    std::atomic<int> ready{0};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < count; ++writer) {
        writers.emplace_back([&, writer] {
            for (++ready; ready < count;) {
            }
            WriteLines(writer, 0, lines);
        });
    }
    for (std::thread& writer : writers) writer.join();
}

// A channel of the host's: keeps the last message, and logs a line itself when it dies.
struct HostChannel : Poco::Channel {
    void log(const Poco::Message& message) override { last = message; }
    Poco::Message last;
    std::chrono::steady_clock::duration* time = nullptr;

protected:
    ~HostChannel() override {
        const auto begin = std::chrono::steady_clock::now();
        NLog::Information("late");
        if (time != nullptr) *time = std::chrono::steady_clock::now() - begin;
    }
};

Poco::AutoPtr<Poco::FormattingChannel> Chain() {
    return Poco::Logger::root().getChannel().cast<Poco::FormattingChannel>();
}
}  // namespace

TEST(NLog, BeginsWithTheBannerAndStampsEachLine) {
    Poco::RegularExpression whole(
        "\\A\\*{53}\n"
        "\\* - Log System -\t{9} \n"
        "\\* Creation date: [1-9]\\d?/[1-9]\\d?/\\d{4} at \\d+:\\d+:\\d+\n"
        "\\* Name: LogInForce\n"
        "\\* {52}\n"
        "\\*{53}\n"
        "\\d{4}/[1-9]\\d?/[1-9]\\d? - \\[\\w{3}\\] - \\d\\d:\\d\\d:\\d\\d - 100%t\tof\nit\n\\z");
    const std::string log = WholeLogOf([] { NLog::Information("100%t\tof\nit"); });
    EXPECT_TRUE(whole.match(log)) << log;
}

TEST(NLog, RoutesExactLevelWordsAsTheHostHasIt) {
    const std::pair<const char*, Poco::Message::Priority> rows[] = {
        {"INFO", Poco::Message::PRIO_INFORMATION},
        {"INFORMATION", Poco::Message::PRIO_INFORMATION},
        {"WARNING", Poco::Message::PRIO_WARNING},
        {"FATAL", Poco::Message::PRIO_FATAL},
        {"ERROR", Poco::Message::PRIO_ERROR},
        {"CRITICAL", Poco::Message::PRIO_CRITICAL},
        {"NOTICE", Poco::Message::PRIO_NOTICE},
        {"TRACE", Poco::Message::PRIO_TRACE},
        {"DEBUG", {}},
        {"notice", {}},
        {"INFO ", {}},
        {"INFORMATIO", {}},
        {"", {}},
    };
    for (const auto& [word, priority] : rows) {
        EXPECT_EQ(WholeLogOf([&, word = word] { NLog::Write(word, "text"); }).empty(), priority == 0) << word;
    }
    Poco::AutoPtr<HostChannel> host(new HostChannel);
    const LogInForce inForce;
    NLog::Information("first");
    Poco::Logger& logger = Poco::Logger::get("LogInForce");
    logger.setChannel(host);
    for (const auto& [word, priority] : rows) {
        host->last = Poco::Message("", "", {});
        NLog::Write(word, word);
        EXPECT_EQ(host->last.getText(), priority == 0 ? "" : word);
        EXPECT_EQ(host->last.getPriority(), priority) << word;
    }
}

TEST(NLog, ObeysAHostThatChangesItsChain) {
    Poco::AutoPtr<HostChannel> host(new HostChannel);
    EXPECT_THAT(
        WholeLogOf([&] {
            NLog::Information("one");
            Chain()->getChannel()->close();
            NLog::Information("two");
            Poco::Logger& logger = Poco::Logger::get("LogInForce");
            logger.setLevel(Poco::Message::PRIO_WARNING);
            NLog::Information("too quiet");
            logger.setLevel(Poco::Message::PRIO_INFORMATION);
            Chain()->setFormatter(new Poco::PatternFormatter("<%s %t>"));
            NLog::Information("three");
            Chain()->setChannel(host);
            NLog::Write("ERROR", "four");
        }),
        AllOf(HasSubstr(" - one\n"), HasSubstr(" - two\n"), EndsWith("two\n<LogInForce three>\n")));
    EXPECT_EQ(host->last.getText(), "<LogInForce four>");
}

TEST(NLog, SetGivesTheFormerOneAndDeletesNothing) {
    EXPECT_EQ(NLog::Get(), nullptr);
    NLog first;
    EXPECT_EQ(NLog::Set(&first), nullptr);
    {
        NLog second;
        EXPECT_EQ(NLog::Set(&second), &first);
        EXPECT_EQ(NLog::Get(), &second);
    }
    EXPECT_EQ(NLog::Get(), nullptr);
    NLog::Write("INFO", "nobody there");
    NLog::Set(&first);
    EXPECT_EQ(NLog::Set(nullptr), &first);
}

// Both chains go with the first, the older one ahead; whoever logs meanwhile doesn't wait.
TEST(NLog, TakesTheChainsOfOthersAlongWithoutMakingThemWait) {
    for (const char* name : {"older.log", "LogInForce.log"})
        std::filesystem::remove(InLogFolder(name));
    auto older = std::make_unique<LogInForce>("older");
    NLog::Information("first");
    Poco::AutoPtr<HostChannel> host(new HostChannel);
    const LogInForce inForce;
    WriteLines(0, 0, 100);
    std::chrono::steady_clock::duration waited = 1h;
    host->time = &waited;
    Poco::Logger::get("older").setChannel(host);
    host = nullptr;
    older.reset();
    EXPECT_LT(waited, 2s);
    EXPECT_THAT(ReadLog(InLogFolder("older.log")), EndsWith(" - first\n"));
    EXPECT_EQ(WrittenLines(InLogFolder("LogInForce.log"))[0], Numbers(100));
}

TEST(NLog, NamesItsFileByItsName) {
    for (const std::string name : {"NLogTest", "other.txt", "caf\xC3\xA9"}) {
        const std::filesystem::path file =
            InLogFolder("") / std::filesystem::u8path(name.substr(0, name.find('.')) + ".log");
        std::filesystem::remove(file);
        {
            NLog log;  // named as the program at first
            if (name != "NLogTest") log.SetName(NString(name, EncodingUTF8));
            NLog::Set(&log);
            NLog::Information("x");
        }
        EXPECT_THAT(ReadLog(file), HasSubstr("* Name: " + name + "\n"));
    }
}

TEST(NLog, LinesReachTheFileWhileTheProgramRuns) {
    const std::filesystem::path file = AlmostFull(RotationSize);
    const LogInForce inForce;
    for (int line = 0; line < 20; ++line) {
        WriteLines(0, line, 1);
        EXPECT_TRUE(morvel::FlushLog(60));
        ASSERT_EQ(WrittenLines(file)[0], Numbers(line + 1));
        std::this_thread::sleep_for(line % 4 * 1ms);
    }
}

TEST(NLog, KeepsEveryLineOfEightThreadsInItsThreadsOrder) {
    const int lines = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 125000 : 5000;
    const std::filesystem::path file = AlmostFull(1000000);  // a rotation falls in the middle
    {
        const LogInForce inForce;
        WriteOnThreads(8, lines);
        NLog::Information(std::string(1 << 20, 'x'));
    }
    std::map<int, std::vector<int>> written = WrittenLines(file);
    EXPECT_EQ(written.size(), 8u);
    for (int writer = 0; writer < 8; ++writer) {
        EXPECT_EQ(written[writer], Numbers(lines)) << "writer " << writer;
    }
    EXPECT_THAT(ReadLog(file), EndsWith(" - " + std::string(1 << 20, 'x') + "\n"));
}

TEST(NLog, FirstLinesThatMeetAreAllWritten) {
    AlmostFull(0);  // without archives
    for (int round = 0; round < 50; ++round) {
        EXPECT_THAT(WholeLogOf([] { WriteOnThreads(6, 2); }), StartsWith(Title));
        std::map<int, std::vector<int>> written = WrittenLines(InLogFolder("LogInForce.log"));
        for (int writer = 0; writer < 6; ++writer) {
            EXPECT_EQ(written[writer], Numbers(2)) << "writer " << writer;
        }
    }
}

// Each log is deleted halfway through what threads have to log in its time.
TEST(NLog, ComesAndGoesWhileOtherThreadsLog) {
    const int rounds = 200;
    const std::filesystem::path file = AlmostFull(RotationSize);
    std::atomic<bool> go{true};
    std::atomic<int> written{0};
    std::atomic<int> due{0};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&, writer] {
            for (int i = 0; go; std::this_thread::yield()) {
                for (; go && written < due; ++written) WriteLines(writer, i++, 1);
            }
        });
    }
    for (int round = 0; round < rounds; ++round) {
        const LogInForce inForce;
        const int before = written;
        due = before + 200;
        while (written < before + 20) std::this_thread::yield();
    }
    go = false;
    for (std::thread& writer : writers) writer.join();

    // Each banner whole, with no line of a thread's in it.
    const std::string log = ReadLog(file);
    const std::string name = "\n* Name: LogInForce\n*" + std::string(52, ' ') + "\n" + Stars + "\n";
    int banners = 0;
    for (std::size_t at = 0; (at = log.find(Title, at)) != std::string::npos; at += Title.size()) {
        banners += log.compare(log.find('\n', at + Title.size()), name.size(), name) == 0;
    }
    EXPECT_EQ(banners, rounds);
    for (const auto& writer : WrittenLines(file)) {
        EXPECT_GE(writer.first, 0);
        EXPECT_TRUE(std::is_sorted(writer.second.begin(), writer.second.end()));
    }
}

TEST(NLog, RotatesAtTenMegabytesAndRemovesArchivesOlderThanADay) {
    const struct {
        std::uintmax_t missing;
        std::string added;  // to the old file
    } rows[] = {{0, ""}, {1, Stars + "\n"}, {56, Title}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.missing);
        const std::filesystem::path file = AlmostFull(row.missing);
        const auto now = std::filesystem::file_time_type::clock::now();
        const std::string newest = file.string() + ".0", next = file.string() + ".1";
        std::ofstream(newest) << "a day less ten minutes";
        std::ofstream(next) << "a day and ten minutes";
        std::filesystem::last_write_time(newest, now - 23h - 50min);
        std::filesystem::last_write_time(next, now - 24h - 10min);
        {
            const LogInForce inForce;
            NLog::Information("x");
        }
        EXPECT_EQ(ReadLog(newest).substr(RotationSize - row.missing), row.added);
        EXPECT_EQ(ReadLog(next), "a day less ten minutes");
        EXPECT_FALSE(std::filesystem::exists(file.string() + ".2"));
        EXPECT_THAT(ReadLog(file), HasSubstr("* Name: LogInForce\n"));
    }
}

TEST(NLog, LosesLinesAndNothingElseWhereItCannotOpenItsFile) {
    const std::filesystem::path file = InLogFolder("LogInForce.log");
    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
    {
        const LogInForce inForce;
        WriteLines(0, 0, 300);
        EXPECT_FALSE(morvel::FlushLog(60));
        EXPECT_TRUE(morvel::FlushLog(0));  // nothing more was lost
    }
    EXPECT_TRUE(std::filesystem::remove(file));
}

TEST(LogTools, StartsALogOfTheProgramOnce) {
    EXPECT_TRUE(morvel::LogFile().IsEmpty());
    std::filesystem::remove_all(InLogFolder(""));
    std::filesystem::create_directories(InLogFolder("taken.log"));
    for (const char* const name : {"", "a/b", "a\\b", "taken"}) {
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
