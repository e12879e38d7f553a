#include <tests/support/TestServer.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>

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
#include <Poco/String.h>
#include <Poco/ThreadPool.h>

namespace morvel::test {

namespace {

using Poco::Net::HTTPServerRequest;
using Poco::Net::HTTPServerResponse;

constexpr std::size_t DeclaredLength = 1000000;

// Whatever is in front of `separator`; `*text` keeps what is behind it.
std::string _take(std::string* text, char separator) {
    const std::size_t end = text->find(separator);
    std::string head = text->substr(0, end);
    *text = end == text->npos ? std::string() : text->substr(end + 1);
    return head;
}

// What both sides of a test know about the server: the log of requests, and whether it is over.
class Shared {
public:
    void Add(ReceivedRequest request) {
        const std::lock_guard<std::mutex> lock(_mutex);
        _requests.push_back(std::move(request));
    }
    std::vector<ReceivedRequest> Requests() const {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _requests;
    }
    void End() {
        const std::lock_guard<std::mutex> lock(_mutex);
        _over = true;
        _end.notify_all();
    }
    void WaitForEnd() {
        std::unique_lock<std::mutex> lock(_mutex);
        _end.wait(lock, [this] { return _over; });
    }

private:
    mutable std::mutex _mutex;
    std::condition_variable _end;
    std::vector<ReceivedRequest> _requests;
    bool _over = false;
};

class Handler : public Poco::Net::HTTPRequestHandler {
public:
    explicit Handler(Shared* shared) : _shared(shared) {}

    void handleRequest(HTTPServerRequest& request, HTTPServerResponse& response) override {
        ReceivedRequest received{request.getMethod(), request.getURI(), {}, {}};
        for (const auto& header : request) {
            received.headers.emplace_back(header.first, header.second);
        }
        Poco::StreamCopier::copyToString(request.stream(), received.body);
        _shared->Add(received);

        std::string query = request.getURI().substr(1);
        std::string path = _take(&query, '?');
        const std::string name = _take(&path, '/');
        const std::size_t number = path.empty() ? 0 : std::stoul(path);
        if (name == "echo") {
            _send(response, _echo(received));
        } else if (name == "status") {
            _setStatus(response, number);
            _send(response, "status " + path);
        } else if (name == "redirect") {
            _redirect(response, number, query.substr(query.find('=') + 1));
        } else if (name == "countdown" && number > 0) {
            _redirect(response, 302, "/countdown/" + std::to_string(number - 1));
        } else if (name == "countdown") {
            _send(response, "arrived");
        } else if (name == "bytes") {
            _send(response, TestServer::Bytes(number));
        } else if (name == "chunks") {
            _sendChunks(response, query);
        } else if (name == "stall") {
            _sendPart(response, number);
            _shared->WaitForEnd();
        } else if (name == "silence") {
            _shared->WaitForEnd();
            response.setKeepAlive(false);
        } else if (name == "cut") {
            _sendPart(response, number);
        } else {
            _setStatus(response, 404);
            _send(response, "nothing there");
        }
    }

private:
    static std::string _echo(const ReceivedRequest& request) {
        std::string text = request.method + ' ' + request.target + '\n';
        for (const auto& header : request.headers) {
            text += header.first + ": " + header.second + '\n';
        }
        return text + '\n' + request.body;
    }

    static void _setStatus(HTTPServerResponse& response, std::size_t status) {
        response.setStatusAndReason(static_cast<Poco::Net::HTTPResponse::HTTPStatus>(status));
    }

    static void _send(HTTPServerResponse& response, const std::string& body) {
        response.sendBuffer(body.data(), body.size());
    }

    static void _redirect(HTTPServerResponse& response, std::size_t status,
                          const std::string& target) {
        _setStatus(response, status);
        response.set("Location", target);
        _send(response, "elsewhere");
    }

    static void _sendChunks(HTTPServerResponse& response, std::string query) {
        std::vector<std::size_t> sizes;
        std::chrono::milliseconds pause(0);
        while (!query.empty()) {
            std::string value = _take(&query, '&');
            const std::string key = _take(&value, '=');
            if (key == "pause") {
                pause = std::chrono::milliseconds(std::stoul(value));
            }
            while (key == "sizes" && !value.empty()) {
                sizes.push_back(std::stoul(_take(&value, ',')));
            }
        }
        const std::string bytes =
            TestServer::Bytes(std::accumulate(sizes.begin(), sizes.end(), std::size_t(0)));
        response.setChunkedTransferEncoding(true);
        std::ostream& out = response.send();
        std::size_t sent = 0;
        for (const std::size_t size : sizes) {
            if (sent > 0) {
                std::this_thread::sleep_for(pause);
            }
            out.write(bytes.data() + sent, static_cast<std::streamsize>(size)).flush();
            sent += size;
        }
    }

    // The connection ends with the handler: the rest of what is declared never comes.
    static void _sendPart(HTTPServerResponse& response, std::size_t count) {
        response.setKeepAlive(false);
        response.setContentLength(DeclaredLength);
        response.send() << TestServer::Bytes(count) << std::flush;
    }

    Shared* _shared;
};

class HandlerFactory : public Poco::Net::HTTPRequestHandlerFactory {
public:
    explicit HandlerFactory(Shared* shared) : _shared(shared) {}
    Poco::Net::HTTPRequestHandler* createRequestHandler(const HTTPServerRequest&) override {
        return new Handler(_shared);
    }

private:
    Shared* _shared;
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

bool ReceivedRequest::Has(const std::string& header) const {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const auto& entry) { return Poco::icompare(entry.first, header) == 0; });
}

std::string ReceivedRequest::Header(const std::string& header) const {
    std::string values;
    for (const auto& entry : headers) {
        if (Poco::icompare(entry.first, header) == 0) {
            values += (values.empty() ? "" : ", ") + entry.second;
        }
    }
    return values;
}

// The pool goes last, so that no thread of it outlives what the handlers use.
struct TestServer::State {
    State(const Poco::Net::ServerSocket& socket, std::string origin_)
        : origin(std::move(origin_)),
          port(socket.address().port()),
          server(new HandlerFactory(&shared), pool, socket, _params()) {}

    std::string origin;
    std::uint16_t port;
    Shared shared;
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
    _state->shared.End();
    _state->server.stopAll(true);
    _state->pool.joinAll();
}

std::uint16_t TestServer::Port() const {
    return _state->port;
}

std::string TestServer::Url(const std::string& target) const {
    return _state->origin + ':' + std::to_string(_state->port) + target;
}

std::vector<ReceivedRequest> TestServer::Requests() const {
    return _state->shared.Requests();
}

ReceivedRequest TestServer::Last() const {
    const std::vector<ReceivedRequest> requests = Requests();
    if (requests.empty()) {
        throw std::logic_error("no request has come yet");
    }
    return requests.back();
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
