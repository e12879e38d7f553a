#include <iostream>
#include <string>
#include <vector>

#include <morvel/companions.h>
#include <morvel/morvel.h>

namespace {

class Collector : public NErrorHandler {
public:
    using NErrorHandler::Exception;
    void Exception(const NException& exception) override {
        reports.push_back(morvel::Describe(exception));
    }

    std::vector<std::string> reports;
};

}  // namespace

int main() {
    Collector collector;
    NErrorHandler* const former = NErrorHandler::Set(&collector);
    NXML document;
    const bool loaded = document.LoadFile("missing.xml", false);
    NErrorHandler::Set(former);

    std::cout << (loaded ? "loaded" : "not loaded") << '\n';
    for (const std::string& report : collector.reports) std::cout << report << '\n';
}
