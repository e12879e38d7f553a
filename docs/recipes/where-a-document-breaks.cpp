#include <iostream>

#include <morvel/companions.h>

int main() {
    const char* const broken[] = {
        "<order>\n  <item>tea</itme>\n</order>",
        "<?xml version=\"1.0\" encoding=\"koi8-r\"?><order/>",
        "<order>caf\xE9</order>",
        "",
    };
    for (const char* const bytes : broken) {
        NXML document;
        const morvel::XmlFault fault = morvel::Load(document, bytes);
        std::cout << fault.line << ':' << fault.column << ": " << fault.message << '\n';
    }
    NXML document;
    std::cout << morvel::LoadFrom(document, "no such file.xml").message << '\n';
}
