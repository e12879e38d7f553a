// A document read from arbitrary bytes, against pugixml itself: accepted or refused, and the same
// tree. A document comes back from its own text.
#include <cstdint>
#include <sstream>
#include <string>

#include <pugixml.hpp>

#include <morvel/base/NException.h>
#include <morvel/documents/DocumentTools.h>
#include <morvel/documents/NXML.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

std::string textOf(const pugi::xml_document& document, unsigned layout) {
    std::ostringstream out;
    document.save(out, "\t", layout | pugi::format_no_declaration);
    return out.str();
}

// What is read from a document's own text is what was read from that before.
void reload(const std::string& text) {
    NXML once, twice;
    if (!once.FromText(text)) return;  // what is no document alone, a text without an element say
    Expect(twice.FromText(once.ToText(0)), "a document's own text can be read");
    ExpectEqual(twice.ToText(0), once.ToText(0), "a document comes back from its own text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    pugi::xml_document expected;
    const pugi::xml_parse_result result = expected.load_buffer(data, size);

    NXML document;
    std::istringstream stream(bytes);
    bool accepted = false;
    try {
        accepted = document.LoadStream(stream, false);
    } catch (const NException&) {  // what was read up to the error stands in the document
    }
    Expect(accepted == static_cast<bool>(result), "accepted where pugixml accepts it");
    ExpectEqual(document.ToText(0), textOf(expected, pugi::format_raw), "pugixml's tree");
    ExpectEqual(document.ToText(1), textOf(expected, pugi::format_indent), "indented");
    ExpectEqual(document.RootName(), expected.document_element().name(), "its root");
    reload(document.ToText(0));

    NXML checked;
    const morvel::XmlFault fault = morvel::Load(checked, bytes);
    Expect(!fault || checked.ToText(0).empty(), "empty behind a fault");
    Expect(fault.offset <= 3 * bytes.size() && fault.line <= bytes.size() + 1,
           "a fault is inside the document");
    return 0;
}
