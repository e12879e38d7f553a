#include <iostream>

#include <morvel/companions.h>
#include <morvel/morvel.h>

int main() {
    NXML order;
    const char* const text =
        "<order>note<item pieces='1'>tea</item><item pieces='0'>sugar</item>"
        "<item pieces='2'>cups</item></order>";
    if (!order.FromText(text)) return 1;

    // From the last to the first: the indexes of those in front stay right.
    const auto items = morvel::Children(order, "order", "item");
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        NString pieces;
        item->element->GetRootAttribute("pieces", pieces);
        if (pieces.ToInt() == 0) order.RemoveElement("order", item->index);
    }

    NXML spoons;
    morvel::Put(spoons, "item", "spoons");
    spoons.SetAttribute("item", "pieces", "2");
    NDataContainerArray added;
    added.push_back(new NXML);
    added.back()->Assign(spoons, 0);
    order.AppendElements("order", added);

    std::cout << order.ToText(0) << '\n';
}
