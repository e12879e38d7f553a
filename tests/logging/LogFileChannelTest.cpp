#include <morvel/logging/LogFileChannel.h>

#include <Poco/AutoPtr.h>

#include <tests/logging/Log.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;

// At the end of a process Windows cuts the writer off wherever it is, which no test can time. What
// is left then is here: a line that comes again, with its number.
TEST(LogFileChannel, WritesALineThatComesAgainOnce) {
    TemporaryFolder folder;
    folder.Write("a.log", "old\n");
    Poco::AutoPtr<morvel::LogFileChannel> channel(new morvel::LogFileChannel);
    const struct {
        const char* file;
        const char* line;
        std::uint64_t number;
        const char* log;
    } rows[] = {
        {"a.log", "one\n", 1, "old\none\n"},
        {"a.log", "one\n", 1, "old\none\n"},
        {"a.log", "two\n", 2, "old\none\ntwo\n"},
        {"a.log", "two\n", 3, "old\none\ntwo\ntwo\n"},
        {"missing/b.log", "lost\n", 4, ""},
        {"c.log", "found\n", 4, "found\n"},  // it failed and wasn't written
        {"c.log", "found\n", 4, "found\n"},
    };
    std::string open;
    for (const auto& row : rows) {
        if (row.file != std::exchange(open, row.file)) channel->close();
        channel->setProperty("path", folder.File(row.file));
        channel->WriteLine(row.line, row.number);
        EXPECT_EQ(ReadLog(folder.File(row.file)), row.log) << row.number;
    }
}
