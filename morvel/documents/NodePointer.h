#pragma once

#include <pugixml.hpp>

namespace morvel {

/// What a node handle points at. Internal, for loops that ask it of every node: pugixml's own
/// functions are calls into its library.
class NodePointer : private pugi::xml_node {
public:
    static pugi::xml_node_struct* Of(const pugi::xml_node& node) {
        return node.*&NodePointer::_root;
    }
};

}  // namespace morvel
