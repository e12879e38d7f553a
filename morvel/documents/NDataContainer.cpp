#include <morvel/documents/NDataContainer.h>

#include <memory>
#include <sstream>

NDataContainerArray::NDataContainerArray() = default;

NDataContainerArray::~NDataContainerArray() {
    NDataContainerArray::Clear();
}

void NDataContainerArray::Assign(const NDataContainerArray& other) {
    if (&other == this) return;
    Clear();
    for (const NDataContainer* source : other) {
        if (source == nullptr) continue;
        std::unique_ptr<NBaseObject> created(source->ClassRecord()->CreateInstance());
        if (auto* copy = dynamic_cast<NDataContainer*>(created.get())) {
            copy->Assign(*source, 0);
            push_back(copy);
            created.release();
        }
    }
}

void NDataContainerArray::Clear() {
    while (!empty()) {
        // Out of the list first, so that a destructor that looks at the list meets no dead pointer.
        const std::unique_ptr<NDataContainer> last(front());
        pop_front();
    }
}

NDataContainer::NDataContainer() = default;

NDataContainer::~NDataContainer() = default;

bool NDataContainer::SetValue(const std::string& path, const NString& value) {
    NString converted(value);
    converted.ConvertTo(_encoding);
    return SetValue(path, converted.Data());
}

bool NDataContainer::SetValue(const std::string& path, const char* value) {
    const NString text(value);
    return SetValue(path, text.Data());
}

NDataContainer& NDataContainer::operator=(const NDataContainer& other) {
    if (&other != this) Assign(other, 0);
    return *this;
}

bool NDataContainer::IsEmpty() const {
    return true;
}

void NDataContainer::Clear() {}

bool NDataContainer::GetRootAttribute(const std::string& name, NString& out) const {
    std::string bytes;
    if (!GetRootAttribute(name, bytes)) return false;
    out.SetData(bytes, _encoding);
    return true;
}

std::string NDataContainer::ToText(std::uint32_t flags) {
    try {
        std::stringstream stream;
        // A stream keeps to itself that its text found no memory; a part of a text is worse than
        // none.
        return SaveStream(stream, flags) && !stream.bad() ? stream.str() : std::string();
    } catch (...) {
        return std::string();  // a caller that wants the reason calls SaveStream
    }
}

bool NDataContainer::FromText(const std::string& text) {
    try {
        std::stringstream stream(text);
        return LoadStream(stream, false);
    } catch (...) {
        return false;  // a caller that wants the reason calls LoadStream
    }
}
