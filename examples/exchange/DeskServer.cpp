#include "DeskServer.h"

#include <iterator>
#include <list>

#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>

#include <morvel/morvel.h>

namespace {

// The price of all items of an order.
double _total(NXML& order) {
    double total = 0;
    NDataContainerArray parts;
    order.GetElements("order.items", parts);
    for (NDataContainer* part : parts) {
        NString quantity;
        NString price;
        part->GetRootAttribute("quantity", quantity);
        part->GetRootAttribute("price", price);
        total += quantity.ToInt() * price.ToDouble();
    }
    return total;
}

class OrderHandler : public Poco::Net::HTTPRequestHandler {
public:
    void handleRequest(Poco::Net::HTTPServerRequest& request,
                       Poco::Net::HTTPServerResponse& response) override {
        const std::string body{std::istreambuf_iterator<char>(request.stream()), {}};
        NXML order;
        NXML customer;
        if (!order.FromText(body) || order.RootName() != "order" ||
            !order.GetElement("order.customer", &customer, -1)) {
            response.setStatusAndReason(Poco::Net::HTTPResponse::HTTP_BAD_REQUEST);
            response.setContentLength(0);
            response.send();
            return;
        }
        NString currency;
        NString total;
        order.GetRootAttribute("currency", currency);
        total.SetNumber(_total(order), 2);

        NXML reply;
        reply.CreateRoot("confirmation");
        reply.SetAttribute("confirmation", "number", "A-2041");
        reply.SetValue("confirmation.customer", customer.RootValue());
        reply.SetValue("confirmation.total", total.Data());
        reply.SetAttribute("confirmation.total", "currency", currency.Converted(EncodingUTF8));
        reply.SetValue("confirmation.date",
                       NDateTime::Format(NDateTime(NTimestamp()), "%Y-%m-%dT%H:%M:%S%z", 0));
        const std::string text = reply.ToText(3);
        response.setContentType("application/xml; charset=utf-8");
        response.sendBuffer(text.data(), text.size());
    }
};

class OrderHandlerFactory : public Poco::Net::HTTPRequestHandlerFactory {
public:
    Poco::Net::HTTPRequestHandler* createRequestHandler(
        const Poco::Net::HTTPServerRequest&) override {
        return new OrderHandler;
    }
};

}  // namespace

struct DeskServer::Server {
    Poco::Net::ServerSocket socket{Poco::Net::SocketAddress("127.0.0.1", 0)};
    Poco::Net::HTTPServer http{new OrderHandlerFactory, socket, new Poco::Net::HTTPServerParams};
};

DeskServer::DeskServer() : _server(std::make_unique<Server>()) {
    _server->http.start();
}

DeskServer::~DeskServer() {
    _server->http.stopAll(true);
}

std::string DeskServer::Url() const {
    return "http://" + _server->socket.address().toString() + "/orders";
}
