// Values set and read: a thousand of each a round, in a document of their own.
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <pugixml.hpp>
#include <string>

#include <morvel/documents/NXML.h>

#include "Documents.h"
#include "Subject.h"

namespace {

namespace pt = boost::property_tree;

constexpr int Count = 1000;

// A hundred chapters with ten sections each.
const bench::Book& _book() {
    static const bench::Book book([] {
        std::size_t bytes = 1000;
        while (bench::Book(bytes).chapters < 100) bytes += 400;
        return bytes;
    }());
    return book;
}

std::string _value(int i, int turn) {
    return "value " + std::to_string(i) + " of turn " + std::to_string(turn % 10);
}

pugi::xml_node _section(const pugi::xml_document& document, int i) {
    return document.child("book")
        .child(("c" + std::to_string(i / 10)).c_str())
        .child(("s" + std::to_string(i % 10)).c_str());
}

// `count` paths in one element, each to a name of two CJK characters.
std::vector<std::string> _cjkPaths(std::size_t count) {
    const auto character = [](std::size_t codePoint) {
        return std::string{static_cast<char>(0xE0 | codePoint >> 12),
                           static_cast<char>(0x80 | (codePoint >> 6 & 0x3F)),
                           static_cast<char>(0x80 | (codePoint & 0x3F))};
    };
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i) {
        paths.push_back("list." + character(0x4E00 + i / 250) + character(0x4E00 + i % 250));
    }
    return paths;
}

// New elements in a document of their own, in one thread and in four with a document each.
template <class Fill>
void _addNewNames(const char* subject, Fill fill) {
    for (const std::size_t count : {16000, 64000}) {
        const std::string name = std::to_string(count / 1000) + ",000 new names";
        const auto work = [fill, paths = _cjkPaths(count)] { return fill(paths); };
        bench::AddEqual(name + '/' + subject, bench::Items(count), work, count);
        bench::AddEqual(
            name + ", four threads/" + subject, bench::Items(4 * count),
            [work] { return bench::InThreads(4, work); }, 4 * count, bench::Clock::Wall);
    }
}

}  // namespace

void AddSubjects() {
    const bench::Book& book = _book();
    std::vector<std::string> paths;
    for (int i = 0; i < Count; ++i) paths.push_back(book.Path(i));
    std::vector<std::string> values[2];
    for (int i = 0; i < Count; ++i) {
        values[0].push_back(_value(i, 0));
        values[1].push_back(_value(i, 1));
    }

    const auto own = std::make_shared<NXML>();
    (void)own->FromText(book.xml);
    const auto raw = std::make_shared<pugi::xml_document>();
    raw->load_string(book.xml.c_str());
    const auto tree = std::make_shared<pt::ptree>();
    std::istringstream in(book.xml);
    pt::read_xml(in, *tree);

    const bench::Size size = bench::Items(Count);
    int turn = 0;
    bench::AddEqual(
        "set/Morvel", size,
        [=]() mutable {
            ++turn;
            int set = 0;
            for (int i = 0; i < Count; ++i) {
                set += own->SetValue(paths[static_cast<std::size_t>(i)],
                                     values[turn % 2][static_cast<std::size_t>(i)]);
            }
            return set;
        },
        Count);
    bench::AddEqual(
        "set/pugixml (raw)", size,
        [=]() mutable {
            ++turn;
            int set = 0;
            for (int i = 0; i < Count; ++i) {
                set += _section(*raw, i).text().set(
                    values[turn % 2][static_cast<std::size_t>(i)].c_str());
            }
            return set;
        },
        Count);
    bench::AddEqual(
        "set/Boost property tree", size,
        [=]() mutable {
            ++turn;
            int set = 0;
            for (int i = 0; i < Count; ++i) {
                tree->put(paths[static_cast<std::size_t>(i)],
                          values[turn % 2][static_cast<std::size_t>(i)]);
                ++set;
            }
            return set;
        },
        Count);

    const auto own2 = std::make_shared<NXML>();
    (void)own2->FromText(book.xml);
    const auto raw2 = std::make_shared<pugi::xml_document>();
    raw2->load_string(book.xml.c_str());
    const auto tree2 = std::make_shared<pt::ptree>();
    std::istringstream in2(book.xml);
    pt::read_xml(in2, *tree2);
    std::size_t expected = 0;
    for (int i = 0; i < Count; ++i) expected += bench::Book::Value(i).size();
    bench::AddEqual(
        "read/Morvel", size,
        [=] {
            std::size_t sum = 0;
            NXML element;
            for (const std::string& path : paths) {
                (void)own2->GetElement(path, &element, -1);
                sum += element.RootValue().size();
            }
            return sum;
        },
        expected);
    // The same road: the element copied into a second document, its text taken from there.
    bench::AddEqual(
        "read/pugixml (raw)", size,
        [=] {
            std::size_t sum = 0;
            for (int i = 0; i < Count; ++i) {
                pugi::xml_document element;
                element.append_copy(_section(*raw2, i));
                sum += std::string(element.document_element().first_child().value()).size();
            }
            return sum;
        },
        expected);
    bench::AddEqual(
        "read/Boost property tree", size,
        [=] {
            std::size_t sum = 0;
            for (const std::string& path : paths) sum += tree2->get<std::string>(path).size();
            return sum;
        },
        expected);
    bench::AddEqual(
        "read/Boost property tree, copied", size,
        [=] {
            std::size_t sum = 0;
            for (const std::string& path : paths) {
                const pt::ptree element = tree2->get_child(path);
                sum += element.get_value<std::string>().size();
            }
            return sum;
        },
        expected);

    _addNewNames("Morvel", [](const std::vector<std::string>& names) {
        NXML document;
        document.CreateRoot("list");
        std::size_t set = 0;
        for (const std::string& name : names) set += document.SetValue(name, std::string("v"));
        return set;
    });
    _addNewNames("Boost property tree", [](const std::vector<std::string>& names) {
        pt::ptree document;
        for (const std::string& name : names) document.put(name, "v");
        return document.get_child("list").size();
    });
}
