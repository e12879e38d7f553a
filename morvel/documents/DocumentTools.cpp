#include <morvel/documents/DocumentTools.h>

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <new>
#include <sstream>
#include <utility>

#include <pugixml.hpp>

#include <morvel/base/ErrorTools.h>
#include <morvel/base/NException.h>
#include <morvel/files/FileTools.h>
#include <morvel/text/ByteOrderMark.h>
#include <morvel/text/TextTools.h>

namespace {

// The first 32 code points from 80 on in windows-1252; 0 for the five bytes that it leaves out.
constexpr char16_t Windows1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

std::string _utf8FromWindows1252(std::string_view bytes) {
    std::string units;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        char16_t unit = byte;
        if (byte >= 0x80 && byte < 0xA0 && Windows1252[byte - 0x80] != 0) {
            unit = Windows1252[byte - 0x80];
        }
        units.append(reinterpret_cast<const char*>(&unit), sizeof unit);
    }
    NString text;
    text.SetBytes(units.data(), units.size(), EncodingUTF16);
    text.ConvertTo(EncodingUTF8);
    return text.Data();
}

// The word behind `encoding` in the declaration, in lower case; empty without one. `*offset` is its
// place.
std::string _declaredEncoding(std::string_view bytes, std::size_t* offset) {
    if (bytes.substr(0, 5) != "<?xml") return std::string();
    const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    const std::size_t name = declaration.find("encoding");
    const std::size_t quote = declaration.find_first_of("\"'", name);
    if (quote == declaration.npos) return std::string();
    const std::size_t end = declaration.find(declaration[quote], quote + 1);
    if (end == declaration.npos) return std::string();
    *offset = quote + 1;
    std::string word(declaration.substr(quote + 1, end - quote - 1));
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return word;
}

bool _isOneOf(const std::string& word, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

morvel::XmlFault _faultAt(std::string message, std::string_view bytes, std::size_t offset) {
    morvel::XmlFault fault{std::move(message), std::min(offset, bytes.size()), 1, 1};
    bytes = bytes.substr(0, fault.offset);
    bytes.remove_prefix(morvel::BomOf(bytes).length);
    for (const char c : bytes) {
        if (c == '\n') {
            ++fault.line;
            fault.column = 1;
        } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
            ++fault.column;
        }
    }
    return fault;
}

// The document as UTF-8, where its first bytes tell that it is UTF-16 (XML 1.0, appendix F). A mark
// stays, since pugixml counts it.
std::string _utf8FromUtf16(std::string_view bytes) {
    NString text = morvel::Decode(bytes, EncodingUTF16);
    if (bytes[0] == '\0') text.SwapBytes();
    const bool hasMark = bytes[0] != '<' && bytes[0] != '\0';
    return (hasMark ? std::string(morvel::Utf8Bom) : std::string()) + morvel::Utf8(text);
}

bool _isUtf32(std::string_view bytes) {
    using namespace std::string_view_literals;
    return bytes.substr(0, 4).find("\0\0"sv) != bytes.npos;
}

bool _isUtf16(std::string_view bytes) {
    using namespace std::string_view_literals;
    const std::string_view head = bytes.substr(0, 2);
    return head == "\xFF\xFE"sv || head == "\xFE\xFF"sv || head == "<\0"sv || head == "\0<"sv;
}

// The element names of a path, in the words of the document, where a dot is a dot.
std::vector<std::string> _names(const std::string& path) {
    std::vector<std::string> names(1);
    for (const char c : path) {
        if (c == '.') {
            names.emplace_back();
        } else {
            names.back() += c == '|' ? '.' : c;
        }
    }
    return names;
}

}  // namespace

std::optional<NString> morvel::ValueOf(const NXML& document, const std::string& path) {
    NXML element;
    if (!document.GetElement(path, &element, -1)) return std::nullopt;
    return NString(element.RootValue(), EncodingUTF8);
}

NString morvel::TextOf(const NXML& document, const std::string& path) {
    NXML element;
    if (!document.GetElement(path, &element, -1) || element.HasRoot() == nullptr) return NString();
    struct Walker : pugi::xml_tree_walker {
        std::string text;
        bool for_each(pugi::xml_node& node) override {
            if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
                text += node.value();
            }
            return true;
        }
    } walker;
    element.HasRoot()->document_element().traverse(walker);
    return NString(walker.text, EncodingUTF8);
}

bool morvel::Put(NXML& document, const std::string& path, const NString& value) {
    const std::vector<std::string> names = _names(path);
    if (std::find(names.begin(), names.end(), std::string()) != names.end()) return false;
    std::size_t end = path.find('.');
    if (document.HasRoot() == nullptr) {
        if (document.CreateRoot(names.front()) != 0) return false;
    } else if (!document.GetElement(path.substr(0, end), nullptr, -1)) {
        return false;
    }
    for (std::size_t i = 1; i < names.size(); ++i) {
        const std::string parent = path.substr(0, end);
        end = path.find('.', end + 1);
        if (document.GetElement(path.substr(0, end), nullptr, -1)) continue;
        // Not by SetValue, which would leave an empty text in front of the children to come.
        NDataContainerArray made;
        made.push_back(new NXML);
        if (made.back()->CreateRoot(names[i]) != 0 || !document.AppendElements(parent, made)) {
            return false;
        }
    }
    return document.SetValue(path, value);
}

bool morvel::Put(NXML& document, const std::string& path, const std::string& utf8) {
    return Put(document, path, FromUtf8(utf8));
}

bool morvel::Put(NXML& document, const std::string& path, const NDateTime& value) {
    return Put(document, path, NDateTime::Format(value, "%Y-%m-%dT%H:%M:%S", 0));
}

std::vector<morvel::ChildElement> morvel::Children(const NXML& document, const std::string& path,
                                                   std::string_view name) {
    std::vector<ChildElement> children;
    NXML parent;
    NDataContainerArray elements;
    if (!document.GetElement(path, &parent, -1) || !document.GetElements(path, elements)) {
        return children;
    }
    const NString wanted = FromUtf8(name);
    std::int32_t index = 0;
    for (const pugi::xml_node node : parent.HasRoot()->document_element()) {
        if (node.type() == pugi::node_element) {
            std::unique_ptr<NXML> element(static_cast<NXML*>(elements.front()));
            elements.pop_front();
            if (name.empty() || wanted.CompareNoCase(node.name(), EncodingUTF8) == 0) {
                children.push_back({index, std::move(element)});
            }
        }
        ++index;
    }
    return children;
}

morvel::XmlFault morvel::Load(NXML& document, std::string_view bytes) {
    document.Clear();
    std::string recoded;                // what is parsed in place of `bytes`
    std::string_view readable = bytes;  // the document as UTF-8, for telling a place in it
    std::string held;
    std::size_t offset = 0;
    const bool isUtf32 = _isUtf32(bytes);
    if (isUtf32) {
        // pugixml's alone
    } else if (_isUtf16(bytes)) {
        held = _utf8FromUtf16(bytes);
        readable = held;
    } else {
        const std::string encoding = _declaredEncoding(bytes, &offset);
        if (_isOneOf(encoding, {"iso-8859-1", "latin1"})) {
            held = Utf8(Decode(bytes, EncodingLatin1));
            readable = held;
        } else if (_isOneOf(encoding, {"iso-8859-15", "latin-9", "latin9"})) {
            recoded = Utf8(Decode(bytes, EncodingLatin9));
        } else if (_isOneOf(encoding, {"windows-1252", "cp1252"})) {
            recoded = _utf8FromWindows1252(bytes);
        } else if (_isOneOf(encoding, {"", "utf-8", "us-ascii", "utf-32", "ucs-4"})) {
            NString text(EncodingUTF8);
            text.Normalize(FormNFC);  // SetBytes takes the bytes as they are
            text.SetBytes(bytes.data(), bytes.size(), EncodingUTF8);
            if (const std::optional<std::size_t> bad = FindMalformed(text)) {
                return _faultAt("The bytes are not UTF-8", bytes, *bad);
            }
        } else {
            return _faultAt("The encoding \"" + encoding + "\" is not known", bytes, offset);
        }
        if (!recoded.empty()) readable = recoded;
    }
    if (recoded.empty()) recoded = bytes;
    std::istringstream stream(recoded);
    try {
        document.LoadStream(stream, true);
        return {};
    } catch (const KelXMLElementException& e) {
        document.Clear();
        if (isUtf32) return {e.Message(), 0, 0, 0};
        const pugi::xml_parse_result result =
            pugi::xml_document().load_buffer(recoded.data(), recoded.size());
        return _faultAt(e.Message(), readable, static_cast<std::size_t>(result.offset));
    }
}

morvel::XmlFault morvel::LoadFrom(NXML& document, const NPath& path) {
    document.Clear();
    std::string bytes;
    try {
        bytes = ReadFile(path);
    } catch (const NException& e) {
        return {Describe(e), 0, 0, 0};
    }
    return Load(document, bytes);
}

void morvel::SaveSafely(NXML& document, const NPath& path) {
    constexpr std::uint32_t AsSaveFile = 3;  // indented, with a declaration
    if (document.HasRoot() == nullptr) {
        throw KelInvalidArgumentException("the document has no root element", 0);
    }
    const std::string text = document.ToText(AsSaveFile);
    if (text.empty()) throw std::bad_alloc();
    WriteFile(path, text);
}
