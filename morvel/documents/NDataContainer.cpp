#include <morvel/documents/NDataContainer.h>

#include <algorithm>
#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>

namespace {

// The position that a seek from one of the three places leads to; -1 if it lies outside of the
// text.
std::streamoff _target(std::streamoff offset, std::ios_base::seekdir from, std::streamoff current,
                       std::streamoff size) {
    const std::streamoff base = from == std::ios_base::beg   ? 0
                                : from == std::ios_base::cur ? current
                                                             : size;
    const std::streamoff target = base + offset;
    return target < 0 || target > size ? -1 : target;
}

// Reads a text where it stands. A string stream would copy it first.
class TextSource : public std::streambuf {
public:
    explicit TextSource(const std::string& text) {
        char* begin = const_cast<char*>(text.data());  // never written: there is no put area
        setg(begin, begin, begin + text.size());
    }

protected:
    pos_type seekoff(off_type offset, std::ios_base::seekdir from,
                     std::ios_base::openmode which) override {
        const off_type target = _target(offset, from, gptr() - eback(), egptr() - eback());
        if ((which & std::ios_base::in) == 0 || target < 0) {
            return pos_type(off_type(-1));
        }
        setg(eback(), eback() + target, egptr());
        return pos_type(target);
    }

    pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
        return seekoff(off_type(position), std::ios_base::beg, which);
    }
};

// Gathers a text that can be moved out. A string stream would copy it at the end.
class TextSink : public std::streambuf {
public:
    std::string&& Take() { return std::move(_text); }

protected:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        const auto size = static_cast<std::size_t>(count);
        _text.replace(_position, std::min(size, _text.size() - _position), bytes, size);
        _position += size;
        return count;
    }

    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            const char byte = traits_type::to_char_type(c);
            xsputn(&byte, 1);
        }
        return traits_type::not_eof(c);
    }

    pos_type seekoff(off_type offset, std::ios_base::seekdir from,
                     std::ios_base::openmode which) override {
        const off_type target = _target(offset, from, static_cast<off_type>(_position),
                                        static_cast<off_type>(_text.size()));
        if ((which & std::ios_base::out) == 0 || target < 0) {
            return pos_type(off_type(-1));
        }
        _position = static_cast<std::size_t>(target);
        return pos_type(target);
    }

    pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
        return seekoff(off_type(position), std::ios_base::beg, which);
    }

private:
    std::string _text;
    std::size_t _position = 0;
};

}  // namespace

NDataContainerArray::NDataContainerArray() = default;

NDataContainerArray::~NDataContainerArray() {
    NDataContainerArray::Clear();
}

void NDataContainerArray::Assign(const NDataContainerArray& other) {
    if (&other == this) {
        return;
    }
    Clear();
    for (const NDataContainer* source : other) {
        if (source == nullptr) {
            continue;
        }
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
    if (&other != this) {
        Assign(other, 0);
    }
    return *this;
}

bool NDataContainer::IsEmpty() const {
    return true;
}

void NDataContainer::Clear() {}

bool NDataContainer::GetRootAttribute(const std::string& name, NString& out) const {
    std::string bytes;
    if (!GetRootAttribute(name, bytes)) {
        return false;
    }
    out.SetData(bytes, _encoding);
    return true;
}

std::string NDataContainer::ToText(std::uint32_t flags) {
    try {
        TextSink sink;
        std::ostream stream(&sink);
        // A stream keeps to itself that its text found no memory; a part of a text is worse than
        // none.
        return SaveStream(stream, flags) && !stream.bad() ? sink.Take() : std::string();
    } catch (...) {
        return std::string();  // a caller that wants the reason calls SaveStream
    }
}

bool NDataContainer::FromText(const std::string& text) {
    try {
        TextSource source(text);
        std::istream stream(&source);
        return LoadStream(stream, false);
    } catch (...) {
        return false;  // a caller that wants the reason calls LoadStream
    }
}
