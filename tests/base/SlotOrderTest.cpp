// The order of the virtual operations is part of the library's binary interface: a program built
// against one release calls them by their place in the table. slots.txt has them as the built
// library has, and this test fails when two change places or a new one comes in between.

#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <typeinfo>

#include <morvel/morvel.h>
#include <tests/support/Test.h>

namespace {

std::string _demangled(const char* name) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, nullptr), &std::free);
    return text ? text.get() : name;
}

// The table of a class, as the Itanium C++ ABI lays it out: two words, and the operations. A
// destructor has two places: of a whole object, and of one that is to be freed as well.
struct Table {
    explicit Table(const std::type_info& type)
        : slots(static_cast<void**>(
              dlsym(RTLD_DEFAULT, ("_ZTV" + std::string(type.name())).c_str()))) {
        Dl_info object;
        void* symbol = nullptr;
        dladdr1(slots, &object, &symbol, RTLD_DL_SYMENT);
        count = static_cast<ElfW(Sym)*>(symbol)->st_size / sizeof(void*);
    }
    void** slots;
    std::size_t count;
};

// All names that the library exports, by address: the optimiser makes one function of several that
// do the same.
std::multimap<std::uintptr_t, std::string> _exportedNames() {
    Dl_info object;
    void* found = nullptr;
    dladdr1(Table(typeid(NBaseObject)).slots, &object, &found, RTLD_DL_LINKMAP);
    const auto* const library = static_cast<link_map*>(found);
    std::map<ElfW(Sxword), std::uintptr_t> dynamic;
    for (const ElfW(Dyn)* entry = library->l_ld; entry->d_tag != DT_NULL; ++entry) {
        dynamic[entry->d_tag] = entry->d_un.d_ptr;
    }
    const auto* const names = reinterpret_cast<const char*>(dynamic[DT_STRTAB]);
    std::multimap<std::uintptr_t, std::string> exported;
    // The linker puts the names right behind the symbols.
    for (auto at = dynamic[DT_SYMTAB]; at < dynamic[DT_STRTAB]; at += sizeof(ElfW(Sym))) {
        const auto* const symbol = reinterpret_cast<const ElfW(Sym)*>(at);
        if (symbol->st_shndx != SHN_UNDEF) {
            exported.emplace(library->l_addr + symbol->st_value,
                             _demangled(names + symbol->st_name));
        }
    }
    return exported;
}

// The lines of the tables, one class after the other, to be compared with those of the list.
class Slots {
public:
    explicit Slots(std::istream& list) {
        for (std::string line; std::getline(list, line);) {
            expected.push_back(line);
        }
    }

    // What each of `Classes` adds to the table of its base.
    template <class Base, class... Classes>
    void AddTo() {
        (_add<Classes, Base>(), ...);
    }
    template <class... Classes>
    void Add() {
        (_add<Classes, void>(), ...);
    }

    std::vector<std::string> expected, found;

private:
    template <class Class, class Base>
    void _add() {
        const Table table(typeid(Class));
        std::size_t at = 2;
        std::string head = _demangled(typeid(Class).name());
        if constexpr (!std::is_void_v<Base>) {
            head += " : " + _demangled(typeid(Base).name());
            at = Table(typeid(Base)).count;
        }
        for (found.push_back(head); at < table.count; ++at) {
            found.push_back(_nameOf(table.slots[at]));
        }
    }

    // Of several names of one function, the one that the list has in this place.
    std::string _nameOf(void* operation) const {
        const auto range = _exported.equal_range(reinterpret_cast<std::uintptr_t>(operation));
        std::string line = "    not exported";
        for (auto name = range.first; name != range.second; ++name) {
            line = "    " + name->second;
            if (found.size() < expected.size() && line == expected[found.size()]) {
                break;
            }
        }
        return line;
    }

    std::multimap<std::uintptr_t, std::string> _exported = _exportedNames();
};

std::string _joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + '\n';
    }
    return text;
}

}  // namespace

// Of an abstract class the table has no names, so what derives from it stands for it.
TEST(SlotOrder, IsThatOfTheList) {
    std::ifstream list(SLOTS_LIST);
    Slots slots(list);
    slots.Add<NFile>();
    slots.AddTo<NBaseObject, NFileStream, NTimestamp, NDateTime, NLog, NLogMessage, NMutex,
                NNamedMutex, NErrorHandler, NStringTokenizer, NString, NXML, NURL>();
    slots.AddTo<NString, NPath>();
    slots.AddTo<NDataContainer, NXML>();
    slots.Add<NException>();
    // What a class returns from Clone may not cost a slot of its own.
    slots.AddTo<NException, KelRuntimeException, KelFileNotFoundException>();
    slots.Add<NDataContainerArray, NAutoMutexLock, NAutoNamedMutexLock, NUUID, NChecksum,
              nanoid::crypto_random<std::mt19937>>();

    const std::string text = _joined(slots.found);
    std::ofstream("slots.txt") << text;
    EXPECT_EQ(text, _joined(slots.expected))
        << "If the order was meant to change: cp " << std::filesystem::absolute("slots.txt") << ' '
        << SLOTS_LIST;
}
