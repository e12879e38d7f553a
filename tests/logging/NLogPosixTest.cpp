// The log beside forks, in folders that go away and on devices: what only POSIX systems have.

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <tests/logging/LogHome.h>
#include <tests/logging/WrittenLines.h>

using morvel::test::ArmAlmostFull;
using morvel::test::Gap;
using morvel::test::LogHome;
using morvel::test::ProcessResult;
using morvel::test::RunProcess;
using morvel::test::WrittenLines;
using testing::HasSubstr;

TEST(NLogPosix, ForkedChildEndsAndLeavesTheParentsLinesToTheParent) {
    LogHome home(LOG_PROBE);
    home.Arm();
    const ProcessResult result = RunProcess(LOG_PROBE_POSIX, {"fork-quietly"}, home.Environment());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(Gap(WrittenLines(home.File())[0], 5000), "");
}

TEST(NLogPosix, ChildrenOfABusyParentLogAndEnd) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers' own allocators don't survive a fork beside busy threads";
#endif
    LogHome home(LOG_PROBE);
    home.Arm();
    const ProcessResult result =
        RunProcess(LOG_PROBE_POSIX, {"forks", "20", "50"}, home.Environment());
    EXPECT_EQ(result.exitCode, 0) << result.output;
    std::map<int, std::vector<int>> written = WrittenLines(home.File());
    std::istringstream counts(result.output);
    for (int writer = 0; writer < 3; ++writer) {
        std::size_t count = 0;
        counts >> count;
        EXPECT_EQ(Gap(written[writer], count), "") << "writer " << writer;
    }
    for (int child = 100; child < 120; ++child) {
        EXPECT_EQ(Gap(written[child], 50), "") << "writer " << child;
    }
    EXPECT_EQ(written.size(), 23u);
}

// In the next two the banner fits into the old file and the first line fills it; then the folder is
// removed under the log's feet.
TEST(NLogPosix, MakesARemovedFolderAgainWhenItRotates) {
    LogHome home(LOG_PROBE);
    ArmAlmostFull(home, 300);
    EXPECT_EQ(home.Run({"folder-removed", "nothing"}).exitCode, 0);
    EXPECT_EQ(Gap(WrittenLines(home.File())[1], 50), "");
    EXPECT_FALSE(std::filesystem::exists(home.File("morvel.log.0")));
}

TEST(NLogPosix, LosesLinesWhereAFileStandsInTheFoldersPlace) {
    LogHome home(LOG_PROBE);
    ArmAlmostFull(home, 300);
    EXPECT_EQ(home.Run({"folder-removed", "file"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_regular_file(home.Folder()));
}

TEST(NLogPosix, LosesLinesOnADeviceThatIsFull) {
    LogHome home(LOG_PROBE);
    std::filesystem::create_directories(home.Folder());
    std::filesystem::create_symlink("/dev/full", home.File());
    EXPECT_EQ(home.Run({"lines", "300"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(home.File()));
    EXPECT_FALSE(std::filesystem::exists(home.File("morvel.log.0")));
}
