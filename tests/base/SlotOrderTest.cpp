// The order of the virtual operations is part of the library's binary interface: a program built
// against one release calls them by their place in the table. This test fails when two change
// places or a new one comes in between.

#include <dlfcn.h>
#include <link.h>

#include <morvel/morvel.h>
#include <tests/support/Test.h>

// slots.txt has a line for each class, with its table and the first slot that is its own, and below
// it the symbols of the operations; c++filt makes both readable. "-" is not exported.
TEST(SlotOrder, IsThatOfTheList) {
    NException("loads the library", 0);
    std::ifstream list(SLOTS_LIST);
    void **slot = nullptr, **end = nullptr;
    for (std::string line; std::getline(list, line);) {
        std::istringstream words(line);
        std::string symbol;
        std::size_t first = 0;
        words >> symbol;
        void* const address = dlsym(RTLD_DEFAULT, symbol.c_str());
        if (words >> first) {
            EXPECT_EQ(slot, end) << "a slot more in front of " << symbol;
            ASSERT_NE(address, nullptr) << symbol;
            Dl_info library;
            void* table = nullptr;
            dladdr1(address, &library, &table, RTLD_DL_SYMENT);
            slot = static_cast<void**>(address) + 2 + first;  // behind offset and type information
            end = static_cast<void**>(address) +
                  static_cast<ElfW(Sym)*>(table)->st_size / sizeof(void*);
            continue;
        }
        ASSERT_LT(slot, end) << "a slot less: " << symbol;
        Dl_info found = {};
        dladdr(*slot, &found);
        EXPECT_TRUE(symbol == "-" || address == *slot)
            << symbol << " is not in its place, but " << (found.dli_sname ? found.dli_sname : "-");
        ++slot;
    }
    EXPECT_EQ(slot, end);
}
