#include <morvel/companions.h>
#include <morvel/morvel.h>

#include "Exchange.h"

namespace {

NURL _server;

std::string _order() {
    NDataContainerArray items;
    NString number;
    for (const exchange::Item& item : exchange::Items) {
        auto* const element = new NXML;
        items.push_back(element);
        element->CreateRoot("item");
        element->SetValue("item", morvel::FromUtf8(item.name));
        number.SetNumber(item.quantity);
        element->SetAttribute("item", "quantity", number.Data());
        number.SetNumber(item.price, 2);
        element->SetAttribute("item", "price", number.Data());
    }
    NXML order;
    order.CreateRoot("order");
    order.SetAttribute("order", "currency", "€");
    order.SetValue("order.customer", morvel::FromUtf8(exchange::Customer));
    order.AppendElements("order", items);
    return order.ToText(0);
}

}  // namespace

void exchange::Start(const std::string&) {
    morvel::StartLog("exchange");
    NLOG(morvel::LevelNotice, "the order desk opens");
}

bool exchange::Run(const std::string& url, const std::string& folder) {
    const std::string order = _order();
    const std::string address = morvel::QueryUrl(url, {{"customer", morvel::FromUtf8(Customer)}});
    NLOG(morvel::LevelNotice, "sending %zu bytes to %s", order.size(), address.c_str());
    const std::vector<std::string> headers = {"Content-Type: application/xml"};
    if (_server.Request(address, &headers, order.data(), order.size(), 30, nullptr, nullptr,
                        nullptr, nullptr, 0) != 0) {
        return false;
    }

    NXML reply;
    if (morvel::Load(reply, {_server.Data(), _server.Size()})) return false;
    const auto value = [&reply](const char* name) {
        return morvel::ValueOf(reply, std::string("confirmation.") + name).value_or(NString());
    };
    int zone = 0;
    const NDateTime date =
        NDateTime::Parse("%Y-%m-%dT%H:%M:%S%z", morvel::Utf8(value("date")), zone);
    NLOG(morvel::LevelNotice, "order %s for %s, %s, %s, %s: %s by %s, %s, %.2f, %s",
         value("number").CStr(), value("customer").CStr(), value("street").CStr(),
         value("city").CStr(), value("country").CStr(), value("packages").CStr(),
         value("carrier").CStr(), value("tracking").CStr(), value("total").ToDouble(),
         NDateTime::Format(date, "%W, %e %B %Y, %H:%M:%S", zone).c_str());

    const std::string file = folder + "/confirmation.xml";
    if (!reply.SaveFile(file)) return false;
    NLOG(morvel::LevelNotice, "saved as %s", file.c_str());
    return true;
}

void exchange::Stop() {
    morvel::FlushLog(60);
}
