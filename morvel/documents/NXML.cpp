// The document as a whole: loading, saving, copying. Elements and values are in NXMLElements.cpp.
#include <morvel/documents/NXML.h>

#include <cstdio>
#include <filesystem>
#include <istream>
#include <iterator>
#include <memory>
#include <new>
#include <ostream>
#include <system_error>

#include <pugixml.hpp>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <morvel/documents/NameIndex.h>
#include <morvel/documents/NodeEdits.h>
#include <morvel/files/NFile.h>
#include <morvel/files/NPath.h>
#include <morvel/platform/platform.h>

namespace {

constexpr unsigned int ParseOptions = pugi::parse_default;
constexpr const char* Indent = "\t";

// These options decide which nodes a document has, and so what an index means.
static_assert(ParseOptions == 116);

// `path` in the form in which the platform's own calls take names.
morvel::platform::NativeName _nativeName(const std::string& path) {
    NString name(path, EncodingUTF8);
    name.ConvertTo(EncodingUTF16);
    return morvel::platform::NativeFileName(name.Wide());
}

// On Linux a folder can be opened for reading, and pugixml then reports "Could not allocate
// memory". On Windows it can't be opened; this makes the report the same.
pugi::xml_parse_result _load(pugi::xml_document& document,
                             const morvel::platform::NativeName& name) {
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored)) {
        pugi::xml_parse_result result;
        result.status = pugi::status_file_not_found;
        return result;
    }
    return document.load_file(name.c_str(), ParseOptions, pugi::encoding_auto);
}

// As pugixml's save_file, whose descriptor would go to programs that other threads start, and may
// be the standard output of a host that runs without one.
bool _save(const pugi::xml_document& document, const morvel::platform::NativeName& name) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        morvel::platform::Open(name, morvel::platform::Access::Write), std::fclose);
    if (!file) return false;
    pugi::xml_writer_file writer(file.get());
    document.save(writer, Indent, pugi::format_indent, pugi::encoding_auto);
    return std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
}

// In front of the nodes that are there, and stays. pugixml leaves out what it has no memory for.
void _addDeclaration(pugi::xml_document& document) {
    pugi::xml_node declaration = document.prepend_child(pugi::node_declaration);
    pugi::xml_attribute version = declaration.append_attribute("version");
    pugi::xml_attribute encoding = declaration.append_attribute("encoding");
    version = "1.0";
    encoding = "UTF-8";
    if (*declaration.name() == '\0' || *version.value() == '\0' || *encoding.value() == '\0') {
        document.remove_child(declaration);
        throw std::bad_alloc();
    }
}

}  // namespace

NXML::NXML() = default;

NXML::~NXML() = default;

const NClassRecord* NXML::ClassRecord() const {
    return &_record;
}

const NClassRecord* NXML::Record() {
    return &_record;
}

bool NXML::LoadFile(const std::string& path, bool silent) {
    try {
        const morvel::platform::NativeName name = _nativeName(path);
        const NPath file(path, EncodingUTF8);
        if (!file.IsFile()) throw KelInvalidArgumentException(path + " is not a file", 0);
        if (!NFile(file).Exists()) throw KelFileNotFoundException("File " + path + " not found", 0);
        _replaceDocument(std::make_unique<morvel::IndexedDocument>());
        const pugi::xml_parse_result result = _load(*_document, name);
        if (!result) {
            throw KelXMLParseException(
                std::string(result.description()) + " Offset: " + std::to_string(result.offset), 0);
        }
        return true;
    } catch (const NException& e) {
        if (!silent) NErrorHandler::Handle(e);
        return false;
    } catch (...) {
        return false;  // not of the library's family: such failures have no report
    }
}

bool NXML::LoadStream(std::istream& stream, bool /*silent*/) {
    _replaceDocument(std::make_unique<morvel::IndexedDocument>());
    const pugi::xml_parse_result result =
        _document->load(stream, ParseOptions, pugi::encoding_auto);
    if (!result) throw KelXMLElementException(result.description(), 0);
    return true;
}

std::int32_t NXML::CreateRoot(const std::string& name) {
    if (!_document) {
        _document.reset(new (std::nothrow) morvel::IndexedDocument);
        if (!_document) return -1;
    }
    _document->names.Clear();
    _document->reset();
    if (_document->append_child(pugi::node_element).set_name(name.c_str())) return 0;
    _document->reset();  // out of memory: no root stays without its name
    return -1;
}

bool NXML::SaveFile(const std::string& path) {
    if (!_document) return false;
    const morvel::platform::NativeName name = _nativeName(path);
    _addDeclaration(*_document);
    if (!_save(*_document, name)) {
        throw KelPathNotFoundException("Exception saving XML document", 0);
    }
    return true;
}

bool NXML::SaveStream(std::ostream& stream, std::uint32_t flags) {
    if (!_document) return false;
    unsigned int format = pugi::format_indent;
    if ((flags & 1) == 0) format |= pugi::format_raw;
    if ((flags & 2) != 0) {
        _addDeclaration(*_document);
    } else {
        format |= pugi::format_no_declaration;
    }
    _document->save(stream, Indent, format, pugi::encoding_auto);
    return true;
}

void NXML::Assign(const NDataContainer& source, std::int32_t /*reserved*/) {
    const auto* other = dynamic_cast<const NXML*>(&source);
    if (other == nullptr || !source.IsInstanceOf(Record())) return;
    auto copy = std::make_unique<morvel::IndexedDocument>();
    if (other->_document) {
        for (const pugi::xml_node node : other->_document->children()) {
            if (!morvel::AppendCopy(*copy, node)) throw std::bad_alloc();
        }
    }
    _replaceDocument(std::move(copy));
}

bool NXML::IsEmpty() const {
    const pugi::xml_node root = morvel::RootOf(_document);
    return !root.first_child() && !root.first_attribute();
}

void NXML::Clear() {
    _document.reset();
}

std::int32_t NXML::CountNodes() const {
    if (!_document) return -1;
    return static_cast<std::int32_t>(std::distance(_document->begin(), _document->end()));
}

NXML& NXML::operator=(const NXML& other) {
    if (&other != this) Assign(other, 0);
    return *this;
}

const pugi::xml_document* NXML::HasRoot() const {
    return morvel::RootOf(_document) ? _document.get() : nullptr;
}

// Clear comes after the new document is made, which may be a copy of a part of the present one.
void NXML::_replaceDocument(std::unique_ptr<morvel::IndexedDocument> document) {
    if (_document) Clear();
    _document = std::move(document);
}
