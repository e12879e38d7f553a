#include <morvel/documents/NodeEdits.h>

#include <morvel/documents/NodePointer.h>

namespace morvel {
namespace {

bool _lacks(const char* copy, const char* source) {
    return *copy == '\0' && *source != '\0';
}

bool _hasAllAttributes(pugi::xml_node copy, pugi::xml_node source) {
    pugi::xml_attribute copied = copy.first_attribute();
    for (auto attribute = source.first_attribute(); attribute;
         attribute = attribute.next_attribute()) {
        if (!copied || _lacks(copied.name(), attribute.name()) ||
            _lacks(copied.value(), attribute.value())) {
            return false;
        }
        copied = copied.next_attribute();
    }
    return true;
}

// Whether nothing of `source` is missing. pugixml copies in document order and each text whole or
// not at all, so one that is missing is empty, and a missing node leaves the last of its siblings
// without a counterpart.
bool _isComplete(pugi::xml_node copy, pugi::xml_node source) {
    for (const pugi::xml_node top = source;;) {
        if (NodePointer::Of(copy) == nullptr || _lacks(copy.value(), source.value())) {
            return false;
        }
        if (*source.value() == '\0') {  // only without a value a node has a name and children
            if (_lacks(copy.name(), source.name()) || !_hasAllAttributes(copy, source)) {
                return false;
            }
            const pugi::xml_node child = source.first_child();
            if (NodePointer::Of(child) != nullptr) {
                source = child;
                copy = copy.first_child();
                continue;
            }
        }
        while (NodePointer::Of(source) != NodePointer::Of(top) && !source.next_sibling()) {
            source = source.parent();
            copy = copy.parent();
        }
        if (NodePointer::Of(source) == NodePointer::Of(top)) {
            return true;
        }
        source = source.next_sibling();
        copy = copy.next_sibling();
    }
}

}  // namespace

pugi::xml_node AppendCopy(pugi::xml_node parent, pugi::xml_node source) {
    const pugi::xml_node copy = parent.append_copy(source);
    if (!copy || _isComplete(copy, source)) {
        return copy;
    }
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
