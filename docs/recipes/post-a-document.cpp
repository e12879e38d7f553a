#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main(int, char** argv) {
    const std::string address = argv[1];

    NXML order;
    morvel::Put(order, "order.customer", NString("Zo\xEB", EncodingLatin1));
    morvel::Put(order, "order.pieces", 3);
    const std::string body = order.ToText(2);

    const std::vector<std::string> headers = {"Content-Type: application/xml"};
    NURL server;
    const std::int32_t status =
        server.Request(address + "/orders", &headers, body.data(), body.size(), 30, nullptr,
                       nullptr, nullptr, nullptr, 0);
    if (status != 0) {
        std::cerr << morvel::StatusText(status) << '\n';
        return 1;
    }

    NXML reply;
    if (const morvel::XmlFault fault = morvel::Load(reply, {server.Data(), server.Size()})) {
        std::cerr << "line " << fault.line << " of the reply: " << fault.message << '\n';
        return 1;
    }
    std::cout << morvel::Utf8(morvel::ValueOf(reply, "order.customer").value_or(NString())) << '\n';
}
