// A stock of parts in an XML file that any number of processes change at the same time: each reads,
// changes and replaces it under a lock that all of them share, and none finds half of a file.
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include <morvel/companions.h>
#include <morvel/morvel.h>

#include "CommandLine.h"

namespace {

enum Exit { Done = 0, Refused = 1, Failed = 2 };

// A refusal, as a sentence for the user.
struct Refusal {
    std::string sentence;
};

void _load(NXML& stock, const NPath& file) {
    stock.CreateRoot("inventory");
    if (!NFile(file).Exists()) return;
    const morvel::XmlFault fault = morvel::LoadFrom(stock, file);
    if (fault || stock.RootName() != "inventory") {
        std::string reason = fault ? fault.message : "its root is <" + stock.RootName() + ">";
        if (fault.line != 0) reason += " in line " + std::to_string(fault.line);
        throw Refusal{morvel::Utf8(file) + " is no inventory: " + reason +
                      ". Mend it, or move it away to begin a new one."};
    }
}

// Takes the part out of the document and puts it in again behind all others, with its new count.
int _change(NXML& stock, const NString& name, int difference) {
    int count = difference;
    for (const morvel::ChildElement& part : morvel::Children(stock, "inventory", "part")) {
        if (!morvel::NStringEqual()(morvel::TextOf(*part.element, "part.name"), name)) continue;
        count += morvel::TextOf(*part.element, "part.count").ToInt();
        stock.RemoveElement("inventory", part.index);
        break;
    }
    if (count < 0) {
        throw Refusal{"There are " + std::to_string(count - difference) + " of " +
                      morvel::Utf8(name) + ". Take fewer, or put some in first."};
    }
    NDataContainerArray made;
    made.push_back(new NXML);
    NXML& part = static_cast<NXML&>(*made.back());
    morvel::Put(part, "part.name", name);
    morvel::Put(part, "part.count", count);
    stock.AppendElements("inventory", made);
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Keeps count of parts in a file that several processes share.");
    app.require_subcommand(1);
    std::string fileName, name;
    int count = 1;
    app.add_option("file", fileName, "the inventory; made with the first part")->required();
    auto* list = app.add_subcommand("list", "shows all parts");
    auto* put = app.add_subcommand("put", "puts parts in");
    auto* take = app.add_subcommand("take", "takes parts out, if there are as many");
    for (auto* command : {put, take}) {
        command->add_option("name", name, "of the part")->required();
        command->add_option("count", count)->capture_default_str()->check(CLI::Range(1, 1000000));
    }
    app.footer(
        "Ends with 0, with 1 for a refusal, with 2 if the file can't be read or written, above 100 "
        "for a wrong command line.");
    if (const auto status = CommandLine(argc, argv).Parse(app)) return *status;

    const NPath file(fileName, EncodingUTF8);
    try {
        NNamedMutex turn("morvel-inventory");
        const NAutoNamedMutexLock lock(&turn);
        NXML stock;
        _load(stock, file);
        if (list->parsed()) {
            for (const morvel::ChildElement& part : morvel::Children(stock, "inventory", "part")) {
                std::cout << morvel::TextOf(*part.element, "part.count") << '\t'
                          << morvel::TextOf(*part.element, "part.name") << '\n';
            }
        } else {
            const int left = _change(stock, morvel::FromUtf8(name), put->parsed() ? count : -count);
            morvel::SaveSafely(stock, file);
            std::cout << left << '\t' << name << '\n';
        }
    } catch (const Refusal& refusal) {
        std::cerr << refusal.sentence << '\n';
        return Refused;
    } catch (const std::exception& e) {
        std::cerr << morvel::Describe(e) << ". The inventory is as it was.\n";
        return Failed;
    }
    return Done;
}
