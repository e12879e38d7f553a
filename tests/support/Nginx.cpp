#include <tests/support/Nginx.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <Poco/Environment.h>
#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>

#include <tests/support/TestServer.h>

namespace morvel::test {

namespace {

constexpr const char* Program = "/usr/sbin/nginx";

// One process, in the foreground, that writes nowhere but to its folder.
std::string _configuration(std::uint16_t port, const std::string& server) {
    return "daemon off;\n"
           "master_process off;\n"
           "pid nginx.pid;\n"
           "events {}\n"
           "http {\n"
           "    access_log off;\n"
           "    client_body_temp_path body;\n"
           "    proxy_temp_path proxy;\n"
           "    fastcgi_temp_path fastcgi;\n"
           "    uwsgi_temp_path uwsgi;\n"
           "    scgi_temp_path scgi;\n"
           "    server {\n"
           "        listen 127.0.0.1:" +
           std::to_string(port) +
           ";\n"
           "        root www;\n" +
           server +
           "\n"
           "    }\n"
           "}\n";
}

bool _answers(std::uint16_t port) {
    try {
        Poco::Net::StreamSocket(Poco::Net::SocketAddress("127.0.0.1", port));
        return true;
    } catch (const Poco::Exception&) {
        return false;
    }
}

}  // namespace

bool Nginx::IsInstalled() {
    return std::filesystem::exists(Program);
}

Nginx::Nginx(const std::string& server) {
    Poco::Environment::set("no_proxy", "*");
    std::filesystem::create_directory(_folder.Path() / "www");
    for (int attempt = 0; attempt < 3; ++attempt) {  // somebody else may have been given the port
        if (_start(server)) {
            return;
        }
    }
    throw std::runtime_error("nginx doesn't start: " + _folder.Read("error.log"));
}

bool Nginx::_start(const std::string& server) {
    _port = FreePort();
    const std::string configuration = _folder.Write("nginx.conf", _configuration(_port, server));
    _process = std::make_unique<BackgroundProcess>(
        Program, std::vector<std::string>{"-p", _folder.File(""), "-c", configuration, "-e",
                                          _folder.File("error.log")});
    while (_process->IsRunning()) {
        if (_answers(_port)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

std::string Nginx::Url(const std::string& target) const {
    return "http://127.0.0.1:" + std::to_string(_port) + target;
}

}  // namespace morvel::test
