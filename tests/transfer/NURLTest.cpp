// NURL over the wire, against a server in this process.

#include <morvel/transfer/NURL.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <morvel/files/NPath.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/TestServer.h>

using morvel::test::ReceivedRequest;
using morvel::test::TemporaryFolder;
using morvel::test::TestServer;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

constexpr std::uint32_t Timeout = 20;  // of requests that are to end long before it

std::string _received(const NURL& url) {
    return url.Data() == nullptr ? std::string() : std::string(url.Data(), url.Size());
}

std::vector<std::string> _headerNames(const ReceivedRequest& request) {
    std::vector<std::string> names;
    for (const auto& header : request.headers) {
        names.push_back(header.first);
    }
    return names;
}

class NURLTest : public testing::Test {
protected:
    std::int32_t Get(const std::string& target) {
        return url.Get(server.Url(target), Timeout, nullptr, nullptr, nullptr, nullptr);
    }
    // What libcurl prints of the reply is in `printed` afterwards.
    std::int32_t Upload(const std::string& target, const std::string& bytes) {
        testing::internal::CaptureStdout();
        const std::int32_t status = url.Upload(server.Url(target), bytes.data(), bytes.size(),
                                               Timeout, nullptr, nullptr, nullptr, nullptr);
        printed = testing::internal::GetCapturedStdout();
        return status;
    }
    std::int32_t Request(const std::string& target, const std::string& body = {},
                         std::uint32_t flags = 0) {
        return url.Request(server.Url(target), body.data(), body.size(), Timeout, nullptr, nullptr,
                           nullptr, nullptr, flags);
    }
    std::int32_t RequestWith(const std::vector<std::string>& headers,
                             const std::string& body = {}) {
        return url.Request(server.Url("/echo"), &headers, body.data(), body.size(), Timeout,
                           nullptr, nullptr, nullptr, nullptr, 0);
    }
    std::int32_t ToFile(const std::string& target, const NString& name) {
        return url.Request(server.Url(target), nullptr, &name, 0, Timeout, nullptr, nullptr,
                           nullptr, nullptr, RequestToFile);
    }

    // One for all tests: each end of a server takes a quarter of a second.
    static void SetUpTestSuite() { _server = new TestServer; }
    static void TearDownTestSuite() { delete _server; }
    static TestServer* _server;

    const TestServer& server = *_server;
    NURL url;
    std::string printed;
};

TestServer* NURLTest::_server;

TEST_F(NURLTest, AFreshObjectHasNothing) {
    EXPECT_EQ(url.Data(), nullptr);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(url.ClassRecord(), NBaseObject::Record());
}

TEST_F(NURLTest, GetSendsNoMoreThanItMust) {
    EXPECT_EQ(Get("/echo?a=b%20c"), 0);
    EXPECT_THAT(_received(url), StartsWith("GET /echo?a=b%20c\nHost: "));
    EXPECT_THAT(_headerNames(server.Last()), ElementsAre("Host", "Accept"));
}

TEST_F(NURLTest, UploadPostsAndPrintsTheReply) {
    ASSERT_EQ(Get("/bytes/10"), 0);
    const std::string body = TestServer::Bytes(200000);
    EXPECT_EQ(Upload("/status/200", body), 0);
    EXPECT_EQ(printed, "status 200");
    EXPECT_EQ(_received(url), TestServer::Bytes(10)) << "the reply before stays";

    const ReceivedRequest request = server.Last();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.body, body);
    EXPECT_EQ(request.Header("Transfer-Encoding"), "chunked");
    EXPECT_FALSE(request.Has("Content-Length"));
}

TEST_F(NURLTest, RequestPostsWhatItIsGiven) {
    const std::string body = TestServer::Bytes(3 << 20);  // more than one buffer of libcurl's
    EXPECT_EQ(Request("/status/200", body), 0);
    EXPECT_EQ(_received(url), "status 200");
    const ReceivedRequest request = server.Last();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.body, body);
    EXPECT_THAT(_headerNames(request),
                ElementsAre("Host", "Accept", "Content-Length", "Content-Type"));
    EXPECT_EQ(request.Header("Content-Type"), "application/x-www-form-urlencoded");

    EXPECT_EQ(
        url.Request(server.Url("/echo"), "body", 0, Timeout, nullptr, nullptr, nullptr, nullptr, 0),
        0);
    EXPECT_EQ(server.Last().method, "GET");
}

TEST_F(NURLTest, HeaderLinesAreAddedReplacedAndTakenAway) {
    EXPECT_EQ(
        RequestWith({"X-One: 1", "", "Accept:", "no header", "Content-Type: text/xml", "X-Empty;"},
                    "<a/>"),
        0);
    const ReceivedRequest request = server.Last();
    EXPECT_THAT(_headerNames(request),
                ElementsAre("Host", "X-One", "Content-Type", "X-Empty", "Content-Length"));
    EXPECT_EQ(request.Header("X-One"), "1");
    EXPECT_EQ(request.Header("Content-Type"), "text/xml");
    EXPECT_EQ(request.Header("X-Empty"), "");

    const std::string line = "X-Cut: 12345";
    EXPECT_EQ(url.Request(server.Url("/echo"), line.data(), line.size() - 2, nullptr, 0, Timeout,
                          nullptr, nullptr, nullptr, nullptr, 0),
              0);
    EXPECT_THAT(_headerNames(server.Last()), ElementsAre("Host", "Accept", "X-Cut"));
    EXPECT_EQ(server.Last().Header("X-Cut"), "123");
}

TEST_F(NURLTest, OnlyRequestFollowsRedirects) {
    const std::size_t before = server.Requests().size();
    EXPECT_EQ(Get("/redirect/302?to=/status/200"), 0);
    EXPECT_EQ(_received(url), "elsewhere");
    EXPECT_EQ(Upload("/redirect/302?to=/status/200", "body"), 0);
    EXPECT_EQ(printed, "elsewhere");
    EXPECT_EQ(server.Requests().size(), before + 2);

    EXPECT_EQ(Request("/redirect/302?to=/status/200"), 0);
    EXPECT_EQ(_received(url), "status 200");
    EXPECT_EQ(Request("/countdown/60"), 0);
    EXPECT_EQ(_received(url), "arrived");
}

TEST_F(NURLTest, ARedirectedBodyIsDroppedOrRefused) {
    const struct {
        const char* status;
        std::int32_t result;
        const char* method;
    } rows[] = {
        {"301", 0, "GET"},   {"302", 0, "GET"}, {"303", 0, "GET"},
        {"307", 65, "POST"},  // CURLE_SEND_FAIL_REWIND: the last request to come is the first one
        {"308", 65, "POST"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        EXPECT_EQ(Request(std::string("/redirect/") + row.status + "?to=/echo", "body"),
                  row.result);
        EXPECT_EQ(server.Last().method, row.method);
    }
    EXPECT_EQ(Request("/redirect/307?to=/echo"), 0);
    EXPECT_EQ(server.Last().target, "/echo");
}

TEST_F(NURLTest, HttpErrorsAreFailuresUnlessTheyAreKept) {
    EXPECT_EQ(Request("/status/399"), 0);
    EXPECT_EQ(Request("/status/400"), 22);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(Request("/status/404", {}, RequestKeepHttpErrors), 0);
    EXPECT_EQ(_received(url), "status 404");
    EXPECT_EQ(Get("/status/500"), 22);
    EXPECT_EQ(Upload("/status/500", "body"), 22);
    EXPECT_EQ(printed, "");
}

TEST_F(NURLTest, WhatCannotBeReachedHasTheCodeOfLibcurl) {
    const std::string nobody = "http://127.0.0.1:" + std::to_string(morvel::test::FreePort());
    const struct {
        std::string address;
        std::int32_t status;
    } rows[] = {{nobody, 7}, {"http://127.0.0.1:port/", 3}, {"", 3}, {"nonsense://127.0.0.1/", 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address);
        EXPECT_EQ(url.Get(row.address, Timeout, nullptr, nullptr, nullptr, nullptr), row.status);
        EXPECT_EQ(url.Upload(row.address, "x", 1, Timeout, nullptr, nullptr, nullptr, nullptr),
                  row.status);
        EXPECT_EQ(
            url.Request(row.address, nullptr, 0, Timeout, nullptr, nullptr, nullptr, nullptr, 0),
            row.status);
    }
}

TEST_F(NURLTest, TimeRunsOutWithWhatHasCome) {
    // Side by side, since each waits for its whole second.
    NURL urls[3];
    std::int32_t statuses[3];
    std::thread threads[] = {
        std::thread([&] {
            statuses[0] =
                urls[0].Get(server.Url("/silence"), 1, nullptr, nullptr, nullptr, nullptr);
        }),
        std::thread([&] {
            statuses[1] = urls[1].Upload(server.Url("/silence"), "x", 1, 1, nullptr, nullptr,
                                         nullptr, nullptr);
        }),
        std::thread([&] {
            statuses[2] = urls[2].Request(server.Url("/stall/500"), nullptr, 0, 1, nullptr, nullptr,
                                          nullptr, nullptr, 0);
        }),
    };
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(statuses, ElementsAre(28, 28, 28));
    EXPECT_EQ(_received(urls[2]), TestServer::Bytes(500));
}

TEST_F(NURLTest, ACutBodyStaysReadable) {
    EXPECT_EQ(Get("/cut/70000"), 18);
    EXPECT_EQ(_received(url), TestServer::Bytes(70000));
    EXPECT_EQ(Request("/cut/500", "body"), 18);
    EXPECT_EQ(_received(url), TestServer::Bytes(500));
    EXPECT_EQ(Get("/bytes/0"), 0);
    EXPECT_EQ(url.Size(), 0u);
}

TEST_F(NURLTest, TheBufferServesOneRequestAfterTheOther) {
    ASSERT_EQ(Get("/bytes/50000"), 0);
    const char* const data = url.Data();
    EXPECT_EQ(Request("/bytes/40000"), 0);
    EXPECT_EQ(url.Data(), data);
    EXPECT_EQ(_received(url), TestServer::Bytes(40000));
    EXPECT_EQ(Get("/bytes/10240"), 0);
    EXPECT_EQ(_received(url), TestServer::Bytes(10240));
}

TEST_F(NURLTest, ALargeReplyComesWhole) {
    const std::string mebibyte = std::to_string(1 << 20);
    std::string target = "/chunks?sizes=" + mebibyte;
    for (int i = 1; i < 64; ++i) {
        target += ',' + mebibyte;
    }
    EXPECT_EQ(Get(target), 0);
    EXPECT_TRUE(_received(url) ==
                TestServer::Bytes(64 << 20));  // no text of this length on a failure
}

struct Watch {
    int cancelCalls = 0;
    int cancelAt = -1;  // the call that cancels
    std::vector<std::pair<std::uint64_t, std::uint64_t>> progress;
};
bool _cancel(void* watch) {
    auto* const seen = static_cast<Watch*>(watch);
    return seen->cancelCalls++ == seen->cancelAt;
}
void _progress(std::uint64_t done, std::uint64_t whole, void* watch) {
    static_cast<Watch*>(watch)->progress.emplace_back(done, whole);
}

TEST_F(NURLTest, CallbacksSeeEachPieceOfTheReply) {
    Watch watch;
    const std::string target = "/chunks?pause=5&sizes=100,20000,1,60000";
    EXPECT_EQ(url.Request(server.Url(target), "body", 4, Timeout, &_cancel, &watch, &_progress,
                          &watch, 0),
              0);
    EXPECT_EQ(_received(url), TestServer::Bytes(80101));
    ASSERT_GE(watch.progress.size(), 4u);
    EXPECT_EQ(static_cast<std::size_t>(watch.cancelCalls), watch.progress.size());
    std::uint64_t size = 0;
    std::uint64_t capacity = 0;
    for (const auto& [done, whole] : watch.progress) {
        if (done > capacity) {
            capacity = ((capacity + (done - size)) / 10240 + 1) * 10240;
        }
        size = done;
        EXPECT_EQ(whole, capacity);
    }
    EXPECT_EQ(size, 80101u);
}

TEST_F(NURLTest, CancelEndsTheTransferWithoutThePiece) {
    ASSERT_EQ(Get("/bytes/10"), 0);
    Watch watch;
    watch.cancelAt = 0;
    EXPECT_EQ(url.Get(server.Url("/bytes/70000"), Timeout, &_cancel, &watch, &_progress, &watch),
              -2);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(_received(url), "");
    EXPECT_EQ(watch.cancelCalls, 1);
    EXPECT_TRUE(watch.progress.empty());

    watch = Watch();
    watch.cancelAt = 1;
    EXPECT_EQ(url.Request(server.Url("/chunks?pause=20&sizes=100,100"), nullptr, 0, Timeout,
                          &_cancel, &watch, nullptr, nullptr, 0),
              -2);
    EXPECT_EQ(_received(url), TestServer::Bytes(100));
}

TEST_F(NURLTest, UploadReportsAndCancels) {
    const std::string body = TestServer::Bytes(300000);
    Watch watch;
    testing::internal::CaptureStdout();
    EXPECT_EQ(url.Upload(server.Url("/status/200"), body.data(), body.size(), Timeout, &_cancel,
                         &watch, &_progress, &watch),
              0);
    testing::internal::GetCapturedStdout();
    ASSERT_FALSE(watch.progress.empty());
    EXPECT_EQ(watch.progress.back(), std::make_pair(std::uint64_t(300000), std::uint64_t(300000)));
    for (std::size_t i = 1; i < watch.progress.size(); ++i) {
        EXPECT_LT(watch.progress[i - 1].first, watch.progress[i].first);
    }

    watch = Watch();
    watch.cancelAt = 1;
    EXPECT_EQ(url.Upload(server.Url("/status/200"), body.data(), body.size(), Timeout, &_cancel,
                         &watch, nullptr, nullptr),
              -2);
}

TEST_F(NURLTest, AReplyGoesToAFile) {
    const TemporaryFolder folder;
    folder.Write("reply", std::string(100000, '-'));
    ASSERT_EQ(Get("/bytes/10"), 0);
    const char* const data = url.Data();
    Watch watch;
    watch.cancelAt = 0;
    const NPath name(folder.File("reply").c_str());
    EXPECT_EQ(url.Request(server.Url("/redirect/302?to=/bytes/70000"), nullptr, &name, 0, Timeout,
                          &_cancel, &watch, &_progress, &watch, RequestToFile),
              0);
    EXPECT_EQ(folder.Read("reply"), TestServer::Bytes(70000));
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(url.Data(), data);
    EXPECT_EQ(watch.cancelCalls, 0);
    EXPECT_TRUE(watch.progress.empty());
    EXPECT_EQ(server.Last().method, "GET");
    EXPECT_EQ(server.Last().Header("Content-Type"), "application/binary");

    // A name is any text, in its own encoding.
    std::string path = folder.File("caf");
    EXPECT_EQ(ToFile("/bytes/7", NString(path + '\xE9', EncodingLatin1)), 0);
    EXPECT_EQ(folder.Read("caf\xC3\xA9"), TestServer::Bytes(7));
}

TEST_F(NURLTest, AFailedTransferLeavesTheFileWithWhatCame) {
    const TemporaryFolder folder;
    const NString name(folder.Write("reply", "before"), EncodingUTF8);
    EXPECT_EQ(ToFile("/cut/500", name), 18);
    EXPECT_EQ(folder.Read("reply"), TestServer::Bytes(500));
    EXPECT_EQ(ToFile("/status/404", name), 22);
    EXPECT_EQ(folder.Read("reply"), "");
}

TEST_F(NURLTest, AFullDiskIsAFailure) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    // So few bytes that a buffer of the stream would hide the failure until the file is closed.
    EXPECT_EQ(ToFile("/bytes/10", NString("/dev/full")), 23);
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
            EXPECT_EQ(
                std::make_tuple(body, bodySize, timeout, cancelContext, progressContext, flags),
                std::make_tuple(this, 2ull, 3u, this + 4, this + 5, 6u));
            return 77;
        }
        std::vector<std::pair<std::string, std::vector<std::string>>> calls;
    };
    Recorder recorder;
    EXPECT_EQ(
        recorder.Request("a", &recorder, 2, 3, nullptr, &recorder + 4, nullptr, &recorder + 5, 6),
        77);
    EXPECT_EQ(recorder.Request("b", "A: 1 and more", 4, &recorder, 2, 3, nullptr, &recorder + 4,
                               nullptr, &recorder + 5, 6),
              77);
    EXPECT_THAT(recorder.calls, ElementsAre(testing::Pair("a", ElementsAre("")),
                                            testing::Pair("b", ElementsAre("A: 1"))));
}

}  // namespace
