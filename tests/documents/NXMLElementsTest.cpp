// Finding, reading and editing elements; the document as a whole is in NXMLTest.cpp.
#include <morvel/documents/NXML.h>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::IsEmpty;

class Document : public NXML {
public:
    using NXML::operator=;
    explicit Document(const std::string& text) { EXPECT_TRUE(FromText(text)) << text; }
};

std::string _text(const NDataContainer& container) {
    NXML copy;  // a save may add a declaration, and ToText isn't const
    copy.Assign(container, 0);
    return copy.ToText(0);
}

std::vector<std::string> _texts(const NDataContainerArray& array) {
    std::vector<std::string> texts;
    for (const NDataContainer* container : array) {
        texts.push_back(_text(*container));
    }
    return texts;
}

// A document, an edit, its result, and the document afterwards.
struct Edit {
    const char* why;
    const char* before;
    bool (*edit)(NXML&);
    bool result;
    const char* after;
};

void _check(const std::vector<Edit>& edits) {
    for (const Edit& row : edits) {
        SCOPED_TRACE(row.why);
        Document document(row.before);
        EXPECT_EQ(row.edit(document), row.result);
        EXPECT_EQ(document.ToText(0), row.after);
    }
}

constexpr const char* _sample = "<a><b x=\"1\">t</b><b x=\"2\"/></a>";

// A document of `depth` elements `d` inside each other, in `a.deep`.
std::string _deep(std::size_t depth) {
    std::string text = "<a><deep>";
    for (std::size_t level = 0; level < depth; ++level) {
        text += "<d>";
    }
    for (std::size_t level = 0; level < depth; ++level) {
        text += "</d>";
    }
    return text + "</deep><b/></a>";
}

}  // namespace

TEST(NXMLElements, PathsLeadToElements) {
    Document document("<Root><a.b n='1'><c/></a.b><a.b n='2'/><x n='4'><x n='5'/></x></Root>");
    NDataContainerArray barred;  // a name that no parser accepts
    barred.push_back(new NXML);
    barred.back()->CreateRoot("a.b|c");
    barred.back()->SetAttribute("a|b|c", "n", "3");
    ASSERT_TRUE(document.AppendElements("Root", barred));
    document.ToText(2);  // puts a declaration, a node named xml, at the top
    const struct {
        const char* path;
        const char* found;  // the attribute n, or null
    } rows[] = {
        {"Root.a|b", "1"},       // of like-named siblings the first
        {"rOOT.A|B", "1"},       // case
        {" Root . a|b\t", "1"},  // blanks around names
        {"Root..a|b.", "1"},     // empty names
        {".Root.a|b", "1"},
        {"Root.a|b|c", "3"},  // the first bar is a dot, the second a bar
        {"Root.a.b", nullptr},
        {"Root.x.x", "5"},
        {"Root.x.y", nullptr},
        {"Root.x.y.root.x", "4"},  // after a failure the search goes on at the top
        {"y.Root.x", "4"},
        {"Root.x.y.x", nullptr},
        {"x", nullptr},
        {"", nullptr},
        {".", nullptr},
        {" ", nullptr},
        {"Root.a|b.", "1"},
        {"Root.a|bb", nullptr},
        {"Root.a|", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path);
        NAttributeList attributes;
        EXPECT_EQ(document.GetAttributes(row.path, attributes), row.found != nullptr);
        if (row.found != nullptr) {
            EXPECT_THAT(attributes, ElementsAre(testing::Pair("n", row.found)));
        }
    }
    NAttributeList attributes;
    EXPECT_TRUE(document.GetAttributes("XML", attributes));
    EXPECT_FALSE(document.GetAttributes("Root.x\0"s, attributes));
    EXPECT_FALSE(document.GetAttributes("Root.\0"s, attributes));
}

TEST(NXMLElements, GetElement) {
    const struct {
        const char* why;
        const char* path;
        std::int32_t index;
        bool result;
        const char* copy;
    } rows[] = {
        {"itself", "a.b", -1, true, "<b x=\"1\">t</b>"},
        {"first child", "a", 0, true, "<b x=\"1\">t</b>"},
        {"second child", "a", 1, true, "<b x=\"2\"/>"},
        {"past the end", "a", 2, true, ""},
        {"far past the end", "a", 2147483647, true, ""},
        {"any other negative is the first", "a", -2, true, "<b x=\"1\">t</b>"},
        {"a text", "a.b", 0, true, "t"},
        {"unknown", "a.c", -1, false, "<former/>"},
    };
    const Document document(_sample);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        NXML out;
        out.CreateRoot("former");
        EXPECT_EQ(document.GetElement(row.path, &out, row.index), row.result);
        EXPECT_EQ(out.ToText(0), row.copy);
        EXPECT_EQ(document.GetElement(row.path, nullptr, row.index), row.result);
    }
    NXML empty;
    empty.CreateRoot("a");
    EXPECT_FALSE(empty.GetElement("a", nullptr, 0));  // no child at all
    EXPECT_EQ(_text(document), _sample);
}

TEST(NXMLElements, GetElementHandsOutACopy) {
    Document document(_sample);
    NXML out;
    ASSERT_TRUE(document.GetElement("a.b", &out, -1));
    EXPECT_EQ(out.RootName(), "b");
    EXPECT_EQ(out.RootValue(), "t");
    out.SetValue("b", "changed");
    EXPECT_EQ(_text(document), _sample);
    ASSERT_TRUE(document.GetElement("a.b", &document, -1));
    EXPECT_EQ(document.ToText(0), "<b x=\"1\">t</b>");
}

TEST(NXMLElements, FindElements) {
    const struct {
        const char* why;
        const char* path;
        NAttributeList filter;
        std::vector<std::string> found;
    } rows[] = {
        {"all", "a", {}, {"<b x=\"1\">t</b>", "<b x=\"2\"/>"}},
        {"name in any case", "a", {{"X", "2"}}, {"<b x=\"2\"/>"}},
        {"value exactly", "a", {{"x", "02"}}, {}},
        {"value in its case", "a.c", {{"y", "v"}}, {}},
        {"one pair is enough", "a", {{"y", "2"}, {"x", "1"}}, {"<b x=\"1\">t</b>"}},
        {"pairs stay together", "a.c", {{"y", "W"}, {"z", "V"}}, {}},
        {"a NUL is no end", "a", {{"x\0"s, "1"}, {"x", "1\0"s}}, {}},
        {"text is no element", "a.b", {}, {}},
        {"nor is CDATA", "a.c", {}, {"<d y=\"V\" z=\"W\"/>"}},
        {"unknown", "b", {}, {}},
    };
    const Document document(
        "<a><b x='1'>t</b><b x='2'/></a><a/><a><c/></a>"
        "<top/>");
    const Document more("<a><c>t<![CDATA[u]]><d y='V' z='W'/></c></a>");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        NDataContainerArray array;
        array.push_back(new NXML);
        const NXML& searched = std::string(row.path) == "a.c" ? more : document;
        EXPECT_EQ(searched.FindElements(row.path, array, row.filter), !row.found.empty());
        const std::unique_ptr<NDataContainer> former(array.front());  // is still there, in front
        array.pop_front();
        EXPECT_EQ(_texts(array), row.found);
        if (row.filter.empty()) {
            NDataContainerArray all;
            EXPECT_EQ(searched.GetElements(row.path, all), !row.found.empty());
            EXPECT_EQ(_texts(all), row.found);
        }
    }
}

TEST(NXMLElements, SetValue) {
    _check({
        {"replaces all inside, keeps attributes", "<a><b x=\"1\">t<c/>u</b></a>",
         [](NXML& d) { return d.SetValue("a.b", "<&>"); }, true,
         "<a><b x=\"1\">&lt;&amp;&gt;</b></a>"},
        {"replaces a lone text", "<a x=\"1\">former</a>",
         [](NXML& d) { return d.SetValue("a", "v"); }, true, "<a x=\"1\">v</a>"},
        {"replaces a text and what follows", "<a>t<b/></a>",
         [](NXML& d) { return d.SetValue("a", ""); }, true, "<a></a>"},
        {"replaces CDATA by text", "<a><![CDATA[x]]></a>",
         [](NXML& d) { return d.SetValue("a", "y"); }, true, "<a>y</a>"},
        {"creates the last element at the end", "<a><b/></a>",
         [](NXML& d) { return d.SetValue("a.c", "v"); }, true, "<a><b/><c>v</c></a>"},
        {"but only the last", "<a/>", [](NXML& d) { return d.SetValue("a.c.d.e", "v"); }, false,
         "<a/>"},
        {"and no root", "<a/>", [](NXML& d) { return d.SetValue("b", "v"); }, false, "<a/>"},
        {"nor where no parent is named", "<a/>", [](NXML& d) { return d.SetValue(".b", "v"); },
         false, "<a/>"},
        {"an empty path names nothing", "<a/>", [](NXML& d) { return d.SetValue("", "v"); }, false,
         "<a/>"},
        {"an empty value is a text", "<a/>", [](NXML& d) { return d.SetValue("a.b", ""); }, true,
         "<a><b></b></a>"},
        {"a new name keeps case and bar, not blanks", "<a/>",
         [](NXML& d) { return d.SetValue("A. B|c ", "v") && !d.GetElement("a.b|c", nullptr, -1); },
         true, "<a><B|c>v</B|c></a>"},
        {"the parent may have a bar", "<a><b.c/></a>",
         [](NXML& d) { return d.SetValue("a.b|c.d", "v"); }, true, "<a><b.c><d>v</d></b.c></a>"},
        {"the parent may come after a failure", "<a/>",
         [](NXML& d) { return d.SetValue("x.a.b", "v"); }, true, "<a><b>v</b></a>"},
        {"a value ends at its NUL", "<a/>", [](NXML& d) { return d.SetValue("a", "v\0w"s); }, true,
         "<a>v</a>"},
    });
    NXML none;
    EXPECT_FALSE(none.SetValue("a", "v"));
}

TEST(NXMLElements, OnlyANewElementGetsCData) {
    _check({
        {"a new one", "<a/>", [](NXML& d) { return d.SetValueCData("a.c", "<x>"); }, true,
         "<a><c><![CDATA[<x>]]></c></a>"},
        {"one that is there", "<a><c/></a>", [](NXML& d) { return d.SetValueCData("a.c", "<x>"); },
         true, "<a><c>&lt;x&gt;</c></a>"},
        {"no parent", "<a/>", [](NXML& d) { return d.SetValueCData("c", "<x>"); }, false, "<a/>"},
    });
}

TEST(NXMLElements, Attributes) {
    _check({
        {"updated in place, name as it was, the rest appended in order", "<a x=\"1\" y=\"2\"/>",
         [](NXML& d) {
             return d.SetAttributes("a", {{"Y", "<"}, {"z", "3"}, {"Z", "4"}, {"x", ""}});
         },
         true, "<a x=\"\" y=\"&lt;\" z=\"4\"/>"},
        {"an empty list", "<a/>", [](NXML& d) { return d.SetAttributes("a", {}); }, false, "<a/>"},
        {"an unknown element", "<a/>", [](NXML& d) { return d.SetAttribute("a.b", "x", "1"); },
         false, "<a/>"},
        {"one, whatever its case", "<a x=\"1\"/>",
         [](NXML& d) { return d.SetAttribute("a", "X", "2"); }, true, "<a x=\"2\"/>"},
        {"removed in its case alone", "<a x=\"1\" y=\"2\"/>",
         [](NXML& d) { return !d.RemoveAttribute("a", "X") && d.RemoveAttribute("a", "x"); }, true,
         "<a y=\"2\"/>"},
        {"removed from an unknown element", "<a x=\"1\"/>",
         [](NXML& d) { return d.RemoveAttribute("b", "x") || d.RemoveAttributes("b"); }, false,
         "<a x=\"1\"/>"},
        {"all removed, twice", "<a x=\"1\" y=\"2\">t</a>",
         [](NXML& d) { return d.RemoveAttributes("a") && d.RemoveAttributes("a"); }, true,
         "<a>t</a>"},
    });
}

TEST(NXMLElements, GetAttributesAppends) {
    const Document document("<a y='1' x='2'><b/></a>");
    NAttributeList list = {{"former", "0"}};
    EXPECT_FALSE(document.GetAttributes("a.b", list));
    EXPECT_FALSE(document.GetAttributes("c", list));
    EXPECT_EQ(list, (NAttributeList{{"former", "0"}}));
    EXPECT_TRUE(document.GetAttributes("a", list));
    EXPECT_EQ(list, (NAttributeList{{"former", "0"}, {"y", "1"}, {"x", "2"}}));
}

TEST(NXMLElements, AppendElements) {
    Document document("<a><b/></a>");
    NDataContainerArray array;
    EXPECT_TRUE(document.AppendElements("a", array));
    EXPECT_FALSE(document.AppendElements("c", array));
    array.push_back(new Document("<x i='1'>t</x>"));
    array.push_back(new Document("<y/>"));
    EXPECT_TRUE(document.AppendElements("a.b", array));
    EXPECT_EQ(document.ToText(0), "<a><b><x i=\"1\">t</x><y/></b></a>");
    array.insert(std::prev(array.end()), new NXML);  // has no root element
    EXPECT_FALSE(document.AppendElements("a", array));
    EXPECT_EQ(document.ToText(0), "<a><b><x i=\"1\">t</x><y/></b><x i=\"1\">t</x></a>");
    array.push_back(nullptr);
    EXPECT_FALSE(document.AppendElements("a", array));
    EXPECT_EQ(document.ToText(0), "<a><b><x i=\"1\">t</x><y/></b><x i=\"1\">t</x></a>");
}

TEST(NXMLElements, AppendsACopyOfItself) {
    auto owned = std::make_unique<Document>("<a><b>t</b></a>");
    Document& document = *owned;
    NDataContainerArray array;
    array.push_back(owned.release());
    EXPECT_TRUE(document.AppendElements("a.b", array));
    EXPECT_EQ(document.ToText(0), "<a><b>t<a><b>t</b></a></b></a>");
}

TEST(NXMLElements, ReplaceElement) {
    _check({
        {"the copy goes to the end and keeps its name", "<a><b>1</b><c/></a>",
         [](NXML& d) {
             const Document source("<n k='v'>2</n>");
             return d.ReplaceElement("a.b", &source);
         },
         true, "<a><c/><n k=\"v\">2</n></a>"},
        {"added where only the last is missing", "<a><c/></a>",
         [](NXML& d) {
             const Document source("<n/>");
             return d.ReplaceElement("a.b", &source) && !d.ReplaceElement("a.b.b", &source) &&
                    !d.ReplaceElement("b", &source);
         },
         true, "<a><c/><n/></a>"},
        {"the root", "<a><c/></a>",
         [](NXML& d) {
             const Document source("<n/>");
             return d.ReplaceElement("a", &source);
         },
         true, "<n/>"},
        {"by nothing", "<a><b/></a>",
         [](NXML& d) {
             const NXML source;
             return d.ReplaceElement("a.b", nullptr) || d.ReplaceElement("a.c", nullptr) ||
                    d.ReplaceElement("a.b", &source) || d.ReplaceElement("a.c", &source);
         },
         false, "<a><b/></a>"},
        {"a part by the whole", "<a><b>t</b><c/></a>",
         [](NXML& d) { return d.ReplaceElement("a.b", &d); }, true,
         "<a><c/><a><b>t</b><c/></a></a>"},
        {"the whole by itself", "<a><b>t</b></a>",
         [](NXML& d) { return d.ReplaceElement("a", &d); }, true, "<a><b>t</b></a>"},
    });
}

TEST(NXMLElements, RemoveElement) {
    _check({
        {"itself", "<a><b>1</b><b>2</b></a>", [](NXML& d) { return d.RemoveElement("a.b", -1); },
         true, "<a><b>2</b></a>"},
        {"a child, whatever its kind", "<a><b/>t<c/></a>",
         [](NXML& d) { return d.RemoveElement("a", 1); }, true, "<a><b/><c/></a>"},
        {"negative is the first", "<a><b/>t</a>", [](NXML& d) { return d.RemoveElement("a", -7); },
         true, "<a>t</a>"},
        {"past the end", "<a><b/></a>", [](NXML& d) { return d.RemoveElement("a", 1); }, false,
         "<a><b/></a>"},
        {"no child", "<a/>", [](NXML& d) { return d.RemoveElement("a", 0); }, false, "<a/>"},
        {"not the root", "<a/>", [](NXML& d) { return d.RemoveElement("a", -1); }, false, "<a/>"},
        {"unknown", "<a/>",
         [](NXML& d) { return d.RemoveElement("b", -1) || d.RemoveElement("a.b", 0); }, false,
         "<a/>"},
    });
    NXML none;
    EXPECT_FALSE(none.RemoveElement("a", -1));
}

TEST(NXMLElements, RemoveElementsByName) {
    _check({
        {"all of a name, whatever its case", "<a><b/><c/><B>t</B>u</a>",
         [](NXML& d) {
             return d.RemoveElementsByName("a", {"bb", "b"});
         },
         true, "<a><c/>u</a>"},
        {"several names", "<a><b/><c/><d/><e/></a>",
         [](NXML& d) {
             return d.RemoveElementsByName("a", {"E", "c", "x", "B"});
         },
         true, "<a><d/></a>"},
        {"the empty name is that of texts", "<a>t<b/><![CDATA[u]]></a>",
         [](NXML& d) { return d.RemoveElementsByName("a", {""}); }, true, "<a><b/></a>"},
        {"no bar, no blank in a name", "<a><b.c/></a>",
         [](NXML& d) {
             return d.RemoveElementsByName("a", {"b|c", " b.c"});
         },
         false, "<a><b.c/></a>"},
        {"none", "<a><b/></a>", [](NXML& d) { return d.RemoveElementsByName("a", {}); }, false,
         "<a><b/></a>"},
        {"no child", "<a/>", [](NXML& d) { return d.RemoveElementsByName("a", {"b"}); }, false,
         "<a/>"},
        {"unknown", "<a/>", [](NXML& d) { return d.RemoveElementsByName("b", {"a"}); }, false,
         "<a/>"},
    });
}

namespace {
std::vector<std::string> calledWith;
NXML* edited = nullptr;

void _call(const std::string& name, void* user) {
    calledWith.push_back(user == nullptr ? name : "user");
    if (edited != nullptr) {
        edited->RemoveElementsByName("a", {"b", "c"});
    }
}
}  // namespace

// The class itself walks without copies, a class derived from it through FindElements.
template <class Xml>
void _checkForEachElement() {
    Xml document;
    ASSERT_TRUE(document.FromText("<a><b/>t<c><d/></c><![CDATA[u]]></a>"));
    calledWith.clear();
    EXPECT_TRUE(document.ForEachElement("a.c", _call));
    EXPECT_THAT(calledWith, ElementsAre("d"));
    calledWith.clear();
    EXPECT_FALSE(document.ForEachElement("a", nullptr));
    EXPECT_FALSE(document.ForEachElement("a.b", _call));
    EXPECT_FALSE(document.ForEachElement("b", _call));
    EXPECT_FALSE(Xml().ForEachElement("", _call));
    EXPECT_THAT(calledWith, IsEmpty());
    edited = &document;
    EXPECT_TRUE(document.ForEachElement("", _call));
    edited = nullptr;
    EXPECT_THAT(calledWith, ElementsAre("b", "c"));
    EXPECT_EQ(document.ToText(0), "<a>t<![CDATA[u]]></a>");
    // The name of the root is taken as a path.
    ASSERT_TRUE(document.FromText("<a.b><c/></a.b>"));
    EXPECT_FALSE(document.ForEachElement("", _call));
    EXPECT_TRUE(document.ForEachElement("a|b", _call));
}

TEST(NXMLElements, ForEachElement) {
    _checkForEachElement<NXML>();
    class Derived : public NXML {
        using NXML::operator=;
    };
    _checkForEachElement<Derived>();
}

TEST(NXMLElements, ForEachElementAsksADerivedClass) {
    class OnlyMarked : public NXML {
        using NXML::operator=;
        bool FindElements(const std::string& path, NDataContainerArray& array,
                          const NAttributeList& filter) const override {
            EXPECT_TRUE(filter.empty());
            return NXML::FindElements(path, array, {{"marked", "1"}});
        }
        std::string RootName() const override { return "a.b"; }
    };
    OnlyMarked document;
    ASSERT_TRUE(document.FromText("<a><b><c/><d marked='1'/></b></a>"));
    calledWith.clear();
    EXPECT_TRUE(document.ForEachElement("", _call));
    EXPECT_THAT(calledWith, ElementsAre("d"));
}

TEST(NXMLElements, TheRoot) {
    const struct {
        const char* why;
        const char* text;
        const char* name;
        const char* value;
    } rows[] = {
        {"text first", "<a>t<b/>u</a>", "a", "t"},
        {"element first", "<a><b>t</b>u</a>", "a", ""},
        {"CDATA first", "<a><![CDATA[t]]></a>", "a", "t"},
        {"no child", "<a/>", "a", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        Document document(row.text);
        document.ToText(2);  // a declaration in front isn't the root
        EXPECT_EQ(document.RootName(), row.name);
        EXPECT_EQ(document.RootValue(), row.value);
        std::string name = "former";
        EXPECT_TRUE(document.GetRootName(name));
        EXPECT_EQ(name, row.name);
    }
    const NXML none;
    EXPECT_EQ(none.RootName(), "");
    EXPECT_EQ(none.RootValue(), "");
    EXPECT_THAT(none.RootAttributes(), IsEmpty());
    std::string name = "former";
    EXPECT_TRUE(none.GetRootName(name));
    EXPECT_EQ(name, "");
}

TEST(NXMLElements, RootAttributesIsRefilledAtEachCall) {
    Document document("<a x='1'/>");
    const NAttributeList& attributes = document.RootAttributes();
    document.SetAttribute("a", "y", "2");
    EXPECT_EQ(attributes, (NAttributeList{{"x", "1"}}));
    EXPECT_EQ(&document.RootAttributes(), &attributes);
    EXPECT_EQ(attributes, (NAttributeList{{"x", "1"}, {"y", "2"}}));
    document.Clear();
    EXPECT_EQ(attributes.size(), 2u);
    EXPECT_THAT(document.RootAttributes(), IsEmpty());
}

TEST(NXMLElements, GetRootAttribute) {
    const Document document("<a Id='Zo\xC3\xAB'/>");
    std::string value = "former";
    EXPECT_TRUE(document.GetRootAttribute("iD", value));
    EXPECT_EQ(value, "Zo\xC3\xAB");
    EXPECT_FALSE(document.GetRootAttribute("x", value));
    EXPECT_EQ(value, "");
    value = "id";
    EXPECT_TRUE(document.GetRootAttribute(value, value));
    EXPECT_EQ(value, "Zo\xC3\xAB");
    NString text;
    EXPECT_TRUE(document.GetRootAttribute("id", text));
    EXPECT_EQ(text.Encoding(), EncodingUTF8);
    // The name of the root is looked up as a path, and a dot takes it apart.
    EXPECT_FALSE(Document("<a.b id='1'/>").GetRootAttribute("id", value));
    EXPECT_FALSE(NXML().GetRootAttribute("id", value));
}

// pugixml takes a subtree apart by recursion, and 200,000 levels of it were more than the stack
// held.
TEST(NXMLElements, DepthCostsNoStack) {
    const std::string deep = _deep(200000);
    const Document source("<n/>");
    const Edit edits[] = {
        {"SetValue", "", [](NXML& d) { return d.SetValue("a.deep", "t"); }, true,
         "<a><deep>t</deep><b/></a>"},
        {"RemoveElement", "", [](NXML& d) { return d.RemoveElement("a", 0); }, true, "<a><b/></a>"},
        {"RemoveElementsByName", "", [](NXML& d) { return d.RemoveElementsByName("a", {"deep"}); },
         true, "<a><b/></a>"},
        {"ReplaceElement", "",
         [](NXML& d) {
             const Document n("<n/>");
             return d.ReplaceElement("a.deep", &n);
         },
         true, "<a><b/><n/></a>"},
        {"CreateRoot", "", [](NXML& d) { return d.CreateRoot("r") == 0; }, true, "<r/>"},
        {"GetElement", "", [](NXML& d) { return d.GetElement("a.deep", &d, 1); }, true, ""},
    };
    for (const Edit& row : edits) {
        SCOPED_TRACE(row.why);
        Document document(deep);
        EXPECT_EQ(row.edit(document), row.result);
        EXPECT_EQ(document.ToText(0), row.after);
    }
    Document document(deep);
    NXML copy;
    EXPECT_TRUE(document.GetElement("a.deep", &copy, 0));
    document = copy;
    EXPECT_EQ(document.RootName(), "d");
    EXPECT_EQ(document.ToText(0).size(), 199999 * 7 + 4);
}
