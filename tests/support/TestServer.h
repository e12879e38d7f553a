#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Poco::Net {
class ServerSocket;
}

namespace morvel::test {

/// A request as it came over the wire.
struct ReceivedRequest {
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;

    bool Has(
        const std::string& header) const;  ///< Names are compared without case, here and below.

    /// The values of all headers of that name, joined by ", "; empty if there is none.
    std::string Header(const std::string& header) const;
};

/// An HTTP server in the test's own process, on loopback and a port that the system chose. It runs
/// from construction to destruction and remembers each request. What it answers is in the URL:
///
///     /echo                           method, target, header lines, an empty line, the body
///     /status/404                     that status, with the body "status 404"
///     /redirect/307?to=/echo          a redirect; `to` stands last and may have a query of its own
///     /countdown/9                    302 to /countdown/8 and so on; "arrived" at 0
///     /bytes/70000                    Bytes(70000), with its length declared
///     /chunks?sizes=100,20000&pause=5 chunks of these sizes of the same bytes, 5 ms between them
///     /stall/500                      the first 500 of 1,000,000 bytes, and no more until the end
///     /silence                        not even a header
///     /cut/500                        the first 500 of 1,000,000 bytes, then the connection ends
///
/// and 404 to all else. So that a proxy in the environment of whoever runs the tests stays out of
/// it, the constructor sets `no_proxy` to "*" in this process.
class TestServer {
public:
    TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;
    ~TestServer();  ///< Ends stalled answers too, and returns once no handler runs any more.

    std::uint16_t Port() const;
    std::string Url(const std::string& target) const;  ///< "http://127.0.0.1:<port>" and `target`.

    /// All requests so far, in the order of their arrival. A request is in the list before its
    /// answer begins.
    std::vector<ReceivedRequest> Requests() const;
    ReceivedRequest Last() const;  ///< REQUIRES: there is one.

    /// The start of the one sequence of bytes that every generated body is taken from.
    static std::string Bytes(std::size_t count);

protected:
    TestServer(const Poco::Net::ServerSocket& socket, std::string origin);

private:
    struct State;
    std::unique_ptr<State> _state;
};

/// A port of loopback on which nothing listens at the moment.
std::uint16_t FreePort();

}  // namespace morvel::test
