// NURL over the wire, against a server in this process.

#include <morvel/transfer/NURL.h>

#include <morvel/files/NPath.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using namespace morvel::test;
using namespace testing;

namespace {

// What the callbacks of a request see, and what they do.
struct Watch {
    int cancelCalls = 0;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> progress;
    int cancelAt = -1;  // the call that cancels
};

bool _cancel(void* context) {
    auto* const watch = static_cast<Watch*>(context);
    return watch->cancelCalls++ == watch->cancelAt;
}

void _progress(std::uint64_t done, std::uint64_t whole, void* context) {
    static_cast<Watch*>(context)->progress.emplace_back(done, whole);
}

class NURLTest : public Test {
protected:
    std::int32_t Get(const std::string& target) {
        return url.Get(server.Url(target), 20, &_cancel, &watch, &_progress, &watch);
    }
    // What libcurl prints of the reply is in `printed` afterwards.
    std::int32_t Upload(const std::string& target, const std::string& bytes) {
        testing::internal::CaptureStdout();
        const std::int32_t status = url.Upload(server.Url(target), bytes.data(), bytes.size(), 20,
                                               &_cancel, &watch, &_progress, &watch);
        printed = testing::internal::GetCapturedStdout();
        return status;
    }
    std::int32_t Request(const std::string& target, const std::string& body = {},
                         std::uint32_t flags = 0, std::uint32_t timeout = 20) {
        return url.Request(server.Url(target), body.data(), body.size(), timeout, &_cancel, &watch,
                           &_progress, &watch, flags);
    }
    std::int32_t ToFile(const std::string& target, const NString& name) {
        return url.Request(server.Url(target), &name, 0, 20, &_cancel, &watch, &_progress, &watch,
                           RequestToFile);
    }
    std::string Received() { return std::string(url.Data(), url.Size()); }

    // One for all tests: each end of a server takes a quarter of a second.
    static void SetUpTestSuite() { _server = new TestServer; }
    static void TearDownTestSuite() { delete _server; }
    static TestServer* _server;

    const TestServer& server = *_server;
    NURL url;
    Watch watch;
    std::string printed;
};

TestServer* NURLTest::_server;

TEST_F(NURLTest, GetKeepsTheReplyInABufferThatServesTheNext) {
    EXPECT_EQ(url.Data(), nullptr);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(url.ClassRecord(), NBaseObject::Record());

    ASSERT_EQ(Get("/bytes/50000"), 0);
    const char* const data = url.Data();
    EXPECT_EQ(Request("/bytes/40000"), 0);
    EXPECT_EQ(url.Data(), data);
    EXPECT_EQ(Received(), TestServer::Bytes(40000));

    EXPECT_EQ(Get("/echo?a=b%20c"), 0);
    EXPECT_THAT(Received(), StartsWith("GET /echo?a=b%20c\nHost: "));

    const std::string body = TestServer::Bytes(3 << 20);  // more than one buffer of libcurl's
    EXPECT_EQ(Request("/echo", body), 0);
    EXPECT_THAT(Received(),
                AllOf(StartsWith("POST /echo\n"), Not(HasSubstr("\nExpect:")), EndsWith(body)));
}

TEST_F(NURLTest, UploadPostsInChunksAndPrintsTheReply) {
    ASSERT_EQ(Get("/bytes/10"), 0);
    watch = {};
    std::string body = TestServer::Bytes(200000);
    for (char& c : body) {  // standard output is text, where a byte may end it on Windows
        c = static_cast<char>('a' + static_cast<unsigned char>(c) % 26);
    }
    EXPECT_EQ(Upload("/echo", body), 0);
    EXPECT_THAT(printed, AllOf(StartsWith("POST /echo\n"),
                               HasSubstr("\nTransfer-Encoding: chunked\n"), EndsWith(body)));
    EXPECT_EQ(Received(), TestServer::Bytes(10)) << "the reply before stays";

    ASSERT_GT(watch.progress.size(), 1u);
    EXPECT_LT(watch.progress.front().first, 200000u);
    EXPECT_THAT(watch.progress.back(), Pair(200000u, 200000u));

    EXPECT_EQ(Upload("/echo", "another"), 0);
    EXPECT_THAT(printed, EndsWith("\n\nanother"));
}

TEST_F(NURLTest, RequestAloneFollowsRedirects) {
    EXPECT_EQ(Get("/redirect/302?to=/status/200"), 0);
    EXPECT_EQ(Received(), "elsewhere");
    EXPECT_EQ(Upload("/redirect/302?to=/status/200", "body"), 0);
    EXPECT_EQ(printed, "elsewhere");
    EXPECT_EQ(Request("/redirect/302?to=/redirect/303?to=/echo", "body"), 0);
    EXPECT_THAT(Received(), StartsWith("GET /echo\n"));
    EXPECT_EQ(Request("/redirect/307?to=/echo", "body"), 65);
}

TEST_F(NURLTest, FailuresHaveTheCodeOfLibcurlAndKeepWhatCame) {
    EXPECT_EQ(Request("/status/400"), 22);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(Request("/status/404", {}, RequestKeepHttpErrors), 0);
    EXPECT_EQ(Received(), "status 404");
    EXPECT_EQ(Get("/status/500"), 22);
    EXPECT_EQ(Upload("/status/500", "body"), 22);
    EXPECT_EQ(printed, "");

    EXPECT_EQ(Get("/cut/70000"), 18);
    EXPECT_EQ(Received(), TestServer::Bytes(70000));
    EXPECT_EQ(Request("/stall/500", {}, 0, 1), 28);
    EXPECT_EQ(Received(), TestServer::Bytes(500));
    EXPECT_EQ(url.Get("http://127.0.0.1:" + std::to_string(FreePort()), 20, nullptr, nullptr,
                      nullptr, nullptr),
              7);
    EXPECT_EQ(url.Size(), 0u);
}

TEST_F(NURLTest, ACallbackEndsTheTransferWithoutThePiece) {
    watch.cancelAt = 0;
    EXPECT_EQ(Get("/bytes/70000"), -2);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(watch.cancelCalls, 1);
    EXPECT_TRUE(watch.progress.empty());
    EXPECT_EQ(Get("/bytes/70000"), 0) << "one answer doesn't count for the next request";

    watch = {};
    watch.cancelAt = 2;
    EXPECT_EQ(Request("/bytes/70000"), -2);
    ASSERT_EQ(watch.progress.size(), 2u);
    EXPECT_EQ(Received(), TestServer::Bytes(watch.progress.back().first));

    watch = {};
    watch.cancelAt = 1;
    EXPECT_EQ(Upload("/status/200", TestServer::Bytes(300000)), -2);
    EXPECT_EQ(watch.progress.size(), 1u);
}

TEST_F(NURLTest, AnExceptionOfACallbackComesOut) {
    const auto cancel = [](void*) -> bool { throw std::runtime_error("cancel"); };
    const auto progress = [](std::uint64_t, std::uint64_t, void*) {
        throw std::runtime_error("progress");
    };
    const std::string target = server.Url("/bytes/10");
    EXPECT_THROW(url.Get(target, 20, cancel, nullptr, nullptr, nullptr), std::runtime_error);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_THROW(url.Upload(target, "x", 1, 20, nullptr, nullptr, progress, nullptr),
                 std::runtime_error);
    EXPECT_THROW(url.Request(target, "x", 1, 20, nullptr, nullptr, progress, nullptr, 0),
                 std::runtime_error);
    EXPECT_EQ(Received(), TestServer::Bytes(10));
    EXPECT_EQ(Get("/bytes/20"), 0) << "none is left over";
}

TEST_F(NURLTest, AReplyGoesToAFile) {
    const TemporaryFolder folder;
    folder.Write("caf\xC3\xA9", std::string(100000, '-'));
    ASSERT_EQ(Get("/bytes/10"), 0);
    watch = {};
    watch.cancelAt = 0;
    const NString name(folder.File("caf") + '\xE9', EncodingLatin1);
    EXPECT_EQ(ToFile("/redirect/302?to=/echo", name), 0);
    EXPECT_THAT(folder.Read("caf\xC3\xA9"),
                AllOf(StartsWith("GET /echo\n"), HasSubstr("\nContent-Type: application/binary\n"),
                      EndsWith("\n\n")));
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_NE(url.Data(), nullptr);
    EXPECT_EQ(watch.cancelCalls, 0);
    EXPECT_TRUE(watch.progress.empty());

    EXPECT_EQ(ToFile("/cut/500", name), 18);
    EXPECT_EQ(folder.Read("caf\xC3\xA9"), TestServer::Bytes(500));
    EXPECT_EQ(ToFile("/status/404", name), 22);
    EXPECT_EQ(folder.Read("caf\xC3\xA9"), "");
    if (std::filesystem::exists("/dev/full")) {
        // So few bytes that a buffer would hide the failure until the file is closed.
        EXPECT_EQ(ToFile("/bytes/10", NString("/dev/full")), 23);
    }
}

TEST_F(NURLTest, EveryFormArrivesAtTheFirst) {
    class Recorder : public NURL {
    public:
        using NURL::Request;
        std::int32_t Request(std::string address, const std::vector<std::string>* headers,
                             const void* body, unsigned long long bodySize, std::uint32_t timeout,
                             CancelCallback, void* cancelContext, ProgressCallback,
                             void* progressContext, std::uint32_t flags) override {
            calls.emplace_back(address, *headers);
            EXPECT_EQ(std::tie(body, bodySize, timeout, cancelContext, progressContext, flags),
                      std::make_tuple(this, 2ull, 3u, this + 4, this + 5, 6u));
            return 77;
        }
        std::vector<std::pair<std::string, std::vector<std::string>>> calls;
    };
    Recorder it;
    EXPECT_EQ(it.Request("a", &it, 2, 3, nullptr, &it + 4, nullptr, &it + 5, 6), 77);
    EXPECT_EQ(it.Request("b", "A: 1 more", 4, &it, 2, 3, nullptr, &it + 4, nullptr, &it + 5, 6),
              77);
    EXPECT_THAT(it.calls, ElementsAre(Pair("a", ElementsAre("")), Pair("b", ElementsAre("A: 1"))));
}

}  // namespace
