#include <tests/support/TestServer.h>

#include <cstdint>
#include <cstdlib>

#include <Poco/Environment.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequestImpl.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/StreamCopier.h>
#include <Poco/ThreadPool.h>

namespace morvel::test {

namespace {

using Poco::Net::HTTPServerRequest;
using Poco::Net::HTTPServerResponse;

struct Handler : Poco::Net::HTTPRequestHandler {
    void handleRequest(HTTPServerRequest& request, HTTPServerResponse& response) override {
        const std::string& target = request.getURI();
        std::string body;
        Poco::StreamCopier::copyToString(request.stream(), body);

        const std::string name = target.substr(1, target.find_first_of("/?", 1) - 1);
        const std::size_t number =
            std::strtoul(target.c_str() + target.rfind('/', name.size() + 1) + 1, nullptr, 10);
        if (name == "echo") {
            std::string text = request.getMethod() + ' ' + target + '\n';
            for (const auto& header : request) text += header.first + ": " + header.second + '\n';
            body = text + '\n' + body;
        } else if (name == "bytes") {
            body = TestServer::Bytes(number);
        } else if (name == "status" || name == "redirect") {
            response.setStatus(static_cast<HTTPServerResponse::HTTPStatus>(number));
            response.set("Location", target.substr(target.find('=') + 1));
            body = "status " + std::to_string(number);
        } else {  // "stall", "cut"; the connection ends with the handler
            response.setKeepAlive(false);
            response.setContentLength(1000000);
            response.send() << TestServer::Bytes(number) << std::flush;
            auto& socket = dynamic_cast<Poco::Net::HTTPServerRequestImpl&>(request).socket();
            if (name == "stall") socket.poll(Poco::Timespan(60, 0), socket.SELECT_READ);
            return;
        }
        response.sendBuffer(body.data(), body.size());
    }
};

struct HandlerFactory : Poco::Net::HTTPRequestHandlerFactory {
    Poco::Net::HTTPRequestHandler* createRequestHandler(const HTTPServerRequest&) override {
        return new Handler;
    }
};

}  // namespace

// The pool goes last, so that no thread of it outlives what the handlers use.
struct TestServer::State {
    Poco::Net::ServerSocket socket{Poco::Net::SocketAddress("127.0.0.1", 0)};
    Poco::ThreadPool pool{2, 16};
    Poco::Net::HTTPServerParams::Ptr params = new Poco::Net::HTTPServerParams;
    Poco::Net::HTTPServer server{new HandlerFactory, pool, socket, params};
};

TestServer::TestServer() : _state(std::make_unique<State>()) {
    Poco::Environment::set("no_proxy", "*");
    _state->params->setThreadIdleTime(Poco::Timespan(0, 100000));
    _state->server.start();
}

TestServer::~TestServer() {
    _state->server.stopAll(true);
    _state->pool.joinAll();
}

std::string TestServer::Url(const std::string& target) const {
    return "http://" + _state->socket.address().toString() + target;
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

}  // namespace morvel::test
