#include <morvel/documents/NameIndex.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <mutex>
#include <shared_mutex>

#include <morvel/documents/ElementName.h>
#include <morvel/documents/NodePointer.h>

namespace morvel {
namespace {

constexpr int ProbeLimit = 2;  // children that are walked sooner than looked up
constexpr std::uint64_t HashMultiplier = 0x9E3779B97F4A7C15;

// Eight bytes a round: bytes below 80 get the bit 20, in which the cases of a letter differ. Each
// round is one-to-one, so for one name different parents have different hashes.
std::uint64_t _hash(pugi::xml_node parent, std::string_view name) {
    std::uint64_t hash = reinterpret_cast<std::uintptr_t>(NodePointer::Of(parent));
    while (!name.empty()) {
        std::uint64_t word = 0;
        const std::size_t size = std::min(name.size(), sizeof word);
        std::memcpy(&word, name.data(), size);
        word |= ~word >> 2 & 0x2020202020202020;
        hash = (hash ^ hash >> 32 ^ word) * HashMultiplier;
        name.remove_prefix(size);
    }
    return hash;
}

// Whether the C library's locale has no other cases of the bytes in `name` than those that the hash
// folds. Single-byte locales have cases above 7F, in Turkish also of the letter i, and the locale
// may change at any time.
bool _isFoldedByHash(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) return std::tolower(byte) == byte && std::toupper(byte) == byte;
        return (byte | 0x20) != 'i' || (std::tolower(byte) < 0x80 && std::toupper(byte) < 0x80);
    });
}

}  // namespace

pugi::xml_node NameIndex::Find(pugi::xml_node parent, std::string_view name) noexcept {
    pugi::xml_node child = parent.first_child();
    for (int walked = 0; NodePointer::Of(child) != nullptr; child = child.next_sibling()) {
        if (IsSameName(name, child.name())) break;
        if (++walked == ProbeLimit && _isFoldedByHash(name)) {
            if (const std::optional<pugi::xml_node> found = _lookUp(parent, name)) return *found;
        }
    }
    return child;
}

void NameIndex::Added(pugi::xml_node parent, pugi::xml_node child) noexcept {
    const auto known = _parents.find(NodePointer::Of(parent));
    if (known == _parents.end() || known->second != Children::Entered) return;
    try {
        if (!_enter(parent, child)) known->second = Children::Refused;
    } catch (...) {
        Clear();  // no memory
    }
}

void NameIndex::Clear() noexcept {
    _children = std::unordered_map<std::uint64_t, Node>();
    _parents = std::unordered_map<Node, Children>();
}

// The first child of that name, or a null node; nothing while the children aren't entered. Searches
// share the lock, so that threads that read one document don't wait for each other.
std::optional<pugi::xml_node> NameIndex::_lookUp(pugi::xml_node parent, std::string_view name) {
    const std::uint64_t hash = _hash(parent, name);
    {
        const std::shared_lock<platform::SharedMutex> lock(_mutex);
        const auto entry = _children.find(hash);
        if (entry != _children.end()) {
            const pugi::xml_node child(entry->second);
            if (IsSameName(name, child.name())) return child;
            return std::nullopt;  // another name, or the locale has come to tell spellings apart
        }
        const auto known = _parents.find(NodePointer::Of(parent));
        if (known != _parents.end() && known->second != Children::Searched) {
            return known->second == Children::Entered ? std::optional(pugi::xml_node())
                                                      : std::nullopt;
        }
    }
    _searched(parent);
    return std::nullopt;
}

// Notes a node's first search, and enters its children at the second.
void NameIndex::_searched(pugi::xml_node parent) {
    const std::lock_guard<platform::SharedMutex> lock(_mutex);
    try {
        const auto [known, isNew] =
            _parents.try_emplace(NodePointer::Of(parent), Children::Searched);
        if (!isNew && known->second == Children::Searched) {
            pugi::xml_node child = parent.first_child();
            while (child && _enter(parent, child)) child = child.next_sibling();
            known->second = child ? Children::Refused : Children::Entered;
        }
    } catch (...) {
        // no memory: this search walks, and a later one may have more
    }
}

// False where another name has that hash. Of spellings that differ in case alone the first stands
// for all: a search that tells them apart, since the locale does, walks.
bool NameIndex::_enter(pugi::xml_node parent, pugi::xml_node child) {
    const std::string_view name = child.name();
    const auto [entry, isNew] = _children.try_emplace(_hash(parent, name), NodePointer::Of(child));
    return isNew || IsSameName(name, pugi::xml_node(entry->second).name());
}

}  // namespace morvel
