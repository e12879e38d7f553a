#include <morvel/morvel.h>

#include <chrono>

#include <Poco/Process.h>
#include <Poco/String.h>

#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using namespace morvel::test;
using namespace testing;

namespace {

// One run of a program, how it ends and a part of what it prints.
struct Step {
    const char* program;
    std::vector<std::string> arguments;
    int exitCode;
    std::string output;
};

void _walk(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
        const ProcessResult result = RunProcess(step.program, step.arguments, {{"no_proxy", "*"}});
        EXPECT_EQ(result.exitCode, step.exitCode) << PrintToString(step.arguments);
        EXPECT_THAT(Poco::replace(result.output, "\r\n", "\n"), HasSubstr(step.output));
    }
}

NPath _inData(const char* folder, const char* name) {
    NPath path = NPath::AppDataFolder();
    path.Append(folder);
    path.Append(name);
    return path;
}

const NPath bookPath = _inData("Morvel notebook", "addresses.xml");

}  // namespace

TEST(Exchange, TellsTheWholeRoadAndKeepsReplyAndLog) {
    NFile logFile(_inData("Tarnwick Software", "morvel.log"));
    logFile.CreateFile();  // the switch of the log
    const ProcessResult result = RunProcess(EXCHANGE, {});
    EXPECT_EQ(result.exitCode, 0) << result.output;
    for (const char* expected :
         {"<customer>Zoë Ångström</customer>", "customer=Zo%C3%AB%20%C3%85ngstr%C3%B6m", "status 0",
          "order number A-2041", "customer     Zoë Ångström", "total        € 28.65",
          "NOTICE [File: OrderDesk.cpp Line: ", "\"order A-2041 confirmed\"", "order-A-2041.xml"}) {
        EXPECT_THAT(result.output, HasSubstr(expected));
    }
    NXML reply;
    reply.LoadFile(_inData("Morvel order desk", "order-A-2041.xml").Converted(EncodingUTF8), true);
    EXPECT_EQ(reply.RootName(), "confirmation");
    logFile.Remove(false);
    _walk({{EXCHANGE, {}, 0, "off; create the file "}});
}

// As a user meets it: a server that wasn't written for this, with one redirect and one large file.
TEST(Fetch, TakesALargeFileFromARealServer) {
    const std::string server = "/usr/sbin/nginx", url = TestServer().Url("");
    if (!std::filesystem::exists(server)) GTEST_SKIP() << "apt-get install nginx-light";
    const TemporaryFolder folder;
    folder.Write("large", TestServer::Bytes(5000000));
    const std::string configuration =
        folder.Write("conf", R"(
        daemon off; master_process off; pid nginx.pid; events {}
        http {
            access_log off; client_body_temp_path b; proxy_temp_path p; fastcgi_temp_path f;
            uwsgi_temp_path u; scgi_temp_path s;
            server { listen )" + url.substr(7) +
                                 R"(; root .; location = /moved { return 301 /large; } }
        })");
    Poco::ProcessHandle nginx = Poco::Process::launch(
        server, {"-p", folder.File(""), "-c", configuration, "-e", folder.File("errors")});
    for (int i = 0; RunProcess(FETCH, {url + "/conf"}).exitCode != 0 && i < 200; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));  // it listens soon
    }
    _walk({{FETCH, {url + "/moved", "-o", folder.File("copy")}, 0, "4.8 MiB, "},
           {FETCH, {url + "/moved", "-o", folder.File("direct"), "--direct"}, 0, ""},
           {FETCH, {url + "/absent"}, 1, "an HTTP error."}});
    Poco::Process::kill(nginx);
    nginx.wait();
    EXPECT_TRUE(folder.Read("copy") == folder.Read("large"));
    EXPECT_TRUE(folder.Read("direct") == folder.Read("large"));
}

TEST(Fetch, WritesToTheStandardOutputOrToAFile) {
    const TestServer server;
    const TemporaryFolder folder;
    const std::string url = server.Url("/bytes/3000000");
    folder.Write("out", std::string(4000000, 'x'));  // longer than what replaces it
    _walk({{FETCH,
            {url, "-o", folder.File("out"), "--size", "6000000"},
            0,
            "[###############...............]  50 %, "},
           {FETCH, {url, "-o", folder.File("Вторая"), "--direct"}, 0, ""},
           {FETCH, {server.Url("/status/200")}, 0, "status 200"}});
    EXPECT_TRUE(folder.Read("out") == TestServer::Bytes(3000000));
    EXPECT_TRUE(folder.Read("Вторая") == TestServer::Bytes(3000000));
}

TEST(Examples, EveryFailureEndsWithASentence) {
    const TestServer server;
    const TemporaryFolder folder;
    const std::string nobody = TestServer().Url(""), absent = folder.File("no/f");
    const auto exchange = [](const std::string& url, const char* sentence) {
        return Step{EXCHANGE, {"--timeout", "1", "--url", url}, 1, sentence};
    };
    _walk({exchange(nobody, "was refused. Check that the server runs"),
           exchange(server.Url("/stall/0"), "within 1 s. Try again later"),
           exchange(server.Url("/status/404"), "with an HTTP error. Check that"),
           exchange(server.Url("/bytes/100"), "is no XML document (Could not determine tag type)"),
           exchange(server.Url("/echo"), "The reply is no confirmation of an order."),
           exchange("http://", "is no address"),
           {FETCH, {nobody}, 1, "The connection was refused."},
           {FETCH, {server.Url("/status/404"), "--keep-errors"}, 0, "status 404"},
           {FETCH, {server.Url("/cut/500")}, 1, "closed the connection before the end."},
           {FETCH, {server.Url("/stall/0"), "--timeout", "1"}, 1, "No end within 1 s."},
           {FETCH, {"gopherish://x"}, 1, "The kind of address is not known."},
           {FETCH, {server.Url("/echo"), "-o", absent}, 2, "cannot be written."},
           {FETCH, {server.Url("/echo"), "-o", absent, "--direct"}, 2, "cannot be written."}});
}

// One session of a user.
TEST(Notebook, AddsFindsChangesAndRemoves) {
    if (NFile(bookPath).Exists()) NFile(bookPath).Remove(false);
    _walk({{NOTEBOOK, {"list"}, 0, ""},
           {NOTEBOOK, {"add", "Zoë Ångström", "--phone", "123", "--town", "Malmö"}, 0, ""},
           {NOTEBOOK, {"add", "Ярослав", "--mail", "y@example.org"}, 0, ""},
           {NOTEBOOK, {"add", "Zoe\xCC\x88 Ångström"}, 1, "already. Use change, or another name."},
           {NOTEBOOK, {"list"}, 0, "Zoë Ångström, 123, Malmö\nЯрослав, y@example.org\n"},
           {NOTEBOOK, {"find", "MALM"}, 0, "Zoë Ångström, 123, Malmö\n"},
           {NOTEBOOK, {"find", "nowhere"}, 1, "Nothing found.\n"},
           {NOTEBOOK, {"change", "Zoë Ångström", "--phone", "456"}, 0, ""},
           {NOTEBOOK, {"change", "Nobody", "--phone", "1"}, 1, "There is no entry \"Nobody\"."},
           {NOTEBOOK, {"remove", "Ярослав"}, 0, ""},
           {NOTEBOOK, {"remove", "Ярослав"}, 1, "There is no entry"},
           {NOTEBOOK, {"list"}, 0, "Zoë Ångström, 456, Malmö\n"}});
    NXML other;
    other.CreateRoot("other");
    other.SaveFile(NPath(bookPath).Converted(EncodingUTF8));
    _walk({{NOTEBOOK, {"add", "Ada"}, 1, "is no address book. Mend it, or move it away"}});
}

TEST(Notebook, LosesNothingToASecondProcess) {
    if (NFile(bookPath).Exists()) NFile(bookPath).Remove(false);
    std::vector<std::thread> users;
    for (int user = 0; user < 4; ++user) {
        users.emplace_back([user] {
            for (int entry = 0; entry < 10; ++entry) {
                RunProcess(NOTEBOOK, {"add", NString().Format("%d-%d", user, entry).Data()});
            }
        });
    }
    for (std::thread& user : users) user.join();
    NXML book;
    NDataContainerArray entries;
    EXPECT_TRUE(book.LoadFile(NPath(bookPath).Converted(EncodingUTF8), true));
    book.GetElements("book", entries);
    EXPECT_EQ(entries.size(), 40u);
}
