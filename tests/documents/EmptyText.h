#pragma once

#include <pugixml.hpp>

#include <sstream>
#include <string>

namespace morvel::test {

/// An element with an empty text as the installed pugixml writes it: "<r></r>", or "<r/>"
/// since 1.16.
inline std::string WithEmptyText(const char* name) {
    pugi::xml_document document;
    document.append_child(name).append_child(pugi::node_pcdata);
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

}  // namespace morvel::test
