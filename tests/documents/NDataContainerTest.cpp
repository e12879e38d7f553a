#include <morvel/documents/NDataContainer.h>

#include <istream>
#include <ostream>

#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

namespace {

using namespace std::string_literals;
using namespace testing;

// A container that is no more than one text; "false" and "throw" make its operations fail.
struct Note : NXML {
    explicit Note(const std::string& content = "") : text(content) { ++alive; }
    ~Note() override { --alive; }

    const NClassRecord* ClassRecord() const override { return record; }
    bool LoadStream(std::istream& stream, bool silent) override {
        text.assign(std::istreambuf_iterator<char>(stream), {});
        return Done() && !silent;
    }
    bool SaveStream(std::ostream& stream, std::uint32_t flags) override {
        stream << text << flags;
        return Done();
    }
    using NXML::operator=;
    void Assign(const NDataContainer& source, std::int32_t reserved) override {
        text = source.RootValue();
        Done();
        text += std::to_string(reserved);
    }
    std::string RootValue() const override { return text; }
    bool Done() { return text != "throw" ? text != "false" : throw std::runtime_error("refused"); }

    std::string text;
    const NClassRecord* record = &ownRecord;

    static const NClassRecord ownRecord;
    inline static int alive = 0;
};

const NClassRecord Note::ownRecord(
    "Note", sizeof(Note), []() -> NBaseObject* { return new Note; }, &NBaseObject::Record);

std::vector<std::string> _values(const NDataContainerArray& array) {
    std::vector<std::string> values;
    for (const NDataContainer* container : array) values.push_back(container->RootValue());
    return values;
}

}  // namespace

TEST(NDataContainer, TextsGoThroughTheStreams) {
    Note note("some\0text"s);
    EXPECT_EQ(note.ToText(3), "some\0text3"s);
    EXPECT_TRUE(note.FromText("all\0of it\n"s));
    EXPECT_EQ(note.text, "all\0of it\n"s);
    for (const char* refused : {"false", "throw"}) {
        EXPECT_FALSE(note.FromText(refused));
        EXPECT_EQ(note.text, refused);
        EXPECT_EQ(note.ToText(0), "");
    }
}

TEST(NDataContainer, OnlyNStringsAreConverted) {
    NXML document;
    document.CreateRoot("a");
    EXPECT_FALSE(document.SetValue("a.b.c", NString("x")) || document.SetValue("a.b.c", "x"));
    EXPECT_TRUE(document.SetValue("a", NString("Zo\xEB", EncodingLatin1)));
    EXPECT_EQ(document.RootValue(), "Zo\xC3\xAB");
    EXPECT_TRUE(document.SetValue("a", "Zo\xEB"));
    EXPECT_EQ(document.RootValue(), "Zo\xEB");

    document.SetAttribute("a", "id", "Zo\xC3\xAB");
    NString value("before", EncodingLatin1);
    EXPECT_FALSE(document.GetRootAttribute("name", value));
    EXPECT_EQ(value.Data(), "before");
    EXPECT_TRUE(document.GetRootAttribute("id", value));
    EXPECT_EQ(value, NString("Zo\xEB", EncodingLatin1));
    EXPECT_EQ(value.Encoding(), EncodingUTF8);
}

TEST(NDataContainer, AssignmentGoesThroughAssignButForItself) {
    Note note("a");
    const Note other("b");
    NDataContainer& target = note;
    EXPECT_EQ(&(target = static_cast<const NDataContainer&>(other)), &target);
    target = static_cast<const NDataContainer&>(note);
    EXPECT_EQ(note.text, "b0");
    NXML document;
    (void)document.FromText("<a>t</a>");
    document.Assign(other, 0);                        // which says that it is no NXML
    EXPECT_TRUE(document.NDataContainer::IsEmpty());  // as long as a format doesn't say otherwise
    document.NDataContainer::Clear();
    EXPECT_EQ(document.ToText(0), "<a>t</a>");
}

TEST(NDataContainerArray, OwnsDeepCopiesOfTheSameClasses) {
    auto array = std::make_unique<NDataContainerArray>();
    NDataContainerArray &source = *array, copy;
    const NClassRecord failing(
        "Failing", 0, []() -> NBaseObject* { throw 1; }, nullptr);
    const NClassRecord other(
        "Other", 0, []() -> NBaseObject* { return new NString; }, nullptr);
    for (const NClassRecord* record : {NBaseObject::Record(), &failing, &other, &Note::ownRecord}) {
        auto* note = new Note("a");
        note->record = record;
        source.push_back(note);
    }
    source.push_back(nullptr);
    source.push_back(new NXML);
    (void)source.back()->FromText("<r>b</r>");
    copy.push_back(new Note("former"));
    copy.Assign(source);
    EXPECT_NE(dynamic_cast<Note*>(copy.front()), nullptr);
    EXPECT_EQ(Note::alive, 5);
    source.back()->SetValue("r", "changed");
    copy.Assign(copy);
    EXPECT_THAT(_values(copy), ElementsAre("a0", "b"));

    source.push_back(new Note("throw"));
    EXPECT_THROW(copy.Assign(source), std::runtime_error);
    EXPECT_THAT(_values(copy), ElementsAre("a0", "changed"));  // made before the failure
    EXPECT_EQ(Note::alive, 6);                                 // the one that failed is gone
    copy.Assign(NDataContainerArray());
    EXPECT_TRUE(copy.empty());
    array.reset();
    EXPECT_EQ(Note::alive, 0);
}
