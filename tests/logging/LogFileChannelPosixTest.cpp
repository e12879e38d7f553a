// The file channel of the log's chain on a disk that is full. Works on the internal class, so that
// the moment of each write is the test's to choose.

#include <morvel/logging/LogFileChannel.h>

#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <Poco/AutoPtr.h>
#include <gmock/gmock.h>

#include <tests/support/TemporaryFolder.h>

using morvel::LogFileChannel;
using morvel::test::TemporaryFolder;

namespace {
Poco::AutoPtr<LogFileChannel> Channel(const std::string& path, const std::string& rotation) {
    Poco::AutoPtr<LogFileChannel> channel(new LogFileChannel);
    channel->setProperty("path", path);
    channel->setProperty("rotation", rotation);
    channel->setProperty("archive", "number");
    channel->setProperty("purgeAge", "24 hours");
    return channel;
}

// While it lives, files of this process grow to `bytes` and no further.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : _formerAction(signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &_former);
        rlimit limit = _former;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &_former);
        signal(SIGXFSZ, _formerAction);
    }

private:
    rlimit _former{};
    void (*_formerAction)(int);
};
}  // namespace

TEST(LogFileChannel, PropertiesReadBackAsTheyWereSet) {
    const Poco::AutoPtr<LogFileChannel> channel = Channel("/a/b.log", "10 M");
    EXPECT_EQ(channel->getProperty("path"), "/a/b.log");
    EXPECT_EQ(channel->getProperty("rotation"), "10 M");
    EXPECT_EQ(channel->getProperty("archive"), "number");
    EXPECT_EQ(channel->getProperty("purgeAge"), "24 hours");
    EXPECT_EQ(channel->getProperty("flush"), "true");
}

TEST(LogFileChannel, RotatesByEachUnitOfSize) {
    const struct {
        const char* rotation;
        std::uintmax_t size;
    } rows[] = {{"100", 100}, {" 2 K", 2048}, {"1M", 1048576}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rotation);
        TemporaryFolder folder;
        const std::string path = folder.Write("r.log", "");
        Poco::AutoPtr<LogFileChannel> channel = Channel(path, row.rotation);
        std::filesystem::resize_file(path, row.size - 1);
        channel->WriteLine("old");
        EXPECT_FALSE(folder.Has("r.log.0"));
        channel->WriteLine("new");
        EXPECT_EQ(std::filesystem::file_size(folder.File("r.log.0")), row.size + 3);
        EXPECT_EQ(folder.Read("r.log"), "new\n");
    }
}

TEST(LogFileChannel, ComesBackOnALineOfItsOwnWhenThereIsSpace) {
    TemporaryFolder folder;
    const std::string path = folder.Write("r.log", "");
    Poco::AutoPtr<LogFileChannel> channel = Channel(path, "10 M");
    channel->WriteLine("0123456789");
    {
        FileSizeLimit limit(15);
        for (int line = 0; line < 50; ++line) {
            channel->WriteLine("abcdefghij");
        }
    }
    EXPECT_EQ(folder.Read("r.log"), "0123456789\nabcd");
    channel->WriteLine("0123456789");
    channel->WriteLine("0123456789");
    EXPECT_EQ(folder.Read("r.log"), "0123456789\nabcd\n0123456789\n0123456789\n");
    EXPECT_FALSE(folder.Has("r.log.0"));
}

// Two that rotate at the same moment would each move the other's archives, over one another.
TEST(LogFileChannel, RotatesBesideForkedChildrenWithoutLosingAnArchive) {
    constexpr int Children = 3;
    constexpr int Lines = 1500;
    TemporaryFolder folder;
    Poco::AutoPtr<LogFileChannel> channel = Channel(folder.Write("r.log", ""), "100");
    channel->WriteLine("parent");
    for (int child = 0; child < Children; ++child) {
        if (fork() == 0) {
            for (int line = 0; line < Lines; ++line) {
                channel->WriteLine("child");
            }
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
        std::string line;
        while (std::getline(in, line)) {
            ++found[line];
        }
    }
    const std::map<std::string, int> expected = {{"parent", 1}, {"child", Children * Lines}};
    EXPECT_EQ(found, expected);
}

TEST(LogFileChannel, GoesOnInTheOldFileUntilItCanBeArchived) {
    TemporaryFolder folder;
    const std::string path = folder.Write("r.log", "");
    Poco::AutoPtr<LogFileChannel> channel = Channel(path, "12");
    channel->WriteLine("first line");
    channel->WriteLine("second line");
    // In the archive's way: a folder that rename can't replace, as the number 0 is looked for
    // first.
    std::filesystem::rename(path, folder.File("away"));
    channel->WriteLine("third line");
    EXPECT_EQ(folder.Read("away"), "first line\nsecond line\n");
    EXPECT_EQ(folder.Read("r.log"), "third line\n");
}

TEST(LogFileChannel, LosesLinesOnAFullFileSystem) {
    TemporaryFolder folder;
    if (mount("none", folder.File("").c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "only a user who may mount file systems has a small one to fill";
    }
    {
        Poco::AutoPtr<LogFileChannel> channel = Channel(folder.File("r.log"), "32 K");
        const std::string line(1000, 'x');
        for (int i = 0; i < 200; ++i) {
            channel->WriteLine(line);
        }
        std::filesystem::remove(folder.File("r.log.0"));
        channel->WriteLine("there is space again");
        EXPECT_THAT(folder.Read("r.log"), testing::EndsWith("there is space again\n"));
    }
    umount(folder.File("").c_str());
}
