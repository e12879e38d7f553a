#pragma once

#include <pugixml.hpp>

// Internal: edits of a tree that go wrong in pugixml where memory runs out or the tree is deep.
namespace morvel {

/// Appends a copy of `source`, with all that is below it, to the children of `parent`. A null node
/// with nothing appended where memory runs out: pugixml then leaves out nodes, names or values
/// without a word.
/// REQUIRES: `parent` isn't below `source`, and neither is null.
pugi::xml_node AppendCopy(pugi::xml_node parent, pugi::xml_node source);

/// Removes all that is below `node`, at a depth of any size: pugixml's own removal takes a frame of
/// the stack for each level.
void RemoveChildren(pugi::xml_node node);

/// Removes `node` with all that is below it; false for a null node.
bool Remove(pugi::xml_node node);

}  // namespace morvel
