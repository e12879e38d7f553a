#include <iostream>

#include <morvel/companions.h>

int main() {
    using namespace std::string_literals;

    const NString text = morvel::Decode("\xFE\xFF\0Z\0o\0\xEB"s, EncodingUTF8);
    if (morvel::IsWellFormed(text)) {
        std::cout << morvel::Utf8(text) << ", " << morvel::CountCharacters(text) << " characters\n";
    }

    const NString cut = morvel::Decode("caf\xC3", EncodingUTF8);
    if (const auto offset = morvel::FindMalformed(cut)) {
        std::cout << "no UTF-8 from byte " << *offset << " on\n";
    }

    const NString price = morvel::FromUtf8("10 \xE2\x82\xAC");
    for (const NStringEncoding target : {EncodingLatin1, EncodingLatin9}) {
        NString converted = price;
        const bool whole = morvel::CanConvert(price, target);
        converted.ConvertTo(target);
        std::cout << (whole ? "whole: " : "lossy: ") << morvel::Utf8(converted) << '\n';
    }
}
