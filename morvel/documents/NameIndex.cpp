#include <morvel/documents/NameIndex.h>

#include <cstring>
#include <utility>

#include <morvel/documents/ElementName.h>
#include <morvel/documents/NodePointer.h>

namespace morvel {
namespace {

constexpr std::size_t LongProbe = 64;  // slots; more than that only names made for it would need

template <class Word>
std::uint64_t _load(const char* from) {
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

// Bytes that any locale may take for the same become one: there, letters of ASCII differ in the bit
// 20 alone, and bytes above 7F have cases of their own, of which one may be the other case of an i.
std::uint64_t _folded(std::uint64_t word) {
    const std::uint64_t high = (word & 0x8080808080808080) >> 7;  // 1 for each byte above 7F
    return (word & ~(high * 0xFF)) | high * 'i' | 0x2020202020202020;
}

}  // namespace

// Puts entries into the table of an index, or into a larger one that takes its place at the end.
// Readers see either. std::bad_alloc comes out of it with all former entries in place.
class NameIndex::Writer {
public:
    explicit Writer(NameIndex* index)
        : _index(index), _table(index->_table.load(std::memory_order_relaxed)) {}

    bool Has(pugi::xml_node parent, Mark mark) const {
        return _table != nullptr && _index->_has(*_table, parent, mark);
    }

    void Add(pugi::xml_node parent, Mark mark) {
        _reserve();
        _append(_parentKey(parent) ^ mark, _index->_noNode());
    }

    // False where the probe is too long. A name that is there, byte for byte, hides this one for
    // good.
    bool Add(std::uint64_t parentKey, pugi::xml_node child) {
        const char* const name = child.name();
        if (*name == '\0') {
            return true;
        }
        _reserve();
        const std::uint64_t key = parentKey ^ _nameKey(name);
        std::size_t i = _first(*_table, key);
        for (std::size_t probes = 0; const Node node = _at(i); i = _next(i)) {
            if (_table->slots[i].key == key && node != _index->_noNode() &&
                std::strcmp(pugi::xml_node(node).name(), name) == 0) {
                return true;
            }
            if (++probes == LongProbe) {
                return false;
            }
        }
        _set(i, key, NodePointer::Of(child));
        return true;
    }

    void Publish() {
        if (_grown) {
            _grown->former.reset(_index->_table.load(std::memory_order_relaxed));
            _index->_table.store(_grown.release(), std::memory_order_release);
        }
    }

private:
    Node _at(std::size_t i) const { return _table->slots[i].node.load(std::memory_order_relaxed); }
    std::size_t _next(std::size_t i) const { return (i + 1) & (_table->slots.size() - 1); }

    void _append(std::uint64_t key, Node node) {
        std::size_t i = _first(*_table, key);
        while (_at(i) != nullptr) i = _next(i);
        _set(i, key, node);
    }

    void _set(std::size_t i, std::uint64_t key, Node node) {
        _table->slots[i].key = key;
        _table->slots[i].node.store(node, std::memory_order_release);
        ++_table->taken;
    }

    void _reserve() {
        if (_table != nullptr && 2 * (_table->taken + 1) <= _table->slots.size()) {
            return;
        }
        auto larger = std::make_unique<Table>();
        larger->slots = std::vector<Slot>(_table == nullptr ? 64 : 2 * _table->slots.size());
        larger->shift = _table == nullptr ? 58 : _table->shift - 1;
        Table* const smaller = std::exchange(_table, larger.get());
        if (smaller != nullptr) {
            _copy(*smaller);
        }
        _grown = std::move(larger);
    }

    // From the first slot of a run on, so that equal keys stay in their order.
    void _copy(const Table& from) {
        const std::size_t mask = from.slots.size() - 1;
        std::size_t start = 0;
        while (from.slots[start].node.load(std::memory_order_relaxed) != nullptr) ++start;
        for (std::size_t n = 0; n <= mask; ++n) {
            const Slot& slot = from.slots[(start + n) & mask];
            if (const Node node = slot.node.load(std::memory_order_relaxed)) {
                _append(slot.key, node);
            }
        }
    }

    NameIndex* _index;
    Table* _table;
    std::unique_ptr<Table> _grown;
};

pugi::xml_node NameIndex::Find(pugi::xml_node parent, std::string_view name) {
    if (const Table* const table = _table.load(std::memory_order_acquire)) {
        const std::uint64_t key = _parentKey(parent) ^ _nameKey(name);
        if (const Node child = _look(*table, key, name)) {
            return pugi::xml_node(child);
        }
        if (_has(*table, parent, Entered)) {
            // It may have been entered since, in front of the mark.
            return pugi::xml_node(_look(*table, key, name));
        }
    }
    pugi::xml_node child = parent.first_child();
    for (int i = 0; NodePointer::Of(child) != nullptr; ++i) {
        if (IsSameName(name, child.name())) {
            break;
        }
        if (i == Few) {
            _learn(parent);
        }
        child = child.next_sibling();
    }
    return child;
}

void NameIndex::Added(pugi::xml_node parent, pugi::xml_node child) {
    Table* const table = _table.load(std::memory_order_relaxed);
    if (table == nullptr) {
        return;
    }
    table->former.reset();
    if (!_has(*table, parent, Entered)) {
        return;
    }
    bool added = false;
    try {
        Writer writer(this);
        added = writer.Add(_parentKey(parent), child);
        writer.Publish();
    } catch (...) {
        // no memory: what isn't complete is no use
    }
    if (!added) {
        delete _table.exchange(nullptr, std::memory_order_relaxed);
    }
}

// One to one, and its three lowest bits, which a node's address hasn't, are left for the marks.
std::uint64_t NameIndex::_parentKey(pugi::xml_node parent) {
    return reinterpret_cast<std::uintptr_t>(NodePointer::Of(parent)) * Odd;
}

std::uint64_t NameIndex::_nameKey(std::string_view name) {
    const char* at = name.data();
    std::size_t left = name.size();
    std::uint64_t hash = left;
    const auto mix = [&hash](std::uint64_t word) {
        hash = (hash ^ _folded(word)) * Odd;
        hash ^= hash >> 32;
    };
    for (; left >= 8; at += 8, left -= 8) {
        mix(_load<std::uint64_t>(at));
    }
    if (left >= 4) {
        mix(_load<std::uint32_t>(at) | _load<std::uint32_t>(at + left - 4) << 32);
    } else if (left > 0) {
        mix(_load<std::uint8_t>(at) | _load<std::uint8_t>(at + left / 2) << 8 |
            _load<std::uint8_t>(at + left - 1) << 16);
    }
    return hash;
}

// What stands in the slot of a mark.
NameIndex::Node NameIndex::_noNode() const {
    return reinterpret_cast<Node>(const_cast<NameIndex*>(this));
}

// Equal keys of one name are those of one parent, so the name is all that is compared.
NameIndex::Node NameIndex::_look(const Table& table, std::uint64_t key,
                                 std::string_view name) const {
    const std::size_t last = table.slots.size() - 1;
    std::size_t i = _first(table, key);
    Node node;
    while ((node = table.slots[i].node.load(std::memory_order_acquire)) != nullptr) {
        if (table.slots[i].key == key && node != _noNode() &&
            IsSameName(name, pugi::xml_node(node).name())) {
            break;
        }
        i = (i + 1) & last;
    }
    return node;
}

bool NameIndex::_has(const Table& table, pugi::xml_node parent, Mark mark) const {
    const std::uint64_t key = _parentKey(parent) ^ mark;
    const std::size_t last = table.slots.size() - 1;
    std::size_t i = _first(table, key);
    while (const Node node = table.slots[i].node.load(std::memory_order_acquire)) {
        if (table.slots[i].key == key && node == _noNode()) {
            return true;
        }
        i = (i + 1) & last;
    }
    return false;
}

// Notes that the children of `parent` were searched, and the second time enters them. Where that is
// cut short, those that are entered are the first ones, and what is found among them is right.
void NameIndex::_learn(pugi::xml_node parent) {
    if (_writing.test_and_set(std::memory_order_acquire)) {
        return;
    }
    try {
        Writer writer(this);
        if (!writer.Has(parent, Searched)) {
            writer.Add(parent, Searched);
        } else if (!writer.Has(parent, Hopeless) && !writer.Has(parent, Entered)) {
            const std::uint64_t parentKey = _parentKey(parent);
            pugi::xml_node child = parent.first_child();
            while (NodePointer::Of(child) != nullptr && writer.Add(parentKey, child)) {
                child = child.next_sibling();
            }
            writer.Add(parent, NodePointer::Of(child) == nullptr ? Entered : Hopeless);
        }
        writer.Publish();
    } catch (...) {
        // no memory: this search walks, and a later one may have more
    }
    _writing.clear(std::memory_order_release);
}

}  // namespace morvel
