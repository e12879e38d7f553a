// A document read from arbitrary bytes, and then a sequence of edits of it. What was written is
// read back, a look-up never misses what another way of asking finds, and a document comes back
// from its own text.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <morvel/base/NException.h>
#include <morvel/documents/NXML.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

// Few names and short paths, so that the edits meet.
std::string path(FuzzedDataProvider& input) {
    static const char* const names[] = {"a", "A", "b", "c|d", "", "e"};
    std::string result;
    const int count = input.ConsumeIntegralInRange(0, 4);
    for (int i = 0; i < count; ++i) {
        if (i > 0) result += '.';
        result += input.PickValueInArray(names);
    }
    return result;
}

// Whether the path is sure to lead to the element that it has just made. A `|` is a dot in a search
// alone, and a search goes on at the top behind a name that is missing.
bool isPlain(const std::string& path) {
    return path.find('|') == std::string::npos && path.find('.') == path.rfind('.');
}

void reload(NXML& document) {
    const std::string text = document.ToText(0);
    NXML again;
    if (!again.FromText(text)) return;  // names and values may be any bytes, XML may not
    const std::string once = again.ToText(0);
    NXML twice;
    Expect(twice.FromText(once), "a document's own text can be read");
    ExpectEqual(twice.ToText(0), once, "a document comes back from its own text");
}

void edit(FuzzedDataProvider& input, NXML& document) {
    const std::string where = path(input);
    NXML other;
    switch (input.ConsumeIntegralInRange(0, 9)) {
        case 0: {
            const std::string value = input.ConsumeRandomLengthString(12);
            if (!document.SetValue(where, value)) break;
            if (!isPlain(where)) break;
            Expect(document.GetElement(where, &other, -1), "an element that was set is there");
            ExpectEqual(other.RootValue(), value.c_str(), "a value that was set is read");
            break;
        }
        case 1: {
            const std::string value = input.ConsumeRandomLengthString(12);
            if (!document.SetAttribute(where, "n", value)) break;
            Expect(document.GetElement(where, &other, -1), "an element that was set is there");
            std::string read;
            Expect(other.GetRootAttribute("N", read), "an attribute that was set is there");
            ExpectEqual(read, value.c_str(), "an attribute that was set is read");
            break;
        }
        case 2:
            document.RemoveElement(where, input.ConsumeIntegralInRange(-2, 3));
            break;
        case 3:
            document.RemoveElementsByName(where, {"a", "E"});
            break;
        case 4: {
            NDataContainerArray array;
            document.GetElements(where, array);
            document.AppendElements(path(input), array);
            break;
        }
        case 5:
            document.ReplaceElement(where, &document);
            break;
        case 6:
            other.Assign(document, 0);
            document.ReplaceElement(where, &other);
            break;
        case 7:
            if (document.GetElement(where, &other, input.ConsumeIntegralInRange(-2, 3))) {
                document = other;
            }
            break;
        case 8: {
            NDataContainerArray array;
            document.FindElements(where, array, {{"n", input.ConsumeRandomLengthString(2)}});
            break;
        }
        default:
            document.SetValueCData(where, input.ConsumeRandomLengthString(12));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    std::vector<std::uint8_t> edits =
        input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 255));
    NXML document;
    std::istringstream stream(input.ConsumeRemainingBytesAsString());
    try {
        document.LoadStream(stream, false);
    } catch (const NException&) {  // what was read up to the error stands in the document
    }
    reload(document);
    FuzzedDataProvider steps(edits.data(), edits.size());
    while (steps.remaining_bytes() > 0) edit(steps, document);
    reload(document);
    return 0;
}
