#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

// Internal: finding a child by its name where there are many.
namespace morvel {

/// The first child of a name for nodes of one document, as a walk over the children finds it, in a
/// time that doesn't grow with their number. The names of a node's children are entered when it is
/// searched a second time.
///
/// A name takes 32 to 64 bytes, a further spelling of it as much again and a further child of the
/// same spelling nothing. Tables that have been outgrown are kept until Added, since other threads
/// may be in them; together they are at most as large as the present one.
///
/// Any number of threads may be in Find at once, and none waits for another: one at a time enters
/// names, and those that find it at work walk. Everything else needs the object to itself.
///
/// Whoever changes the document tells: Added for a node at the end of its parent's children; after
/// everything else the index must go. Nothing is thrown: where there is no memory for an index, the
/// search walks.
class NameIndex {
public:
    /// Children that are walked faster than looked up.
    static constexpr int Few = 4;

    NameIndex() = default;
    NameIndex(const NameIndex&) = delete;
    ~NameIndex() { delete _table.load(std::memory_order_relaxed); }

    /// The first child of `parent` whose name is `name` but for case; a null node if there is none.
    /// REQUIRES: `name` is not empty.
    pugi::xml_node Find(pugi::xml_node parent, std::string_view name);

    void Added(pugi::xml_node parent, pugi::xml_node child);

private:
    static constexpr std::uint64_t Odd = 0x9E3779B97F4A7C15;  // spreads what it multiplies

    using Node = pugi::xml_node_struct*;

    // A child under the key of its parent and its name, of equal keys the earlier child first. Or
    // a mark: what is known of the children of a node, under the key of both.
    struct Slot {
        std::atomic<Node> node{nullptr};  // null in a free slot; set last and never changed
        std::uint64_t key = 0;
    };
    struct Table {
        std::vector<Slot> slots;  // a power of two, at most half of them taken
        int shift = 64;           // of a product, to leave as many bits as number the slots
        std::size_t taken = 0;
        std::unique_ptr<Table> former;  // outgrown; readers may still be in it
    };
    enum Mark { Searched = 1, Entered, Hopeless };  // the last: too many names under one key
    class Writer;

    static std::size_t _first(const Table& table, std::uint64_t key) {
        return static_cast<std::size_t>(key * Odd >> table.shift);
    }
    static std::uint64_t _parentKey(pugi::xml_node parent);
    static std::uint64_t _nameKey(std::string_view name);
    Node _noNode() const;
    Node _look(const Table& table, std::uint64_t key, std::string_view name) const;
    bool _has(const Table& table, pugi::xml_node parent, Mark mark) const;
    void _learn(pugi::xml_node parent);

    std::atomic<Table*> _table{nullptr};
    std::atomic_flag _writing = ATOMIC_FLAG_INIT;
};

}  // namespace morvel
