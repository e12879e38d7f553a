// How cost grows with work: the same operation at four sizes, a decade apart. The name of a case is
// that of the operation, the subject is the size.
#include <vector>

#include <morvel/documents/NXML.h>
#include <morvel/text/NString.h>
#include <morvel/transfer/NURL.h>

#include "Documents.h"
#include "Loopback.h"
#include "Subject.h"

namespace {

constexpr std::size_t Decades[] = {1000, 10000, 100000, 1000000};

std::string _name(const char* operation, std::size_t size) {
    return std::string(operation) + '/' + std::to_string(size);
}

std::string _flat(std::size_t count) {
    std::string xml = "<list>";
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = "i" + std::to_string(i);
        xml += "<" + name + ">v</" + name + ">";
    }
    return xml + "</list>";
}

void _addText(std::size_t size) {
    for (const char* script : {"ascii", "cjk", "decomposed"}) {
        const std::string text = bench::Text(script, size);
        bench::Add(
            _name((std::string("text to NFC, ") + script + " (bytes)").c_str(), size),
            bench::Bytes(size), [text] { return NString(text, EncodingUTF8); },
            [](const NString& result) { return !result.IsEmpty(); });
    }
    const NString text(bench::Text("ascii", size), EncodingUTF8);
    bench::Add(
        _name("replace all (bytes)", size), bench::Bytes(size),
        [text] {
            NString copy(text);
            copy.ReplaceAll(std::string("lazy dog"), std::string("sleeping cat"));
            return copy;
        },
        [text](const NString& result) { return result.Length() > text.Length(); });
}

void _addDocument(std::size_t size) {
    const bench::Book book(size);
    bench::AddEqual(
        _name("load (bytes)", size), bench::Bytes(book.xml.size()),
        [xml = book.xml] {
            NXML document;
            return document.FromText(xml);
        },
        true);

    const auto flat = std::make_shared<NXML>();
    (void)flat->FromText(_flat(size / 10));
    const std::string last = "list.i" + std::to_string(size / 10 - 1);
    bench::AddEqual(
        _name("look-up of the last of n siblings (siblings)", size / 10), bench::Items(1),
        [flat, last] { return flat->GetElement(last, nullptr, -1); }, true);
    bench::AddEqual(
        _name("set of the last of n siblings (siblings)", size / 10), bench::Items(1),
        [flat, last] { return flat->SetValue(last, std::string("w")); }, true);

    const auto array = std::make_shared<NDataContainerArray>();
    for (std::size_t i = 0; i < size / 100; ++i) {
        auto* const element = new NXML;
        array->push_back(element);
        element->CreateRoot("item");
    }
    bench::AddEqual(
        _name("AppendElements (elements)", size / 100), bench::Items(1),
        [array] {
            NXML target;
            target.CreateRoot("list");
            return target.AppendElements("list", *array);
        },
        true);
}

void _addDownload(std::size_t kibibytes) {
    const std::string url = bench::LoopbackServer() + std::to_string(kibibytes << 10);
    bench::AddEqual(
        _name("download (KiB)", kibibytes), bench::Bytes(kibibytes << 10),
        [url, kibibytes] {
            NURL transfer;
            return transfer.Get(url, 60, nullptr, nullptr, nullptr, nullptr) == 0 &&
                   transfer.Size() == kibibytes << 10;
        },
        true, bench::Clock::Wall);
}

}  // namespace

void AddSubjects() {
    for (const std::size_t size : Decades) _addText(size);
    for (const std::size_t size : Decades) _addDocument(size);
    for (const std::size_t kibibytes : {10, 100, 1000, 10000, 100000}) _addDownload(kibibytes);
}
