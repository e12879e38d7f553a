#pragma once

#include <pugixml.hpp>

#include <morvel/documents/NodePointer.h>

// Internal: whether a copy that pugixml made is complete. Where memory ends in the middle, it
// leaves out nodes, attributes, names or values and says nothing. What it has copied is in the
// order of the source, and each name and value is whole: so one that is missing is empty, and one
// node or attribute that is missing leaves the last of its like without a counterpart.
namespace morvel {

inline bool HasWholeAttributes(pugi::xml_node copy, pugi::xml_node source) {
    pugi::xml_attribute attribute = source.first_attribute();
    if (!attribute) {
        return true;
    }
    pugi::xml_attribute copied = copy.first_attribute();
    do {
        if (!copied || (*copied.name() == '\0' && *attribute.name() != '\0') ||
            (*copied.value() == '\0' && *attribute.value() != '\0')) {
            return false;
        }
        attribute = attribute.next_attribute();
        copied = copied.next_attribute();
    } while (attribute);
    return true;
}

/// Whether nothing of `source` is missing in `copy`, which pugixml has just made of it.
/// REQUIRES: `copy` isn't a part of `source`, and neither is null.
inline bool IsWholeCopy(pugi::xml_node copy, pugi::xml_node source) {
    const pugi::xml_node top = source;
    for (;;) {
        if (NodePointer::Of(copy) == nullptr) {
            return false;
        }
        // A node has a name or a value, and only one with a name has anything inside.
        pugi::xml_node child;
        if (*copy.value() == '\0') {
            if (*source.value() != '\0' || (*copy.name() == '\0' && *source.name() != '\0') ||
                !HasWholeAttributes(copy, source)) {
                return false;
            }
            child = source.first_child();
        }
        if (NodePointer::Of(child) != nullptr) {
            source = child;
            copy = copy.first_child();
            continue;
        }
        for (;;) {
            if (NodePointer::Of(source) == NodePointer::Of(top)) {
                return true;
            }
            if (const pugi::xml_node next = source.next_sibling(); NodePointer::Of(next)) {
                source = next;
                copy = copy.next_sibling();
                break;
            }
            source = source.parent();
            copy = copy.parent();
        }
    }
}

}  // namespace morvel
