// The document as a whole; elements and values are in NXMLElementsTest.cpp.
#include <morvel/documents/NXML.h>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

namespace {

using namespace std::string_literals;
using namespace morvel::test;
using namespace testing;

const std::string _declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// Takes the place of the default handler and gathers what is reported.
struct Reports : NErrorHandler {
    Reports() : former(Set(this)) {}
    ~Reports() override { Set(former); }

    using NErrorHandler::Exception;
    void Exception(const NException& e) override { text += e.what() + (": " + e.Message()); }

    NErrorHandler* const former;
    std::string text;
};

#define CALL(...) [&](NXML& d) -> bool { return __VA_ARGS__; }

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
    document.SetValue("r", "");
    EXPECT_FALSE(document.IsEmpty());  // an empty text is a child all the same
    document.Clear();
    expect(-1, true, "");
    EXPECT_FALSE(document.SaveFile("/none/r.xml"));
}

// By a result and a report, or by an exception; one malformed text, three ways.
TEST(NXML, TellsWhatBecameOfALoadOrASave) {
    const TemporaryFolder folder;
    const std::string text = "<r><a>x</a><b></c></r>", bad = folder.Write("bad.xml", text);
    const std::string opened = folder.Path().u8string(), missing = folder.File("missing.xml");
    const std::string closed = folder.File("sub") + folder.File("").back();
    const std::string full = std::filesystem::exists("/dev/full") ? "/dev/full" : opened;
    std::istringstream malformed(text), empty, second("<a/><b/>");
    std::ifstream none(missing);
    second.seekg(4);  // read from where it stands
    const std::string partial = "<r><a>x</a><b/></r>", former = "<former/>";
    const std::string unsaved = "Path not found: Exception saving XML document";
    const std::string saved = _declaration + former;
    const struct {
        std::function<bool(NXML&)> call;
        std::string outcome, left;
    } rows[] = {
        {CALL(d.FromText("<r> <a/>\n<b> x </b><![CDATA[<&]]></r>")), "1",
         "<r><a/><b> x </b><![CDATA[<&]]></r>"},
        {CALL(d.FromText("<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>")), "1",
         "<r>\xC3\xA9</r>"},
        {CALL(d.LoadFile(bad, false)), "0XML parse error: Start-end tags mismatch Offset: 16",
         partial},
        {CALL(d.LoadFile(bad, true)), "0", partial},
        {CALL(d.FromText(text)), "0", partial},
        {CALL(d.LoadStream(malformed, true)), "XML element exception: Start-end tags mismatch",
         partial},
        {CALL(d.LoadStream(empty, true)), "XML element exception: No document element found", ""},
        {CALL(d.LoadStream(none, true)), "XML element exception: Error reading from file/stream",
         ""},
        {CALL(d.LoadStream(second, true)), "1", "<b/>"},
        {CALL(d.LoadFile("", false)), "0Invalid argument:  is not a file", former},
        {CALL(d.LoadFile(closed, false)), "0Invalid argument: " + closed + " is not a file",
         former},
        {CALL(d.LoadFile(missing, false)), "0File not found: File " + missing + " not found",
         former},
        {CALL(d.LoadFile(missing, true)), "0", former},
        {CALL(d.LoadFile(opened, false)), "0XML parse error: File was not found Offset: 0", ""},
        {CALL(d.SaveFile(folder.File("none/r.xml"))), unsaved, saved},
        {CALL(d.SaveFile(opened)), unsaved, saved},
        {CALL(d.SaveFile(full)), unsaved, saved},
    };
    for (const auto& row : rows) {
        Reports reports;
        NXML document;
        document.CreateRoot("former");
        std::string outcome;
        try {
            outcome = std::to_string(row.call(document)) + reports.text;
        } catch (const NException& e) {
            EXPECT_EQ(e.Code(), 0);
            outcome = e.what() + (": " + e.Message());
        }
        EXPECT_EQ(outcome, row.outcome);
        EXPECT_EQ(document.ToText(0), row.left) << outcome;
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

TEST(NXML, ReplacingADocumentGoesThroughClear) {
    struct Counting : NXML {
        using NXML::operator=;
        void Clear() override {
            ++cleared;
            NXML::Clear();
        }
        int cleared = 0;
    } document;
    NXML source;
    ASSERT_TRUE(source.FromText("<r><a/></r>"));
    document = source;
    EXPECT_EQ(document.cleared, 0);  // there was none
    EXPECT_TRUE(document.FromText("<r><b/></r>"));
    EXPECT_EQ(document.cleared, 1);
    document = source;
    source.SetValue("r.a", "changed");
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
