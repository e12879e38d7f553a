#include "Loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "SecondCore.h"

namespace {

constexpr std::size_t Mebibyte = 1 << 20;

void _sendAll(int socket, const char* data, std::size_t length) {
    while (length > 0) {
        const ssize_t sent = ::send(socket, data, length, MSG_NOSIGNAL);
        if (sent <= 0) return;
        data += sent;
        length -= static_cast<std::size_t>(sent);
    }
}

void _serve(int socket) {
    static const std::vector<char> block(Mebibyte, 'x');
    static std::vector<char> in(Mebibyte);
    std::string head;
    std::size_t end;
    while ((end = head.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t got = ::recv(socket, in.data(), in.size(), 0);
        if (got <= 0) return;
        head.append(in.data(), static_cast<std::size_t>(got));
    }
    std::uint64_t count = 2;
    if (head.compare(0, 5, "GET /") == 0) {
        count = std::strtoull(head.c_str() + 5, nullptr, 10);
    } else {
        const std::size_t at = head.find("Content-Length: ");
        std::uint64_t left = std::strtoull(head.c_str() + at + 16, nullptr, 10);
        left -= head.size() - end - 4;
        while (left > 0) {
            const ssize_t got = ::recv(socket, in.data(), in.size(), 0);
            if (got <= 0) return;
            left -= static_cast<std::uint64_t>(got);
        }
    }
    const std::string answer =
        "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " + std::to_string(count) +
        "\r\n\r\n";
    std::string first = answer;
    const std::uint64_t small = count < 4096 ? count : 0;
    first.append(static_cast<std::size_t>(small), 'x');
    _sendAll(socket, first.data(), first.size());
    for (std::uint64_t left = count - small; left > 0;) {
        const std::uint64_t piece = left < block.size() ? left : block.size();
        _sendAll(socket, block.data(), static_cast<std::size_t>(piece));
        left -= piece;
    }
}

int _startServer() {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::listen(listener, 128) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        std::perror("transfer: no server on loopback");
        std::exit(1);
    }
    if (bench::ForkServer() == 0) {
        for (;;) {
            const int socket = ::accept(listener, nullptr, nullptr);
            const int on = 1;
            ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            _serve(socket);
            ::close(socket);
        }
    }
    ::close(listener);
    return ntohs(address.sin_port);
}

}  // namespace

std::string bench::LoopbackServer() {
    static const int port = _startServer();
    ::setenv("no_proxy", "*", 1);
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}
