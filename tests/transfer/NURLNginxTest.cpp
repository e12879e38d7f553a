// NURL against a server that was not written for it.

#include <morvel/transfer/NURL.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <morvel/files/NPath.h>
#include <tests/support/Nginx.h>
#include <tests/support/TestServer.h>

using morvel::test::Nginx;
using morvel::test::TestServer;

namespace {

TEST(NURLNginx, SpeaksWithARealServer) {
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed: apt-get install nginx-light";
    }
    const Nginx nginx(R"(
        client_max_body_size 1m;
        location = /moved { return 301 /large; }
        location = /accept { return 202 "taken"; }
        error_page 404 /missing.html;
    )");
    const std::string large = TestServer::Bytes(5000000);
    nginx.Folder().Write("www/large", large);
    nginx.Folder().Write("www/missing.html", "nothing here");
    std::filesystem::create_directory(nginx.Folder().Path() / "www" / "folder");
    nginx.Folder().Write("www/folder/index.html", "the index");

    NURL url;
    const auto request = [&](const std::string& target, const std::string& body,
                             std::uint32_t flags) {
        return url.Request(nginx.Url(target), body.data(), body.size(), 20, nullptr, nullptr,
                           nullptr, nullptr, flags);
    };
    const auto received = [&] { return std::string(url.Data(), url.Size()); };

    EXPECT_EQ(url.Get(nginx.Url("/large"), 20, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_TRUE(received() == large);

    EXPECT_EQ(request("/moved", "", 0), 0);
    EXPECT_TRUE(received() == large);
    EXPECT_EQ(request("/folder", "", 0), 0);  // to "/folder/", by nginx itself
    EXPECT_EQ(received(), "the index");

    EXPECT_EQ(request("/absent", "", 0), 22);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(request("/absent", "", RequestKeepHttpErrors), 0);
    EXPECT_EQ(received(), "nothing here");

    EXPECT_EQ(request("/accept", std::string(900000, 'x'), 0), 0);
    EXPECT_EQ(received(), "taken");
    EXPECT_EQ(request("/large", "posted", 0), 22);  // 405: a file takes no POST

    const NPath name(nginx.Folder().File("copy").c_str());
    EXPECT_EQ(url.Request(nginx.Url("/moved"), nullptr, &name, 0, 20, nullptr, nullptr, nullptr,
                          nullptr, RequestToFile),
              0);
    EXPECT_TRUE(nginx.Folder().Read("copy") == large);
}

}  // namespace
