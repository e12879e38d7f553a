#pragma once

#include <pugixml.hpp>

// Internal: whether a copy that pugixml made is complete. Where memory ends in the middle, it
// leaves out nodes, attributes, names or values and says nothing.
namespace morvel {

inline bool BothOrNeither(const char* a, const char* b) {
    return (*a == '\0') == (*b == '\0');
}

inline bool IsWholeNode(pugi::xml_node copy, pugi::xml_node source) {
    if (copy.type() != source.type() || !BothOrNeither(copy.name(), source.name()) ||
        !BothOrNeither(copy.value(), source.value())) {
        return false;
    }
    pugi::xml_attribute copied = copy.first_attribute();
    for (const pugi::xml_attribute attribute : source.attributes()) {
        if (!copied || !BothOrNeither(copied.name(), attribute.name()) ||
            !BothOrNeither(copied.value(), attribute.value())) {
            return false;
        }
        copied = copied.next_attribute();
    }
    return true;
}

/// Whether nothing of `source` is missing in `copy`, which pugixml has just made of it.
/// REQUIRES: `copy` isn't a part of `source`, and neither is null.
inline bool IsWholeCopy(pugi::xml_node copy, pugi::xml_node source) {
    const pugi::xml_node top = source;
    for (;;) {
        if (!IsWholeNode(copy, source)) {
            return false;  // a missing node is null, and so has another type
        }
        if (const pugi::xml_node child = source.first_child()) {
            source = child;
            copy = copy.first_child();
            continue;
        }
        while (source != top && !source.next_sibling()) {
            source = source.parent();
            copy = copy.parent();
        }
        if (source == top) {
            return true;
        }
        source = source.next_sibling();
        copy = copy.next_sibling();
    }
}

}  // namespace morvel
