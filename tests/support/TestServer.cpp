#include <tests/support/TestServer.h>

#include <algorithm>
#include <cstdlib>
#include <future>
#include <utility>

#include <Poco/Environment.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/StreamCopier.h>
#include <Poco/ThreadPool.h>

namespace morvel::test {

namespace {

using Poco::Net::HTTPServerRequest;
using Poco::Net::HTTPServerResponse;

constexpr std::size_t DeclaredLength = 1000000;

using Ending = std::shared_future<void>;

class Handler : public Poco::Net::HTTPRequestHandler {
public:
    explicit Handler(Ending ending) : _ending(std::move(ending)) {}

    void handleRequest(HTTPServerRequest& request, HTTPServerResponse& response) override {
        const std::string& target = request.getURI();
        std::string body;
        Poco::StreamCopier::copyToString(request.stream(), body);

        const std::size_t end = std::min(target.find_first_of("/?", 1), target.size());
        const std::string name = target.substr(1, end - 1);
        const char* const rest = target.c_str() + end;
        const std::size_t number = *rest == '/' ? std::strtoul(rest + 1, nullptr, 10) : 0;
        if (name == "echo") {
            _send(response, _echo(request, body));
        } else if (name == "bytes") {
            _send(response, TestServer::Bytes(number));
        } else if (name == "status") {
            response.setStatusAndReason(static_cast<HTTPServerResponse::HTTPStatus>(number));
            _send(response, "status " + std::to_string(number));
        } else if (name == "redirect") {
            response.setStatusAndReason(static_cast<HTTPServerResponse::HTTPStatus>(number));
            response.set("Location", target.substr(target.find('=') + 1));
            _send(response, "elsewhere");
        } else {  // "stall", "cut"; the connection ends with the handler
            response.setKeepAlive(false);
            response.setContentLength(DeclaredLength);
            response.send() << TestServer::Bytes(number) << std::flush;
            if (name == "stall") {
                _ending.wait();
            }
        }
    }

private:
    static std::string _echo(const HTTPServerRequest& request, const std::string& body) {
        std::string text = request.getMethod() + ' ' + request.getURI() + '\n';
        for (const auto& header : request) {
            text += header.first + ": " + header.second + '\n';
        }
        return text + '\n' + body;
    }

    static void _send(HTTPServerResponse& response, const std::string& body) {
        response.sendBuffer(body.data(), body.size());
    }

    Ending _ending;
};

class HandlerFactory : public Poco::Net::HTTPRequestHandlerFactory {
public:
    explicit HandlerFactory(Ending ending) : _ending(std::move(ending)) {}
    Poco::Net::HTTPRequestHandler* createRequestHandler(const HTTPServerRequest&) override {
        return new Handler(_ending);
    }

private:
    Ending _ending;
};

Poco::Net::HTTPServerParams* _params() {
    auto* params = new Poco::Net::HTTPServerParams;  // the server owns it
    params->setMaxThreads(16);
    params->setThreadIdleTime(Poco::Timespan(0, 100000));
    return params;
}

Poco::Net::ServerSocket _loopback() {
    return Poco::Net::ServerSocket(Poco::Net::SocketAddress("127.0.0.1", 0));
}

}  // namespace

// The pool goes last, so that no thread of it outlives what the handlers use.
struct TestServer::State {
    State(const Poco::Net::ServerSocket& socket, std::string origin_)
        : origin(std::move(origin_)),
          port(socket.address().port()),
          server(new HandlerFactory(ending.get_future()), pool, socket, _params()) {}

    std::string origin;
    std::uint16_t port;
    std::promise<void> ending;
    Poco::ThreadPool pool{2, 16};
    Poco::Net::HTTPServer server;
};

TestServer::TestServer() : TestServer(_loopback(), "http://127.0.0.1") {}

TestServer::TestServer(const Poco::Net::ServerSocket& socket, std::string origin)
    : _state(std::make_unique<State>(socket, std::move(origin))) {
    Poco::Environment::set("no_proxy", "*");
    _state->server.start();
}

TestServer::~TestServer() {
    _state->ending.set_value();
    _state->server.stopAll(true);
    _state->pool.joinAll();
}

std::string TestServer::Url(const std::string& target) const {
    return _state->origin + ':' + std::to_string(_state->port) + target;
}

std::string TestServer::Bytes(std::size_t count) {
    std::string bytes(count, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;  // Numerical Recipes, section 7.1
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

std::uint16_t FreePort() {
    return _loopback().address().port();
}

}  // namespace morvel::test
