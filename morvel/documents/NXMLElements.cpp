// Elements, attributes and values: finding them by path, reading and editing them. The document as
// a whole is in NXML.cpp.
#include <morvel/documents/NXML.h>

#include <algorithm>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

#include <pugixml.hpp>

#include <morvel/documents/DottedPath.h>
#include <morvel/documents/ElementName.h>
#include <morvel/documents/NameIndex.h>
#include <morvel/documents/NodeEdits.h>
#include <morvel/documents/NodePointer.h>

namespace {

using Document = std::unique_ptr<morvel::IndexedDocument>;

// The element at `path`, null without one. A name that isn't found doesn't end the walk: the next
// one is looked for at the top again, so that `a.missing.a` is the root element `a`. `*parent`
// becomes what the path without its last name leads to, null for a path of one name.
pugi::xml_node _findElement(const Document& document, std::string_view path,
                            pugi::xml_node* parent = nullptr) {
    pugi::xml_node current;
    if (!document) return current;
    morvel::DottedPath names(path);
    std::string dotted;
    for (std::string_view name; names.Next(&name);) {
        if (parent != nullptr) *parent = current;
        if (name.empty()) continue;
        if (const std::size_t bar = name.find('|'); bar != std::string_view::npos) {
            dotted = name;
            dotted[bar] = '.';
            name = dotted;
        }
        current = document->names.Find(
            morvel::NodePointer::Of(current) != nullptr ? current : *document, name);
    }
    return current;
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
    for (; child && index > 0; --index) child = child.next_sibling();
    return child;
}

// Appends the attributes of `node` to `out`; false for a null node.
bool _collectAttributes(pugi::xml_node node, NAttributeList& out) {
    for (const pugi::xml_attribute attribute : node.attributes()) {
        out.emplace_back(attribute.name(), attribute.value());
    }
    return !node.empty();
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

// A document with a copy of `node` at its top; an empty one for a null node.
Document _documentOf(pugi::xml_node node) {
    auto document = std::make_unique<morvel::IndexedDocument>();
    if (node && !morvel::AppendCopy(*document, node)) throw std::bad_alloc();
    return document;
}

// Appends a copy of `source`, which may be all or part of the same document. A null node, with
// nothing appended, for a null `source` or out of memory.
pugi::xml_node _append(const Document& document, pugi::xml_node parent, pugi::xml_node source) {
    if (!source) return source;
    Document apart;
    if (parent.root() == source.root()) {  // the copy may become a part of its source
        apart = _documentOf(source);
        source = apart->first_child();
    }
    const pugi::xml_node copy = morvel::AppendCopy(parent, source);
    if (copy) document->names.Added(parent, copy);
    return copy;
}

// Behind SetValue and SetValueCData. An element that is there gets plain text, whatever `cdata` is.
bool _setValue(const Document& document, const std::string& path, const std::string& value,
               bool cdata) {
    pugi::xml_node parent;
    pugi::xml_node node = _findElement(document, path, &parent);
    if (node) {
        pugi::xml_node text = node.first_child();
        if (text && (text.type() != pugi::node_pcdata || text.next_sibling())) {
            document->names.Clear();
            morvel::RemoveChildren(node);
            text = pugi::xml_node();
        }  // else it is just the one text node that would be made anew
        if (!text) text = node.append_child(pugi::node_pcdata);
        return text.set_value(value.data(), value.size());
    }
    // Only a search reads a `|` as a dot: the new element has its name as it stands in the path.
    std::string_view last;
    for (morvel::DottedPath names(path); names.Next(&last);) {
    }
    const std::string name(last);
    node = parent.append_child(pugi::node_element);
    if (node.set_name(name.c_str()) &&
        node.append_child(cdata ? pugi::node_cdata : pugi::node_pcdata)
            .set_value(value.data(), value.size())) {
        document->names.Added(parent, node);
        return true;
    }
    parent.remove_child(node);  // out of memory: no half-made element stays
    return false;
}

}  // namespace

bool NXML::GetElement(const std::string& path, NDataContainer* out, std::int32_t index) const {
    pugi::xml_node node = _findElement(_document, path);
    if (!node) return false;
    if (index != -1) {
        if (!node.first_child()) return false;
        node = _childAt(node, index);
    }
    if (out == nullptr) return true;
    auto* const target = dynamic_cast<NXML*>(out);
    if (target == nullptr) return false;
    target->_replaceDocument(_documentOf(node));
    return true;
}

bool NXML::GetElements(const std::string& path, NDataContainerArray& array) const {
    return FindElements(path, array, NAttributeList());
}

bool NXML::AppendElements(const std::string& path, const NDataContainerArray& array) {
    const pugi::xml_node node = _findElement(_document, path);
    const auto isXml = [](const NDataContainer* source) {
        return dynamic_cast<const NXML*>(source) != nullptr;
    };
    if (!node || !std::all_of(array.begin(), array.end(), isXml)) return false;
    for (const NDataContainer* source : array) {
        const auto* const xml = static_cast<const NXML*>(source);
        if (!_append(_document, node, morvel::RootOf(xml->_document))) return false;
    }
    return true;
}

bool NXML::ReplaceElement(const std::string& path, const NDataContainer* source) {
    pugi::xml_node parent;
    const pugi::xml_node node = _findElement(_document, path, &parent);
    if (node) parent = node.parent();
    const auto* const xml = dynamic_cast<const NXML*>(source);
    // The copy comes first: what is replaced may be all or part of the source.
    if (!parent || xml == nullptr || !_append(_document, parent, morvel::RootOf(xml->_document))) {
        return false;
    }
    if (!node) return true;
    _document->names.Clear();
    return morvel::Remove(node);
}

bool NXML::SetValue(const std::string& path, const std::string& value) {
    return _setValue(_document, path, value, false);
}

bool NXML::SetAttributes(const std::string& path, const NAttributeList& list) {
    if (list.empty()) return false;
    pugi::xml_node node = _findElement(_document, path);
    if (!node) return false;
    bool allSet = true;
    for (const auto& [name, value] : list) {
        pugi::xml_attribute attribute = _findAttribute(name, node);
        const bool found = !attribute.empty();
        if (!found) attribute = node.append_attribute("");
        if ((found || attribute.set_name(name.c_str())) &&
            attribute.set_value(value.data(), value.size())) {
            continue;
        }
        allSet = false;  // out of memory, or the node is none that has attributes
        if (!found) node.remove_attribute(attribute);
    }
    return allSet;
}

bool NXML::GetAttributes(const std::string& path, NAttributeList& list) const {
    const pugi::xml_node node = _findElement(_document, path);
    return node.first_attribute() && _collectAttributes(node, list);
}

bool NXML::SetAttribute(const std::string& path, const std::string& name,
                        const std::string& value) {
    return SetAttributes(path, NAttributeList{{name, value}});
}

bool NXML::RemoveAttribute(const std::string& path, const std::string& name) {
    return _findElement(_document, path).remove_attribute(name.c_str());
}

bool NXML::RemoveAttributes(const std::string& path) {
    return _findElement(_document, path).remove_attributes();
}

bool NXML::RemoveElementsByName(const std::string& path, NNameList names) {
    const pugi::xml_node parent = _findElement(_document, path);
    if (!parent) return false;
    _document->names.Clear();
    bool removed = false;
    for (pugi::xml_node child = parent.first_child(); child;) {
        const pugi::xml_node next = child.next_sibling();
        const auto isListed = [child](const std::string& name) {
            return morvel::IsSameName(name, child.name());
        };
        if (std::any_of(names.begin(), names.end(), isListed)) {
            removed = morvel::Remove(child) || removed;
        }
        child = next;
    }
    return removed;
}

bool NXML::RemoveElement(const std::string& path, std::int32_t index) {
    const pugi::xml_node node = _findElement(_document, path);
    if (!node || (index == -1 && node == morvel::RootOf(_document))) return false;
    _document->names.Clear();
    return morvel::Remove(index == -1 ? node : _childAt(node, index));
}

bool NXML::ForEachElement(const std::string& path, NElementCallback callback) const {
    if (callback == nullptr) return false;
    if (typeid(*this) == typeid(NXML)) {
        // No derived class can look at copies of the elements, some kilobytes apiece: the names do.
        NNameList names;
        for (const pugi::xml_node child :
             _findElement(_document, path.empty() ? RootName() : path).children()) {
            if (child.type() == pugi::node_element) names.emplace_back(child.name());
        }
        for (const std::string& name : names) callback(name, nullptr);
        return !names.empty();
    }
    NDataContainerArray elements;
    if (!FindElements(path.empty() ? RootName() : path, elements, NAttributeList())) return false;
    for (const NDataContainer* element : elements) callback(element->RootName(), nullptr);
    return true;
}

std::string NXML::RootName() const {
    return morvel::RootOf(_document).name();
}

std::string NXML::RootValue() const {
    return morvel::RootOf(_document).first_child().value();
}

const NAttributeList& NXML::RootAttributes() const {
    _attributes.clear();
    try {
        _collectAttributes(morvel::RootOf(_document), _attributes);
    } catch (...) {
        // out of memory: the caller gets what was collected so far
    }
    return _attributes;
}

bool NXML::GetRootAttribute(const std::string& name, std::string& out) const {
    // `out` may be `name` itself, so it is emptied only when the name has done its work.
    const pugi::xml_attribute attribute = _findAttribute(name, _findElement(_document, RootName()));
    out = attribute.value();
    return !attribute.empty();
}

bool NXML::FindElements(const std::string& path, NDataContainerArray& array,
                        const NAttributeList& filter) const {
    bool found = false;
    for (const pugi::xml_node child : _findElement(_document, path).children()) {
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
    return _setValue(_document, path, value, true);
}
