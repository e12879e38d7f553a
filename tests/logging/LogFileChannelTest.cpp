#include <morvel/logging/LogFileChannel.h>

#include <Poco/AutoPtr.h>

#include <tests/logging/LogReader.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using morvel::LogFileChannel;
using namespace morvel::test;

// A thread that was cut off leaves open whether its line is in the file.
TEST(LogFileChannel, ALineThatComesAgainIsWrittenOnce) {
    TemporaryFolder folder;
    Poco::AutoPtr<LogFileChannel> channel(new LogFileChannel);
    channel->setProperty("path", folder.File("a.log"));
    const std::pair<const char*, std::uint64_t> lines[] = {
        {"one", 1},          {"one", 1},         {"", 1}, {"two", 2}, {"two", 3}, {"two", 3},
        {"of no number", 0}, {"of no number", 0}};
    for (const auto& [text, number] : lines) channel->WriteLine(text, number);
    EXPECT_EQ(ReadLog(folder.File("a.log")), "one\ntwo\ntwo\nof no number\nof no number\n");

    // Cut off on opening the file: where it is written to matters then.
    folder.Write("old.log", "old\n");
    channel->close();
    channel->setProperty("path", folder.File("old.log"));
    channel->WriteLine("new", 20);
    channel->WriteLine("new", 20);
    EXPECT_EQ(ReadLog(folder.File("old.log")), "old\nnew\n");

    // One that failed wasn't written and may come again.
    channel->setProperty("path", folder.File("missing/b.log"));
    channel->close();
    channel->WriteLine("lost", 4);
    channel->setProperty("path", folder.File("c.log"));
    channel->WriteLine("found", 4);
    channel->WriteLine("found", 4);
    EXPECT_EQ(ReadLog(folder.File("c.log")), "found\n");
}
