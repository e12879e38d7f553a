// Lets the n-th allocation of pugixml fail, for n = 1, 2, ... until none does.
#include <morvel/documents/NXML.h>

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <cstdlib>
#include <new>

namespace {

int alive = 0;
int untilFailure = -1;  // allocations that may still succeed before one fails; negative: none fails

void* _allocate(std::size_t size) {
    if (untilFailure >= 0 && untilFailure-- == 0) {
        return nullptr;
    }
    ++alive;
    return std::malloc(size);
}

void _free(void* memory) {
    --alive;
    std::free(memory);
}

const std::string _huge(40000, 'v');  // more than pugixml asks for at once
const std::string _text = "<a><b x=\"1\">" + _huge + "</b><b x=\"2\"><c/></b></a>";

}  // namespace

// What comes out is true, false or std::bad_alloc; nothing is leaked, and where nothing can be put
// in place of the document, it stays as it was.
TEST(NXMLMemory, AFailedAllocationLeaksNothing) {
    pugi::set_memory_management_functions(_allocate, _free);
    bool (*const operations[])(NXML&, NDataContainerArray&) = {
        [](NXML& d, NDataContainerArray&) { return d.GetElement("a.b", &d, -1); },
        [](NXML& d, NDataContainerArray& out) { return d.GetElements("a", out); },
        [](NXML& d, NDataContainerArray&) { return d.ReplaceElement("a.b", &d); },
        [](NXML& d, NDataContainerArray&) { return d.SetValue("a." + _huge, _huge); },
        [](NXML& d, NDataContainerArray&) { return d.FromText(_text); },
    };
    for (const auto operation : operations) {
        bool failed = true, result = false;
        for (int n = 0; failed; ++n) {
            {
                NXML document;
                NDataContainerArray out;
                ASSERT_TRUE(document.FromText(_text));
                result = false;
                untilFailure = n;
                try {
                    result = operation(document, out);
                } catch (const std::bad_alloc&) {
                }
                failed = untilFailure < 0;
                untilFailure = -1;
                EXPECT_TRUE(result || document.ToText(0) == _text || operation == operations[4]);
            }
            EXPECT_EQ(alive, 0) << n;
        }
        EXPECT_TRUE(result);
    }
}
