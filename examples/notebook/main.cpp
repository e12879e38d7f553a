// A small address book on the command line: documents, paths, and a lock that processes share.
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "AddressBook.h"
#include "CommandLine.h"

namespace {

void _show(const std::vector<Entry>& entries) {
    for (const Entry& entry : entries) {
        std::cout << NString(entry.name).Converted(EncodingUTF8);
        for (const NString* part : {&entry.phone, &entry.mail, &entry.town}) {
            if (!part->IsEmpty()) std::cout << ", " << NString(*part).Converted(EncodingUTF8);
        }
        std::cout << '\n';
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("A small address book.");
    app.require_subcommand(1);
    std::string name;
    std::string phone;
    std::string mail;
    std::string town;
    std::string text;
    auto* list = app.add_subcommand("list", "shows all entries");
    auto* find = app.add_subcommand("find", "shows the entries in which a text stands");
    find->add_option("text", text)->required();
    auto* add = app.add_subcommand("add", "adds an entry");
    auto* change = app.add_subcommand("change", "changes what is given of an entry");
    auto* remove = app.add_subcommand("remove", "removes an entry");
    for (auto* command : {add, change, remove}) command->add_option("name", name)->required();
    for (auto* command : {add, change}) {
        command->add_option("--phone", phone);
        command->add_option("--mail", mail);
        command->add_option("--town", town);
    }
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;

    try {
        AddressBook book;
        const Entry entry{NString(name, EncodingUTF8), NString(phone, EncodingUTF8),
                          NString(mail, EncodingUTF8), NString(town, EncodingUTF8)};
        if (list->parsed()) {
            _show(book.List());
        } else if (find->parsed()) {
            const std::vector<Entry> found = book.Find(NString(text, EncodingUTF8));
            _show(found);
            if (found.empty()) std::cerr << "Nothing found.\n";
            return found.empty() ? 1 : 0;
        } else if (add->parsed()) {
            book.Add(entry);
        } else if (change->parsed()) {
            book.Change(entry);
        } else {
            book.Remove(entry.name);
        }
    } catch (const BookError& e) {
        std::cerr << e.what() << '\n';
        return 1;
    } catch (const std::exception& e) {
        std::cerr << "The notebook could not be locked: " << e.what() << '\n';
        return 1;
    }
    return 0;
}
