// What the seam does off Windows, where its own decisions stand in for those of Windows.
#include <morvel/platform/platform.h>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

namespace {

std::string homeOfUser;

std::string narrow(const NWideString& text) {
    return NarrowFromWide(text.c_str(), CodePageUtf8);
}

NWideString wide(const std::string& text) {
    return WideFromNarrow(text.c_str(), CodePageUtf8);
}

}  // namespace

// Stands in front of the C library's, so that no test makes a folder in a user's home.
extern "C" int getpwuid_r(uid_t, passwd* entry, char*, std::size_t, passwd** found) {
    entry->pw_dir = homeOfUser.data();
    *found = entry;
    return 0;
}

TEST(PlatformPosix, SystemTextIsUtf8WithQuestionMarksForWhatIsMalformed) {
    EXPECT_EQ(narrow(WideFromNarrow("\xC3\xA9 \xC3\xC3\xA9 \xFF", CodePageSystem)),
              "\xC3\xA9 ?\xC3\xA9 ?");
    EXPECT_EQ(NarrowFromWide(u"caf\u00E9", CodePageSystem), "caf\xC3\xA9");
    EXPECT_EQ(NarrowFromWide(u"text", 1252), "");
    EXPECT_EQ(WideFromNarrow("text", 1252), u"");
}

TEST(PlatformPosix, SpecialFoldersFollowTheEnvironment) {
    const TemporaryFolder folder;
    const std::string home = folder.File("home"), data = folder.File("a/b/data");
    homeOfUser = folder.File("entry");
    const std::string inHome = home + "/.local/share", inEntry = homeOfUser + "/.local/share";
    const struct {
        const char* home;
        const char* data;
        std::string expected;
    } rows[] = {
        {home.c_str(), data.c_str(), data}, {home.c_str(), nullptr, inHome},
        {home.c_str(), "", inHome},         {home.c_str(), "relative", inHome},
        {nullptr, nullptr, inEntry},        {"", nullptr, inEntry},
    };
    for (const auto& row : rows) {
        row.home != nullptr ? setenv("HOME", row.home, 1) : unsetenv("HOME");
        row.data != nullptr ? setenv("XDG_DATA_HOME", row.data, 1) : unsetenv("XDG_DATA_HOME");
        EXPECT_EQ(narrow(SpecialFolder(Folder::AppData)), row.expected);
        struct stat status = {};
        EXPECT_EQ(stat(row.expected.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u);
        std::filesystem::remove(row.expected);
    }
    EXPECT_EQ(narrow(SpecialFolder(Folder::CommonAppData)), "/var/lib");
    EXPECT_EQ(narrow(SpecialFolder(Folder::CommonDocuments)), "/usr/local/share");
}

// procfs keeps no birth times.
TEST(PlatformPosix, CreationTimeFallsBackOnTheChangeOfStatus) {
    struct stat status;
    ASSERT_EQ(stat("/proc/self/stat", &status), 0);
    std::int64_t seconds = 0;
    EXPECT_TRUE(CreationTime(wide("/proc/self/stat"), &seconds));
    EXPECT_EQ(seconds, status.st_ctime);
}

TEST(PlatformPosix, OpenForWritingTakesADeviceTwiceAndLeavesNoDescriptorBehind) {
    const TemporaryFolder folder;
    const NWideString name = wide(folder.File("f")), device = wide("/dev/null");
    std::FILE* const streams[] = {OpenForWriting(name), OpenForWriting(device),
                                  OpenForWriting(device)};
    const int before = dup(0);
    EXPECT_EQ(OpenForWriting(name), nullptr);
    const int after = dup(0);
    EXPECT_EQ(after, before + 1);
    close(before);
    close(after);
    for (std::FILE* stream : streams) {
        ASSERT_NE(stream, nullptr);
        EXPECT_NE(fcntl(fileno(stream), F_GETFD) & FD_CLOEXEC, 0);
        std::fclose(stream);
    }
}
