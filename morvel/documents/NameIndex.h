#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

#include <pugixml.hpp>

#include <morvel/platform/SharedMutex.h>

namespace morvel {

/// Finds the children of a document's nodes by name, in a time that doesn't grow with their number:
/// a hash table of (parent, name). The children of a node are entered when it is searched for the
/// second time, if they are more than a few. Internal.
///
/// An entry takes 32 to 64 bytes. Of several children of one name, whatever its case, only the
/// first is entered.
///
/// Any number of threads may be in Find at once. Everything else needs the document to itself.
/// Nothing is thrown: without memory for an entry, searches walk.
class NameIndex {
public:
    /// The first child of `parent` whose name is `name` but for case; a null node if there is none.
    /// REQUIRES: `name` is not empty.
    pugi::xml_node Find(pugi::xml_node parent, std::string_view name) noexcept;

    /// To be called after `child` was added behind the other children of `parent`.
    void Added(pugi::xml_node parent, pugi::xml_node child) noexcept;

    /// To be called at every other change of names or nodes, but for a node that is put in front of
    /// all its siblings: Find looks at the first few children itself.
    void Clear() noexcept;

private:
    using Node = pugi::xml_node_struct*;

    enum class Children { Searched, Entered, Refused };  // the last: two names of one hash

    std::optional<pugi::xml_node> _lookUp(pugi::xml_node parent, std::string_view name);
    void _searched(pugi::xml_node parent);
    bool _enter(pugi::xml_node parent, pugi::xml_node child);

    platform::SharedMutex _mutex;                       // guards what follows
    std::unordered_map<std::uint64_t, Node> _children;  // by a hash of parent and name
    std::unordered_map<Node, Children> _parents;        // the nodes that were searched
};

/// The tree of an NXML, and the index of its names. Internal.
struct IndexedDocument : pugi::xml_document {
    mutable NameIndex names;  // written by searches, also those of several threads
};

/// The document element; a null node without one or without a document.
inline pugi::xml_node RootOf(const std::unique_ptr<IndexedDocument>& document) {
    return document ? document->document_element() : pugi::xml_node();
}

}  // namespace morvel
