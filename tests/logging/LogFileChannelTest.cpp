#include <morvel/logging/LogFileChannel.h>

#include <Poco/AutoPtr.h>

#include <tests/logging/Log.h>

// At the end of a process Windows cuts the writer off wherever it is, which no test can time. What
// is left then is here: a line that comes again, with its number.
TEST(LogFileChannel, WritesALineThatComesAgainOnce) {
    TemporaryFolder folder;
    Poco::AutoPtr<morvel::LogFileChannel> channel(new morvel::LogFileChannel);
    channel->setProperty("path", folder.File("missing/a.log"));
    channel->WriteLine("lost\n", 1);
    channel->setProperty("path", folder.Write("a.log", "old\n"));
    for (const std::uint64_t number : {1, 1, 2, 3, 3}) channel->WriteLine("line\n", number);
    EXPECT_EQ(ReadLog(folder.File("a.log")), "old\nline\nline\nline\n");
}

// Behind a line that another follows at once the size is known, but only of that file.
TEST(LogFileChannel, AsksForTheSizeOfAFileThatItOpensAgain) {
    TemporaryFolder folder;
    Poco::AutoPtr<morvel::LogFileChannel> channel(new morvel::LogFileChannel);
    channel->setProperty("rotation", "9");
    channel->setProperty("path", folder.File("a.log"));
    channel->WriteLine("line\n", 1, true);
    channel->close();
    channel->setProperty("path", folder.Write("b.log", "nine now\n"));
    channel->WriteLine("line\n", 2);
    EXPECT_EQ(ReadLog(folder.File("b.log")), "line\n");
}
