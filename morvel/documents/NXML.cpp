// The document as a whole: loading, saving, copying. Elements and values are in NXMLElements.cpp.
#include <morvel/documents/NXML.h>

#include <filesystem>
#include <istream>
#include <iterator>
#include <new>
#include <ostream>
#include <system_error>

#include <pugixml.hpp>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <morvel/documents/NameIndex.h>
#include <morvel/documents/WholeCopy.h>
#include <morvel/files/NFile.h>
#include <morvel/files/NPath.h>
#include <morvel/platform/platform.h>

namespace {

constexpr unsigned int _parseOptions = pugi::parse_default;
constexpr const char* _indent = "\t";

// Which nodes a document has, and so what an index means, hangs on these options.
static_assert(_parseOptions == 116);

// `path` in the form in which the platform's own calls take names.
morvel::platform::NativeName _nativeName(const std::string& path) {
    NString name(path, EncodingUTF8);
    name.ConvertTo(EncodingUTF16);
    return morvel::platform::NativeFileName(name.Wide());
}

// On Linux a folder can be opened for reading, and pugixml then fails on its size with the words
// "Could not allocate memory". It is to fail as it does where a folder can't be opened.
pugi::xml_parse_result _load(pugi::xml_document& document,
                             const morvel::platform::NativeName& name) {
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored)) {
        pugi::xml_parse_result result;
        result.status = pugi::status_file_not_found;
        return result;
    }
    return document.load_file(name.c_str(), _parseOptions, pugi::encoding_auto);
}

}  // namespace

NXML::NXML() = default;

NXML::~NXML() {
    _forget();
}

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
        if (!file.IsFile()) {
            throw KelInvalidArgumentException(path + " is not a file", 0);
        }
        if (!NFile(file).Exists()) {
            throw KelFileNotFoundException("File " + path + " not found", 0);
        }
        _newDocument();
        const pugi::xml_parse_result result = _load(*_document, name);
        if (!result) {
            throw KelXMLParseException(
                std::string(result.description()) + " Offset: " + std::to_string(result.offset), 0);
        }
        return true;
    } catch (const NException& e) {
        if (!silent) {
            NErrorHandler::Handle(e);
        }
        return false;
    } catch (...) {
        return false;  // not of the library's family: such failures have no report
    }
}

bool NXML::LoadStream(std::istream& stream, bool /*silent*/) {
    _newDocument();
    const pugi::xml_parse_result result =
        _document->load(stream, _parseOptions, pugi::encoding_auto);
    if (!result) {
        throw KelXMLElementException(result.description(), 0);
    }
    return true;
}

std::int32_t NXML::CreateRoot(const std::string& name) {
    if (!_document) {
        _document.reset(new (std::nothrow) pugi::xml_document);
        if (!_document) {
            return -1;
        }
    }
    _forget();
    _document->reset();
    if (_document->append_child(pugi::node_element).set_name(name.c_str())) {
        return 0;
    }
    _document->reset();  // memory ran out: no root stays without its name
    return -1;
}

bool NXML::SaveFile(const std::string& path) {
    if (!_document) {
        return false;
    }
    const morvel::platform::NativeName name = _nativeName(path);
    _addDeclaration();
    if (!_document->save_file(name.c_str(), _indent, pugi::format_indent, pugi::encoding_auto)) {
        throw KelPathNotFoundException("Exception saving XML document", 0);
    }
    return true;
}

bool NXML::SaveStream(std::ostream& stream, std::uint32_t flags) {
    if (!_document) {
        return false;
    }
    unsigned int format = pugi::format_indent;
    if ((flags & 1) == 0) {
        format |= pugi::format_raw;
    }
    if ((flags & 2) != 0) {
        _addDeclaration();
    } else {
        format |= pugi::format_no_declaration;
    }
    _document->save(stream, _indent, format, pugi::encoding_auto);
    return true;
}

void NXML::Assign(const NDataContainer& source, std::int32_t /*reserved*/) {
    const auto* other = dynamic_cast<const NXML*>(&source);
    if (other == nullptr || !source.IsInstanceOf(Record())) {
        return;
    }
    auto copy = std::make_unique<pugi::xml_document>();
    if (other->_document) {
        copy->reset(*other->_document);
        if (!morvel::IsWholeCopy(*copy, *other->_document)) {
            throw std::bad_alloc();
        }
    }
    if (_document) {
        Clear();  // only now: `source` may be this object
    }
    _forget();
    _document = std::move(copy);
}

bool NXML::IsEmpty() const {
    const pugi::xml_node root = _root();
    return !root.first_child() && !root.first_attribute();
}

void NXML::Clear() {
    _forget();
    _document.reset();
}

std::int32_t NXML::CountNodes() const {
    if (!_document) {
        return -1;
    }
    return static_cast<std::int32_t>(std::distance(_document->begin(), _document->end()));
}

NXML& NXML::operator=(const NXML& other) {
    if (&other != this) {
        Assign(other, 0);
    }
    return *this;
}

const pugi::xml_document* NXML::HasRoot() const {
    return _root() ? _document.get() : nullptr;
}

// The document element; a null node without one, of which every reading call gives nothing.
pugi::xml_node NXML::_root() const {
    return _document ? _document->document_element() : pugi::xml_node();
}

// Goes in front of the document and of earlier ones, and stays in it. pugixml passes over a name or
// a value that it has no memory for, hence the look at what came of it.
void NXML::_addDeclaration() {
    _forget();
    pugi::xml_node declaration = _document->prepend_child(pugi::node_declaration);
    declaration.append_attribute("version") = "1.0";
    declaration.append_attribute("encoding") = "UTF-8";
    if (*declaration.name() == '\0' || *declaration.attribute("version").value() == '\0' ||
        *declaration.attribute("encoding").value() == '\0') {
        _document->remove_child(declaration);
        throw std::bad_alloc();
    }
}

void NXML::_newDocument() {
    if (_document) {
        Clear();
    }
    _forget();  // also where a derived class has a Clear of its own
    _document = std::make_unique<pugi::xml_document>();
}

// Before the tree changes in any other way than by a node at the end.
void NXML::_forget() noexcept {
    delete _index.load(std::memory_order_relaxed);
    _index.store(nullptr, std::memory_order_relaxed);
}
