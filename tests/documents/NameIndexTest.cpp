// Finding elements by paths, through the index of names, against a walk written from their promise.
#include <Poco/StringTokenizer.h>

#include <pugixml.hpp>

#include <morvel/documents/ElementName.h>
#include <morvel/documents/NXML.h>
#include <tests/support/Generated.h>

namespace {

// The first of a name whatever its case, the first bar in it being a dot; after a name that isn't
// found the next one is looked for at the top.
pugi::xml_node _walk(const pugi::xml_document& document, const std::string& path) {
    pugi::xml_node current;
    for (std::string name : Poco::StringTokenizer(path, ".", Poco::StringTokenizer::TOK_TRIM)) {
        if (name.empty()) continue;
        if (const auto bar = name.find('|'); bar != name.npos) name[bar] = '.';
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

// Every kind of edit between searches, so that an index that an edit forgets to tell shows; and all
// that a path may have around its names, and some bytes that only look like blanks.
TEST(NameIndex, FindsWhatAWalkFindsAfterEveryEdit) {
    const std::vector<std::string> anyStems = {"N", "Item", "NameOfAnItem", "\xE6\xBC\xA2", "a.b|"};
    const std::vector<std::string> stemsOfOneHash = {"x@", "x`"};
    const std::string around = "....  a|\t\n\v\f\r\0\x08\x0E\x1F\x7F\x80\x85\xA0\xC3\xFF"s;
    ForEachDraw(60, [&](Draw& draw) {
        const std::size_t kind = draw.Below(4);
        const auto& stems = kind == 2 ? stemsOfOneHash : anyStems;
        const auto name = [&] {
            std::string drawn = draw.Of(stems) + std::to_string(draw.Below(20));
            for (char& c : drawn) {
                c = static_cast<char>(draw.OneIn(2) ? std::toupper(c) : std::tolower(c));
            }
            return drawn;
        };
        const auto path = [&] {
            std::string first = draw.OneIn(16) ? "xml" : "list." + name();
            if (const auto dot = first.find('.', 5); dot != first.npos) first[dot] = '|';
            return first + (draw.OneIn(4) ? '.' + name() : "");
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
            const NNameList names = {name(), name()};
            const std::function<void()> edits[] = {
                [&] { document.RemoveElement(edited, -1); },
                [&] { document.RemoveElement("list", static_cast<std::int32_t>(turn % 30)); },
                [&] { document.RemoveElementsByName("list", names); },
                [&] { document.ReplaceElement(edited, &other); },
                [&] { document.AppendElements("list", array); },
                [&] { document.Assign(copy, 0); },
                [&] { (void)document.GetElement("list", &document, -1); },
                [&] { document.ToText(2); },
                [&] { (void)document.FromText(document.ToText(0)); },
                [&] { kind == 0 ? document.SetValue("list", value) : false; },
                [&] { kind == 1 ? document.CreateRoot("list") : 0; },
                [&] { document.SetAttribute("xml", "version", value); },
            };
            const std::size_t edit = draw.Below(64);
            edit < std::size(edits) ? edits[edit]() : void(document.SetValue(edited, value));
            for (int search = 0; search < 6; ++search) {
                std::string sought = path() + (draw.OneIn(8) ? ".none." + path() : "");
                for (std::size_t more = draw.Below(8); more > 4; --more) {
                    sought.insert(draw.Below(sought.size() + 1), 1, draw.Of(around));
                }
                const pugi::xml_node expected = _walk(*document.HasRoot(), sought);
                ASSERT_EQ(document.GetElement(sought, &copy, -1), !expected.empty())
                    << PrintToString(sought) << ", turn " << turn;
                ASSERT_EQ(expected ? copy.ToText(0) : "", _text(expected)) << sought;
            }
        }
    });
}
