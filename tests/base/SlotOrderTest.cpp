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

std::string demangled(const char* name) {
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

// What `Class` adds to the table of its base.
template <class Class, class Base = void>
std::string added() {
    const Table table(typeid(Class));
    std::size_t at = 2;
    std::string text = demangled(typeid(Class).name());
    if constexpr (!std::is_void_v<Base>) {
        text += " : " + demangled(typeid(Base).name());
        at = Table(typeid(Base)).count;
    }
    for (text += '\n'; at < table.count; ++at) {
        Dl_info operation;
        dladdr(table.slots[at], &operation);
        const char* const name = operation.dli_sname;  // null for what isn't exported
        text += "    " + (name == nullptr ? "not exported" : demangled(name)) + '\n';
    }
    return text;
}

template <class Base, class... Classes>
std::string addedTo() {
    return (added<Classes, Base>() + ...);
}

}  // namespace

// Of an abstract class the table has no names, so what derives from it stands for it.
TEST(SlotOrder, IsThatOfTheList) {
    const std::string slots =
        added<NFile>() +
        addedTo<NBaseObject, NFileStream, NTimestamp, NDateTime, NLog, NLogMessage, NMutex,
                NNamedMutex, NErrorHandler, NStringTokenizer, NString, NXML, NURL>() +
        added<NPath, NString>() + added<NXML, NDataContainer>() + added<NException>() +
        // What a class returns from Clone may not cost a slot of its own.
        addedTo<NException, KelRuntimeException, KelFileNotFoundException>() +
        added<NDataContainerArray>() + added<NAutoMutexLock>() + added<NAutoNamedMutexLock>() +
        added<NUUID>() + added<NChecksum>() + added<nanoid::crypto_random<std::mt19937>>();
    std::ofstream("slots.txt") << slots;
    std::ifstream list(SLOTS_LIST);
    EXPECT_EQ(slots, std::string(std::istreambuf_iterator<char>(list), {}))
        << "If the order was meant to change: cp " << std::filesystem::absolute("slots.txt") << ' '
        << SLOTS_LIST;
}
