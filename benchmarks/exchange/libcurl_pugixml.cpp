#include <curl/curl.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <pugixml.hpp>

#include "Exchange.h"

namespace {

CURL* _handle;
curl_slist* _headers;
std::FILE* _log;

// Each line is in the file when the call returns.
[[gnu::format(printf, 2, 3)]] void _write(int line, const char* format, ...) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char time[64];
    std::strftime(time, sizeof time, "%Y/%m/%d - [%a] - %H:%M:%S", &local);
    std::fprintf(_log, "%s - NOTICE [File: libcurl_pugixml.cpp Line: %d]\t\"", time, line);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(_log, format, arguments);
    va_end(arguments);
    std::fputs("\"\n", _log);
    std::fflush(_log);
}

struct TextWriter : pugi::xml_writer {
    std::string text;
    void write(const void* data, std::size_t size) override {
        text.append(static_cast<const char*>(data), size);
    }
};

std::string _order() {
    pugi::xml_document document;
    pugi::xml_node order = document.append_child("order");
    order.append_attribute("currency") = "€";
    order.append_child("customer").text() = exchange::Customer;
    for (const exchange::Item& item : exchange::Items) {
        pugi::xml_node element = order.append_child("item");
        element.append_attribute("quantity") = item.quantity;
        char price[32];
        std::snprintf(price, sizeof price, "%.2f", item.price);
        element.append_attribute("price") = price;
        element.text() = item.name;
    }
    TextWriter writer;
    document.save(writer, "", pugi::format_raw | pugi::format_no_declaration);
    return writer.text;
}

std::size_t _receive(char* data, std::size_t size, std::size_t count, void* reply) {
    static_cast<std::string*>(reply)->append(data, size * count);
    return size * count;
}

bool _post(const std::string& address, const std::string& body, std::string* reply) {
    curl_easy_setopt(_handle, CURLOPT_URL, address.c_str());
    curl_easy_setopt(_handle, CURLOPT_POSTFIELDS, body.data());
    curl_easy_setopt(_handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    curl_easy_setopt(_handle, CURLOPT_WRITEDATA, reply);
    return curl_easy_perform(_handle) == CURLE_OK;
}

}  // namespace

void exchange::Start(const std::string& folder) {
    curl_global_init(CURL_GLOBAL_ALL);
    _handle = curl_easy_init();
    _headers = curl_slist_append(nullptr, "Content-Type: application/xml");
    curl_easy_setopt(_handle, CURLOPT_HTTPHEADER, _headers);
    curl_easy_setopt(_handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(_handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(_handle, CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(_handle, CURLOPT_WRITEFUNCTION, &_receive);
    _log = std::fopen((folder + "/exchange.log").c_str(), "a");
    if (_handle == nullptr || _headers == nullptr || _log == nullptr) std::exit(1);
    _write(__LINE__, "the order desk opens");
}

bool exchange::Run(const std::string& url, const std::string& folder) {
    const std::string order = _order();
    char* const escaped = curl_easy_escape(_handle, Customer, 0);
    if (escaped == nullptr) return false;
    const std::string address = url + "?customer=" + escaped;
    curl_free(escaped);
    _write(__LINE__, "sending %zu bytes to %s", order.size(), address.c_str());
    std::string text;
    if (!_post(address, order, &text)) return false;

    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) return false;
    const pugi::xml_node reply = document.child("confirmation");
    std::tm date{};
    if (strptime(reply.child_value("date"), "%Y-%m-%dT%H:%M:%S%z", &date) == nullptr) return false;
    char shown[64];
    std::strftime(shown, sizeof shown, "%A, %e %B %Y, %H:%M:%S", &date);
    _write(__LINE__, "order %s for %s, %s, %s, %s: %s by %s, %s, %.2f, %s",
           reply.child_value("number"), reply.child_value("customer"), reply.child_value("street"),
           reply.child_value("city"), reply.child_value("country"), reply.child_value("packages"),
           reply.child_value("carrier"), reply.child_value("tracking"),
           std::strtod(reply.child_value("total"), nullptr), shown);

    const std::string file = folder + "/confirmation.xml";
    if (!document.save_file(file.c_str())) return false;
    _write(__LINE__, "saved as %s", file.c_str());
    return true;
}

void exchange::Stop() {
    std::fclose(_log);
    curl_slist_free_all(_headers);
    curl_easy_cleanup(_handle);
    curl_global_cleanup();
}
