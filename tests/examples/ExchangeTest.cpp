#include <morvel/morvel.h>
#include <tests/support/Process.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using namespace morvel::test;
using namespace testing;

namespace {

NPath _inLogFolder(const char* name) {
    NPath path = NPath::AppDataFolder();
    path.Append("Tarnwick Software");
    path.Append(name);
    return path;
}

}  // namespace

TEST(Exchange, TellsTheWholeRoadAndKeepsReplyAndLog) {
    NFile logFile(_inLogFolder("morvel.log"));
    logFile.CreateFile();  // the switch of the log

    const ProcessResult result = RunProcess(PROGRAM, {});

    EXPECT_EQ(result.exitCode, 0) << result.output;
    for (const char* expected :
         {"<customer>Zoë Ångström</customer>", "customer=Zo%C3%AB%20%C3%85ngstr%C3%B6m", "status 0",
          "order number A-2041", "customer     Zoë Ångström", "total        € 28.65",
          "NOTICE [File: OrderDesk.cpp Line: ", "\"order A-2041 confirmed\""}) {
        EXPECT_THAT(result.output, HasSubstr(expected));
    }
    NPath saved = NPath::AppDataFolder();
    saved.Append("Morvel order desk");
    saved.Append("order-A-2041.xml");
    NXML reply;
    ASSERT_TRUE(reply.LoadFile(saved.Converted(EncodingUTF8), true));
    EXPECT_EQ(reply.RootName(), "confirmation");
    EXPECT_THAT(result.output, HasSubstr(saved.Converted(EncodingUTF8)));
    logFile.Remove(false);
    EXPECT_THAT(RunProcess(PROGRAM, {}).output, HasSubstr("off; create the file "));
}

TEST(Exchange, EveryFailureEndsWithASentence) {
    TestServer server;
    const std::string nobody = "http://127.0.0.1:" + std::to_string(FreePort());
    const std::pair<std::string, const char*> rows[] = {
        {nobody, "was refused. Check that the server runs"},
        {server.Url("/stall/0"), "within 1 s. Try again later"},
        {server.Url("/status/404"), "with an HTTP error. Check that"},
        {server.Url("/bytes/100"), "is no XML document (Could not determine tag type)"},
        {server.Url("/echo"), "The reply is no confirmation of an order."},
        {server.Url("/cut/500"), "failed with status 18"},
        {"http://", "is no address"},
    };
    for (const auto& [url, sentence] : rows) {
        const ProcessResult result =
            RunProcess(PROGRAM, {"--timeout", "1", "--url", url}, {{"no_proxy", "*"}});
        EXPECT_EQ(result.exitCode, 1) << url;
        EXPECT_THAT(result.output, AllOf(HasSubstr("No order was placed"), HasSubstr(sentence)));
    }
}
