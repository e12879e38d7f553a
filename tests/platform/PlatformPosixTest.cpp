// What the seam does off Windows, where its own decisions stand in for those of Windows.
#include <morvel/platform/platform.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <tests/support/TemporaryFolder.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

namespace {

std::string narrow(const NWideString& text) {
    return NarrowFromWide(text.c_str(), CodePageUtf8);
}

NWideString wide(const std::string& text) {
    return WideFromNarrow(text.c_str(), CodePageUtf8);
}

// Sets a variable of the environment, or takes it away for null.
void setVariable(const char* name, const char* value) {
    if (value != nullptr) {
        setenv(name, value, 1);
    } else {
        unsetenv(name);
    }
}

class SpecialFolders : public testing::Test {
protected:
    ~SpecialFolders() override {
        setVariable("HOME", _home.c_str());
        setVariable("XDG_DATA_HOME", _data.c_str());
    }

    TemporaryFolder folder;

private:
    const std::string _home = std::getenv("HOME");
    const std::string _data = std::getenv("XDG_DATA_HOME");
};

}  // namespace

TEST(PlatformPosix, SystemTextIsUtf8WithQuestionMarksForWhatIsMalformed) {
    EXPECT_EQ(narrow(WideFromNarrow("caf\xC3\xA9 \xC3\xC3\xA9 \xFF", CodePageSystem)),
              "caf\xC3\xA9 ?\xC3\xA9 ?");
    EXPECT_EQ(NarrowFromWide(u"caf\u00E9", CodePageSystem), "caf\xC3\xA9");
    EXPECT_EQ(NarrowFromWide(u"text", 1252), "");
    EXPECT_EQ(WideFromNarrow("text", 1252), u"");
}

TEST_F(SpecialFolders, FollowTheEnvironment) {
    const std::string home = folder.File("home");
    const std::string data = folder.File("a/b/data");
    const struct {
        const char* why;
        const char* home;
        const char* data;
        std::string expected;
    } rows[] = {
        {"the base directory", home.c_str(), data.c_str(), data},
        {"none", home.c_str(), nullptr, home + "/.local/share"},
        {"an empty one", home.c_str(), "", home + "/.local/share"},
        {"a relative one counts as none", home.c_str(), "data", home + "/.local/share"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        setVariable("HOME", row.home);
        setVariable("XDG_DATA_HOME", row.data);
        EXPECT_EQ(narrow(SpecialFolder(Folder::AppData)), row.expected);
        struct stat status;
        ASSERT_EQ(stat(row.expected.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u);
    }
    EXPECT_EQ(narrow(SpecialFolder(Folder::CommonAppData)), "/var/lib");
    EXPECT_EQ(narrow(SpecialFolder(Folder::CommonDocuments)), "/usr/local/share");
}

TEST_F(SpecialFolders, LeaveAFolderThatIsThereAsItIs) {
    const std::string data = folder.File("data");
    ASSERT_EQ(mkdir(data.c_str(), 0700), 0);
    ASSERT_EQ(chmod(data.c_str(), 0755), 0);
    folder.Write("data/file", "x");
    setVariable("XDG_DATA_HOME", data.c_str());
    EXPECT_EQ(narrow(SpecialFolder(Folder::AppData)), data);
    struct stat status;
    ASSERT_EQ(stat(data.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755u);
    EXPECT_EQ(folder.Read("data/file"), "x");
}

TEST_F(SpecialFolders, FallBackOnTheUsersEntryWithoutHome) {
    const passwd* const entry = getpwuid(getuid());
    if (entry == nullptr) {
        GTEST_SKIP() << "this user has no entry";
    }
    const std::string expected = std::string(entry->pw_dir) + "/.local/share";
    struct stat status;
    if (stat(expected.c_str(), &status) != 0) {
        GTEST_SKIP() << "a test makes no folder in a user's home: " << expected;
    }
    setVariable("XDG_DATA_HOME", nullptr);
    for (const char* home : {static_cast<const char*>(nullptr), ""}) {
        setVariable("HOME", home);
        EXPECT_EQ(narrow(SpecialFolder(Folder::AppData)), expected);
    }
}

// procfs keeps no birth times.
TEST(PlatformPosix, CreationTimeFallsBackOnTheChangeOfStatus) {
    struct stat status;
    ASSERT_EQ(stat("/proc/self/stat", &status), 0);
    std::int64_t seconds = 0;
    ASSERT_TRUE(CreationTime(wide("/proc/self/stat"), &seconds));
    EXPECT_EQ(seconds, status.st_ctime);
}

TEST(PlatformPosix, OpenForWritingHeedsALockThatAnotherHolds) {
    TemporaryFolder folder;
    folder.Write("f", "content");
    const int holder = open(folder.File("f").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(holder, LOCK_SH), 0);
    EXPECT_EQ(OpenForWriting(wide(folder.File("f"))), nullptr);
    EXPECT_EQ(folder.Read("f"), "content");
    close(holder);

    std::FILE* const stream = OpenForWriting(wide(folder.File("f")));
    ASSERT_NE(stream, nullptr);
    EXPECT_NE(fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC, 0);
    std::fclose(stream);
}

TEST(PlatformPosix, OpenForWritingTakesADeviceAsOftenAsOneLikes) {
    std::FILE* const first = OpenForWriting(wide("/dev/null"));
    std::FILE* const second = OpenForWriting(wide("/dev/null"));
    ASSERT_TRUE(first != nullptr && second != nullptr);
    std::fclose(first);
    std::fclose(second);
}

TEST(PlatformPosix, OpenForWritingLeavesNoDescriptorBehind) {
    TemporaryFolder folder;
    std::FILE* const holder = OpenForWriting(wide(folder.File("f")));
    ASSERT_NE(holder, nullptr);
    const int before = dup(0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(OpenForWriting(wide(folder.File("f"))), nullptr);
    }
    const int after = dup(0);
    EXPECT_EQ(after, before + 1);
    close(before);
    close(after);
    std::fclose(holder);
}

TEST(PlatformPosix, SignalsDoNotCutASleepShort) {
    using namespace std::chrono;
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    struct sigaction former;
    sigaction(SIGALRM, &action, &former);
    const itimerval everyMillisecond = {{0, 1000}, {0, 1000}};
    const itimerval never = {};
    setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
    const auto before = steady_clock::now();
    SleepMilliseconds(30);
    const auto after = steady_clock::now();
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &former, nullptr);
    EXPECT_GE(after - before, milliseconds(30));
}

TEST(PlatformPosixDeathTest, AtUnloadSharesOneListWithStaticObjects) {
    struct Talker {
        explicit Talker(const char* text) : _text(text) {}
        ~Talker() { std::fputs(_text, stderr); }
        const char* _text;
    };
    EXPECT_EXIT(
        {
            static const Talker first(" first");
            AtUnload([](void*) { std::fputs(" between,", stderr); }, nullptr);
            static const Talker last("last,");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "last, between, first");
}
