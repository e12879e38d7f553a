#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main(int, char** argv) {
    const std::string address = argv[1];

    std::uint64_t pieces = 0;
    const morvel::Reply reply =
        morvel::Fetch(address + "/bytes/1000000", 30, [&](std::uint64_t) { ++pieces; });
    std::cout << reply.body.size() << " bytes in " << (pieces > 1 ? "pieces" : "one piece") << '\n';

    std::uint64_t received = 0;
    const morvel::Reply part = morvel::Fetch(
        address + "/bytes/1000000", 30, [&](std::uint64_t bytes) { received = bytes; },
        [&] { return received > 100000; });
    std::cout << morvel::StatusText(part.status)
              << (part.body.size() < 1000000 ? ", with what had arrived\n" : "\n");

    // Too large for memory: straight to a file.
    const NString file("large.bin");
    NURL url;
    const std::int32_t status = url.Request(address + "/bytes/1000000", &file, 0, 30, nullptr,
                                            nullptr, nullptr, nullptr, RequestToFile);
    std::cout << status << ", " << morvel::ReadFile(NPath(file)).size() << " bytes in the file\n";
}
