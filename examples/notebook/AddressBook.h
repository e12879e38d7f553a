#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <morvel/morvel.h>

/// What went wrong, as a sentence for the user.
class BookError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One person. Texts are in UTF-8; an empty one is not known.
struct Entry {
    NString name;
    NString phone;
    NString mail;
    NString town;
};

/// A small address book, kept as an XML file in the user's application data folder. Every operation
/// that changes it reads the file, changes it and puts the new file in the place of the old one,
/// under a lock that all processes share: two of them never lose each other's changes, and a crash
/// leaves the old file or the new one. Names are equal if their texts in NFC are. All throw
/// BookError.
class AddressBook {
public:
    AddressBook();

    std::string FileName() const;

    std::vector<Entry> List();

    /// Entries in which `text` stands anywhere; ASCII letters match in both cases.
    std::vector<Entry> Find(const NString& text);

    void Add(const Entry& entry);     ///< The name must be new.
    void Change(const Entry& entry);  ///< Replaces what isn't empty in `entry`.
    void Remove(const NString& name);

private:
    void _load(NXML& book);
    void _save(NXML& book);

    NPath _file;
    NNamedMutex _lock;
};
