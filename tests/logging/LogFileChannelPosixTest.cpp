// The file channel of the log's chain on disks that are full, in folders that go away, and in
// several processes. Works on the internal class, so that the moment of each write is the test's.

#include <morvel/logging/LogFileChannel.h>

#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <Poco/AutoPtr.h>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using morvel::LogFileChannel;
using morvel::test::TemporaryFolder;

namespace {
Poco::AutoPtr<LogFileChannel> Channel(const std::string& path, const std::string& rotation) {
    Poco::AutoPtr<LogFileChannel> channel(new LogFileChannel);
    channel->setProperty("path", path);
    channel->setProperty("rotation", rotation);
    return channel;
}

// Files of this process grow to `bytes` and no further.
void LimitFileSize(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}
}  // namespace

TEST(LogFileChannel, RotatesByEachUnitOfSize) {
    const std::pair<const char*, std::uintmax_t> rows[] = {
        {"100", 100}, {" 2 K", 2048}, {"1M", 1048576}};
    for (const auto& [rotation, size] : rows) {
        SCOPED_TRACE(rotation);
        TemporaryFolder folder;
        const std::string path = folder.Write("r.log", "");
        Poco::AutoPtr<LogFileChannel> channel = Channel(path, rotation);
        std::filesystem::resize_file(path, size - 1);
        channel->WriteLine("old");
        EXPECT_FALSE(folder.Has("r.log.0"));
        channel->WriteLine("new");
        EXPECT_EQ(std::filesystem::file_size(folder.File("r.log.0")), size + 3);
        EXPECT_EQ(folder.Read("r.log"), "new\n");
    }
}

TEST(LogFileChannel, ComesBackOnALineOfItsOwnWhenThereIsSpace) {
    TemporaryFolder folder;
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File("r.log"), "10 M");
    channel->WriteLine("0123456789");
    LimitFileSize(15);
    for (int line = 0; line < 50; ++line) channel->WriteLine("abcdefghij");
    EXPECT_EQ(folder.Read("r.log"), "0123456789\nabcd");
    LimitFileSize(RLIM_INFINITY);
    channel->WriteLine("0123456789");
    channel->WriteLine("0123456789");
    EXPECT_EQ(folder.Read("r.log"), "0123456789\nabcd\n0123456789\n0123456789\n");
}

TEST(LogFileChannel, OutlastsAFullFileSystem) {
    TemporaryFolder folder;
    const std::string disk = folder.Path().string();
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "to mount a file system takes the superuser";
    }
    folder.Write("ballast", std::string(32 * 1024, '-'));
    {
        Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File("r.log"), "10 M");
        for (int line = 0; line < 2000; ++line) channel->WriteLine(std::string(99, 'x'));
        EXPECT_LE(folder.Read("r.log").size(), 32u * 1024);
        std::filesystem::remove(folder.File("ballast"));
        channel->WriteLine("room again");
        EXPECT_THAT(folder.Read("r.log"), testing::EndsWith("x\nroom again\n"));
        EXPECT_FALSE(folder.Has("r.log.0"));
    }
    EXPECT_EQ(umount(disk.c_str()), 0);
}

TEST(LogFileChannel, ArchivesNothingOfADeviceThatIsFull) {
    TemporaryFolder folder;
    std::filesystem::create_symlink("/dev/full", folder.File("r.log"));
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File("r.log"), "10 M");
    for (int line = 0; line < 3; ++line) channel->WriteLine("lost");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.File("r.log")));
    EXPECT_FALSE(folder.Has("r.log.0"));
}

TEST(LogFileChannel, MakesARemovedFolderAgainWhenItRotates) {
    TemporaryFolder root;
    const std::string folder = root.File("folder");
    std::filesystem::create_directory(folder);
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder + "/r.log", "10");
    channel->WriteLine("0123456789");
    std::filesystem::remove_all(folder);
    channel->WriteLine("0123456789");
    EXPECT_EQ(root.Read("folder/r.log"), "0123456789\n");
    EXPECT_FALSE(root.Has("folder/r.log.0"));

    std::filesystem::remove_all(folder);
    root.Write("folder", "in the way");
    channel->WriteLine("lost");
    channel->WriteLine("lost");
    std::filesystem::remove(folder);
    std::filesystem::create_directory(folder);
    channel->WriteLine("found");
    EXPECT_EQ(root.Read("folder/r.log"), "found\n");
}

TEST(LogFileChannel, GoesOnInTheOldFileWhereItCannotBeArchived) {
    TemporaryFolder folder;
    const std::string name(254, 'r');  // with the number of an archive it is too long
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File(name), "2");
    for (const char* line : {"one", "two", "three"}) channel->WriteLine(line);
    EXPECT_EQ(folder.Read(name), "one\ntwo\nthree\n");
}

// Two that rotate at the same moment would each move the other's archives, over one another.
TEST(LogFileChannel, RotatesBesideForkedChildrenWithoutLosingAnArchive) {
    constexpr int Children = 3;
    constexpr int Lines = 1500;
    TemporaryFolder folder;
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File("r.log"), "600");
    channel->WriteLine("parent");
    for (int child = 0; child < Children; ++child) {
        if (fork() == 0) {
            for (int line = 0; line < Lines; ++line) channel->WriteLine("child");
            _exit(0);
        }
    }
    for (int child = 0; child < Children; ++child) {
        int status = -1;
        wait(&status);
        EXPECT_EQ(status, 0);
    }
    std::map<std::string, int> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        std::ifstream in(entry.path());
        for (std::string line; std::getline(in, line);) ++found[line];
    }
    EXPECT_EQ(found, (std::map<std::string, int>{{"parent", 1}, {"child", Children * Lines}}));
}
