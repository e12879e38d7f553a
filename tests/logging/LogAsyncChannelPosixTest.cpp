// The asynchronous channel of the log's chain on its own: closed and used again, and forked at the
// moments that are hard to meet from outside.

#include <morvel/logging/LogAsyncChannel.h>

#include <sys/wait.h>
#include <unistd.h>

#include <Poco/AutoPtr.h>
#include <Poco/Message.h>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using morvel::LogAsyncChannel;
using morvel::LogFileChannel;
using namespace morvel::test;

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

std::size_t CountOf(const std::string& line, const std::string& log) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = log.find(line, at)) != std::string::npos; ++at) ++count;
    return count;
}
}  // namespace

TEST(LogAsyncChannel, WritesAllOnCloseAndGoesOnAfterwards) {
    TemporaryFolder folder;
    Poco::AutoPtr<LogAsyncChannel> channel = Channel(folder.File("a.log"));
    channel->open();
    channel->close();
    EXPECT_FALSE(folder.Has("a.log"));
    std::size_t expected = 0;
    for (const int lines : {1, 20000, 1, 5000, 2}) {
        Log(*channel, "x", lines);
        channel->close();
        expected += 2 * static_cast<std::size_t>(lines);
        EXPECT_EQ(folder.Read("a.log").size(), expected);
    }
    std::string end = "x\n";
    for (const std::size_t length : {1u << 20, 0u, 1u << 16, 1u}) {
        const std::string line(length, 'y');
        Log(*channel, line);
        end += line + "\n";
    }
    channel = nullptr;
    EXPECT_THAT(folder.Read("a.log"), testing::EndsWith(end));
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
    const std::string log = folder.Read("a.log");
    EXPECT_EQ(CountOf("parent\n", log), std::size_t(Lines));
    EXPECT_EQ(CountOf("child\n", log), 20u);
}
