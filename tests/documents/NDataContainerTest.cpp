#include <morvel/documents/NDataContainer.h>

#include <gmock/gmock.h>

#include <istream>
#include <memory>
#include <new>
#include <ostream>
#include <stdexcept>

#include <morvel/documents/NXML.h>

namespace {

using namespace std::string_literals;

using testing::ElementsAre;

// Storage of an application: one text and one attribute. Notes the calls that arrive.
class Note : public NDataContainer {
public:
    Note() { ++alive; }
    explicit Note(const std::string& content) : text(content) { ++alive; }
    ~Note() override { --alive; }

    const NClassRecord* ClassRecord() const override { return record; }

    bool LoadFile(const std::string&, bool) override { return false; }
    bool LoadStream(std::istream& stream, bool silent) override {
        calls.push_back(silent ? "LoadStream silent" : "LoadStream");
        text.assign(std::istreambuf_iterator<char>(stream), {});
        if (text == "throw") {
            throw std::runtime_error("refused");
        }
        return text != "false";
    }
    std::int32_t CreateRoot(const std::string&) override { return -1; }
    bool SaveFile(const std::string&) override { return false; }
    bool SaveStream(std::ostream& stream, std::uint32_t flags) override {
        calls.push_back("SaveStream " + std::to_string(flags));
        stream << text;
        if (text == "throw") {
            throw 1;
        }
        return text != "false";
    }
    bool GetElement(const std::string&, NDataContainer*, std::int32_t) const override {
        return false;
    }
    bool GetElements(const std::string&, NDataContainerArray&) const override { return false; }
    bool AppendElements(const std::string&, const NDataContainerArray&) override { return false; }
    bool ReplaceElement(const std::string&, const NDataContainer*) override { return false; }
    using NDataContainer::SetValue;
    bool SetValue(const std::string& path, const std::string& value) override {
        calls.push_back("SetValue " + path);
        text = value;
        return path != "unknown";
    }
    bool SetAttributes(const std::string&, const NAttributeList&) override { return false; }
    bool GetAttributes(const std::string&, NAttributeList&) const override { return false; }
    bool SetAttribute(const std::string&, const std::string&, const std::string&) override {
        return false;
    }
    bool RemoveAttribute(const std::string&, const std::string&) override { return false; }
    bool RemoveAttributes(const std::string&) override { return false; }
    bool RemoveElementsByName(const std::string&, NNameList) override { return false; }
    bool RemoveElement(const std::string&, std::int32_t) override { return false; }
    bool ForEachElement(const std::string&, NElementCallback) const override { return false; }
    std::int32_t CountNodes() const override { return -1; }
    using NDataContainer::operator=;
    void Assign(const NDataContainer& source, std::int32_t reserved) override {
        calls.push_back("Assign " + std::to_string(reserved));
        if (const auto* note = dynamic_cast<const Note*>(&source)) {
            if (note->text == "throw") {
                throw std::bad_alloc();
            }
            text = note->text;
        }
    }
    std::string RootName() const override { return std::string(); }
    std::string RootValue() const override { return text; }
    const NAttributeList& RootAttributes() const override { return _none; }
    using NDataContainer::GetRootAttribute;
    bool GetRootAttribute(const std::string& name, std::string& out) const override {
        out = attribute.second;
        return name == attribute.first;
    }

    std::string text;
    std::pair<std::string, std::string> attribute;
    std::vector<std::string> calls;
    const NClassRecord* record = &ownRecord;

    static int alive;
    static const NClassRecord ownRecord;

private:
    NAttributeList _none;
};

int Note::alive = 0;
const NClassRecord Note::ownRecord(
    "Note", sizeof(Note), []() -> NBaseObject* { return new Note; }, &NBaseObject::Record);

std::vector<std::string> _values(const NDataContainerArray& array) {
    std::vector<std::string> values;
    for (const NDataContainer* container : array) {
        values.push_back(container == nullptr ? "null" : container->RootValue());
    }
    return values;
}

}  // namespace

TEST(NDataContainer, ToTextIsWhatSaveStreamWroteAndReturnedTrueFor) {
    Note note("some text");
    EXPECT_EQ(note.ToText(3), "some text");
    EXPECT_THAT(note.calls, ElementsAre("SaveStream 3"));
    note.text = "false";
    EXPECT_EQ(note.ToText(0), "");
    note.text = "throw";
    EXPECT_EQ(note.ToText(0), "");
    note.text = std::string(100000, 'x') + '\0' + "y";
    EXPECT_EQ(note.ToText(0), note.text);
}

TEST(NDataContainer, FromTextIsTheResultOfLoadStream) {
    Note note;
    const std::string text = "all\0of it\n"s;
    EXPECT_TRUE(note.FromText(text));
    EXPECT_EQ(note.text, text);
    EXPECT_THAT(note.calls, ElementsAre("LoadStream"));
    EXPECT_FALSE(note.FromText("false"));
    EXPECT_FALSE(note.FromText("throw"));
    EXPECT_TRUE(note.FromText(""));
}

// A storage format may have to come back to its head once it knows what follows.
TEST(NDataContainer, TheStreamsOfToTextAndFromTextCanSeek) {
    class Framed : public Note {
        using Note::operator=;
        bool SaveStream(std::ostream& stream, std::uint32_t) override {
            stream << "????:body";
            const auto size = stream.tellp();
            stream.seekp(1) << static_cast<int>(size) << 'z';
            stream.seekp(0, std::ios_base::end) << '!';
            stream.seekp(-2, std::ios_base::cur) << "Y!?";
            EXPECT_FALSE(stream.seekp(99));
            stream.clear();
            EXPECT_FALSE(stream.seekp(-1));
            return true;
        }
        bool LoadStream(std::istream& stream, bool) override {
            stream.seekg(0, std::ios_base::end);
            EXPECT_EQ(stream.tellg(), std::istream::pos_type(6));
            stream.seekg(-3, std::ios_base::cur) >> text;
            stream.clear();
            stream.seekg(1);
            EXPECT_EQ(stream.get(), 'b');
            EXPECT_FALSE(stream.seekg(7));
            return true;
        }
    };
    Framed framed;
    EXPECT_EQ(framed.ToText(0), "?9z?:bodY!?");
    EXPECT_TRUE(framed.FromText("abcdef"));
    EXPECT_EQ(framed.text, "def");
}

TEST(NDataContainer, SetValueEndsInTheByteStringForm) {
    Note note;
    EXPECT_TRUE(note.SetValue("a.b", NString("Zo\xEB", EncodingLatin1)));
    EXPECT_EQ(note.text, "Zo\xC3\xAB");
    EXPECT_TRUE(note.SetValue("a.c", NString("e\xCC\x81", EncodingUTF8)));
    EXPECT_EQ(note.text, "\xC3\xA9");
    // A character array isn't converted. It loses its mark, as every NString made of one does.
    EXPECT_TRUE(note.SetValue("a.d", "\xEF\xBB\xBFZo\xEB"));
    EXPECT_EQ(note.text, "Zo\xEB");
    EXPECT_FALSE(note.SetValue("unknown", "x"));
    EXPECT_THAT(note.calls,
                ElementsAre("SetValue a.b", "SetValue a.c", "SetValue a.d", "SetValue unknown"));
}

TEST(NDataContainer, GetRootAttributeFillsAnNStringOnlyIfItIsThere) {
    Note note;
    note.attribute = {"id", "Zo\xC3\xAB"};
    NString value("before", EncodingLatin1);
    EXPECT_FALSE(note.GetRootAttribute("name", value));
    EXPECT_EQ(value.Data(), "before");
    EXPECT_TRUE(note.GetRootAttribute("id", value));
    EXPECT_EQ(value.Data(), "Zo\xC3\xAB");
    EXPECT_EQ(value.Encoding(), EncodingUTF8);
}

TEST(NDataContainer, AssignmentGoesThroughAssignButForItself) {
    Note note("a"), other("b");
    NDataContainer& target = note;
    EXPECT_EQ(&(target = static_cast<const NDataContainer&>(other)), &target);
    EXPECT_EQ(note.text, "b");
    target = static_cast<const NDataContainer&>(note);
    EXPECT_THAT(note.calls, ElementsAre("Assign 0"));
}

TEST(NDataContainer, IsEmptyAndStaysAsItIsUnlessAFormatSaysOtherwise) {
    Note note("text");
    EXPECT_TRUE(note.IsEmpty());
    note.Clear();
    EXPECT_EQ(note.text, "text");
}

TEST(NDataContainerArray, OwnsWhatItPointsAt) {
    {
        NDataContainerArray array;
        array.push_back(new Note("a"));
        array.push_back(nullptr);
        array.push_back(new Note("b"));
        const std::unique_ptr<NDataContainer> taken(array.front());
        array.pop_front();
        array.Clear();
        EXPECT_TRUE(array.empty());
        EXPECT_EQ(Note::alive, 1);
        array.push_back(new Note("c"));
    }
    EXPECT_EQ(Note::alive, 0);
}

TEST(NDataContainerArray, AssignMakesDeepCopiesOfTheSameClasses) {
    NDataContainerArray source, copy;
    source.push_back(new Note("a"));
    source.push_back(new NXML);
    source.back()->FromText("<r>b</r>");
    copy.push_back(new Note("former"));
    copy.Assign(source);
    EXPECT_THAT(_values(copy), ElementsAre("a", "b"));
    EXPECT_NE(dynamic_cast<NXML*>(copy.back()), nullptr);
    source.back()->SetValue("r", "changed");
    EXPECT_THAT(_values(copy), ElementsAre("a", "b"));
    EXPECT_EQ(Note::alive, 2);

    copy.Assign(copy);
    EXPECT_THAT(_values(copy), ElementsAre("a", "b"));

    copy.Assign(NDataContainerArray());
    EXPECT_TRUE(copy.empty());
    EXPECT_EQ(Note::alive, 1);
}

TEST(NDataContainerArray, AssignLeavesOutWhatHasNoFactory) {
    const NClassRecord failing(
        "Failing", 0, []() -> NBaseObject* { throw 1; }, nullptr);
    const NClassRecord other(
        "Other", 0, []() -> NBaseObject* { return new NString; }, nullptr);
    NDataContainerArray source, copy;
    for (const NClassRecord* record : {NBaseObject::Record(), &failing, &other}) {
        auto note = std::make_unique<Note>("left out");
        note->record = record;
        source.push_back(note.release());
    }
    source.push_back(nullptr);
    source.push_back(new Note("copied"));
    copy.Assign(source);
    EXPECT_THAT(_values(copy), ElementsAre("copied"));
}

TEST(NDataContainerArray, AssignKeepsWhatItCopiedBeforeAFailure) {
    NDataContainerArray source, copy;
    for (const char* text : {"a", "throw", "b"}) {
        source.push_back(new Note(text));
    }
    EXPECT_THROW(copy.Assign(source), std::bad_alloc);
    EXPECT_THAT(_values(copy), ElementsAre("a"));
    EXPECT_EQ(Note::alive, 4);  // the one that failed is gone
}
