// The asynchronous channel of the log's chain on its own: closed and used again, and forked at the
// moments that are hard to meet from outside.

#include <morvel/logging/LogAsyncChannel.h>

#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <Poco/AutoPtr.h>
#include <Poco/Message.h>
#include <gmock/gmock.h>

#include <tests/support/TemporaryFolder.h>

using morvel::LogAsyncChannel;
using morvel::LogFileChannel;
using morvel::test::TemporaryFolder;

namespace {
Poco::AutoPtr<LogAsyncChannel> Channel(const std::string& path) {
    Poco::AutoPtr<LogFileChannel> file(new LogFileChannel);
    file->setProperty("path", path);
    return new LogAsyncChannel(file);
}

void Log(LogAsyncChannel& channel, const std::string& text, int times = 1) {
    for (int i = 0; i < times; ++i) {
        channel.log(Poco::Message("source", text, Poco::Message::PRIO_NOTICE));
    }
}

std::string Repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}
}  // namespace

TEST(LogAsyncChannel, WritesAllOnCloseAndGoesOnAfterwards) {
    TemporaryFolder folder;
    Poco::AutoPtr<LogAsyncChannel> channel = Channel(folder.File("a.log"));
    channel->open();
    channel->close();
    EXPECT_FALSE(folder.Has("a.log"));
    std::string expected;
    for (const int lines : {1, 20000, 1, 1, 5000, 2}) {
        Log(*channel, "x", lines);
        channel->close();
        expected += Repeated("x\n", lines);
        EXPECT_EQ(folder.Read("a.log").size(), expected.size());
    }
    Log(*channel, "last");
    channel = nullptr;
    EXPECT_EQ(folder.Read("a.log"), expected + "last\n");
}

// The parent's queue, which the child drops, is long; the child's own is one line long each time.
TEST(LogAsyncChannel, ForkedChildWritesItsOwnLinesAndNoneOfTheParents) {
    constexpr int Lines = 30000;
    TemporaryFolder folder;
    Poco::AutoPtr<LogAsyncChannel> channel = Channel(folder.File("a.log"));
    Log(*channel, "parent", Lines);
    LogAsyncChannel::PauseAll();
    const pid_t child = fork();
    if (child == 0) {
        LogAsyncChannel::ResumeAllInChild();
        for (int line = 0; line < 20; ++line) {
            Log(*channel, "child");
            channel->close();
        }
        _exit(0);
    }
    LogAsyncChannel::ResumeAll();
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    channel = nullptr;
    std::string log = folder.Read("a.log");
    EXPECT_EQ(log.size(), Repeated("parent\n", Lines).size() + Repeated("child\n", 20).size());
    int found = 0;
    for (std::size_t at = 0; (at = log.find("child\n", at)) != std::string::npos; ++at) {
        ++found;
    }
    EXPECT_EQ(found, 20);
}
