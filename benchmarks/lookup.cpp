// Finding an element by its path.
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <strings.h>
#include <algorithm>
#include <cstring>
#include <pugixml.hpp>
#include <random>
#include <sstream>
#include <vector>

#include <morvel/documents/NXML.h>

#include "Documents.h"
#include "Subject.h"

namespace {

namespace pt = boost::property_tree;

// The path taken apart, and each level walked by the library's own child().
pugi::xml_node _walk(const pugi::xml_document& document, const std::string& path) {
    pugi::xml_node node = document;
    for (std::size_t at = 0;;) {
        const std::size_t dot = path.find('.', at);
        node = node.child(path.substr(at, dot - at).c_str());
        if (dot == std::string::npos) return node;
        at = dot + 1;
    }
}

void _addCase(const std::string& name, const std::string& xml,
              const std::vector<std::string>& paths) {
    const bench::Size size = bench::Items(paths.size());
    const auto all = static_cast<int>(paths.size());

    const auto own = std::make_shared<NXML>();
    own->FromText(xml);
    bench::AddEqual(
        name + "/Morvel", size,
        [own, paths] {
            int found = 0;
            for (const std::string& path : paths) found += own->GetElement(path, nullptr, -1);
            return found;
        },
        all);

    const auto raw = std::make_shared<pugi::xml_document>();
    raw->load_string(xml.c_str());
    bench::AddEqual(
        name + "/pugixml (raw)", size,
        [raw, paths] {
            int found = 0;
            for (const std::string& path : paths) found += !_walk(*raw, path).empty();
            return found;
        },
        all);

    const auto tree = std::make_shared<pt::ptree>();
    std::istringstream in(xml);
    pt::read_xml(in, *tree);
    bench::AddEqual(
        name + "/Boost property tree", size,
        [tree, paths] {
            int found = 0;
            for (const std::string& path : paths)
                found += tree->get_child_optional(path).has_value();
            return found;
        },
        all);
}

}  // namespace

void AddSubjects() {
    std::mt19937 engine(5);

    const bench::Book book(1 << 20);
    std::vector<std::string> paths;
    for (int i = 0; i < 1000; ++i) {
        paths.push_back(book.Path(static_cast<int>(engine() % (book.chapters * 10u))));
    }
    _addCase("a.b.c in 1 MiB", book.xml, paths);

    std::string flat = "<list>";
    for (int i = 0; i < 5000; ++i) {
        const std::string name = "item" + std::to_string(i);
        flat += "<" + name + ">" + std::to_string(i) + "</" + name + ">";
    }
    flat += "</list>";
    paths.clear();
    for (int i = 0; i < 1000; ++i) paths.push_back("list.item" + std::to_string(engine() % 5000));
    _addCase("among 5,000 siblings", flat, paths);
}
