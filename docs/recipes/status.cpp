#include <iostream>

#include <morvel/companions.h>

int main(int, char** argv) {
    const std::string address = argv[1];

    const auto tell = [](const char* what, const morvel::Reply& reply) {
        std::cout << what << ": " << reply.status << ", " << morvel::StatusText(reply.status)
                  << ", " << reply.body.size() << " bytes\n";
    };
    tell("found", morvel::Fetch(address + "/bytes/10", 5));
    tell("missing", morvel::Fetch(address + "/status/404", 5));
    tell("nobody there", morvel::Fetch("http://127.0.0.1:1", 5));
    tell("too slow", morvel::Fetch(address + "/slow", 1));
    tell("not a web address", morvel::Fetch("file:///etc/hostname", 5));
    tell("cancelled", morvel::Fetch(address + "/bytes/10", 5, nullptr, [] { return true; }));

    // Replies of 400 and up with their bodies are NURL's to fetch.
    NURL url;
    const std::int32_t status = url.Request(address + "/status/404", nullptr, 0, 5, nullptr,
                                            nullptr, nullptr, nullptr, RequestKeepHttpErrors);
    std::cout << "kept: " << status << '\n';
}
