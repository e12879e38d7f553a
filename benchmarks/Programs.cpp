#include "Programs.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "SecondCore.h"

namespace {

namespace fs = std::filesystem;

[[noreturn]] void _fail(const std::string& sentence) {
    std::fprintf(stderr, "%s\n", sentence.c_str());
    std::exit(1);
}

sockaddr_in _loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int _freePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = _loopback(0);
    socklen_t length = sizeof address;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        _fail("there is no free port on loopback");
    }
    ::close(socket);
    return ntohs(address.sin_port);
}

bool _listens(int port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = _loopback(port);
    const bool listens =
        ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(socket);
    return listens;
}

// Removed at the process's end.
const fs::path& _workFolder() {
    static const struct Folder {
        const fs::path path =
            fs::temp_directory_path() / ("morvel-bench-" + std::to_string(::getpid()));
        ~Folder() {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    } folder;
    return folder.path;
}

}  // namespace

std::string bench::FreshFolder() {
    const fs::path folder = _workFolder() / "fresh";
    fs::remove_all(folder);
    fs::create_directories(folder);
    ::setenv("XDG_DATA_HOME", folder.c_str(), 1);
    return folder.string();
}

std::vector<double> bench::NumbersFrom(const std::string& program,
                                       const std::vector<std::string>& arguments,
                                       std::size_t count) {
    const std::string path = (fs::read_symlink("/proc/self/exe").parent_path() / program).string();
    std::vector<char*> words = {const_cast<char*>(path.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.data()));
    }
    words.push_back(nullptr);

    int ends[2];
    posix_spawn_file_actions_t actions;
    pid_t child = 0;
    if (::pipe2(ends, O_CLOEXEC) != 0) _fail("there is no pipe to be had");
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    if (::posix_spawn(&child, path.c_str(), &actions, nullptr, words.data(), environ) != 0) {
        _fail("can't start " + path);
    }
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);

    std::vector<double> numbers;
    std::FILE* const output = ::fdopen(ends[0], "r");
    for (double number = 0; std::fscanf(output, "%lf", &number) == 1;) numbers.push_back(number);
    std::fclose(output);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0 || numbers.size() != count) _fail(path + " failed");
    return numbers;
}

std::string bench::NginxServer(const std::string& locations) {
    static const int port = [&locations] {
        const char* const program = "/usr/sbin/nginx";
        if (!fs::exists(program)) _fail("there is no nginx; script/bootstrap bench installs it");
        const int free = _freePort();
        const fs::path folder = _workFolder() / "nginx";
        fs::create_directories(folder);
        const std::string configuration = (folder / "conf").string();
        std::ofstream(configuration)
            << "daemon off; master_process off; pid nginx.pid; events {}\n"
               "http {\n"
               "access_log off; client_body_temp_path b; proxy_temp_path p; fastcgi_temp_path f;\n"
               "uwsgi_temp_path u; scgi_temp_path s; keepalive_requests 1000000000;\n"
               "server { listen 127.0.0.1:"
            << free << ";\n"
            << locations << "\n} }\n";
        const pid_t child = ForkServer();
        if (child == 0) {
            ::execl(program, program, "-p", folder.c_str(), "-c", configuration.c_str(), "-e",
                    "errors", nullptr);
            ::_exit(1);
        }
        for (int tries = 0; !_listens(free); ++tries) {
            if (tries == 500 || ::waitpid(child, nullptr, WNOHANG) != 0) _fail("nginx doesn't run");
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return free;
    }();
    ::setenv("no_proxy", "*", 1);
    return "http://127.0.0.1:" + std::to_string(port);
}
