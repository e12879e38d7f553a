#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    NXML order;
    morvel::Put(order, "order.customer.name", NString("Zo\xEB", EncodingLatin1));
    morvel::Put(order, "order.pieces", 3);
    morvel::Put(order, "order.price", 28.65);
    morvel::Put(order, "order.paid", false);
    morvel::Put(order, "order.date", NDateTime(2026, 11, 25, 8, 5, 9, 0, 0));
    std::cout << order.ToText(0) << '\n';

    const auto pieces = morvel::ValueOf(order, "order.pieces");
    const auto price = morvel::ValueOf(order, "order.price");
    if (pieces && price) std::cout << pieces->ToInt() * price->ToDouble() << '\n';

    const NString unpaid("false");
    const bool paid = morvel::ValueOf(order, "order.paid").value_or(unpaid) == NString("true");
    std::cout << (paid ? "paid" : "not paid") << '\n';

    const auto text = morvel::ValueOf(order, "order.date").value_or(NString());
    if (const auto date = morvel::ParseStrict("%Y-%m-%dT%H:%M:%S", text.Data())) {
        std::cout << date->Day() << '.' << date->Month() << ".\n";
    }
    if (!morvel::ValueOf(order, "order.voucher")) std::cout << "no voucher\n";
}
