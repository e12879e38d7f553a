#include <morvel/files/FileTools.h>
#include <morvel/files/NPath.h>

#include <pwd.h>
#include <sys/stat.h>

#include <tests/support/Test.h>

namespace {

std::string _homeOfUser;
bool _privileged = false;

}  // namespace

// Stand in front of the C library's, so that no test makes a folder in a user's home, and that none
// needs a program with raised privileges.
#pragma GCC visibility push(default)
extern "C" int getpwuid_r(uid_t, passwd* entry, char*, std::size_t, passwd** found) {
    entry->pw_dir = _homeOfUser.data();
    *found = entry;
    return 0;
}
extern "C" char* secure_getenv(const char* name) {
    return _privileged ? nullptr : std::getenv(name);
}
#pragma GCC visibility pop

TEST(NPathPosix, AppDataFolderFollowsTheEnvironmentIfThatIsToBeBelieved) {
    const TemporaryFolder folder;
    const std::string home = folder.File("home"), data = folder.File("a/b/\xC3\xA9");
    _homeOfUser = folder.File("entry");
    const std::string inHome = home + "/.local/share", inEntry = _homeOfUser + "/.local/share";
    const struct {
        const char *home, *data;
        std::string expected;
        bool privileged = false;
    } rows[] = {
        {home.c_str(), data.c_str(), data},
        {home.c_str(), nullptr, inHome},
        {home.c_str(), "", inHome},
        {home.c_str(), "relative", inHome},
        {nullptr, nullptr, inEntry},
        {"", nullptr, inEntry},
        {home.c_str(), data.c_str(), inEntry, true},
    };
    for (const auto& row : rows) {
        row.home != nullptr ? setenv("HOME", row.home, 1) : unsetenv("HOME");
        row.data != nullptr ? setenv("XDG_DATA_HOME", row.data, 1) : unsetenv("XDG_DATA_HOME");
        _privileged = row.privileged;
        EXPECT_EQ(NPath::AppDataFolder().Data(), row.expected + '/');
        struct stat status = {};
        EXPECT_EQ(stat(row.expected.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0700u);
        std::filesystem::remove_all(row.expected);
    }
}

TEST(NPathPosix, AFileThatIsReplacedKeepsItsPermissions) {
    const TemporaryFolder folder;
    const std::string file = folder.Write("a", "old");
    for (const mode_t mode : {0751u, 04755u, 0600u}) {
        ASSERT_EQ(chmod(file.c_str(), mode), 0);
        morvel::WriteFile(NPath(file), "new");
        struct stat status = {};
        ASSERT_EQ(stat(file.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
}
