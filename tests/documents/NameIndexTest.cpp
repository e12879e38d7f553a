#include <morvel/documents/NameIndex.h>

#include <pugixml.hpp>

#include <morvel/documents/ElementName.h>
#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

namespace {

// What NXML promises, walked child by child: the first of a name whatever its case, and a name that
// isn't found leads back to the top.
pugi::xml_node walk(const pugi::xml_document& document, const std::string& path) {
    pugi::xml_node current;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');) {
        pugi::xml_node child = current ? current.first_child() : document.first_child();
        while (child && !morvel::IsSameName(name, child.name())) child = child.next_sibling();
        current = child;
    }
    return current;
}

std::string text(pugi::xml_node node) {
    std::ostringstream out;
    node.print(out, "", pugi::format_raw);
    return out.str();
}

class Names {
public:
    explicit Names(unsigned seed) : random(seed) {}

    std::string Name() {
        const char* const stems[] = {"N", "Item", "NameOfAnItem"};
        std::string name = stems[random() % 3] + std::to_string(random() % 20);
        for (char& c : name)
            c = static_cast<char>(random() % 2 ? std::toupper(c) : std::tolower(c));
        return name;
    }
    std::string Path() { return "list." + Name() + (random() % 4 ? "" : "." + Name()); }

    std::mt19937 random;
};

}  // namespace

// Every kind of edit between look-ups, so that an index that an edit forgets to tell shows.
TEST(NameIndex, FindsWhatAWalkFindsAfterEveryEdit) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        Names names(seed);
        NXML document;
        document.CreateRoot("list");
        for (int turn = 0; turn < 400; ++turn) {
            const std::string path = names.Path(), value = std::to_string(turn);
            NXML other, copy;
            other.CreateRoot(names.Name());
            other.SetValue(other.RootName(), value);
            copy.Assign(document, 0);
            NDataContainerArray array;
            array.push_back(new NXML);
            array.back()->Assign(other, 0);
            const std::function<void()> edits[] = {
                [&] { document.RemoveElement(path, -1); },
                [&] { document.RemoveElement("list", static_cast<std::int32_t>(turn % 30)); },
                [&] {
                    document.RemoveElementsByName("list", {names.Name(), names.Name()});
                },
                [&] { document.ReplaceElement(path, &other); },
                [&] { document.AppendElements("list", array); },
                [&] { document.Assign(copy, 0); },
                [&] { document.GetElement("list", &document, -1); },
                [&] { document.ToText(2); },
                [&] { document.FromText(document.ToText(0)); },
                [&] { seed % 4 == 0 ? document.SetValue("list", value) : false; },
            };
            const std::size_t edit = names.random() % 64;
            edit < std::size(edits) ? edits[edit]() : void(document.SetValue(path, value));
            for (int look = 0; look < 6; ++look) {
                const std::string sought = names.Path();
                const pugi::xml_node expected = walk(*document.HasRoot(), sought);
                ASSERT_EQ(document.GetElement(sought, &copy, -1), !expected.empty())
                    << sought << ", seed " << seed << ", turn " << turn;
                if (!expected) continue;
                ASSERT_EQ(copy.ToText(0), text(expected)) << sought;
            }
        }
    }
}

// Names of one hash are possible; they must not make a table of quadratic cost, or hide each other.
TEST(NameIndex, FindsNamesOfOneHash) {
    constexpr int count = 4000;
    // In a hash that takes all bytes above 7F for one, names of as many of them are the same.
    const auto name = [](int i) {
        return std::string{'n', static_cast<char>(0x80 + i / 64), static_cast<char>(0x80 + i % 64)};
    };
    for (const int before : {10, count}) {  // children that are there when the index is made
        pugi::xml_document document;
        pugi::xml_node list = document.append_child("list");
        morvel::NameIndex index;
        for (int i = 0; i < count; ++i) {
            pugi::xml_node child = list.append_child(name(i).c_str());
            child.append_attribute("i") = i;
            if (i >= before) index.Added(list, child);
            for (int look = 0; i + 1 == before && look < 3; ++look) index.Find(list, "missing");
        }
        for (int i = 0; i < count; i += 7) {
            ASSERT_EQ(index.Find(list, name(i)).attribute("i").as_int(-1), i);
        }
        EXPECT_TRUE(index.Find(list, "missing").empty());
    }
}
