// Lets the n-th allocation fail, for n = 1, 2, ... until none does, and looks at what is left.
#include <morvel/documents/NXML.h>

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <cstdlib>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include <morvel/base/NException.h>

namespace {

// Allocations of the thread: how many are alive, and how many may still succeed before one fails.
// Counted for operator new, where a platform lets a program replace it for a shared library, and
// for pugixml, which has an allocator of its own.
long alive = 0;
long untilFailure = -1;  // negative: none fails

void* _allocate(std::size_t size) {
    if (untilFailure >= 0 && untilFailure-- == 0) {
        return nullptr;
    }
    void* memory = std::malloc(size == 0 ? 1 : size);
    alive += memory != nullptr ? 1 : 0;
    return memory;
}

void _free(void* memory) {
    alive -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = _allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return _allocate(size);
}
void operator delete(void* memory) noexcept {
    _free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    _free(memory);
}

namespace {

const std::string _text =
    "<a><b x=\"1\">a text that is too long for any place but the heap</b>"
    "<b x=\"2\"><c>another text that is too long for any place but the heap</c></b></a>";
const std::string _long = "a value that is too long for any place but the heap, for sure";
const std::string _huge(40000, 'v');  // more than pugixml asks for at once

// What an operation works on, and what it works with.
struct Scene {
    Scene() {
        document.FromText(_text);
        other.FromText(_text);
        array.push_back(new NXML);
        array.push_back(new NXML);
        array.front()->FromText(_text);
        array.back()->FromText(_text);
    }
    NXML document, other;
    NDataContainerArray array, out;
};

void _ignore(const std::string&, void*) {}

using Operation = bool (*)(Scene&);

// Runs `operation` with each of its allocations failing in turn. What comes out is true, false or
// std::bad_alloc, and nothing is leaked; where `documentStays`, a failure leaves it as it was.
void _checkFailures(const char* what, Operation operation, bool documentStays) {
    SCOPED_TRACE(what);
    for (long n = 0;; ++n) {
        ASSERT_LT(n, 100000);
        const long before = alive;
        bool failed = false, result = false, stays = true;
        {
            Scene scene;
            untilFailure = n;
            try {
                result = operation(scene);
            } catch (const std::bad_alloc&) {
            }
            failed = untilFailure < 0;
            untilFailure = -1;
            stays = result || scene.document.ToText(0) == _text;
        }
        EXPECT_EQ(alive, before) << "allocation " << n;
        EXPECT_TRUE(stays || !documentStays) << "allocation " << n;
        if (!failed) {
            EXPECT_TRUE(result);
            return;
        }
    }
}

}  // namespace

TEST(NXMLMemory, AFailedAllocationLeaksNothing) {
    pugi::set_memory_management_functions(_allocate, _free);
    const struct {
        const char* what;
        Operation operation;
        bool documentStays;
    } rows[] = {
        {"GetElement", [](Scene& s) { return s.document.GetElement("a.b", &s.other, -1); }, true},
        {"GetElement, itself", [](Scene& s) { return s.document.GetElement("a", &s.document, -1); },
         true},
        {"FindElements",
         [](Scene& s) {
             return s.document.FindElements("a", s.out, {{"x", "2"}, {"x", "1"}});
         },
         true},
        {"AppendElements", [](Scene& s) { return s.document.AppendElements("a.b", s.array); },
         false},
        {"ReplaceElement", [](Scene& s) { return s.document.ReplaceElement("a.b", &s.other); },
         true},
        {"SetValue of a new element",
         [](Scene& s) { return s.document.SetValue("a." + _long, NString(_huge)); }, true},
        {"SetValueCData", [](Scene& s) { return s.document.SetValueCData("a.new", _long); }, true},
        {"SetValue", [](Scene& s) { return s.document.SetValue("a", _long.c_str()); }, false},
        {"SetAttributes", [](Scene& s) { return s.document.SetAttribute("a", "new", _long); },
         false},
        {"RemoveElementsByName",
         [](Scene& s) {
             return s.document.RemoveElementsByName("a", {_long, "B"});
         },
         true},
        {"ForEachElement", [](Scene& s) { return s.document.ForEachElement("", _ignore); }, true},
        {"Assign",
         [](Scene& s) {
             s.document.Assign(s.other, 0);
             return true;
         },
         true},
        {"array", [](Scene& s) { return s.out.Assign(s.array), s.out.size() == 2; }, true},
        {"LoadStream",
         [](Scene& s) {
             std::istringstream stream(_text);
             try {
                 return s.document.LoadStream(stream, false);
             } catch (const KelXMLElementException&) {
                 return false;
             }
         },
         false},
        {"LoadFile", [](Scene& s) { return s.document.LoadFile("/none/" + _long, true) || true; },
         true},
        {"FromText", [](Scene& s) { return s.document.FromText(_text); }, false},
        {"ToText", [](Scene& s) { return !s.document.ToText(0).empty(); }, true},
        {"CreateRoot",
         [](Scene& s) {
             s.document.Clear();
             return s.document.CreateRoot(_long) == 0;
         },
         false},
        {"RootAttributes",
         [](Scene& s) {
             NXML b;
             return s.document.GetElement("a.b", &b, -1) && b.RootAttributes().size() == 1;
         },
         true},
        {"GetRootAttribute",
         [](Scene& s) {
             NString value;
             return s.document.GetRootAttribute("none", value) || value.IsEmpty();
         },
         true},
    };
    for (const auto& row : rows) {
        _checkFailures(row.what, row.operation, row.documentStays);
    }
}
