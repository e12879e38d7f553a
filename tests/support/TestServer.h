#pragma once

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

#include <tests/support/Test.h>

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
    TestServer() {
        Poco::Environment::set("no_proxy", "*");
        _parameters->setThreadIdleTime(Poco::Timespan(0, 100000));
        _server.start();
    }
    ~TestServer() {  ///< Returns once no handler runs any more.
        _server.stopAll(true);
        _pool.joinAll();
    }

    /// "http://127.0.0.1:<port>" and `target`. Nobody listens there once the server has ended.
    std::string Url(const std::string& target) const {
        return "http://" + _socket.address().toString() + target;
    }

    /// The start of the one sequence of bytes that every generated body is taken from.
    static std::string Bytes(std::size_t count) {
        std::string bytes(count, '\0');
        std::mt19937 engine;
        for (char& byte : bytes) byte = static_cast<char>(engine());
        return bytes;
    }

private:
    using HTTPServerRequest = Poco::Net::HTTPServerRequest;
    using HTTPServerResponse = Poco::Net::HTTPServerResponse;

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
                for (const auto& header : request)
                    text += header.first + ": " + header.second + '\n';
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

    // The pool goes last, so that no thread of it outlives what the handlers use.
    Poco::Net::ServerSocket _socket{Poco::Net::SocketAddress("127.0.0.1", 0)};
    Poco::ThreadPool _pool{2, 16};
    Poco::Net::HTTPServerParams::Ptr _parameters = new Poco::Net::HTTPServerParams;
    Poco::Net::HTTPServer _server{new HandlerFactory, _pool, _socket, _parameters};
};

}  // namespace morvel::test
