// Searches through the index of names, against a walk written from its promise.
#include <pugixml.hpp>

#include <morvel/documents/ElementName.h>
#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

namespace {

// The first of a name whatever its case; a name that isn't found leads back to the top.
pugi::xml_node _walk(const pugi::xml_document& document, const std::string& path) {
    pugi::xml_node current;
    std::istringstream names(path);
    for (std::string name; std::getline(names, name, '.');) {
        pugi::xml_node child = current ? current.first_child() : document.first_child();
        while (child && !morvel::IsSameName(name, child.name())) child = child.next_sibling();
        current = child;
    }
    return current;
}

std::string _text(pugi::xml_node node) {
    std::ostringstream out;
    node.print(out, "", pugi::format_raw);
    return out.str();
}

}  // namespace

// Every kind of edit between searches, so that an index that an edit forgets to tell shows.
TEST(NameIndex, FindsWhatAWalkFindsAfterEveryEdit) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        std::mt19937 random(seed);
        const auto name = [&random] {
            const char* const stems[] = {"N", "Item", "NameOfAnItem", "\xE6\xBC\xA2"};
            std::string drawn = stems[random() % 4] + std::to_string(random() % 20);
            for (char& c : drawn) {
                c = static_cast<char>(random() % 2 ? std::toupper(c) : std::tolower(c));
            }
            return drawn;
        };
        const auto path = [&] {
            const std::string first = random() % 16 == 0 ? "xml" : "list." + name();
            return first + (random() % 4 ? "" : '.' + name());
        };
        NXML document;
        document.CreateRoot("list");
        for (int turn = 0; turn < 400; ++turn) {
            const std::string edited = path(), value = std::to_string(turn);
            NXML other, copy;
            other.CreateRoot(name());
            other.SetValue(other.RootName(), value);
            copy.Assign(document, 0);
            NDataContainerArray array;
            array.push_back(new NXML);
            array.back()->Assign(other, 0);
            const std::function<void()> edits[] = {
                [&] { document.RemoveElement(edited, -1); },
                [&] { document.RemoveElement("list", static_cast<std::int32_t>(turn % 30)); },
                [&] {
                    document.RemoveElementsByName("list", {name(), name()});
                },
                [&] { document.ReplaceElement(edited, &other); },
                [&] { document.AppendElements("list", array); },
                [&] { document.Assign(copy, 0); },
                [&] { (void)document.GetElement("list", &document, -1); },
                [&] { document.ToText(2); },
                [&] { (void)document.FromText(document.ToText(0)); },
                [&] { seed % 4 == 0 ? document.SetValue("list", value) : false; },
                [&] { seed % 4 == 1 ? document.CreateRoot("list") : 0; },
                [&] { document.SetAttribute("xml", "version", value); },
            };
            const std::size_t edit = random() % 64;
            edit < std::size(edits) ? edits[edit]() : void(document.SetValue(edited, value));
            for (int search = 0; search < 6; ++search) {
                const std::string sought = path();
                const pugi::xml_node expected = _walk(*document.HasRoot(), sought);
                ASSERT_EQ(document.GetElement(sought, &copy, -1), !expected.empty())
                    << sought << ", seed " << seed << ", turn " << turn;
                ASSERT_EQ(expected ? copy.ToText(0) : "", _text(expected)) << sought;
            }
        }
    }
}

// Names of one hash: more spellings than the probe limit, of which a walk finds the first.
TEST(NameIndex, FindsNamesOfOneHash) {
    std::string xml = "<r><x/><y/>";
    for (unsigned i = 0; i < 1024; ++i) {
        std::string name = "abcdefghij";
        for (unsigned k = 0; k < 10; ++k) name[k] ^= static_cast<char>((i >> k & 1) * 0x20);
        xml += '<' + name + "/>";
    }
    NXML document, found;
    ASSERT_TRUE(document.FromText(xml + "<last/></r>"));
    for (int search = 0; search < 4; ++search) {
        EXPECT_TRUE(document.GetElement("r.last", nullptr, -1));
        EXPECT_TRUE(document.GetElement("r.ABCDEFGHIJ", &found, -1));
        EXPECT_EQ(found.RootName(), "abcdefghij");
        EXPECT_TRUE(document.SetValue("r.new" + std::to_string(search), std::string("v")));
        EXPECT_TRUE(document.GetElement("r.new0", nullptr, -1));
    }
}
