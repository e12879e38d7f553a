#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <type_traits>

#include <morvel/base/NBaseObject.h>
#include <morvel/documents/NDataContainer.h>

namespace pugi {
class xml_document;
}
namespace morvel {
struct IndexedDocument;
}

/// A document stored as XML. NDataContainer tells what the operations do; this class adds what is
/// particular to XML.
///
/// Reading keeps elements, attributes, text and CDATA sections. Declarations, comments, processing
/// instructions, the document type and text of white space alone are dropped. Writing gives line
/// feeds as line ends and one tab for a level in the indented layout. Names and values end at their
/// first NUL.
///
/// Each save with a declaration adds it to the document, in front of those that are there already:
/// save twice, and two are written. A declaration is a node at the top, which the path `xml` finds.
///
/// Another container given to an operation must be an NXML; any other counts as one without a
/// document, and as a target is refused with false. It may be the object itself.
///
/// @failure A document that can't be parsed fails in three ways: LoadFile reports a
/// KelXMLParseException to NErrorHandler, LoadStream throws a KelXMLElementException, FromText just
/// returns false. In each case the former document is gone, and the object holds what was read up
/// to the error. Besides what is said at each operation, nothing else is thrown but std::bad_alloc.
/// Where memory runs out inside the XML library, an edit returns false, and an operation that
/// copies into another container throws std::bad_alloc.
/// @threads Any number may read one document at the same time, by all operations that are const but
/// RootAttributes; a search may block while another enters names in the index. Every other one
/// needs the object to itself.
/// @encoding A document's is detected from the bytes and the declaration: UTF-8, UTF-16, UTF-32 and
/// ISO-8859-1. Any other encoding that is declared, ISO-8859-15 (Latin-9) and windows-1252 among
/// them, is read as UTF-8 and not converted: morvel::Load reads those. Writing gives UTF-8 without
/// a byte-order mark. File names are UTF-8 and are brought to NFC: a file whose name isn't in NFC
/// can't be reached.
/// @cost The second search among an element's children enters their names in an index, if there are
/// more than two: 32 to 64 bytes a name, and a look-up no longer depends on their number. A
/// container that holds an element, as GetElement and GetElements hand it out, takes about 4.5 kB:
/// a million children take 4.5 GB. ForEachElement and GetElement by index do without. Depth of a
/// document costs no stack, but its indented text grows with the square of the depth.
class MORVEL_API NXML : public NDataContainer {
public:
    NXML();                      ///< Without a document.
    NXML(const NXML&) = delete;  ///< Copies are made by Assign.
    ~NXML() override;            ///< Discards the document.

    const NClassRecord* ClassRecord() const override;

    /// The record of this class; with a factory.
    static const NClassRecord* Record();

    /// What goes to NErrorHandler, with the document as it was for the first two:
    /// KelInvalidArgumentException for an empty path or one that ends in a separator,
    /// KelFileNotFoundException for a missing file, KelXMLParseException for a malformed document
    /// and for a file that can't be opened, a folder among them.
    [[nodiscard]] bool LoadFile(const std::string& path, bool silent) override;

    /// Throws KelXMLElementException for a malformed document and for a stream that has failed, and
    /// passes on what `stream` throws. `silent` has no meaning here.
    bool LoadStream(std::istream& stream, bool silent) override;

    std::int32_t CreateRoot(const std::string& name) override;

    /// Indented, with a declaration. Throws KelPathNotFoundException for every file that can't be
    /// written, whatever the reason; the declaration that was added stays. The file is overwritten
    /// in place: where that fails half-way, on a full disk say, the old content is lost.
    bool SaveFile(const std::string& path) override;

    /// True whatever the state of `stream`: ask it afterwards whether all was written.
    bool SaveStream(std::ostream& stream, std::uint32_t flags) override;

    /// An index past the last child node gives true and, in `out`, a document without a root; an
    /// index below -1 means the first child. Where that is text, `out` has the text and no root.
    [[nodiscard]] bool GetElement(const std::string& path, NDataContainer* out,
                                  std::int32_t index) const override;
    bool GetElements(const std::string& path, NDataContainerArray& array) const override;

    /// False with nothing changed also where the array holds a container that is no NXML.
    bool AppendElements(const std::string& path, const NDataContainerArray& array) override;
    bool ReplaceElement(const std::string& path, const NDataContainer* source) override;

    using NDataContainer::SetValue;
    /// Where all other forms of NDataContainer end: `value` in UTF-8.
    bool SetValue(const std::string& path, const std::string& value) override;
    bool SetAttributes(const std::string& path, const NAttributeList& list) override;
    bool GetAttributes(const std::string& path, NAttributeList& list) const override;
    using NDataContainer::SetAttribute;
    bool SetAttribute(const std::string& path, const std::string& name,
                      const std::string& value) override;
    using NDataContainer::RemoveAttribute;
    bool RemoveAttribute(const std::string& path, const std::string& name) override;
    bool RemoveAttributes(const std::string& path) override;
    bool RemoveElementsByName(const std::string& path, NNameList names) override;
    bool RemoveElement(const std::string& path, std::int32_t index) override;
    bool ForEachElement(const std::string& path, NElementCallback callback) const override;
    std::int32_t CountNodes() const override;  ///< Declarations that a save has added count too.
    using NDataContainer::operator=;

    /// From a container that is no NXML nothing is taken, and the document stays. From one without
    /// a document comes an empty one.
    void Assign(const NDataContainer& source, std::int32_t reserved) override;

    /// True without a root element, and with one that has neither child nor attribute.
    [[nodiscard]] bool IsEmpty() const override;
    void Clear() override;  ///< Discards the document.
    std::string RootName() const override;
    std::string RootValue() const override;
    const NAttributeList& RootAttributes() const MORVEL_LIFETIMEBOUND override;

    using NDataContainer::GetRootAttribute;
    /// False for a root element whose name has a dot in it: it is looked up as a path.
    bool GetRootAttribute(const std::string& name, std::string& out) const override;

    /// As GetElements, of the elements alone that have at least one of the attributes in `filter`,
    /// its name in any case, its value byte for byte. An empty filter lets all pass.
    virtual bool FindElements(const std::string& path, NDataContainerArray& array,
                              const NAttributeList& filter) const;

    virtual bool GetRootName(std::string& out) const;  ///< RootName() into `out`; always true.

    virtual NXML& operator=(const NXML& other);  ///< As the form for any container.

    /// As SetValue, but an element that it creates gets its value as a CDATA section. One that is
    /// there already gets plain text.
    virtual bool SetValueCData(const std::string& path, const std::string& value);

    /// A number doesn't compile: 0 would be taken for a null pointer.
    template <class Number, class = std::enable_if_t<std::is_arithmetic_v<Number>>>
    bool SetValueCData(const std::string& path, Number value) = delete;

    /// Null if the document has no root element, else the document itself, which lives until the
    /// next call that is not const. Meant as a truth value.
    const pugi::xml_document* HasRoot() const MORVEL_LIFETIMEBOUND;

private:
    MORVEL_LOCAL static const NClassRecord _record;

    MORVEL_LOCAL void _replaceDocument(std::unique_ptr<morvel::IndexedDocument> document);

    std::unique_ptr<morvel::IndexedDocument> _document;
    mutable NAttributeList _attributes;  // behind RootAttributes
};
