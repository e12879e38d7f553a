// A document as a whole: read from a stream, written as text.
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>

#include <pugixml.hpp>
#include <sstream>
#include <streambuf>

#include <morvel/documents/NXML.h>

#include "Documents.h"
#include "Subject.h"

namespace {

namespace pt = boost::property_tree;

// What every subject reads from: a stream over memory that can be rewound.
class Source : public std::streambuf {
public:
    explicit Source(const std::string& text) {
        char* const begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }

protected:
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override {
        char* const base = from == std::ios::beg   ? eback()
                           : from == std::ios::cur ? gptr()
                                                   : egptr();
        setg(eback(), base + offset, egptr());
        return gptr() - eback();
    }
    pos_type seekpos(pos_type position, std::ios::openmode mode) override {
        return seekoff(off_type(position), std::ios::beg, mode);
    }
};

std::string _text(const pugi::xml_document& document) {
    std::ostringstream out;
    document.save(out, "\t", pugi::format_raw | pugi::format_no_declaration);
    return out.str();
}

void _addCases(std::size_t bytes) {
    const bench::Book book(bytes);
    const bench::Size size = bench::Bytes(book.xml.size());

    const std::string load = "load " + bench::SizeName(bytes);
    bench::Add(
        load + "/Morvel", size,
        [xml = book.xml] {
            Source source(xml);
            std::istream in(&source);
            auto document = std::make_unique<NXML>();
            document->LoadStream(in, true);
            return document;
        },
        [xml = book.xml](const std::unique_ptr<NXML>& document) {
            return document->ToText(0) == xml;
        });
    bench::Add(
        load + "/pugixml (raw)", size,
        [xml = book.xml] {
            Source source(xml);
            std::istream in(&source);
            auto document = std::make_unique<pugi::xml_document>();
            document->load(in);
            return document;
        },
        [xml = book.xml](const std::unique_ptr<pugi::xml_document>& document) {
            return _text(*document) == xml;
        });
    bench::Add(
        load + "/Boost property tree", size,
        [xml = book.xml] {
            Source source(xml);
            std::istream in(&source);
            pt::ptree tree;
            pt::read_xml(in, tree);
            return tree;
        },
        [&](const pt::ptree& tree) {
            return tree.get<std::string>("book.c0.s1") == bench::Book::Value(1);
        });

    const std::string write = "to text " + bench::SizeName(bytes);
    const auto addWrite = [&](const char* subject, auto work) {
        bench::AddEqual(write + '/' + subject, size, work, book.xml);
    };
    auto own = std::make_shared<NXML>();
    (void)own->FromText(book.xml);
    addWrite("Morvel", [own] { return own->ToText(0); });
    auto raw = std::make_shared<pugi::xml_document>();
    raw->load_string(book.xml.c_str());
    addWrite("pugixml (raw)", [raw] { return _text(*raw); });

    // The memory that the parsed document and its reading take at the most.
    const std::string memory = "memory of load " + bench::SizeName(bytes);
    if (bytes < 1 << 20) return;
    const auto addMemory = [&](const char* subject, auto parse) {
        benchmark::RegisterBenchmark((memory + '/' + subject).c_str(), [=](benchmark::State&
                                                                               state) {
            for (auto _ : state) {
                state.counters["peak_bytes"] = static_cast<double>(bench::PeakBytes(parse));
            }
            state.counters["items"] = 1;
        })->Iterations(1);
    };
    addMemory("Morvel", [xml = book.xml] {
        Source source(xml);
        std::istream in(&source);
        NXML document;
        document.LoadStream(in, true);
    });
    addMemory("pugixml (raw)", [xml = book.xml] {
        Source source(xml);
        std::istream in(&source);
        pugi::xml_document document;
        document.load(in);
    });
}

}  // namespace

void AddSubjects() {
    _addCases(10 << 10);
    _addCases(1 << 20);
}
