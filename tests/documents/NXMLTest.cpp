// The document as a whole; elements and values are in NXMLElementsTest.cpp.
#include <morvel/documents/NXML.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <tests/support/TemporaryFolder.h>

namespace {

using namespace std::string_literals;

using morvel::test::TemporaryFolder;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string _declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// Takes the place of the default handler and gathers what is reported.
class Reports : public NErrorHandler {
public:
    Reports() : _former(Set(this)) {}
    ~Reports() override { Set(_former); }

    using NErrorHandler::Exception;
    void Exception(const NException& e) override {
        lines.push_back(std::string(e.what()) + ": " + e.Message());
    }

    std::vector<std::string> lines;

private:
    NErrorHandler* _former;
};

// What LoadStream throws, as one text; "nothing" for nothing.
std::string _thrownBy(NXML& document, std::istream& stream) {
    try {
        EXPECT_TRUE(document.LoadStream(stream, false));
        return "nothing";
    } catch (const KelXMLElementException& e) {
        EXPECT_EQ(e.Code(), 0);
        return e.Message();
    }
}

}  // namespace

TEST(NXML, HasItsOwnRecord) {
    const std::unique_ptr<NBaseObject> made(NXML::Record()->CreateInstance());
    ASSERT_NE(dynamic_cast<NXML*>(made.get()), nullptr);
    EXPECT_EQ(made->ClassRecord(), NXML::Record());
    EXPECT_EQ(NXML::Record()->Name(), "NXML");
    EXPECT_EQ(NXML::Record()->ObjectSize(), sizeof(NXML));
    EXPECT_TRUE(made->IsInstanceOf(NBaseObject::Record()));
}

TEST(NXML, TellsItsThreeStatesApart) {
    NXML document;
    EXPECT_EQ(document.CountNodes(), -1);
    EXPECT_TRUE(document.IsEmpty());
    EXPECT_EQ(document.HasRoot(), nullptr);
    EXPECT_EQ(document.ToText(2), "");

    document.Assign(NXML(), 0);  // an empty document
    EXPECT_EQ(document.CountNodes(), 0);
    EXPECT_TRUE(document.IsEmpty());
    EXPECT_EQ(document.HasRoot(), nullptr);
    EXPECT_EQ(document.ToText(2), _declaration);

    EXPECT_EQ(document.CreateRoot("r"), 0);
    EXPECT_EQ(document.CountNodes(), 1);  // the declaration is gone
    EXPECT_TRUE(document.IsEmpty());
    EXPECT_NE(document.HasRoot(), nullptr);
    EXPECT_EQ(document.ToText(0), "<r/>");

    document.SetAttribute("r", "a", "1");
    EXPECT_FALSE(document.IsEmpty());
    document.RemoveAttributes("r");
    document.SetValue("r", "");  // an empty text is a child all the same
    EXPECT_FALSE(document.IsEmpty());
    EXPECT_EQ(document.ToText(0), "<r></r>");

    EXPECT_EQ(document.CreateRoot("s"), 0);
    EXPECT_EQ(document.ToText(0), "<s/>");
    document.Clear();
    EXPECT_EQ(document.CountNodes(), -1);
    std::ostringstream stream;
    EXPECT_FALSE(document.SaveStream(stream, 0));
    EXPECT_EQ(stream.str(), "");
}

TEST(NXML, ReadsWhatTheOptionsKeep) {
    const struct {
        const char* why;
        std::string text, expected;
    } rows[] = {
        {"no declaration, comment, type, instruction",
         "<?xml version='1.0'?><!DOCTYPE r><!-- c --><r><?pi x?><!-- d --><a/></r>", "<r><a/></r>"},
        {"no white space alone", "<r> <a/>\n<b> x </b> </r>", "<r><a/><b> x </b></r>"},
        {"CDATA stays", "<r><![CDATA[<&]]></r>", "<r><![CDATA[<&]]></r>"},
        {"escapes and line ends", "<r a='x\ny'>&#65;&lt;\r\n</r>", "<r a=\"x y\">A&lt;\n</r>"},
        {"the encoding that is declared", "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>",
         "<r>\xC3\xA9</r>"},
        {"the encoding that shows", "\xFF\xFE<\0r\0>\0\xE9\0<\0/\0r\0>\0"s, "<r>\xC3\xA9</r>"},
        {"a mark", "\xEF\xBB\xBF<r>\xC3\xA9</r>", "<r>\xC3\xA9</r>"},
    };
    for (const auto& row : rows) {
        NXML document;
        EXPECT_TRUE(document.FromText(row.text)) << row.why;
        EXPECT_EQ(document.ToText(0), row.expected) << row.why;
    }
}

TEST(NXML, ReadsAStreamFromWhereItStands) {
    NXML document;
    document.CreateRoot("former");
    std::istringstream stream("<a/><b/>");
    stream.seekg(4);
    EXPECT_EQ(_thrownBy(document, stream), "nothing");
    EXPECT_EQ(document.ToText(0), "<b/>");
}

// One malformed text, three roads.
TEST(NXML, AMalformedDocumentFailsDifferentlyOnEachRoad) {
    const std::string text = "<r><a>x</a><b></c></r>";
    const TemporaryFolder folder;
    const std::string file = folder.Write("bad.xml", text);
    const Reports reports;

    NXML document;
    document.CreateRoot("former");
    EXPECT_FALSE(document.LoadFile(file, false));
    EXPECT_THAT(reports.lines, ElementsAre("XML parse error: Start-end tags mismatch Offset: 16"));
    EXPECT_EQ(document.ToText(0), "<r><a>x</a><b/></r>");  // what was read up to the error
    EXPECT_FALSE(document.LoadFile(file, true));

    document.CreateRoot("former");
    std::istringstream stream(text);
    EXPECT_EQ(_thrownBy(document, stream), "Start-end tags mismatch");
    EXPECT_EQ(document.ToText(0), "<r><a>x</a><b/></r>");

    document.CreateRoot("former");
    EXPECT_FALSE(document.FromText(text));
    EXPECT_EQ(document.ToText(0), "<r><a>x</a><b/></r>");
    EXPECT_EQ(reports.lines.size(), 1u);
}

TEST(NXML, AnEmptyStreamAndAFailedOneAreErrors) {
    NXML document;
    std::istringstream empty;
    EXPECT_EQ(_thrownBy(document, empty), "No document element found");
    EXPECT_FALSE(document.FromText(""));
    EXPECT_EQ(document.CountNodes(), 0);

    std::istringstream failed("<r/>");
    failed.setstate(std::ios_base::failbit);
    EXPECT_EQ(_thrownBy(document, failed), "Error reading from file/stream");
}

TEST(NXML, LoadFileReportsWhatIsNoFile) {
    const TemporaryFolder folder;
    const std::string closed = folder.File("sub") + folder.File("").back();
    const std::string missing = folder.File("missing.xml");
    const struct {
        std::string path, report;
    } rows[] = {
        {"", "Invalid argument:  is not a file"},
        {closed, "Invalid argument: " + closed + " is not a file"},
        {missing, "File not found: File " + missing + " not found"},
    };
    for (const auto& row : rows) {
        Reports reports;
        NXML document;
        document.CreateRoot("former");
        EXPECT_FALSE(document.LoadFile(row.path, true));
        EXPECT_THAT(reports.lines, IsEmpty());
        EXPECT_FALSE(document.LoadFile(row.path, false));
        EXPECT_THAT(reports.lines, ElementsAre(row.report));
        EXPECT_EQ(document.ToText(0), "<former/>");
    }
}

TEST(NXML, AFolderIsAFileThatCantBeOpened) {
    const TemporaryFolder folder;
    const Reports reports;
    NXML document;
    document.CreateRoot("former");
    EXPECT_FALSE(document.LoadFile(folder.Path().u8string(), false));
    EXPECT_THAT(reports.lines, ElementsAre("XML parse error: File was not found Offset: 0"));
    EXPECT_EQ(document.CountNodes(), 0);
}

TEST(NXML, FileNamesAreUtf8InNfc) {
    const TemporaryFolder folder;
    NXML document;
    document.CreateRoot("r");
    EXPECT_TRUE(document.SaveFile(folder.File("\xC3\xBC-\xE2\x82\xAC-\xF0\x9F\x93\x84.xml")));
    EXPECT_TRUE(folder.Has("\xC3\xBC-\xE2\x82\xAC-\xF0\x9F\x93\x84.xml"));
    NXML loaded;
    EXPECT_TRUE(loaded.LoadFile(folder.File("u\xCC\x88-\xE2\x82\xAC-\xF0\x9F\x93\x84.xml"), false));
    EXPECT_EQ(loaded.RootName(), "r");
}

TEST(NXML, SaveFileWritesTabsAndLineFeeds) {
    const TemporaryFolder folder;
    NXML document;
    ASSERT_TRUE(
        document.FromText("<?xml version='1.0' encoding='UTF-8'?><r><a><b/></a>\xC3\xA9</r>"));
    EXPECT_TRUE(document.SaveFile(folder.File("r.xml")));
    EXPECT_EQ(folder.Read("r.xml"), _declaration + "\n<r>\n\t<a>\n\t\t<b />\n\t</a>\xC3\xA9</r>\n");
    EXPECT_EQ(document.CountNodes(), 2);
}

TEST(NXML, EverySaveAddsADeclaration) {
    const TemporaryFolder folder;
    NXML document;
    ASSERT_TRUE(document.FromText("<r><a/></r>"));
    EXPECT_EQ(document.ToText(1), "<r>\n\t<a />\n</r>\n");
    EXPECT_EQ(document.ToText(0), "<r><a/></r>");
    EXPECT_EQ(document.CountNodes(), 1);
    EXPECT_EQ(document.ToText(2), _declaration + "<r><a/></r>");
    EXPECT_EQ(document.ToText(2), _declaration + _declaration + "<r><a/></r>");
    EXPECT_EQ(document.ToText(0), _declaration + _declaration + "<r><a/></r>");
    EXPECT_TRUE(document.SaveFile(folder.File("r.xml")));
    const std::string line = _declaration + '\n';
    EXPECT_EQ(folder.Read("r.xml"), line + line + line + "<r>\n\t<a />\n</r>\n");
    EXPECT_EQ(document.CountNodes(), 4);
    EXPECT_EQ(document.ToText(0xFFFFFFFC),
              _declaration + _declaration + _declaration + "<r><a/></r>");
    EXPECT_TRUE(document.LoadFile(folder.File("r.xml"), false));
    EXPECT_EQ(document.CountNodes(), 1);
    EXPECT_EQ(document.ToText(3), line + "<r>\n\t<a />\n</r>\n");
}

TEST(NXML, SaveFileThrowsOneExceptionForEveryCause) {
    const TemporaryFolder folder;
    NXML document;
    EXPECT_FALSE(document.SaveFile(folder.File("none/r.xml")));  // without a document none at all
    document.CreateRoot("r");
    std::vector<std::string> names = {folder.File("none/r.xml"), folder.Path().u8string(), ""};
    if (std::filesystem::exists("/dev/full")) {
        names.push_back("/dev/full");
    }
    for (const std::string& name : names) {
        const std::int32_t before = document.CountNodes();
        try {
            document.SaveFile(name);
            ADD_FAILURE() << name;
        } catch (const KelPathNotFoundException& e) {
            EXPECT_EQ(e.Message(), "Exception saving XML document");
            EXPECT_EQ(e.Code(), 0);
        }
        EXPECT_EQ(document.CountNodes(), before + 1);
    }
}

TEST(NXML, CopiesAreDeep) {
    NXML source, copy;
    ASSERT_TRUE(source.FromText("<r a='1'><b>x</b></r>"));
    source.ToText(2);
    copy = source;
    source.SetValue("r.b", "changed");
    EXPECT_EQ(copy.ToText(0), _declaration + "<r a=\"1\"><b>x</b></r>");
    copy = copy;
    NDataContainer& base = copy;
    base = copy;
    copy.Assign(copy, 0);
    EXPECT_EQ(copy.ToText(0), _declaration + "<r a=\"1\"><b>x</b></r>");
    base = NXML();
    EXPECT_EQ(copy.CountNodes(), 0);
}

TEST(NXML, ALateCallOfAssignIgnoresWhatIsNoXml) {
    // Of this class only the identity matters: it says that it is no NXML.
    class Stranger : public NXML {
        using NXML::operator=;
        const NClassRecord* ClassRecord() const override { return NBaseObject::Record(); }
    };
    Stranger stranger;
    stranger.CreateRoot("s");
    NXML document;
    document.Assign(stranger, 0);
    EXPECT_EQ(document.CountNodes(), -1);
    document.CreateRoot("r");
    document = stranger;
    EXPECT_EQ(document.ToText(0), "<r/>");
}

TEST(NXML, ReplacingADocumentGoesThroughClear) {
    class Counting : public NXML {
    public:
        using NXML::operator=;
        void Clear() override {
            ++cleared;
            NXML::Clear();
        }
        int cleared = 0;
    };
    Counting document;
    EXPECT_TRUE(document.FromText("<r><a/></r>"));
    EXPECT_EQ(document.cleared, 0);  // there was none
    EXPECT_TRUE(document.FromText("<r><a/></r>"));
    EXPECT_EQ(document.cleared, 1);
    document.Assign(NXML(), 0);
    EXPECT_EQ(document.cleared, 2);
    EXPECT_EQ(document.CreateRoot("r"), 0);
    EXPECT_EQ(document.cleared, 2);  // here the document is reused
    EXPECT_TRUE(document.GetElement("r", &document, -1));
    EXPECT_EQ(document.cleared, 3);
}
