#include <morvel/documents/NameIndex.h>

#include <cstring>

#include <morvel/documents/ElementName.h>

namespace morvel {
namespace {
constexpr std::size_t LongProbe = 64;  // slots; more than that only names made for it would need
}  // namespace

pugi::xml_node NameIndex::Find(pugi::xml_node parent, std::string_view name, pugi::xml_node from) {
    Table* table = nullptr;
    try {
        const auto [place, first] = _tables.try_emplace(parent.hash_value());
        table = &place->second;
        if (!first && table->slots.empty() && !table->hopeless) {
            _build(table, parent);
        }
    } catch (...) {
        if (table != nullptr) {
            table->hopeless = true;
        }
    }
    if (table == nullptr || table->hopeless || table->slots.empty()) {
        while (from && !IsSameName(name, from.name())) {
            from = from.next_sibling();
        }
        return from;
    }
    const std::uint32_t hash = _hash(name);
    const std::size_t mask = table->slots.size() - 1;
    for (std::size_t i = hash & mask; table->slots[i].node; i = (i + 1) & mask) {
        const Slot& slot = table->slots[i];
        if (slot.hash == hash && IsSameName(name, slot.node.name())) {
            return slot.node;
        }
    }
    return pugi::xml_node();
}

void NameIndex::Added(pugi::xml_node parent, pugi::xml_node child) {
    const auto place = _tables.find(parent.hash_value());
    if (place == _tables.end() || place->second.slots.empty()) {
        return;
    }
    Table& table = place->second;
    try {
        if (2 * (table.taken + 1) > table.slots.size()) {
            _build(&table, parent);
        } else if (!_insert(&table, child)) {
            table.hopeless = true;
        }
    } catch (...) {
        table.hopeless = true;
    }
}

// Equal for all names that any locale may take for the same: there, bytes above 7F have cases of
// their own, and one may be the other case of an i.
std::uint32_t NameIndex::_hash(std::string_view name) {
    std::uint32_t hash = 2166136261;
    for (const char c : name) {
        unsigned char folded = static_cast<unsigned char>(c);
        if (folded >= 'A' && folded <= 'Z') {
            folded = static_cast<unsigned char>(folded + ('a' - 'A'));
        }
        if (folded >= 0x80) {
            folded = 'i';
        }
        hash = (hash ^ folded) * 16777619;
    }
    return hash ^ hash >> 15;
}

// False where the probe is too long. A name that is there, byte for byte, hides this one for good.
bool NameIndex::_insert(Table* table, pugi::xml_node child) {
    const char* const name = child.name();
    const std::uint32_t hash = _hash(name);
    const std::size_t mask = table->slots.size() - 1;
    std::size_t i = hash & mask;
    for (std::size_t probes = 0; table->slots[i].node; i = (i + 1) & mask) {
        if (table->slots[i].hash == hash && std::strcmp(table->slots[i].node.name(), name) == 0) {
            return true;
        }
        if (++probes == LongProbe) {
            return false;
        }
    }
    table->slots[i] = {child, hash};
    ++table->taken;
    return true;
}

void NameIndex::_build(Table* table, pugi::xml_node parent) {
    std::size_t size = 64;
    for (;; size *= 2) {
        table->slots.assign(size, Slot());
        table->taken = 0;
        bool full = false;
        for (pugi::xml_node child = parent.first_child(); child && !full;
             child = child.next_sibling()) {
            if (*child.name() == '\0') {
                continue;
            }
            if (!_insert(table, child)) {
                table->hopeless = true;
                return;
            }
            full = 2 * (table->taken + 1) > size;
        }
        if (!full) {
            return;
        }
    }
}

}  // namespace morvel
