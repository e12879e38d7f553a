// NURL over the wire, against a server in this process.

#include <morvel/transfer/NURL.h>

#include <morvel/files/NPath.h>
#include <tests/support/TestServer.h>

namespace {

struct NURLTest : Test {
    std::int32_t Get(const std::string& target) {
        return url.Get(server.Url(target), 20, nullptr, nullptr, nullptr, nullptr);
    }
    std::int32_t Request(const std::string& target, const void* body, std::size_t size,
                         std::uint32_t flags = 0) {
        return url.Request(server.Url(target), body, size, 20, nullptr, nullptr, nullptr, nullptr,
                           flags);
    }
    std::string Received() { return std::string(url.Data(), url.Size()); }

    const TestServer server;
    NURL url;
};

}  // namespace

TEST_F(NURLTest, TheReplyStaysInABufferThatServesTheNext) {
    EXPECT_EQ(url.Data(), nullptr);
    EXPECT_EQ(url.Size(), 0u);
    ASSERT_EQ(Get("/bytes/50000"), 0);
    const char* const data = url.Data();
    EXPECT_EQ(Get("/cut/40000"), 18);
    EXPECT_EQ(url.Data(), data);
    EXPECT_EQ(Received(), TestServer::Bytes(40000));
    const std::string body = TestServer::Bytes(3 << 20);  // more than one buffer of libcurl's
    EXPECT_EQ(Request("/echo", body.data(), body.size()), 0);
    EXPECT_THAT(Received(), AllOf(StartsWith("POST /echo\n"), EndsWith(body)));

    // Upload's reply goes to the standard output, and so does what libcurl prints.
    internal::CaptureStdout();
    EXPECT_EQ(
        url.Upload(server.Url("/echo"), "some text", 9, 20, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_THAT(internal::GetCapturedStdout(),
                AllOf(StartsWith("POST /echo\n"), EndsWith("\n\nsome text")));
    EXPECT_THAT(Received(), EndsWith(body)) << "the reply before stays";
}

TEST_F(NURLTest, AReplyGoesToAFile) {
    const TemporaryFolder folder;
    folder.Write("caf\xC3\xA9", std::string(100000, '-'));
    ASSERT_EQ(Get("/bytes/10"), 0);
    const NString name(folder.File("caf") + '\xE9', EncodingLatin1);
    EXPECT_EQ(Request("/redirect/302?to=/echo", &name, 0, RequestToFile), 0);
    EXPECT_THAT(folder.Read("caf\xC3\xA9"), AllOf(StartsWith("GET /echo\n"), EndsWith("\n\n")));
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_NE(url.Data(), nullptr);
    if (const NString full("/dev/full"); std::filesystem::exists(full.Data())) {
        // So few bytes that a buffer would hide the failure until the file is closed.
        EXPECT_EQ(Request("/bytes/10", &full, 0, RequestToFile), 23);
    }
}

TEST_F(NURLTest, EveryFormArrivesAtTheFirst) {
    struct Recorder : NURL {
        using NURL::Request;
        std::int32_t Request(std::string address, const std::vector<std::string>* headers,
                             const void* body, unsigned long long size, std::uint32_t timeout,
                             CancelCallback, void* cancel, ProgressCallback, void* progress,
                             std::uint32_t flags) override {
            calls.emplace_back(address, *headers);
            EXPECT_EQ(std::tie(body, size, timeout, cancel, progress, flags),
                      std::make_tuple(this, 2ull, 3u, this + 4, this + 5, 6u));
            return 77;
        }
        std::vector<std::pair<std::string, std::vector<std::string>>> calls;
    } it;
    EXPECT_EQ(it.Request("a", &it, 2, 3, nullptr, &it + 4, nullptr, &it + 5, 6), 77);
    EXPECT_EQ(it.Request("b", "A: 1 more", 4, &it, 2, 3, nullptr, &it + 4, nullptr, &it + 5, 6),
              77);
    EXPECT_THAT(it.calls, ElementsAre(Pair("a", ElementsAre("")), Pair("b", ElementsAre("A: 1"))));
}
