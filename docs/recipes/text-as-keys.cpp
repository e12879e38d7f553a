#include <iostream>
#include <map>
#include <unordered_map>

#include <morvel/companions.h>

int main() {
    std::unordered_map<NString, int, morvel::NStringHash, morvel::NStringEqual> visits;
    ++visits[NString("Zo\xEB", EncodingLatin1)];
    ++visits[NString("Zo\xC3\xAB", EncodingUTF8)];
    ++visits[morvel::FromUtf8("Zoe\xCC\x88")];  // e and a combining diaeresis
    for (const auto& [name, count] : visits) {
        std::cout << morvel::Utf8(name) << ": " << count << '\n';
    }

    std::map<NString, int, morvel::NStringLess> sorted;
    sorted[NString("b")] = 1;
    sorted[NString("a")] = 2;
    std::cout << morvel::Utf8(sorted.begin()->first) << '\n';
}
