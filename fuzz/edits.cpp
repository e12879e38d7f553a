// A sequence of edits of a document, each beside the same edit of a tree of pugixml's that walks to
// its element by the rules alone: no index, no short cut.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include <morvel/documents/NXML.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

bool isSame(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return tolower(x) == tolower(y); });
}

// The tokens of a path, blanks off; there are none but names and blanks in what is drawn.
std::vector<std::string> tokensOf(const std::string& path) {
    std::vector<std::string> tokens;
    std::istringstream in(path + '.');
    for (std::string token; std::getline(in, token, '.');) {
        token.erase(0, token.find_first_not_of(' '));
        token.erase(token.find_last_not_of(' ') + 1);
        tokens.push_back(token);
    }
    return tokens;
}

class Reference {
public:
    pugi::xml_document tree;

    std::string Text() const {
        std::ostringstream out;
        tree.save(out, "\t", pugi::format_raw | pugi::format_no_declaration);
        return out.str();
    }

    pugi::xml_node Find(const std::string& path) const {
        pugi::xml_node current;
        for (std::string token : tokensOf(path)) {
            if (token.empty()) continue;
            const std::size_t bar = token.find('|');
            if (bar != std::string::npos) token[bar] = '.';
            const pugi::xml_node parent = current ? current : static_cast<pugi::xml_node>(tree);
            current = parent.find_child([&](pugi::xml_node n) { return isSame(n.name(), token); });
        }
        return current;
    }

    pugi::xml_node Parent(const std::string& path, std::string* last) const {
        const std::vector<std::string> tokens = tokensOf(path);
        *last = tokens.back();
        std::string parent;
        for (std::size_t i = 0; i + 1 < tokens.size(); ++i) parent += tokens[i] + '.';
        return Find(parent);
    }

    bool SetValue(const std::string& path, const std::string& value, pugi::xml_node_type type) {
        pugi::xml_node node = Find(path);
        if (node) {
            while (node.first_child()) node.remove_child(node.first_child());
            return node.text().set(value.c_str());
        }
        std::string name;
        pugi::xml_node parent = Parent(path, &name);
        if (!parent) return false;
        node = parent.append_child(name.c_str());
        node.append_child(type).set_value(value.c_str());
        return true;
    }

    bool SetAttribute(const std::string& path, const std::string& name, const std::string& value) {
        pugi::xml_node node = Find(path);
        if (!node) return false;
        pugi::xml_attribute attribute =
            node.find_attribute([&](pugi::xml_attribute a) { return isSame(a.name(), name); });
        if (!attribute) attribute = node.append_attribute(name.c_str());
        return attribute.set_value(value.c_str());
    }

    pugi::xml_node Child(pugi::xml_node node, int index) const {
        if (index == -1) return node;
        node = node.first_child();
        while (index-- > 0) node = node.next_sibling();
        return node;
    }

    bool Remove(const std::string& path, int index) {
        pugi::xml_node node = Find(path);
        if (!node || (node == tree.document_element() && index == -1)) return false;
        node = Child(node, index);
        return node.parent() && node.parent().remove_child(node);
    }

    bool RemoveNamed(const std::string& path, const std::vector<std::string>& names) {
        pugi::xml_node node = Find(path);
        bool removed = false;
        for (const std::string& name : names) {
            for (pugi::xml_node child = node.first_child(); child;) {
                const pugi::xml_node next = child.next_sibling();
                if (isSame(child.name(), name)) removed |= node.remove_child(child);
                child = next;
            }
        }
        return removed;
    }

    bool Replace(const std::string& path, pugi::xml_node source) {
        pugi::xml_document copy;  // the source may be a part of what is replaced
        copy.append_copy(source);
        pugi::xml_node node = Find(path);
        std::string ignored;
        pugi::xml_node parent = node ? node.parent() : Parent(path, &ignored);
        if (!parent || !source) return false;
        if (node) parent.remove_child(node);
        return parent.append_copy(copy.document_element());
    }
};

// Few names and short paths, so that the edits meet.
std::string path(FuzzedDataProvider& input) {
    static const char* const names[] = {"a", "A", "b", "c|d", "c.d", " e ", "f", ""};
    std::string result;
    for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
        result += input.PickValueInArray(names);
        if (count > 1) result += '.';
    }
    return result;
}

void edit(FuzzedDataProvider& input, NXML& document, Reference& reference) {
    const int kind = input.ConsumeIntegralInRange(0, 8);
    const std::string where = path(input);
    const std::string value = input.ConsumeRandomLengthString(4).c_str();
    const int index = input.ConsumeIntegralInRange(-2, 3);
    const pugi::xml_node node = reference.Find(where);
    NXML other;
    switch (kind) {
        case 0:
            Expect(document.SetValue(where, value) ==
                       reference.SetValue(where, value, pugi::node_pcdata),
                   "SetValue");
            break;
        case 1:
            Expect(document.SetValueCData(where, value) ==
                       reference.SetValue(where, value, pugi::node_cdata),
                   "SetValueCData");
            break;
        case 2:
            Expect(document.SetAttribute(where, "n", value) ==
                       reference.SetAttribute(where, "n", value),
                   "SetAttribute");
            break;
        case 3:
            Expect(document.RemoveElement(where, index) == reference.Remove(where, index),
                   "RemoveElement");
            break;
        case 4:
            Expect(document.RemoveElementsByName(where, {"a", "E"}) ==
                       reference.RemoveNamed(where, {"a", "E"}),
                   "RemoveElementsByName");
            break;
        case 5:
            Expect(document.ReplaceElement(where, &document) ==
                       reference.Replace(where, reference.tree.document_element()),
                   "ReplaceElement by the document");
            break;
        case 6: {
            Expect(document.GetElement(where, &other, -1) == !node.empty(), "GetElement");
            const std::string to = path(input);
            Expect(document.ReplaceElement(to, &other) == reference.Replace(to, node),
                   "ReplaceElement by an element");
            break;
        }
        case 7: {
            NDataContainerArray array;
            document.GetElements(where, array);
            const auto elements = node.children();
            const auto isElement = [](pugi::xml_node n) { return n.type() == pugi::node_element; };
            Expect(static_cast<std::ptrdiff_t>(array.size()) ==
                       std::count_if(elements.begin(), elements.end(), isElement),
                   "GetElements");
            pugi::xml_document copies;
            for (pugi::xml_node child : node.children()) {
                if (isElement(child)) copies.append_copy(child);
            }
            const std::string to = path(input);
            pugi::xml_node target = reference.Find(to);
            Expect(document.AppendElements(to, array) == !target.empty(), "AppendElements");
            for (pugi::xml_node child : copies.children()) target.append_copy(child);
            break;
        }
        default:
            Expect(document.GetElement(where, &other, index) ==
                       (node && (index == -1 || node.first_child())),
                   "GetElement by index");
            if (node && reference.Child(node, index).type() == pugi::node_element) {
                Reference part;
                part.tree.append_copy(reference.Child(node, index));
                ExpectEqual(other.ToText(0), part.Text(), "the element that was asked for");
            }
    }
    ExpectEqual(document.ToText(0), reference.Text(), "the document after an edit");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string text = input.ConsumeBool()
                                 ? input.ConsumeRandomLengthString(200)
                                 : "<a><b n='1'>t</b><c.d><e/>u<E/></c.d><![CDATA[v]]><A/></a>";
    NXML document;
    Reference reference;
    if (!document.FromText(text) || !reference.tree.load_string(text.c_str())) return 0;
    // A document beyond some size is not worth the time: the copies double it.
    while (input.remaining_bytes() > 0 && document.ToText(0).size() < 4096) {
        edit(input, document, reference);
    }
    return 0;
}
