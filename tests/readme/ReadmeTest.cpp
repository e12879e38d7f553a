#include <gtest/gtest.h>

#include <tests/support/Process.h>
#include <tests/support/TestServer.h>

using morvel::test::RunProcess;

TEST(Readme, ItsProgramPrintsWhatItsCommentsSay) {
    morvel::test::TestServer server;
    const std::string shown = "1\n<order><customer number=\"12\">Zo\xC3\xAB</customer></order>\n";
    EXPECT_EQ(RunProcess(PROGRAM, {}).output, shown);
    const auto reply = RunProcess(PROGRAM, {server.Url("/echo")}, {{"no_proxy", "*"}});
    EXPECT_EQ(reply.output, shown + "Zo\xC3\xAB\n");
    EXPECT_EQ(reply.exitCode, 0);
}
