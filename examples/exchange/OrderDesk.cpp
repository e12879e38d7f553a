#include "OrderDesk.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>
#include <thread>

#include <morvel/morvel.h>

namespace {

struct Item {
    const char* name;  // UTF-8, like all text of this file
    int quantity;
    double price;
};

const Item Items[] = {{"Café crème", 2, 3.20}, {"Smørrebrød", 1, 8.75}, {"ほうじ茶", 3, 4.50}};
const char Customer[] = "Zoë Ångström";
const char LastLine[] = "the order desk closes";

// What a status of NURL means to somebody who wants an order placed.
std::string _explain(std::int32_t status, const std::string& url, std::uint32_t timeout) {
    switch (status) {
        case 3:
            return url + " is no address. Give one like http://127.0.0.1:8080/orders.";
        case 6:
            return "The host of " + url + " is not known. Check its spelling and the network.";
        case 7:
            return "The connection to " + url +
                   " was refused. Check that the server runs and that the port is right.";
        case 22:
            return "The server answered " + url +
                   " with an HTTP error. Check that this is the address of an order desk.";
        case 28:
            return "No answer from " + url + " within " + std::to_string(timeout) +
                   " s. Try again later, or wait longer with --timeout.";
        default:
            return "The transfer with " + url + " failed with status " + std::to_string(status) +
                   " (of libcurl). Check the address and the network.";
    }
}

// Each item is a document of its own, of which the order takes a copy.
void _composeOrder(NXML& order) {
    NDataContainerArray parts;
    NString number;
    for (const Item& item : Items) {
        auto part = std::make_unique<NXML>();
        part->CreateRoot("item");
        part->SetValue("item.name", NString(item.name, EncodingUTF8));
        number.SetNumber(item.quantity);
        part->SetAttribute("item", "quantity", number.Data());
        number.SetNumber(item.price, 2);
        part->SetAttribute("item", "price", number.Data());
        parts.push_back(part.get());
        part.release();
    }
    order.CreateRoot("order");
    order.SetAttribute("order", "currency", "€");
    order.SetValue("order.customer", NString(Customer, EncodingUTF8));
    order.SetValue("order.items", "");
    order.RemoveElement("order.items", 0);  // the empty text that SetValue made
    order.AppendElements("order.items", parts);
}

// The text of the element at `path`, which a confirmation must have.
std::string _value(NXML& document, const std::string& path) {
    NXML element;
    if (!document.GetElement(path, &element, -1)) {
        throw DeskError("The reply has no element " + path +
                        ". Check that this is the address of an order desk.");
    }
    return element.RootValue();
}

// A name from a server becomes part of a file name only where it can do no harm.
std::string _fileNameFor(const std::string& number) {
    const auto isPlain = [](unsigned char c) { return std::isalnum(c) != 0 || c == '-'; };
    const bool harmless =
        !number.empty() && number.size() < 40 && std::all_of(number.begin(), number.end(), isPlain);
    return "order-" + (harmless ? number : "unnamed") + ".xml";
}

void _exchange(const std::string& url, std::uint32_t timeout, std::ostream& account) {
    NXML order;
    _composeOrder(order);
    account << "Order\n" << order.ToText(1) << '\n';

    NString who(Customer, EncodingUTF8);
    who.UrlEncode();
    const std::string address =
        url + (url.find('?') == std::string::npos ? '?' : '&') + "customer=" + who.Data();
    const std::string body = order.ToText(2);
    NLOG("NOTICE", "sending an order of %zu bytes to %s", body.size(), address.c_str());
    account << "Request\n  POST " << address << "\n  " << body.size() << " bytes of XML\n\n";

    NURL transfer;
    const auto start = std::chrono::steady_clock::now();
    const std::int32_t status = transfer.Request(address, body.data(), body.size(), timeout,
                                                 nullptr, nullptr, nullptr, nullptr, 0);
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start;
    account << "Transfer\n  status " << status << ", " << transfer.Size() << " bytes, "
            << std::fixed << std::setprecision(1) << taken.count() << " ms\n\n";
    if (status != 0) throw DeskError(_explain(status, url, timeout));

    std::istringstream stream(
        transfer.Size() == 0
            ? std::string()
            : std::string(transfer.Data(), static_cast<std::size_t>(transfer.Size())));
    NXML reply;
    reply.LoadStream(stream, false);
    NString number;
    NString currency;
    NXML totalElement;
    if (reply.RootName() != "confirmation" || !reply.GetRootAttribute("number", number) ||
        !reply.GetElement("confirmation.total", &totalElement, -1)) {
        throw DeskError(
            "The reply is no confirmation of an order. "
            "Check that this is the address of an order desk.");
    }
    const NString total(_value(reply, "confirmation.total"), EncodingUTF8);
    totalElement.GetRootAttribute("currency", currency);
    const std::string dateText = _value(reply, "confirmation.date");
    int zone = 0;
    const NDateTime date = NDateTime::Parse("%Y-%m-%dT%H:%M:%S%z", dateText, zone);

    account << "Confirmation\n  order number " << number.Data() << "\n  customer     "
            << _value(reply, "confirmation.customer") << "\n  total        "
            << currency.Converted(EncodingUTF8) << ' ' << std::setprecision(2) << total.ToDouble()
            << "\n  date         " << NDateTime::Format(date, "%W, %e %B %Y, %H:%M:%S", zone)
            << "\n\n";

    NPath folder = NPath::AppDataFolder();
    folder.Append("Morvel order desk");
    NFile(folder).CreateDirectories();
    folder.Append(_fileNameFor(number.Data()));
    reply.SaveFile(folder.Converted(EncodingUTF8));
    NLOG("NOTICE", "order %s confirmed", number.CStr());
    account << "Saved\n  " << folder.Converted(EncodingUTF8) << "\n\n";
}

}  // namespace

void PlaceOrder(const std::string& url, std::uint32_t timeout, std::ostream& account) {
    try {
        _exchange(url, timeout, account);
    } catch (const DeskError& e) {
        NLOG("WARNING", "no order placed: %s", e.what());
        throw;
    } catch (const KelXMLElementException& e) {
        NLOG("WARNING", "malformed reply: %s", e.Message().c_str());
        throw DeskError("The reply of " + url + " is no XML document (" + e.Message() +
                        "). Check that this is the address of an order desk.");
    } catch (const NException& e) {
        NLOG("WARNING", "%s: %s", e.what(), e.Message().c_str());
        throw DeskError(std::string(e.what()) + ": " + e.Message() +
                        ". Check that the application data folder can be written to.");
    }
}

void ShowLog(std::ostream& account) {
    NPath file = NPath::AppDataFolder();
    file.Append("Tarnwick Software");
    file.Append("morvel.log");
    const std::string name = file.Converted(EncodingUTF8);
    if (NLog::Get() == nullptr) {
        account << "Log\n  off; create the file " << name
                << " and run this again to switch it on\n";
        return;
    }

    NLOG("NOTICE", "%s", LastLine);
    // Lines are written in the background: wait for the one above, but not for good.
    std::deque<std::string> tail;
    for (int tries = 0; tries < 200; ++tries) {
        tail.clear();
        std::ifstream log(std::filesystem::u8path(name));
        for (std::string line; std::getline(log, line);) {
            tail.push_back(line);
            if (tail.size() > 3) tail.pop_front();
        }
        if (!tail.empty() && tail.back().find(LastLine) != std::string::npos) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    account << "Log\n  " << name << "\n  its last lines:\n";
    for (const std::string& line : tail) account << "    " << line << '\n';
}
