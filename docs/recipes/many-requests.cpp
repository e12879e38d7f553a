#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main(int, char** argv) {
    const std::string address = argv[1];

    NURL server;
    std::size_t bytes = 0;
    for (int page = 1; page <= 3; ++page) {
        const std::string url = morvel::QueryUrl(
            address + "/find",
            {{"name", morvel::FromUtf8("Zo\xC3\xAB & Co")}, {"page", NString::IntToString(page)}});
        if (server.Get(url, 30, nullptr, nullptr, nullptr, nullptr) != 0) return 1;
        std::cout << std::string(server.Data(), server.Size()) << '\n';
        bytes += server.Size();
    }
    std::cout << bytes << " bytes\n";
}
