#include <iostream>

#include <morvel/morvel.h>

int main() {
    NXML order;
    order.CreateRoot("order");
    order.SetValue("order.customer", NString("Zo\xEB", EncodingLatin1));
    std::cout << NString(order.ToText(0), EncodingUTF8) + " by Morvel " MORVEL_VERSION "\n";
    return order.ToText(0) == "<order><customer>Zo\xC3\xAB</customer></order>" ? 0 : 1;
}
