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

// What `find` says of each path, in one thread and in four at once, which read the same document.
template <class Find>
void _addSubject(const std::string& name, const char* subject,
                 const std::vector<std::string>& paths, Find find) {
    const auto all = [paths, find] {
        int found = 0;
        for (const std::string& path : paths) found += find(path);
        return found;
    };
    const auto count = static_cast<int>(paths.size());
    bench::AddEqual(name + '/' + subject, bench::Items(paths.size()), all, count);
    constexpr int rounds = 50;
    bench::AddEqual(
        name + ", four threads/" + subject, bench::Items(paths.size() * 4 * rounds),
        [all] {
            return bench::InThreads(4, [all] {
                int found = 0;
                for (int i = 0; i < rounds; ++i) found += all();
                return found;
            });
        },
        count * 4 * rounds, bench::Clock::Wall);
}

void _addCase(const std::string& name, const std::string& xml,
              const std::vector<std::string>& paths) {
    const auto own = std::make_shared<NXML>();
    (void)own->FromText(xml);
    _addSubject(name, "Morvel", paths,
                [own](const std::string& path) { return own->GetElement(path, nullptr, -1); });

    const auto raw = std::make_shared<pugi::xml_document>();
    raw->load_string(xml.c_str());
    _addSubject(name, "pugixml (raw)", paths,
                [raw](const std::string& path) { return !_walk(*raw, path).empty(); });

    const auto tree = std::make_shared<pt::ptree>();
    std::istringstream in(xml);
    pt::read_xml(in, *tree);
    _addSubject(name, "Boost property tree", paths, [tree](const std::string& path) {
        return tree->get_child_optional(path).has_value();
    });
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
