// NURL against a server that was not written for it.

#include <morvel/transfer/NURL.h>

#include <chrono>

#include <Poco/Process.h>

#include <morvel/files/NPath.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/TestServer.h>

using morvel::test::TestServer;

namespace {

// One process, in the foreground, that writes nowhere but to its folder.
std::string _configuration(const std::string& address) {
    return R"(
        daemon off;
        master_process off;
        pid nginx.pid;
        events {}
        http {
            access_log off;
            client_body_temp_path body;
            proxy_temp_path proxy;
            fastcgi_temp_path fastcgi;
            uwsgi_temp_path uwsgi;
            scgi_temp_path scgi;
            server {
                listen )" +
           address + R"(;
                root .;
                client_max_body_size 1m;
                location = /moved { return 301 /large; }
                location = /accept { return 202 "taken"; }
            }
        })";
}

TEST(NURLNginx, SpeaksWithARealServer) {
    const std::string program = "/usr/sbin/nginx";
    if (!std::filesystem::exists(program)) {
        GTEST_SKIP() << "nginx is not installed: apt-get install nginx-light";
    }
    const std::string address = "127.0.0.1:" + std::to_string(morvel::test::FreePort());
    const std::string large = TestServer::Bytes(5000000);
    const morvel::test::TemporaryFolder folder;
    folder.Write("large", large);
    const auto started = Poco::Process::launch(
        program, {"-p", folder.File(""), "-c", folder.Write("conf", _configuration(address)), "-e",
                  folder.File("error.log")});
    const auto stop = [](const Poco::ProcessHandle* nginx) {
        Poco::Process::kill(nginx->id());
        nginx->wait();
    };
    const std::unique_ptr<const Poco::ProcessHandle, decltype(stop)> nginx(&started, stop);

    NURL url;
    const auto request = [&](const std::string& target, const std::string& body) {
        return url.Request("http://" + address + target, body.data(), body.size(), 20, nullptr,
                           nullptr, nullptr, nullptr, 0);
    };
    for (int i = 0; request("/large", "") == 7 && i < 2000; ++i) {  // it listens soon
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_TRUE(std::string(url.Data(), url.Size()) == large);

    EXPECT_EQ(request("/absent", ""), 22);
    EXPECT_EQ(request("/accept", std::string(900000, 'x')), 0);
    EXPECT_EQ(std::string(url.Data(), url.Size()), "taken");
    const NPath name(folder.File("copy").c_str());
    EXPECT_EQ(url.Request("http://" + address + "/moved", nullptr, &name, 0, 20, nullptr, nullptr,
                          nullptr, nullptr, RequestToFile),
              0);
    EXPECT_TRUE(folder.Read("copy") == large);
}

}  // namespace
