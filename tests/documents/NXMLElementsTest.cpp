// Finding, reading and editing elements; the document as a whole is in NXMLTest.cpp.
#include <morvel/documents/NXML.h>

#include <tests/support/Test.h>
#include <tests/support/Text.h>

namespace {

using namespace morvel::test;
using namespace std::string_literals;
using namespace testing;

struct Document : NXML {
    using NXML::operator=;
    explicit Document(const std::string& text) { EXPECT_TRUE(FromText(text)) << text; }
};

// A document, an edit, and the document afterwards; null where the edit is to return false and
// change nothing.
struct Edit {
    std::string before;
    bool (*edit)(NXML&);
    const char* after;
};

#define EDIT(...) [](NXML& d) -> bool { return __VA_ARGS__; }

bool _replace(NXML& document, const char* path) {
    const Document source("<n k='v'>2</n>");
    return document.ReplaceElement(path, &source);
}

}  // namespace

TEST(NXMLElements, GetElement) {
    const std::tuple<const char*, std::int32_t, bool, const char*> rows[] = {
        {"a.b", -1, true, "<b x=\"1\">t</b>"},
        {"a", 1, true, "<b x=\"2\"/>"},
        {"a", 2147483647, true, ""},          // past the end
        {"a", -2, true, "<b x=\"1\">t</b>"},  // any other negative is the first
        {"a.b", 0, true, "t"},                // no element, so no root
        {"a.b.b", 0, false, "<former/>"},     // unknown
        {"a.empty", 0, false, "<former/>"},   // no child at all
    };
    Document document("<a><b x=\"1\">t</b><b x=\"2\"/><empty/></a>");
    for (const auto& [path, index, result, copy] : rows) {
        Document out("<former/>");
        EXPECT_EQ(document.GetElement(path, &out, index), result) << path;
        EXPECT_EQ(out.ToText(0), copy);
        EXPECT_EQ(document.GetElement(path, nullptr, index), result) << path;
    }
    NAttributeList list = {{"former", "0"}};
    EXPECT_FALSE(document.GetAttributes("a", list));
    EXPECT_TRUE(document.GetAttributes("a.b", list));
    EXPECT_EQ(list, (NAttributeList{{"former", "0"}, {"x", "1"}}));
    ASSERT_TRUE(document.GetElement("a.b", &document, -1));
    EXPECT_EQ(document.ToText(0), "<b x=\"1\">t</b>");
}

TEST(NXMLElements, FindElements) {
    const std::string b1 = "<b x=\"1\">t</b>", b2 = "<b x=\"2\"/>", d = "<d y=\"V\" z=\"W\"/>";
    const std::tuple<const char*, NAttributeList, std::string> rows[] = {
        {"a", {{"X", "2"}}, b2},  // a name in any case
        {"a", {{"x", "02"}}, ""},
        {"a.c", {{"y", "v"}}, ""},                  // a value in its own
        {"a", {{"y", "2"}, {"x", "1"}}, b1},        // one pair is enough
        {"a.c", {{"y", "W"}, {"z", "V"}}, ""},      // pairs stay together
        {"a", {{"x\0"s, "1"}, {"x", "1\0"s}}, ""},  // a NUL is no end
        {"a.b", {}, ""},                            // text is no element
        {"a.c", {}, d},                             // nor is CDATA
        {"b", {}, ""},
    };
    const Document document("<a>" + b1 + b2 + "<c>t<![CDATA[u]]>" + d + "</c></a><top/>");
    for (const auto& [path, filter, expected] : rows) {
        NDataContainerArray array;
        array.push_back(new Document("<former/>"));
        EXPECT_EQ(document.FindElements(path, array, filter), !expected.empty());
        std::string found;
        for (NDataContainer* container : array) found += container->ToText(0);
        EXPECT_EQ(found, "<former/>" + expected) << path;
    }
    NDataContainerArray all;
    EXPECT_TRUE(document.GetElements("a", all));
    EXPECT_EQ(all.size(), 3u);
}

// pugixml takes a subtree apart by recursion, and 200,000 levels were more than the stack held.
const std::string deep =
    "<a><deep>" + Repeated("<d>"s, 200000) + Repeated("</d>"s, 200000) + "</deep><b/></a>";

TEST(NXMLElements, Edits) {
    const Edit rows[] = {
        // What is inside goes, attributes stay.
        {"<a x='1'>former</a>", EDIT(d.SetValue("a", "<")), "<a x=\"1\">&lt;</a>"},
        {"<a>t<b/></a>", EDIT(d.SetValue("a", "u")), "<a>u</a>"},
        {"<a><![CDATA[x]]></a>", EDIT(d.SetValue("a", "y")), "<a>y</a>"},
        // The last element is created, at the end; but only the last, and no root.
        {"<a><b/></a>", EDIT(d.SetValue("a.c", "v")), "<a><b/><c>v</c></a>"},
        {"<a/>", EDIT(d.SetValue("a.c.d.e", "v") || d.SetValue("a.b.", "v")), nullptr},
        {"<a/>", EDIT(d.SetValue("b", "v") || d.SetValue(".b", "v")), nullptr},
        {"<a/>", EDIT(d.SetValue("", "v") || NXML().SetValue("a", "v")), nullptr},
        // Its name keeps case and bar, not blanks; its parent is found as ever.
        {"<a><b.c/></a>", EDIT(d.SetValue("x.a.B|c. D|e ", "v\0w"s)),
         "<a><b.c><D|e>v</D|e></b.c></a>"},
        // Only a new element gets CDATA.
        {"<a/>", EDIT(d.SetValueCData("a.c", "<")), "<a><c><![CDATA[<]]></c></a>"},
        {"<a><c/></a>", EDIT(d.SetValueCData("a.c", "<")), "<a><c>&lt;</c></a>"},
        // Attributes are updated in place, the name as it was, the rest appended in order.
        {"<a x='1' y='2'/>",
         EDIT(d.SetAttributes("a", {{"Y", "<"}, {"z", "3"}, {"Z", "4"}, {"x", ""}})),
         "<a x=\"\" y=\"&lt;\" z=\"4\"/>"},
        {"<a x='1' X='2'/>", EDIT(d.SetAttribute("a", "x", "3")), "<a x=\"3\" X=\"2\"/>"},
        {"<a/>", EDIT(d.SetAttributes("a", {}) || d.SetAttribute("b", "x", "1")), nullptr},
        // They are removed in their own case alone.
        {"<a x='1'/>", EDIT(d.RemoveAttribute("a", "X") || d.RemoveAttributes("b")), nullptr},
        {"<a x='1' y='2'/>", EDIT(d.RemoveAttribute("a", "x")), "<a y=\"2\"/>"},
        {"<a x='1'/>", EDIT(d.RemoveAttributes("a") && d.RemoveAttributes("a")), "<a/>"},
        // A replacement goes to the end and keeps its name; it is added where only the last is
        // missing.
        {"<a><b/><c/></a>", EDIT(_replace(d, "a.b")), "<a><c/><n k=\"v\">2</n></a>"},
        {"<a><c/></a>", EDIT(_replace(d, "a.b")), "<a><c/><n k=\"v\">2</n></a>"},
        {"<a><c/></a>", EDIT(_replace(d, "a.b.b") || _replace(d, "b")), nullptr},
        {"<a><b/></a>", EDIT(d.ReplaceElement("a.b", nullptr)), nullptr},
        {"<a/>", EDIT(d.ReplaceElement("a.c", std::make_unique<NXML>().get())), nullptr},
        {"<a><b/>t</a>", EDIT(d.ReplaceElement("a.b", &d)), "<a>t<a><b/>t</a></a>"},
        {"<a>t</a>", EDIT(d.ReplaceElement("a", &d)), "<a>t</a>"},
        // An element is removed, or a child node of any kind.
        {"<a><b/><b>2</b></a>", EDIT(d.RemoveElement("a.b", -1)), "<a><b>2</b></a>"},
        {"<a><b/>t<c/></a>", EDIT(d.RemoveElement("a", 1)), "<a><b/><c/></a>"},
        {"<a><b/>t</a>", EDIT(d.RemoveElement("a", -7)), "<a>t</a>"},
        {"<a/><b/>", EDIT(d.RemoveElement("b", -1)), "<a/>"},
        {"<a><b/></a>", EDIT(d.RemoveElement("a", 1) || d.RemoveElement("a.c", -1)), nullptr},
        {"<a/>", EDIT(d.RemoveElement("a", 0) || d.RemoveElement("a", -1)), nullptr},
        // All of a name, whatever the case; a text has an empty one, and a bar is a bar.
        {"<a>t<b/><c/><B/></a>", EDIT(d.RemoveElementsByName("a", {"x", "B"})), "<a>t<c/></a>"},
        {"<a>t<b/></a>", EDIT(d.RemoveElementsByName("a", {""})), "<a><b/></a>"},
        {"<a><b.c/></a>", EDIT(d.RemoveElementsByName("a", {"b|c"})), nullptr},
        {"<a><b/></a>", EDIT(d.RemoveElementsByName("a", {})), nullptr},
        // Depth costs no stack.
        {deep, EDIT(d.SetValue("a.deep", "t")), "<a><deep>t</deep><b/></a>"},
        {deep, EDIT(d.RemoveElement("a", 0)), "<a><b/></a>"},
        {deep, EDIT(d.RemoveElementsByName("a", {"deep"})), "<a><b/></a>"},
        {deep, EDIT(_replace(d, "a.deep")), "<a><b/><n k=\"v\">2</n></a>"},
        {deep, EDIT(d.CreateRoot("r") == 0), "<r/>"},
        {deep, EDIT(d.GetElement("a.deep", &d, 0) && d.SetValue("d", "t")), "<d>t</d>"},
    };
    for (const Edit& row : rows) {
        Document document(row.before);
        const std::string before = document.ToText(0);
        SCOPED_TRACE(before.substr(0, 80) + " to " + (row.after == nullptr ? "none" : row.after));
        EXPECT_EQ(row.edit(document), row.after != nullptr);
        EXPECT_EQ(document.ToText(0), row.after == nullptr ? before : row.after);
    }
}

TEST(NXMLElements, AppendElements) {
    auto* document = new Document("<a><b/><c/></a>");
    NDataContainerArray array;
    EXPECT_TRUE(document->AppendElements("a", array));
    EXPECT_FALSE(document->AppendElements("d", array));
    array.assign({document, new Document("<y i='1'/>")});  // itself first
    EXPECT_TRUE(document->AppendElements("a.b", array));
    array.pop_front();
    array.push_back(new NXML);  // has no root element
    EXPECT_FALSE(document->AppendElements("a.c", array));
    array.push_back(nullptr);  // no NXML
    EXPECT_FALSE(document->AppendElements("a.c", array));
    EXPECT_EQ(document->ToText(0), "<a><b><a><b/><c/></a><y i=\"1\"/></b><c><y i=\"1\"/></c></a>");
    array.push_front(document);  // which owns it
}

namespace {

NXML* edited = nullptr;
std::vector<std::string> calledWith;

void _call(const std::string& name, void* user) {
    calledWith.push_back(user == nullptr ? name : "user");
    edited->RemoveElementsByName("a", {"b", "c"});
}

struct Derived : NXML {
    using NXML::operator=;
    bool FindElements(const std::string& path, NDataContainerArray& array,
                      const NAttributeList& filter) const override {
        ++asked;
        return NXML::FindElements(path, array, filter);
    }
    bool SetAttributes(const std::string& path, const NAttributeList& list) override {
        ++asked;
        return NXML::SetAttributes(path, list);
    }
    mutable int asked = 0;
};

}  // namespace

// The class itself walks without copies, a class derived from it through FindElements.
TEST(NXMLElements, ForEachElement) {
    NXML plain;
    Derived derived;
    for (NXML* document : {&plain, static_cast<NXML*>(&derived)}) {
        edited = document;
        calledWith.clear();
        EXPECT_FALSE(document->ForEachElement("", _call));
        ASSERT_TRUE(document->FromText("<a><b/>t<c><d/></c><![CDATA[u]]></a>"));
        EXPECT_FALSE(document->ForEachElement("a", nullptr));
        EXPECT_FALSE(document->ForEachElement("a.b", _call));
        EXPECT_TRUE(document->ForEachElement("", _call));
        EXPECT_THAT(calledWith, ElementsAre("b", "c"));
        EXPECT_EQ(document->ToText(0), "<a>t<![CDATA[u]]></a>");
        ASSERT_TRUE(document->FromText("<a.b><c/></a.b>"));
        EXPECT_FALSE(document->ForEachElement("", _call));  // the root's name is taken as a path
        EXPECT_TRUE(document->ForEachElement("a|b", _call));
    }
    EXPECT_EQ(derived.asked, 5);
    NDataContainerArray children;
    EXPECT_TRUE(derived.GetElements("a|b", children));
    EXPECT_TRUE(derived.SetAttribute("a|b", "x", "1"));
    EXPECT_EQ(derived.asked, 7);
}

TEST(NXMLElements, TheRoot) {
    const std::pair<const char*, const char*> values[] = {
        {"<a>t<b/>u</a>", "t"}, {"<a><b>t</b>u</a>", ""}, {"<a><![CDATA[t]]></a>", "t"}};
    for (const auto& [text, value] : values) {
        EXPECT_EQ(Document(text).RootValue(), value) << text;
    }
    Document document("<a Id='1'/>");
    document.ToText(2);  // a declaration in front isn't the root
    EXPECT_EQ(document.RootName(), "a");
    const NAttributeList& attributes = document.RootAttributes();
    document.SetAttribute("a", "y", "2");
    EXPECT_EQ(attributes, (NAttributeList{{"Id", "1"}}));
    EXPECT_EQ(&document.RootAttributes(), &attributes);
    EXPECT_EQ(attributes, (NAttributeList{{"Id", "1"}, {"y", "2"}}));
    std::string value = "id";
    EXPECT_TRUE(document.GetRootAttribute(value, value));
    EXPECT_EQ(value, "1");
    EXPECT_FALSE(document.GetRootAttribute("x", value));
    EXPECT_EQ(value, "");
    // The name of the root is looked up as a path, and a dot takes it apart.
    EXPECT_FALSE(Document("<a.b id='1'/>").GetRootAttribute("id", value));
    document.Clear();
    EXPECT_EQ(attributes.size(), 2u);
    EXPECT_TRUE(document.RootAttributes().empty());
    EXPECT_EQ(document.RootName() + document.RootValue(), "");
    EXPECT_TRUE(document.GetRootName(value = "former"));
    EXPECT_EQ(value, "");
}
