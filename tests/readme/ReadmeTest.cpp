#include <Poco/String.h>

#include <tests/support/Process.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using morvel::test::RunProcess;

namespace {

// Standard output is text, and ends its lines as the system does.
std::string withPlainLines(const std::string& output) {
    return Poco::replace(output, "\r\n", "\n");
}

}  // namespace

TEST(Readme, ItsProgramPrintsWhatItsCommentsSay) {
    morvel::test::TestServer server;
    const std::string shown = "1\n<order><customer number=\"12\">Zo\xC3\xAB</customer></order>\n";
    EXPECT_EQ(withPlainLines(RunProcess(PROGRAM, {}).output), shown);
    const auto reply = RunProcess(PROGRAM, {server.Url("/echo")}, {{"no_proxy", "*"}});
    EXPECT_EQ(withPlainLines(reply.output), shown + "Zo\xC3\xAB\n");
    EXPECT_EQ(reply.exitCode, 0);
}
