#include <morvel/morvel.h>

// Somewhere to stop: gdb looks at the values of the caller.
void Stop() {}

int main() {
    NString name("Zo\xEB", EncodingLatin1);
    NString wide(EncodingUTF16);
    wide.Normalize(FormNFC);
    wide.SetBytes("Z\0o\0\xEB", 6, EncodingUTF16);
    NPath path("/tmp/a \"b\".txt");
    NTimestamp stamp(1764057909000001);
    NDateTime date(2026, 11, 25, 8, 5, 9, 12, 34);
    KelFileNotFoundException e("/x", 0);
    NXML none;
    NXML xml;
    xml.CreateRoot("order");
    xml.SetValue("order.customer", name);
    xml.SetAttribute("order.customer", "id", "17");
    NDataContainerArray array;
    array.push_back(new NXML);
    array.back()->Assign(xml, 0);
    array.push_back(new NXML);
    NXML large;
    large.CreateRoot("a");
    large.SetValue("a", std::string(1000, 'x'));
    Stop();
}
