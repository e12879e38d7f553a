#include <morvel/logging/NLog.h>

#include <atomic>
#include <chrono>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/RegularExpression.h>

#include <tests/logging/LogInForce.h>
#include <tests/support/Test.h>

using namespace std::chrono_literals;
using namespace morvel::test;
using namespace testing;

namespace {
const std::string Stars(53, '*');
const std::string Title = "* - Log System -\t\t\t\t\t\t\t\t\t \n";

// A log file that is `missing` bytes short of being rotated, without archives.
std::filesystem::path AlmostFull(std::uintmax_t missing) {
    const std::filesystem::path file = InLogFolder("LogInForce.log");
    for (const char* archive : {".0", ".1"}) {
        std::filesystem::remove(file.string() + archive);
    }
    std::ofstream(file, std::ios::trunc).close();
    std::filesystem::resize_file(file, 10485760 - missing);
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
}  // namespace

TEST(NLog, BeginsWithTheBannerAndStampsEachLine) {
    const auto stamp = [] {
        return Poco::DateTimeFormatter::format(Poco::DateTime(), "%Y/%n/%e - [%w] - %H:%M:%S - ");
    };
    std::string before, after;
    const std::string log = WholeLogOf([&] {
        NLog::Information("first");
        std::this_thread::sleep_for(1100ms);  // into another second
        before = stamp();
        NLog::Information("100%t\tof it");
        after = stamp();
    });
    Poco::RegularExpression banner(
        "\\A\\*{53}\n"
        "\\* - Log System -\t{9} \n"
        "\\* Creation date: [1-9]\\d?/[1-9]\\d?/\\d{4} at \\d+:\\d+:\\d+\n"
        "\\* Name: LogInForce\n"
        "\\* {52}\n"
        "\\*{53}\n"
        "\\d{4}/[1-9]\\d?/[1-9]\\d? - \\[\\w{3}\\] - \\d\\d:\\d\\d:\\d\\d - first\n");
    std::string head;
    ASSERT_EQ(banner.extract(log, head), 1) << log;
    const std::string second = log.substr(head.size());
    EXPECT_THAT(second, AnyOf(before + "100%t\tof it\n", after + "100%t\tof it\n"));
}

TEST(NLog, RoutesExactLevelWordsOnly) {
    for (const char* word :
         {"INFO", "WARNING", "FATAL", "ERROR", "CRITICAL", "NOTICE", "INFORMATION", "TRACE"}) {
        EXPECT_EQ(LineOf([&] { NLog::Write(word, "text"); }), "text\n") << word;
    }
    for (const char* word : {"DEBUG", "notice", "INFO ", "INFORMATIO", "FATALITY", ""}) {
        EXPECT_EQ(WholeLogOf([&] { NLog::Write(word, "text"); }), "") << word;
    }
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

TEST(NLog, KeepsEveryLineOfEightThreadsInItsThreadsOrder) {
    const int lines = std::getenv("MORVEL_LONG_TESTS") != nullptr ? 125000 : 5000;
    const std::filesystem::path file = AlmostFull(1000000);  // a rotation falls in the middle
    WithLog([&] { WriteOnThreads(8, lines); });
    std::map<int, std::vector<int>> written = WrittenLines(file);
    EXPECT_EQ(written.size(), 8u);
    for (int writer = 0; writer < 8; ++writer) {
        EXPECT_EQ(Gap(written[writer], static_cast<std::size_t>(lines)), "") << "writer " << writer;
    }
}

TEST(NLog, FirstLinesThatMeetAreAllWritten) {
    AlmostFull(0);  // without archives
    for (int round = 0; round < 50; ++round) {
        EXPECT_THAT(WholeLogOf([] { WriteOnThreads(6, 2); }), StartsWith(Stars + "\n" + Title));
        std::map<int, std::vector<int>> written = WrittenLines(InLogFolder("LogInForce.log"));
        for (int writer = 0; writer < 6; ++writer) {
            EXPECT_EQ(Gap(written[writer], 2), "") << "writer " << writer;
        }
    }
}

// Each log is deleted halfway through what threads have to log in its time.
TEST(NLog, ComesAndGoesWhileOtherThreadsLog) {
    const int rounds = 200;
    const std::filesystem::path file = AlmostFull(10485760);
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
        NLog own;
        own.SetName("LogInForce");
        const int before = written;
        NLog::Set(&own);
        due = before + 200;
        while (written < before + 20) std::this_thread::yield();
    }
    go = false;
    for (std::thread& writer : writers) writer.join();

    // Each banner whole, with no line of a thread's in it.
    const std::string log = ReadLog(file);
    const std::string title = Stars + "\n" + Title + "* Creation date: ";
    const std::string name = "\n* Name: LogInForce\n*" + std::string(52, ' ') + "\n" + Stars + "\n";
    int banners = 0;
    for (std::size_t at = 0; (at = log.find(title, at)) != std::string::npos; ++at) {
        banners += log.compare(log.find('\n', at + title.size()), name.size(), name) == 0;
    }
    EXPECT_EQ(banners, rounds);
    for (const auto& writer : WrittenLines(file)) {
        EXPECT_GE(writer.first, 0);
        EXPECT_TRUE(std::is_sorted(writer.second.begin(), writer.second.end()));
    }
}

TEST(NLog, RotatesAtTenMegabytes) {
    // How many bytes are missing, and what still goes into the old file.
    const std::pair<std::uintmax_t, std::string> rows[] = {
        {0, ""}, {1, Stars + "\n"}, {56, Stars + "\n" + Title}};
    for (const auto& [missing, added] : rows) {
        SCOPED_TRACE(missing);
        const std::filesystem::path file = AlmostFull(missing);
        WithLog([] { NLog::Information("x"); });
        const std::string archive = ReadLog(file.string() + ".0");
        ASSERT_GE(archive.size(), 10485760 - missing);
        EXPECT_EQ(archive.substr(10485760 - missing), added);
        EXPECT_THAT(ReadLog(file), HasSubstr("* Name: LogInForce\n"));
        EXPECT_FALSE(std::filesystem::exists(file.string() + ".1"));
    }
}

TEST(NLog, NumbersArchivesAndRemovesThoseOlderThanADay) {
    const std::filesystem::path file = AlmostFull(0);
    const auto now = std::filesystem::file_time_type::clock::now();
    const std::string newest = file.string() + ".0", next = file.string() + ".1";
    std::ofstream(newest) << "a day less ten minutes";
    std::ofstream(next) << "a day and ten minutes";
    std::filesystem::last_write_time(newest, now - 23h - 50min);
    std::filesystem::last_write_time(next, now - 24h - 10min);
    WithLog([] { NLog::Information("x"); });
    EXPECT_EQ(std::filesystem::file_size(newest), 10485760u);
    EXPECT_EQ(ReadLog(next), "a day less ten minutes");
    EXPECT_FALSE(std::filesystem::exists(file.string() + ".2"));
}

TEST(NLog, LosesLinesAndNothingElseWhereItCannotOpenItsFile) {
    const std::filesystem::path file = InLogFolder("LogInForce.log");
    std::filesystem::remove(file);
    std::filesystem::create_directories(file);
    WithLog([] { WriteLines(0, 0, 300); });
    EXPECT_TRUE(std::filesystem::remove(file));
}
