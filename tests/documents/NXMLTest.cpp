// The document as a whole; elements and values are in NXMLElementsTest.cpp.
#include <morvel/documents/NXML.h>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <tests/documents/EmptyText.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

namespace {

using namespace std::string_literals;
using namespace morvel::test;
using namespace testing;

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

// The message of the exception that `call` throws; "nothing" for none.
template <class Exception, class Call>
std::string _thrownBy(Call call) {
    try {
        EXPECT_TRUE(call());
        return "nothing";
    } catch (const Exception& e) {
        EXPECT_EQ(e.Code(), 0);
        return e.Message();
    }
}

}  // namespace

TEST(NXML, TellsItsThreeStatesApart) {
    NXML document;
    const auto expect = [&document](std::int32_t nodes, bool empty, const std::string& text) {
        EXPECT_EQ(document.CountNodes(), nodes) << text;
        EXPECT_EQ(document.IsEmpty(), empty) << text;
        EXPECT_EQ(document.HasRoot() != nullptr, !text.empty());
        EXPECT_EQ(document.ToText(0), text);
    };
    EXPECT_EQ(document.ToText(2), "");
    expect(-1, true, "");
    document.Assign(NXML(), 0);
    expect(0, true, "");
    EXPECT_EQ(document.ToText(2), _declaration);
    EXPECT_EQ(document.CreateRoot("r"), 0);
    expect(1, true, "<r/>");  // the declaration is gone
    document.SetAttribute("r", "a", "1");
    expect(1, false, "<r a=\"1\"/>");
    document.RemoveAttributes("r");
    document.SetValue("r", "");  // an empty text is a child all the same
    expect(1, false, WithEmptyText("r"));
    document.Clear();
    expect(-1, true, "");
    EXPECT_FALSE(document.SaveFile("/none/r.xml"));
}

TEST(NXML, ReadsWhatTheOptionsKeep) {
    const std::pair<std::string, std::string> rows[] = {
        {"<r> <a/>\n<b> x </b><![CDATA[<&]]></r>", "<r><a/><b> x </b><![CDATA[<&]]></r>"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>", "<r>\xC3\xA9</r>"},
        {"\xFF\xFE<\0r\0>\0\xE9\0<\0/\0r\0>\0"s, "<r>\xC3\xA9</r>"},
    };
    for (const auto& [text, expected] : rows) {
        NXML document;
        EXPECT_TRUE(document.FromText(text)) << expected;
        EXPECT_EQ(document.ToText(0), expected);
    }
}

// One malformed text, three roads.
TEST(NXML, AMalformedDocumentFailsDifferentlyOnEachRoad) {
    const TemporaryFolder folder;
    const std::string text = "<r><a>x</a><b></c></r>", file = folder.Write("bad.xml", text);
    const Reports reports;
    NXML document;
    const auto load = [&document](std::istream&& stream) {
        document.CreateRoot("former");
        return _thrownBy<KelXMLElementException>([&] { return document.LoadStream(stream, true); });
    };
    EXPECT_FALSE(document.LoadFile(file, false));
    EXPECT_THAT(reports.lines, ElementsAre("XML parse error: Start-end tags mismatch Offset: 16"));
    EXPECT_EQ(document.ToText(0), "<r><a>x</a><b/></r>");
    EXPECT_EQ(load(std::istringstream(text)), "Start-end tags mismatch");
    EXPECT_EQ(document.ToText(0), "<r><a>x</a><b/></r>");
    EXPECT_FALSE(NXML().FromText(text) || document.LoadFile(file, true));
    EXPECT_EQ(reports.lines.size(), 1u);

    EXPECT_EQ(load(std::istringstream()), "No document element found");
    std::istringstream stream("<a/><b/>");
    stream.seekg(4);  // read from where it stands
    EXPECT_EQ(load(std::move(stream)), "nothing");
    EXPECT_EQ(document.ToText(0), "<b/>");
    EXPECT_EQ(load(std::ifstream(folder.File("none"))), "Error reading from file/stream");
}

TEST(NXML, LoadFileReportsWhatIsNoFile) {
    const TemporaryFolder folder;
    const std::string opened = folder.Path().u8string(), missing = folder.File("missing.xml");
    const std::string closed = folder.File("sub") + folder.File("").back();
    // A path, the report, and how many nodes of two are left.
    const std::tuple<std::string, std::string, std::int32_t> rows[] = {
        {"", "Invalid argument:  is not a file", 2},
        {closed, "Invalid argument: " + closed + " is not a file", 2},
        {missing, "File not found: File " + missing + " not found", 2},
        {opened, "XML parse error: File was not found Offset: 0", 0},
    };
    for (const auto& [path, report, nodes] : rows) {
        for (const bool silent : {false, true}) {
            const Reports reports;
            NXML document;
            (void)document.FromText("<a/><b/>");
            EXPECT_FALSE(document.LoadFile(path, silent));
            EXPECT_EQ(reports.lines, silent ? std::vector<std::string>() : std::vector{report});
            EXPECT_EQ(document.CountNodes(), nodes);
        }
    }
}

TEST(NXML, EverySaveAddsADeclaration) {
    const TemporaryFolder folder;
    const std::string name = folder.File("u\xCC\x88-\xF0\x9F\x93\x84.xml");
    const std::string line = _declaration + '\n', tree = "<r>\n\t<a>\xC3\xA9</a>\n\t<b />\n</r>\n";
    NXML document;
    ASSERT_TRUE(document.FromText("<r><a>\xC3\xA9</a><b/></r>"));
    EXPECT_EQ(document.ToText(1), tree);
    std::ostringstream failed;
    failed.setstate(std::ios::failbit);
    EXPECT_TRUE(document.SaveStream(failed, 1));
    EXPECT_TRUE(document.SaveFile(name));
    EXPECT_TRUE(document.SaveFile(name));
    EXPECT_EQ(folder.Read("\xC3\xBC-\xF0\x9F\x93\x84.xml"), line + line + tree);  // in NFC
    EXPECT_EQ(document.ToText(3), line + line + line + tree);
    EXPECT_EQ(document.CountNodes(), 4);
    EXPECT_TRUE(document.LoadFile(name, false));
    EXPECT_EQ(document.ToText(2), _declaration + "<r><a>\xC3\xA9</a><b/></r>");
    EXPECT_EQ(document.ToText(0xFFFFFFFC), _declaration + "<r><a>\xC3\xA9</a><b/></r>");
}

TEST(NXML, SaveFileThrowsOneExceptionForEveryCause) {
    const TemporaryFolder folder;
    const std::string full = std::filesystem::exists("/dev/full") ? "/dev/full" : "";
    for (const std::string& name : {folder.File("none/r.xml"), folder.Path().u8string(), full}) {
        NXML document;
        document.CreateRoot("r");
        EXPECT_EQ(_thrownBy<KelPathNotFoundException>([&] { return document.SaveFile(name); }),
                  "Exception saving XML document")
            << name;
        EXPECT_EQ(document.CountNodes(), 2);
    }
}

// Of Stranger only the identity matters: it says that it is no NXML.
TEST(NXML, ReplacingADocumentGoesThroughClear) {
    struct Stranger : NXML {
        using NXML::operator=;
        const NClassRecord* ClassRecord() const override { return NBaseObject::Record(); }
    };
    struct Counting : NXML {
        using NXML::operator=;
        void Clear() override {
            ++cleared;
            NXML::Clear();
        }
        int cleared = 0;
    };
    Counting document;
    NXML source;
    ASSERT_TRUE(source.FromText("<r><a/></r>"));
    document = source;
    EXPECT_EQ(document.cleared, 0);  // there was none
    EXPECT_TRUE(document.FromText("<r><b/></r>"));
    EXPECT_EQ(document.cleared, 1);
    document = source;
    source.SetValue("r.a", "changed");
    document.Assign(Stranger(), 0);
    document = static_cast<const NXML&>(document);
    EXPECT_EQ(document.cleared, 2);
    document.Assign(document, 0);
    EXPECT_EQ(document.cleared, 3);
    EXPECT_EQ(document.ToText(0), "<r><a/></r>");
    EXPECT_EQ(document.CreateRoot("r"), 0);
    EXPECT_EQ(document.cleared, 3);  // here the document is reused
    EXPECT_TRUE(document.GetElement("r", &document, -1));
    EXPECT_EQ(document.cleared, 4);
}
