// What "peer verification is off" means: a certificate that nobody signed is accepted without a
// word.

#include <morvel/transfer/NURL.h>

#include <tests/support/Test.h>
#include <tests/support/TlsTestServer.h>

TEST(NURLTls, ACertificateThatNobodySignedIsAccepted) {
    const morvel::test::TlsTestServer server;
    const std::string target = server.Url("/status/200");
    NURL url;
    EXPECT_EQ(url.Get(target, 20, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(url.Request(target, "x", 1, 20, nullptr, nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(std::string(url.Data(), url.Size()), "status 200");
    testing::internal::CaptureStdout();
    EXPECT_EQ(url.Upload(target, "x", 1, 20, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "status 200");
}
