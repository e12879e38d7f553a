#include <iostream>

#include <morvel/companions.h>

int main() {
    NXML document;
    if (morvel::Load(document,
                     "<d:order xmlns:d='urn:desk' xmlns:p='urn:people'>"
                     "<p:name>Zo\xC3\xAB</p:name><p:first.name>Z</p:first.name></d:order>")) {
        return 1;
    }
    std::cout << morvel::Utf8(*morvel::ValueOf(document, "d:order.p:name")) << '\n'
              << morvel::Utf8(*morvel::ValueOf(document, "d:order.p:first|name")) << '\n';
    morvel::Put(document, "d:order.p:city", "Rouen");
    std::cout << document.ToText(0) << '\n';
}
