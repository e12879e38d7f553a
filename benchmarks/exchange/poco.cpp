#include <Poco/AsyncChannel.h>
#include <Poco/AutoPtr.h>
#include <Poco/DOM/DOMParser.h>
#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/DOM/Element.h>
#include <Poco/DOM/Text.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/Net/HTTPClientSession.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/NumberFormatter.h>
#include <Poco/NumberParser.h>
#include <Poco/PatternFormatter.h>
#include <Poco/SAX/InputSource.h>
#include <Poco/URI.h>
#include <Poco/XML/XMLWriter.h>

#include <fstream>
#include <memory>
#include <sstream>

#include "Exchange.h"

namespace {

using Poco::AutoPtr;
using Poco::XML::Document;
using Poco::XML::Element;
using Poco::XML::XMLWriter;

std::unique_ptr<Poco::Net::HTTPClientSession> _session;

Poco::Logger& _log() {
    static Poco::Logger& log = Poco::Logger::get("exchange");
    return log;
}

std::string _order() {
    AutoPtr<Document> document = new Document;
    AutoPtr<Element> order = document->createElement("order");
    document->appendChild(order);
    order->setAttribute("currency", "€");
    const auto append = [&](const std::string& name, const std::string& value) {
        AutoPtr<Element> element = document->createElement(name);
        AutoPtr<Poco::XML::Text> text = document->createTextNode(value);
        element->appendChild(text);
        order->appendChild(element);
        return element;
    };
    append("customer", exchange::Customer);
    for (const exchange::Item& item : exchange::Items) {
        AutoPtr<Element> element = append("item", item.name);
        element->setAttribute("quantity", Poco::NumberFormatter::format(item.quantity));
        element->setAttribute("price", Poco::NumberFormatter::format(item.price, 2));
    }
    std::ostringstream text;
    Poco::XML::DOMWriter().writeNode(text, document);
    return text.str();
}

AutoPtr<Document> _post(const Poco::URI& uri, const std::string& body) {
    Poco::Net::HTTPRequest request("POST", uri.getPathAndQuery(), "HTTP/1.1");
    request.setContentType("application/xml");
    request.setContentLength(static_cast<std::streamsize>(body.size()));
    _session->sendRequest(request) << body;
    Poco::Net::HTTPResponse response;
    Poco::XML::InputSource source(_session->receiveResponse(response));
    if (response.getStatus() != Poco::Net::HTTPResponse::HTTP_OK) return nullptr;
    return Poco::XML::DOMParser().parse(&source);
}

}  // namespace

void exchange::Start(const std::string& folder) {
    AutoPtr<Poco::FileChannel> file(new Poco::FileChannel(folder + "/exchange.log"));
    file->setProperty("rotation", "10 M");
    AutoPtr<Poco::AsyncChannel> async(new Poco::AsyncChannel(file));
    AutoPtr<Poco::PatternFormatter> formatter(new Poco::PatternFormatter(
        "%L%Y/%n/%e - [%w] - %H:%M:%S - NOTICE [File: %O Line: %u]\t\"%t\""));
    AutoPtr<Poco::FormattingChannel> chain(new Poco::FormattingChannel(formatter, async));
    Poco::Logger::root().setChannel(chain);
    poco_notice(_log(), "the order desk opens");
}

bool exchange::Run(const std::string& url, const std::string& folder) try {
    const std::string order = _order();
    Poco::URI uri(url);
    uri.addQueryParameter("customer", Customer);
    if (!_session) {
        _session = std::make_unique<Poco::Net::HTTPClientSession>(uri.getHost(), uri.getPort());
        _session->setKeepAlive(true);
        _session->setTimeout(Poco::Timespan(30, 0));
    }
    poco_notice_f2(_log(), "sending %z bytes to %s", order.size(), uri.toString());
    AutoPtr<Document> reply = _post(uri, order);
    if (reply.isNull()) return false;

    const Element* const root = reply->documentElement();
    const auto value = [root](const char* name) {
        return root->getChildElement(name)->innerText();
    };
    int zone = 0;
    const Poco::DateTime date =
        Poco::DateTimeParser::parse("%Y-%m-%dT%H:%M:%S%z", value("date"), zone);
    _log().notice(
        Poco::format("order %s for %s, %s, %s, %s: %s by %s, %s, %.2f, %s", value("number"),
                     value("customer"), value("street"), value("city"), value("country"),
                     value("packages"), value("carrier"), value("tracking"),
                     Poco::NumberParser::parseFloat(value("total")),
                     Poco::DateTimeFormatter::format(date, "%W, %e %B %Y, %H:%M:%S", zone)),
        __FILE__, __LINE__);

    const std::string file = folder + "/confirmation.xml";
    std::ofstream out(file);
    Poco::XML::DOMWriter writer;
    writer.setOptions(XMLWriter::WRITE_XML_DECLARATION | XMLWriter::PRETTY_PRINT);
    writer.writeNode(out, reply);
    if (!out.flush()) return false;
    poco_notice_f1(_log(), "saved as %s", file);
    return true;
} catch (const Poco::Exception&) {
    return false;
}

void exchange::Stop() {
    Poco::Channel::Ptr chain = Poco::Logger::root().getChannel();
    Poco::Logger::root().setChannel(nullptr);
    Poco::Logger::shutdown();
}
