#include <morvel/logging/NLog.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/RegularExpression.h>
#include <gmock/gmock.h>

#include <tests/logging/LogHome.h>
#include <tests/logging/LogInForce.h>
#include <tests/logging/WrittenLines.h>

using morvel::test::ArmAlmostFull;
using morvel::test::Gap;
using morvel::test::LineOf;
using morvel::test::LogHome;
using morvel::test::ReadLog;
using morvel::test::WholeLogOf;
using morvel::test::WrittenLines;
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {
// The long form of a test takes minutes; the short one is for every day.
bool Long() {
    return std::getenv("MORVEL_LONG_TESTS") != nullptr;
}

const std::string Stars(53, '*');

}  // namespace

TEST(NLog, OffUnlessItsFileStandsAtLoad) {
    LogHome home(LOG_PROBE);
    EXPECT_EQ(home.Run({"state"}).output, "off");
    EXPECT_TRUE(std::filesystem::is_directory(home.Folder()));
    EXPECT_EQ(home.Run({"lines", "10"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_empty(home.Folder()));

    home.Arm();
    EXPECT_EQ(home.Run({"state"}).output, "on");
    EXPECT_EQ(home.Log(), "");  // armed, and not a byte until there is a line
}

TEST(NLog, BeginsWithTheBannerAndDatesEachLine) {
    LogHome home(LOG_PROBE);
    home.Arm("earlier\n");
    EXPECT_EQ(home.Run({"lines", "2", "TRACE"}).exitCode, 0);
    EXPECT_EQ(home.Run({"lines", "3", "INFO"}).exitCode, 0);
    const std::string banner =
        "\\*{53}\n"
        "\\* - Log System -\t{9} \n"
        "\\* Creation date: [1-9]\\d?/[1-9]\\d?/\\d{4} at \\d+:\\d+:\\d+\n"
        "\\* Name: morvel\\.log\n"
        "\\* {52}\n"
        "\\*{53}\n";
    const std::string date =
        "(\\d{4})/([1-9]\\d?)/([1-9]\\d?) - \\[(\\w+)\\] - \\d\\d:\\d\\d:\\d\\d - ";
    Poco::RegularExpression expected(
        "\\Aearlier\n" + banner + date +
        "TRACE \\[File: LogProbe\\.cpp Line: \\d+\\]\t\"one of 2\"\n" + banner + date +
        "INFO \\[File: LogProbe\\.cpp Line: \\d+\\]\t\"one of 3\"\n\\z");
    const std::string log = home.Log();
    std::vector<std::string> match;
    ASSERT_GT(expected.split(log, match), 4) << log;

    std::tm day{};
    day.tm_year = std::stoi(match[1]) - 1900;
    day.tm_mon = std::stoi(match[2]) - 1;
    day.tm_mday = std::stoi(match[3]);
    day.tm_hour = 12;
    std::mktime(&day);
    const char* const names[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    EXPECT_EQ(match[4], names[day.tm_wday]);
}

TEST(NLog, StampsEachLineWithItsOwnSecond) {
    const auto stamp = [] {
        return Poco::DateTimeFormatter::format(Poco::DateTime(), "%Y/%n/%e - [%w] - %H:%M:%S - ");
    };
    std::string before, after;
    const std::string log = WholeLogOf([&] {
        NLog::Information("first");
        std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        before = stamp();
        NLog::Information("second");
        after = stamp();
    });
    EXPECT_THAT(log, AnyOf(HasSubstr(before + "second\n"), HasSubstr(after + "second\n")));
}

TEST(NLog, RoutesExactLevelWordsOnly) {
    for (const char* word :
         {"INFO", "WARNING", "FATAL", "ERROR", "CRITICAL", "NOTICE", "INFORMATION", "TRACE"}) {
        EXPECT_EQ(LineOf([&] { NLog::Write(word, "text"); }), "text\n") << word;
    }
    for (const char* word :
         {"DEBUG", "notice", "Info", "INFO ", "INFORMATIO", "FATALITY", "NONE", ""}) {
        EXPECT_EQ(WholeLogOf([&] { NLog::Write(word, "text"); }), "") << word;
    }
    EXPECT_EQ(LineOf([] { NLog::Information("100%t\tof it"); }), "100%t\tof it\n");
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

TEST(NLog, NamesItsFileByItsName) {
    const std::filesystem::path folder =
        std::filesystem::u8path(NPath::AppDataFolder().Data()) / "Tarnwick Software";
    const struct {
        const char* name;
        const char* file;
    } rows[] = {
        {"plain", "plain.log"}, {"other.txt", "other.log"}, {"caf\xC3\xA9", "caf\xC3\xA9.log"}};
    for (const auto& row : rows) {
        const std::filesystem::path file = folder / std::filesystem::u8path(row.file);
        std::filesystem::remove(file);
        {
            NLog log;
            log.SetName(NString(row.name, EncodingUTF8));
            NLog::Set(&log);
            NLog::Information("x");
        }
        EXPECT_THAT(ReadLog(file), HasSubstr(std::string("* Name: ") + row.name + "\n"));
    }
    // and without a name after the program
    const std::filesystem::path file = folder / "NLogTest.log";
    std::filesystem::remove(file);
    {
        NLog log;
        NLog::Set(&log);
        NLog::Information("x");
    }
    EXPECT_THAT(ReadLog(file), HasSubstr("* Name: NLogTest\n"));
}

TEST(NLog, OneChainAfterTheOther) {
    LogHome home(LOG_PROBE);
    home.Arm();
    EXPECT_EQ(home.Run({"second-chain"}).exitCode, 0);
    EXPECT_EQ(Gap(WrittenLines(home.File())[0], 3), "");
    EXPECT_EQ(Gap(WrittenLines(home.File("second.log"))[1], 2000), "");
    EXPECT_EQ(Gap(WrittenLines(home.File("third.log"))[1], 2000), "");
}

TEST(NLog, DefaultLogIsTheApplicationsToUse) {
    for (const char* job : {"default-log", "default-log-stays"}) {
        for (const bool armed : {false, true}) {
            SCOPED_TRACE(job + std::string(armed ? " with the log on" : " with the log off"));
            LogHome home(LOG_PROBE);
            if (armed) {
                home.Arm();
            }
            EXPECT_EQ(home.Run({job}).exitCode, 0);
            EXPECT_EQ(Gap(WrittenLines(home.File("LogProbe.log"))[0], 500), "");
        }
    }
}

TEST(NLog, WritesAllThatIsQueuedWhenMainReturns) {
    const int rounds = Long() ? 60 : 3;
    for (int round = 0; round < rounds; ++round) {
        LogHome home(LOG_PROBE);
        home.Arm();
        EXPECT_EQ(home.Run({"lines", "20000"}).exitCode, 0);
        ASSERT_EQ(Gap(WrittenLines(home.File())[0], 20000), "") << "round " << round;
    }
}

TEST(NLog, KeepsEveryLineOfEightThreadsInItsThreadsOrder) {
    const int lines = Long() ? 125000 : 5000;
    LogHome home(LOG_PROBE);
    ArmAlmostFull(home, 1000000);  // so that a rotation falls in the middle
    EXPECT_EQ(home.Run({"threads", "8", std::to_string(lines)}).exitCode, 0);
    std::map<int, std::vector<int>> written = WrittenLines(home.File());
    EXPECT_EQ(written.size(), 8u);
    for (int writer = 0; writer < 8; ++writer) {
        EXPECT_EQ(Gap(written[writer], static_cast<std::size_t>(lines)), "") << "writer " << writer;
    }
}

TEST(NLog, FirstLinesThatMeetAreAllWritten) {
    for (int round = 0; round < 20; ++round) {
        LogHome home(LOG_PROBE);
        home.Arm();
        EXPECT_EQ(home.Run({"threads", "6", "2"}).exitCode, 0);
        std::map<int, std::vector<int>> written = WrittenLines(home.File());
        for (int writer = 0; writer < 6; ++writer) {
            EXPECT_EQ(Gap(written[writer], 2), "") << "writer " << writer;
        }
        EXPECT_THAT(home.Log(), StartsWith(Stars + "\n* - Log System"));
    }
}

TEST(NLog, ComesAndGoesWhileOtherThreadsLog) {
    const int rounds = 200;
    LogHome home(LOG_PROBE);
    const morvel::test::ProcessResult result = home.Run({"chains", std::to_string(rounds)});
    EXPECT_EQ(result.exitCode, 0) << result.output;
    const std::string log = ReadLog(home.File("chains.log"));
    // Each banner whole, with no line of a thread's in it.
    const std::string title = Stars + "\n* - Log System -\t\t\t\t\t\t\t\t\t \n* Creation date: ";
    const std::string name = "\n* Name: chains\n*" + std::string(52, ' ') + "\n" + Stars + "\n";
    int banners = 0;
    for (std::size_t at = 0; (at = log.find(title, at)) != std::string::npos; ++at) {
        const std::size_t date = at + title.size();
        banners += log.compare(log.find('\n', date), name.size(), name) == 0;
    }
    EXPECT_EQ(banners, rounds);
    for (const auto& writer : WrittenLines(home.File("chains.log"))) {
        EXPECT_GE(writer.first, 0);
        EXPECT_TRUE(std::is_sorted(writer.second.begin(), writer.second.end()));
    }
}

TEST(NLog, EndsCleanlyWhileOtherThreadsLog) {
    for (int round = 0; round < 10; ++round) {
        LogHome home(LOG_PROBE);
        home.Arm();
        const morvel::test::ProcessResult result = home.Run({"shutdown-race"});
        EXPECT_EQ(result.exitCode, 0) << result.output;
        for (const auto& writer : WrittenLines(home.File())) {
            EXPECT_EQ(Gap(writer.second, writer.second.size()), "") << "writer " << writer.first;
        }
    }
}

TEST(NLog, RotatesAtTenMegabytes) {
    const std::string title = "* - Log System -\t\t\t\t\t\t\t\t\t \n";
    const struct {
        const char* why;
        std::uintmax_t missing;
        std::string added;  // what still goes into the old file
    } rows[] = {
        {"exactly full", 0, ""},
        {"a byte short", 1, Stars + "\n"},
        {"full behind the first line", 54, Stars + "\n"},
        {"nearly full behind it", 56, Stars + "\n" + title},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        LogHome home(LOG_PROBE);
        ArmAlmostFull(home, row.missing);
        EXPECT_EQ(home.Run({"lines", "1"}).exitCode, 0);
        const std::string archive = ReadLog(home.File("morvel.log.0"));
        ASSERT_GE(archive.size(), 10485760 - row.missing);
        EXPECT_EQ(archive.substr(10485760 - row.missing), row.added);
        EXPECT_THAT(home.Log(), HasSubstr("* Name: morvel.log\n"));
        EXPECT_THAT(home.Log(), HasSubstr("writer 0 line 0"));
        EXPECT_FALSE(std::filesystem::exists(home.File("morvel.log.1")));
    }
}

TEST(NLog, NumbersArchivesAndRemovesThoseOlderThanADay) {
    using namespace std::chrono_literals;
    LogHome home(LOG_PROBE);
    ArmAlmostFull(home, 0);
    const auto now = std::filesystem::file_time_type::clock::now();
    const struct {
        const char* name;
        std::chrono::minutes age;
    } archives[] = {{"morvel.log.0", 23h + 50min}, {"morvel.log.1", 24h + 10min}};
    for (const auto& archive : archives) {
        std::ofstream(home.File(archive.name)) << archive.name;
        std::filesystem::last_write_time(home.File(archive.name), now - archive.age);
    }
    EXPECT_EQ(home.Run({"lines", "1"}).exitCode, 0);
    EXPECT_EQ(std::filesystem::file_size(home.File("morvel.log.0")), 10485760u);
    EXPECT_EQ(ReadLog(home.File("morvel.log.1")), "morvel.log.0");
    EXPECT_FALSE(std::filesystem::exists(home.File("morvel.log.2")));
}

TEST(NLog, LosesLinesAndNothingElseWhereItCannotOpenItsFile) {
    {
        LogHome home(LOG_PROBE);
        std::filesystem::create_directories(home.File() / "inside");
        EXPECT_EQ(home.Run({"state"}).output, "on");
        EXPECT_EQ(home.Run({"lines", "300"}).exitCode, 0);
        EXPECT_TRUE(std::filesystem::is_directory(home.File() / "inside"));
    }
    {
        LogHome home(LOG_PROBE);
        home.Arm();
        EXPECT_EQ(home.Run({"folder-missing"}).exitCode, 0);
        // The owner makes the folder again on its way out, and what is queued then has a place.
        EXPECT_EQ(WrittenLines(home.File()).count(-1), 0u);
    }
}
