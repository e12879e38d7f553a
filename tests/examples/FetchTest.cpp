#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using namespace morvel::test;
using namespace testing;

TEST(Fetch, WritesToTheStandardOutputOrToAFile) {
    TestServer server;
    TemporaryFolder folder;
    const std::string url = server.Url("/bytes/3000000");
    folder.Write("out", std::string(4000000, 'x'));  // longer than what replaces it

    const ProcessResult lines = RunProcess(PROGRAM, {url, "-o", folder.File("out")});
    EXPECT_EQ(lines.exitCode, 0);
    EXPECT_THAT(lines.output, HasSubstr("2.9 MiB, "));  // no terminal: plain lines
    EXPECT_EQ(folder.Read("out"), TestServer::Bytes(3000000));

    for (const char* const name : {"Вторая", "二"}) {
        const ProcessResult direct =
            RunProcess(PROGRAM, {url, "-o", folder.File(name), "--direct"});
        EXPECT_EQ(direct.exitCode, 0) << direct.output;
        EXPECT_EQ(folder.Read(name), TestServer::Bytes(3000000));
    }

    const ProcessResult text = RunProcess(PROGRAM, {server.Url("/status/200")});
    EXPECT_THAT(text.output, HasSubstr("status 200"));

    const ProcessResult share =
        RunProcess(PROGRAM, {url, "-o", folder.File("out"), "--size", "6000000"});
    EXPECT_THAT(share.output, HasSubstr("[###############...............]  50 %, "));
}

TEST(Fetch, EveryEndHasItsCodeAndSentence) {
    TestServer server;
    TemporaryFolder folder;
    const std::string nobody = "http://127.0.0.1:" + std::to_string(FreePort());
    const std::tuple<std::vector<std::string>, int, const char*> rows[] = {
        {{nobody}, 1, "The connection was refused."},
        {{server.Url("/status/404")}, 1, "The server answered with an HTTP error."},
        {{server.Url("/status/404"), "--keep-errors"}, 0, "status 404"},
        {{server.Url("/cut/500")}, 1, "closed the connection before the end."},
        {{server.Url("/stall/0"), "--timeout", "1"}, 1, "No end within 1 s."},
        {{"gopherish://x"}, 1, "The kind of address is not known."},
        {{server.Url("/echo"), "-o", folder.File("no/such/folder")}, 2, "cannot be written."},
        {{server.Url("/echo"), "--direct", "-o", folder.File("no/f")}, 2, "cannot be written."},
    };
    for (const auto& [arguments, exitCode, sentence] : rows) {
        const ProcessResult result = RunProcess(PROGRAM, arguments, {{"no_proxy", "*"}});
        EXPECT_EQ(result.exitCode, exitCode) << PrintToString(arguments);
        EXPECT_THAT(result.output, HasSubstr(sentence));
    }
}
