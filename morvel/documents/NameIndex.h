#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <pugixml.hpp>

// Internal: finding a child by its name where there are many.
namespace morvel {

/// The first child of a name for nodes of one document, as a walk over the children finds it, in a
/// time that doesn't grow with their number. A table for a node is made when it is searched a
/// second time, and takes 32 to 64 bytes for each different name.
///
/// Whoever changes the document tells: Added for a node at the end of its parent's children, Clear
/// for everything else. Nothing is thrown: where there is no memory for a table, the search walks.
class NameIndex {
public:
    /// The first child of `parent` whose name is `name` but for case; a null node if there is none.
    /// REQUIRES: `name` is not empty, and no child in front of `from` has it.
    pugi::xml_node Find(pugi::xml_node parent, std::string_view name, pugi::xml_node from);

    /// Whether there is a table for `parent` already.
    bool Knows(pugi::xml_node parent) const {
        const auto place = _tables.find(parent.hash_value());
        return place != _tables.end() && !place->second.slots.empty();
    }

    void Added(pugi::xml_node parent, pugi::xml_node child);

    void Clear() { _tables.clear(); }

private:
    struct Slot {
        pugi::xml_node node;
        std::uint32_t hash = 0;
    };

    // Open addressing, nothing is ever removed: so of two slots with one hash the earlier child
    // comes first.
    struct Table {
        std::vector<Slot> slots;  // a power of two, at most half of them taken; empty until built
        std::size_t taken = 0;
        bool hopeless = false;  // too many names of one hash, or no memory
    };

    static std::uint32_t _hash(std::string_view name);
    static bool _insert(Table* table, pugi::xml_node child);
    static void _build(Table* table, pugi::xml_node parent);

    std::unordered_map<std::size_t, Table> _tables;  // by the hash value of the node, its address
};

}  // namespace morvel
