// Elements, attributes and values: finding them by path, reading and editing them. The document as
// a whole is in NXML.cpp.
#include <morvel/documents/NXML.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <pugixml.hpp>

#include <morvel/documents/DottedPath.h>
#include <morvel/documents/ElementName.h>
#include <morvel/documents/NameIndex.h>
#include <morvel/documents/NodePointer.h>
#include <morvel/documents/WholeCopy.h>

namespace {

// As dynamic_cast<Xml*>, which takes far longer for what is nearly always an NXML and nothing more.
template <class Container>
auto _xml(Container* container) {
    using Xml = std::conditional_t<std::is_const_v<Container>, const NXML, NXML>;
    return container != nullptr && typeid(*container) == typeid(NXML)
               ? static_cast<Xml*>(container)
               : dynamic_cast<Xml*>(container);
}

void _fold(std::string& name) {
    std::transform(name.begin(), name.end(), name.begin(), morvel::LowerCase);
}

pugi::xml_attribute _findAttribute(std::string_view name, pugi::xml_node node) {
    pugi::xml_attribute attribute = node.first_attribute();
    while (attribute && !morvel::IsSameName(name, attribute.name())) {
        attribute = attribute.next_attribute();
    }
    return attribute;
}

// The child node at `index`; a null node past the last one. Every index below 1 is the first.
pugi::xml_node _childAt(pugi::xml_node node, std::int32_t index) {
    pugi::xml_node child = node.first_child();
    for (; child && index > 0; --index) {
        child = child.next_sibling();
    }
    return child;
}

// Appends the attributes of `node` to `out`; false for a null node.
bool _collectAttributes(pugi::xml_node node, NAttributeList& out) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
        out.emplace_back(attribute.name(), attribute.value());
    }
    return !node.empty();
}

NNameList _elementNames(pugi::xml_node parent) {
    NNameList names;
    for (const pugi::xml_node child : parent.children()) {
        if (child.type() == pugi::node_element) {
            names.emplace_back(child.name());
        }
    }
    return names;
}

// Whether any pair of `filter` is an attribute of `node`.
bool _passes(pugi::xml_node node, const NAttributeList& filter) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
        for (const auto& [name, value] : filter) {
            if (morvel::IsSameName(name, attribute.name()) && value == attribute.value()) {
                return true;
            }
        }
    }
    return false;
}

// Says of the tree below a node whether it stays above a depth that is safe for recursion.
class ShallowTree : public pugi::xml_tree_walker {
public:
    bool for_each(pugi::xml_node& /*node*/) override { return depth() < 1000; }
};

// Removes all that is below `top`. pugixml removes a subtree by recursion, one frame for each
// level, and a document of some hundred thousand levels would use up the stack: a deep one is
// removed leaf by leaf, which is several times slower.
void _removeChildren(pugi::xml_node top) {
    ShallowTree shallow;
    if (top.traverse(shallow)) {
        top.remove_children();
        return;
    }
    for (pugi::xml_node node = top; node != top || node.first_child();) {
        if (const pugi::xml_node child = node.first_child()) {
            node = child;
        } else {
            pugi::xml_node parent = node.parent();
            parent.remove_child(node);
            node = parent;
        }
    }
}

// Removes `node` with all that is below it; false for a null node.
bool _remove(pugi::xml_node node) {
    _removeChildren(node);
    return node.parent().remove_child(node);
}

// A document with a copy of `node` at its top; an empty one for a null node.
std::unique_ptr<pugi::xml_document> _documentOf(pugi::xml_node node) {
    auto document = std::make_unique<pugi::xml_document>();
    if (node && !morvel::IsWholeCopy(document->append_copy(node), node)) {
        throw std::bad_alloc();
    }
    return document;
}

// Appends a copy of `source` to `node`; a null node, with nothing appended, for a null `source` or
// for want of memory.
pugi::xml_node _appendCopy(pugi::xml_node node, pugi::xml_node source) {
    std::unique_ptr<pugi::xml_document> apart;
    if (source && node.root() == source.root()) {  // the copy may become a part of its source
        apart = _documentOf(source);
        source = apart->first_child();
    }
    const pugi::xml_node copy = node.append_copy(source);
    if (!copy || morvel::IsWholeCopy(copy, source)) {
        return copy;
    }
    _remove(copy);
    return pugi::xml_node();
}

}  // namespace

// A name that isn't found doesn't end the walk: the next one is looked for at the top again, so
// that `a.missing.a` is the root element `a`. `*parent`, where it is asked for, becomes what the
// path without its last name leads to, null for a path of one name.
pugi::xml_node NXML::_findElement(std::string_view path, pugi::xml_node* parent) const {
    pugi::xml_node current;
    if (!_document) {
        return current;
    }
    const bool barred = path.find('|') != std::string_view::npos;
    morvel::DottedPath names(path);
    char shortName[256];
    std::string longName;
    for (std::string_view name; names.Next(&name);) {
        if (parent != nullptr) {
            *parent = current;
        }
        if (name.empty()) {
            continue;
        }
        if (const std::size_t bar = barred ? name.find('|') : name.npos; bar != name.npos) {
            char* dotted = shortName;
            if (name.size() > std::size(shortName)) {
                longName.resize(name.size());
                dotted = longName.data();
            }
            name.copy(dotted, name.size());
            dotted[bar] = '.';
            name = std::string_view(dotted, name.size());
        }
        if (morvel::NodePointer::Of(current) != nullptr) {
            current = _findChild(current, name);
        } else {
            current = _document->first_child();  // the root element, most of the time
            if (!morvel::IsSameName(name, current.name())) {
                current = _findChild(*_document, name);
            }
        }
    }
    return current;
}

pugi::xml_node NXML::_findChild(pugi::xml_node node, std::string_view name) const {
    if (morvel::NameIndex* const index = _index.load(std::memory_order_acquire)) {
        return index->Find(node, name);
    }
    pugi::xml_node child = node.first_child();
    for (int i = 0; morvel::NodePointer::Of(child) != nullptr; ++i) {
        if (morvel::IsSameName(name, child.name())) {
            break;
        }
        if (i == morvel::NameIndex::Few) {
            _startIndex();
        }
        child = child.next_sibling();
    }
    return child;
}

// For the searches to come; without memory for it they walk. Another thread may be doing the same.
void NXML::_startIndex() const noexcept {
    std::unique_ptr<morvel::NameIndex> index(new (std::nothrow) morvel::NameIndex);
    morvel::NameIndex* none = nullptr;
    if (_index.compare_exchange_strong(none, index.get(), std::memory_order_release,
                                       std::memory_order_relaxed)) {
        index.release();
    }
}

// What is added at the end of the children of `parent` needs no new index.
void NXML::_added(pugi::xml_node parent, pugi::xml_node child) {
    if (morvel::NameIndex* const index = _index.load(std::memory_order_relaxed)) {
        index->Added(parent, child);
    }
}

bool NXML::GetElement(const std::string& path, NDataContainer* out, std::int32_t index) const {
    pugi::xml_node node = _findElement(path);
    if (!node) {
        return false;
    }
    if (index != -1) {
        if (!node.first_child()) {
            return false;
        }
        node = _childAt(node, index);
    }
    if (out == nullptr) {
        return true;
    }
    auto* const target = _xml(out);
    if (target == nullptr) {
        return false;
    }
    auto copy = _documentOf(node);
    if (target->_document) {
        target->Clear();  // only now: it may be this object
    }
    target->_forget();
    target->_document = std::move(copy);
    return true;
}

bool NXML::GetElements(const std::string& path, NDataContainerArray& array) const {
    return FindElements(path, array, NAttributeList());
}

bool NXML::AppendElements(const std::string& path, const NDataContainerArray& array) {
    pugi::xml_node node = _findElement(path);
    const auto isXml = [](const NDataContainer* source) { return _xml(source) != nullptr; };
    if (!node || !std::all_of(array.begin(), array.end(), isXml)) {
        return false;
    }
    for (const NDataContainer* source : array) {
        // The node of a source without a root element is null and can't be copied.
        const auto copy = _appendCopy(node, static_cast<const NXML*>(source)->_root());
        if (!copy) {
            return false;
        }
        _added(node, copy);
    }
    return true;
}

bool NXML::ReplaceElement(const std::string& path, const NDataContainer* source) {
    pugi::xml_node parent;
    const pugi::xml_node node = _findElement(path, &parent);
    if (node) {
        parent = node.parent();
    }
    const NXML* const xml = _xml(source);
    if (!parent || xml == nullptr) {
        return false;
    }
    // The copy comes first: what is replaced may be all or part of the source.
    const pugi::xml_node copy = _appendCopy(parent, xml->_root());
    if (!copy) {
        return false;
    }
    _added(parent, copy);
    if (!node) {
        return true;
    }
    _forget();
    return _remove(node);
}

bool NXML::SetValue(const std::string& path, const std::string& value) {
    return _setValue(path, value, false);
}

bool NXML::SetAttributes(const std::string& path, const NAttributeList& list) {
    pugi::xml_node node;
    if (list.empty() || !(node = _findElement(path))) {
        return false;
    }
    bool allSet = true;
    for (const auto& [name, value] : list) {
        pugi::xml_attribute attribute = _findAttribute(name, node);
        const bool found = !attribute.empty();
        if (!found) {
            attribute = node.append_attribute("");
        }
        if ((found || attribute.set_name(name.c_str())) &&
            attribute.set_value(value.data(), value.size())) {
            continue;
        }
        allSet = false;  // memory ran out, or the node is none that has attributes
        if (!found) {
            node.remove_attribute(attribute);
        }
    }
    return allSet;
}

bool NXML::GetAttributes(const std::string& path, NAttributeList& list) const {
    const pugi::xml_node node = _findElement(path);
    return node.first_attribute() && _collectAttributes(node, list);
}

bool NXML::SetAttribute(const std::string& path, const std::string& name,
                        const std::string& value) {
    return SetAttributes(path, NAttributeList{{name, value}});
}

bool NXML::RemoveAttribute(const std::string& path, const std::string& name) {
    return _findElement(path).remove_attribute(name.c_str());
}

bool NXML::RemoveAttributes(const std::string& path) {
    return _findElement(path).remove_attributes();
}

bool NXML::RemoveElementsByName(const std::string& path, NNameList names) {
    std::for_each(names.begin(), names.end(), _fold);
    std::sort(names.begin(), names.end());
    bool removed = false;
    std::string name;
    const pugi::xml_node parent = _findElement(path);
    _forget();
    for (pugi::xml_node child = parent.first_child(); child;) {
        const pugi::xml_node next = child.next_sibling();
        name = child.name();
        _fold(name);
        if (std::binary_search(names.begin(), names.end(), name)) {
            removed = _remove(child) || removed;
        }
        child = next;
    }
    return removed;
}

bool NXML::RemoveElement(const std::string& path, std::int32_t index) {
    const pugi::xml_node node = _findElement(path);
    _forget();
    if (index != -1) {
        return _remove(_childAt(node, index));
    }
    return node != _root() && _remove(node);
}

bool NXML::ForEachElement(const std::string& path, NElementCallback callback) const {
    if (callback == nullptr) {
        return false;
    }
    if (typeid(*this) == typeid(NXML)) {
        // No derived class can look at copies of the elements, some kilobytes apiece: the names do.
        const NNameList names = _elementNames(_findElement(path.empty() ? RootName() : path));
        for (const std::string& name : names) {
            callback(name, nullptr);
        }
        return !names.empty();
    }
    NDataContainerArray elements;
    if (!FindElements(path.empty() ? RootName() : path, elements, NAttributeList())) {
        return false;
    }
    for (const NDataContainer* element : elements) {
        callback(element->RootName(), nullptr);
    }
    return true;
}

std::string NXML::RootName() const {
    return _root().name();
}

std::string NXML::RootValue() const {
    return _root().first_child().value();
}

const NAttributeList& NXML::RootAttributes() const {
    _attributes.clear();
    try {
        _collectAttributes(_root(), _attributes);
    } catch (...) {
        // memory ran out: the caller gets what was collected so far
    }
    return _attributes;
}

bool NXML::GetRootAttribute(const std::string& name, std::string& out) const {
    // `out` may be `name` itself, so it is emptied only when the name has done its work.
    const pugi::xml_attribute attribute = _findAttribute(name, _findElement(RootName()));
    out = attribute.value();
    return !attribute.empty();
}

bool NXML::FindElements(const std::string& path, NDataContainerArray& array,
                        const NAttributeList& filter) const {
    bool found = false;
    for (const pugi::xml_node child : _findElement(path).children()) {
        if (child.type() != pugi::node_element || (!filter.empty() && !_passes(child, filter))) {
            continue;
        }
        auto element = std::make_unique<NXML>();
        element->_document = _documentOf(child);
        array.push_back(element.get());
        element.release();
        found = true;
    }
    return found;
}

bool NXML::GetRootName(std::string& out) const {
    out = RootName();
    return true;
}

bool NXML::SetValueCData(const std::string& path, const std::string& value) {
    return _setValue(path, value, true);
}

// An element that is there gets plain text, whatever `cdata` says.
bool NXML::_setValue(const std::string& path, const std::string& value, bool cdata) {
    pugi::xml_node parent;
    pugi::xml_node node = _findElement(path, &parent);
    if (node) {
        pugi::xml_node text = node.first_child();
        if (text && (text.type() != pugi::node_pcdata || text.next_sibling())) {
            _forget();
            _removeChildren(node);
            text = pugi::xml_node();
        }  // else it is just the one text node that would be made anew
        if (!text) {
            text = node.append_child(pugi::node_pcdata);
        }
        return text.set_value(value.data(), value.size());
    }
    // The new element is named by the last name of the path as it stands: a `|` is none but in a
    // search.
    std::string_view last;
    for (morvel::DottedPath names(path); names.Next(&last);) {
    }
    const std::string name(last);
    node = parent.append_child(pugi::node_element);
    if (node.set_name(name.c_str()) &&
        node.append_child(cdata ? pugi::node_cdata : pugi::node_pcdata)
            .set_value(value.data(), value.size())) {
        _added(parent, node);
        return true;
    }
    parent.remove_child(node);  // memory ran out: no half-made element stays
    return false;
}
