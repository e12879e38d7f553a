#include "AddressBook.h"

#include <filesystem>
#include <memory>
#include <system_error>

namespace {

const std::pair<const char*, NString Entry::*> Fields[] = {
    {"phone", &Entry::phone}, {"mail", &Entry::mail}, {"town", &Entry::town}};

std::filesystem::path _native(const NPath& path) {
    return std::filesystem::u8path(NPath(path).Converted(EncodingUTF8));
}

Entry _read(NDataContainer& element) {
    Entry entry;
    element.GetRootAttribute("name", entry.name);
    NXML part;
    for (const auto& [name, field] : Fields) {
        if (element.GetElement(std::string("entry.") + name, &part, -1)) {
            entry.*field = NString(part.RootValue(), EncodingUTF8);
        }
    }
    return entry;
}

void _write(const Entry& entry, NDataContainer& element) {
    element.SetAttribute("entry", "name", NString(entry.name).Converted(EncodingUTF8));
    for (const auto& [name, field] : Fields) {
        if (!(entry.*field).IsEmpty()) element.SetValue(std::string("entry.") + name, entry.*field);
    }
}

// The place of the entry among the children of the book, or -1.
int _indexOf(NXML& book, const NString& name) {
    NDataContainerArray elements;
    book.GetElements("book", elements);
    int index = 0;
    for (NDataContainer* element : elements) {
        if (_read(*element).name == name) return index;
        ++index;
    }
    return -1;
}

// Adds a copy of the element at the end of the book.
void _append(NXML& book, const NXML& element) {
    NDataContainerArray elements;
    auto copy = std::make_unique<NXML>();
    *copy = element;
    elements.push_back(copy.get());
    copy.release();  // the array owns it from here
    book.AppendElements("book", elements);
}

std::string _quoted(const NString& name) {
    return '"' + NString(name).Converted(EncodingUTF8) + '"';
}

}  // namespace

AddressBook::AddressBook() : _file(NPath::AppDataFolder()), _lock("morvel-notebook") {
    _file.Append("Morvel notebook");
    try {
        NFile(_file).CreateDirectories();
    } catch (const NException& e) {
        throw BookError("The folder of the notebook cannot be made. " + std::string(e.what()) +
                        ": " + e.Message());
    }
    _file.Append("addresses.xml");
}

std::string AddressBook::FileName() const {
    return NPath(_file).Converted(EncodingUTF8);
}

std::vector<Entry> AddressBook::List() {
    NXML book;
    {
        const NAutoNamedMutexLock lock(&_lock);
        _load(book);
    }
    NDataContainerArray elements;
    book.GetElements("book", elements);
    std::vector<Entry> entries;
    for (NDataContainer* element : elements) entries.push_back(_read(*element));
    return entries;
}

std::vector<Entry> AddressBook::Find(const NString& text) {
    NString needle(text);
    needle.ConvertTo(EncodingUTF8);
    needle.ToLower();
    std::vector<Entry> found;
    for (const Entry& entry : List()) {
        NString all(EncodingUTF8);
        for (const NString* part : {&entry.name, &entry.phone, &entry.mail, &entry.town}) {
            all += *part;
            all += NString(std::string("\n"), EncodingUTF8);
        }
        all.ToLower();
        if (all.Find(needle.Data(), 0) != -1) found.push_back(entry);
    }
    return found;
}

void AddressBook::Add(const Entry& entry) {
    const NAutoNamedMutexLock lock(&_lock);
    NXML book;
    _load(book);
    if (_indexOf(book, entry.name) != -1) {
        throw BookError("There is an entry " + _quoted(entry.name) +
                        " already. Use change, or another name.");
    }
    NXML element;
    element.CreateRoot("entry");
    _write(entry, element);
    _append(book, element);
    _save(book);
}

void AddressBook::Change(const Entry& entry) {
    const NAutoNamedMutexLock lock(&_lock);
    NXML book;
    _load(book);
    const int index = _indexOf(book, entry.name);
    NXML element;
    if (index == -1 || !book.GetElement("book", &element, index)) {
        throw BookError("There is no entry " + _quoted(entry.name) + ". list shows all.");
    }
    _write(entry, element);
    book.RemoveElement("book", index);
    _append(book, element);
    _save(book);
}

void AddressBook::Remove(const NString& name) {
    const NAutoNamedMutexLock lock(&_lock);
    NXML book;
    _load(book);
    const int index = _indexOf(book, name);
    if (index == -1) throw BookError("There is no entry " + _quoted(name) + ". list shows all.");
    book.RemoveElement("book", index);
    _save(book);
}

void AddressBook::_load(NXML& book) {
    if (!NFile(_file).Exists()) {
        book.CreateRoot("book");
        return;
    }
    // The reason, if there is one, goes to the standard error stream by way of the error handler.
    if (!book.LoadFile(FileName(), false) || book.RootName() != "book") {
        throw BookError("The file " + FileName() +
                        " is no address book. Mend it, or move it away to begin a new one.");
    }
}

void AddressBook::_save(NXML& book) {
    NPath fresh(_file);
    fresh.SetExtension("new");
    try {
        book.SaveFile(NPath(fresh).Converted(EncodingUTF8));
    } catch (const NException&) {
        throw BookError("The notebook cannot be written to " + FileName() +
                        ". Check rights and room on the disk; the old one is as it was.");
    }
    std::error_code error;
    std::filesystem::rename(_native(fresh), _native(_file), error);
    if (error) {
        throw BookError("The new notebook cannot take the place of " + FileName() + ": " +
                        error.message() + ". The old one is as it was.");
    }
}
