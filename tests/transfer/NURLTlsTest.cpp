// What "peer verification is off" means: a certificate that nobody signed is accepted without a
// word.

#include <morvel/transfer/NURL.h>

#include <gtest/gtest.h>

#include <tests/support/TlsTestServer.h>

TEST(NURLTls, ACertificateThatNobodySignedIsAccepted) {
    morvel::test::TlsTestServer server;
    NURL url;
    EXPECT_EQ(url.Get(server.Url("/status/200"), 20, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(std::string(url.Data(), url.Size()), "status 200");

    testing::internal::CaptureStdout();
    EXPECT_EQ(url.Upload(server.Url("/status/201"), "x", 1, 20, nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "status 201");

    const std::string body = morvel::test::TestServer::Bytes(100000);
    EXPECT_EQ(url.Request(server.Url("/status/202"), body.data(), body.size(), 20, nullptr, nullptr,
                          nullptr, nullptr, 0),
              0);
    EXPECT_EQ(std::string(url.Data(), url.Size()), "status 202");
    EXPECT_EQ(server.Last().body, body);
}
