#include <morvel/files/NPath.h>

#include <algorithm>

#include <Poco/Path.h>

#include <morvel/platform/platform.h>

namespace {

constexpr Poco::Path::Style NativeStyle = Poco::Path::PATH_NATIVE;

std::string _utf8(NString text) {  // by value: the copy is what gets converted
    text.ConvertTo(EncodingUTF8);
    return text.Data();
}

Poco::Path _parsed(const NString& text) {
    return Poco::Path(_utf8(text), NativeStyle);
}

// SetBytes takes the bytes as they are: a constructor would take FF FE at the head of a name that
// is no UTF-8 for a byte-order mark.
NString _inEncoding(const std::string& utf8, NStringEncoding encoding) {
    NString text;
    text.SetBytes(utf8.data(), utf8.size(), EncodingUTF8);
    text.ConvertTo(encoding);
    return text;
}

// Assigns through the virtual table, so that a subclass sees the text arrive.
void _replace(NString& text, const Poco::Path& path, NStringEncoding encoding) {
    text = _inEncoding(path.toString(NativeStyle), encoding);
}

NPath _specialFolder(morvel::platform::Folder folder) {
    NPath path;
    const NWideString name = morvel::platform::SpecialFolder(folder);
    if (!name.empty()) {
        path.SetData(name.c_str());
        path.MakeDirectory();
    }
    return path;
}

}  // namespace

NPath::NPath() = default;
NPath::NPath(const NString& text) : NString(text) {}
NPath::NPath(const char* text) : NString(text) {}
NPath::NPath(const std::string& bytes, NStringEncoding encoding) : NString(bytes, encoding) {}
NPath::NPath(const char* bytes, NStringEncoding encoding) : NString(bytes, encoding) {}
NPath::NPath(const NPath& other) = default;
NPath::NPath(NPath&& other) noexcept = default;
NPath::~NPath() = default;

NPath& NPath::operator=(const NPath& other) = default;

NPath NPath::Absolute() const {
    return _inEncoding(_parsed(*this).absolute().toString(), Encoding());
}

NPath& NPath::Append(const NString& other) {
    Poco::Path path = _parsed(*this);
    path.append(_parsed(other));
    _replace(*this, path, std::max(Encoding(), other.Encoding()));
    return *this;
}

NPath& NPath::Append(const std::string& other) {
    return Append(NString(other));
}

NPath& NPath::Append(const char* other) {
    return Append(NString(other));
}

NString NPath::BaseName() const {
    return _inEncoding(_parsed(*this).getBaseName(), Encoding());
}

bool NPath::IsFile() const {
    return _parsed(*this).isFile();
}

NPath& NPath::MakeDirectory() {
    _replace(*this, _parsed(*this).makeDirectory(), Encoding());
    return *this;
}

NPath& NPath::MakeFile() {
    _replace(*this, _parsed(*this).makeFile(), Encoding());
    return *this;
}

NPath NPath::Parent() const {
    return _inEncoding(_parsed(*this).parent().toString(), Encoding());
}

void NPath::SetExtension(const NString& extension) {
    _replace(*this, _parsed(*this).setExtension(_utf8(extension)), Encoding());
}

NPath NPath::AppDataFolder() {
    return _specialFolder(morvel::platform::Folder::AppData);
}

NPath NPath::CommonAppDataFolder() {
    return _specialFolder(morvel::platform::Folder::CommonAppData);
}

NPath NPath::CommonDocumentsFolder() {
    return _specialFolder(morvel::platform::Folder::CommonDocuments);
}
