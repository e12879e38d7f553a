#include <morvel/documents/NodeEdits.h>

#include <cstddef>
#include <cstring>

#include <morvel/documents/NodePointer.h>

namespace morvel {
namespace {

// How much there is of a tree. pugixml copies each node, name and value whole or not at all, so a
// copy that lacks anything is smaller than its source.
std::size_t _sizeOf(pugi::xml_node node) {
    const auto* const top = NodePointer::Of(node);
    for (std::size_t size = 0;;) {
        size += 1 + std::strlen(node.name()) + std::strlen(node.value());
        for (auto attribute = node.first_attribute(); attribute;
             attribute = attribute.next_attribute()) {
            size += 1 + std::strlen(attribute.name()) + std::strlen(attribute.value());
        }
        pugi::xml_node next = node.first_child();
        while (NodePointer::Of(next) == nullptr && NodePointer::Of(node) != top) {
            next = node.next_sibling();
            node = node.parent();
        }
        if (NodePointer::Of(next) == nullptr) return size;
        node = next;
    }
}

}  // namespace

pugi::xml_node AppendCopy(pugi::xml_node parent, pugi::xml_node source) {
    const pugi::xml_node copy = parent.append_copy(source);
    if (!copy || _sizeOf(copy) == _sizeOf(source)) return copy;
    Remove(copy);
    return pugi::xml_node();
}

void RemoveChildren(pugi::xml_node node) {
    for (pugi::xml_node top = node; node != top || node.first_child();) {
        if (const pugi::xml_node child = node.first_child()) {
            node = child;
        } else {
            pugi::xml_node parent = node.parent();
            parent.remove_child(node);
            node = parent;
        }
    }
}

bool Remove(pugi::xml_node node) {
    RemoveChildren(node);
    return node.parent().remove_child(node);
}

}  // namespace morvel
