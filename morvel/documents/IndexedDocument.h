#pragma once

#include <memory>

#include <pugixml.hpp>

#include <morvel/documents/NameIndex.h>

namespace morvel {

/// The tree of an NXML, and the index of its names. Internal.
struct IndexedDocument : pugi::xml_document {
    mutable NameIndex names;  // written by searches, also those of several threads
};

/// The document element; a null node without one or without a document.
inline pugi::xml_node RootOf(const std::unique_ptr<IndexedDocument>& document) {
    return document ? document->document_element() : pugi::xml_node();
}

}  // namespace morvel
