#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace morvel::test {

/// An HTTP server in the test's own process, on loopback and a port that the system chose. It runs
/// from construction to destruction. What it answers is in the URL:
///
///     /echo                  method, target, header lines, an empty line, the body
///     /status/404            that status, with the body "status 404"
///     /redirect/307?to=/echo the same, for a redirect; `to` may have a query of its own
///     /bytes/70000           Bytes(70000), with its length declared
///     /stall/500             the first 500 of 1,000,000 bytes, and no more until the client goes
///     /cut/500               the first 500 of 1,000,000 bytes, then the connection ends
///
/// So that a proxy in the environment of whoever runs the tests stays out of it, the constructor
/// sets `no_proxy` to "*" in this process.
class TestServer {
public:
    TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;
    ~TestServer();  ///< Returns once no handler runs any more.

    /// "http://127.0.0.1:<port>" and `target`. Nobody listens there once the server has ended.
    std::string Url(const std::string& target) const;

    /// The start of the one sequence of bytes that every generated body is taken from.
    static std::string Bytes(std::size_t count);

private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace morvel::test
