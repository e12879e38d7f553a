#include <morvel/documents/NXML.h>

#include <deque>

#include <Poco/String.h>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <tests/support/Text.h>

namespace {

struct Document : NXML {
    using NXML::operator=;
    explicit Document(const std::string& text) {
        EXPECT_EQ(FromText(text), text != "-") << text;
        if (text == "-") Clear();
    }
};

// A document, operations on it, and what comes of them.
struct Subject : NErrorHandler {
    explicit Subject(const std::string& text) : document(text), former(Set(this)) {}
    ~Subject() override { Set(former); }

    using NErrorHandler::Exception;
    void Exception(const NException& e) override { Tell("told ", e); }
    void Tell(const std::string& how, const NException& e) {
        events += how + e.what() + ": " + e.Message() + ' ';
    }
    // What an operation answers itself.
    std::string& Answer(const std::string& text = "former") { return answer.emplace(text); }

    // What the words of an operation stand for.
    const std::string& Word(std::size_t index) const { return words.at(index); }
    std::int32_t Index() const { return static_cast<std::int32_t>(std::stoll(words.at(1))); }
    NNameList Names() const { return {words.begin() + 1, words.end()}; }
    NAttributeList Pairs() const {
        NAttributeList pairs;
        for (std::size_t i = 2; i < words.size(); i += 2) {
            pairs.emplace_back(words[i - 1], words[i]);
        }
        return pairs;
    }
    NXML* Other(const std::string& word) {
        if (word == "null") return nullptr;
        return word == "itself" ? &document : &others.emplace_back(word);
    }

    Document document;
    std::deque<Document> others;
    std::vector<std::string> words;
    std::optional<std::string> answer;
    std::string events;
    NErrorHandler* const former;
};

bool _getElement(Subject& s) {
    Document copy("<former/>");
    const bool result = s.document.GetElement(s.Word(0), &copy, s.Index());
    EXPECT_EQ(s.document.GetElement(s.Word(0), nullptr, s.Index()), result);
    s.Answer(copy.ToText(0));
    return result;
}

bool _findElements(Subject& s) {
    NDataContainerArray array;
    array.push_back(new Document("<former/>"));
    const bool result = s.words.size() > 1 ? s.document.FindElements(s.Word(0), array, s.Pairs())
                                           : s.document.GetElements(s.Word(0), array);
    s.Answer("");
    for (NDataContainer* container : array) *s.answer += container->ToText(0);
    return result;
}

bool _getAttributes(Subject& s) {
    NAttributeList list = {{"former", "0"}};
    const bool result = s.document.GetAttributes(s.Word(0), list);
    s.Answer("");
    for (const auto& [name, value] : list) *s.answer += name + '=' + value + ',';
    return result;
}

bool _getRootAttribute(Subject& s) {
    std::string& text = s.Answer(s.Word(0));
    return s.document.GetRootAttribute(text, text);
}

bool _appendElements(Subject& s) {
    NDataContainerArray array;
    for (const std::string& word : s.Names()) array.push_back(s.Other(word));
    const bool result = s.document.AppendElements(s.Word(0), array);
    array.clear();  // lets go what belongs to others
    return result;
}

bool _loadStream(Subject& s) {
    std::ifstream stream(std::filesystem::u8path(s.Word(0)), std::ios::binary);
    if (s.words.size() > 1) stream.seekg(s.Index());
    return s.document.LoadStream(stream, true);
}

bool _saveToFailedStream(Subject& s) {
    std::ostringstream stream;
    stream.setstate(std::ios::failbit);
    return s.document.SaveStream(stream, 1);
}

bool _state(Subject& s) {
    s.Answer(std::to_string(s.document.CountNodes())) += s.document.IsEmpty() ? " empty" : "";
    *s.answer += s.document.HasRoot() != nullptr ? " root" : "";
    return true;
}

const TemporaryFolder Folder;

#define DO(...) [](Subject& s) -> bool { return s.document.__VA_ARGS__; }
#define ANSWER(...) [](Subject& s) -> bool { return s.Answer(__VA_ARGS__), true; }

// By their names in operations.txt.
const std::map<std::string, std::function<bool(Subject&)>> Operations = {
    {"AppendElements", _appendElements},
    {"Assign", [](Subject& s) { return s.document.Assign(*s.Other(s.Word(0)), 0), true; }},
    {"Clear", [](Subject& s) { return s.document.Clear(), true; }},
    {"CreateRoot", DO(CreateRoot(s.Word(0)) == 0)},
    {"FindElements", _findElements},
    {"FromText", DO(FromText(s.Word(0)))},
    {"GetAttributes", _getAttributes},
    {"GetElement", _getElement},
    {"GetElementIntoItself", DO(GetElement(s.Word(0), &s.document, s.Index()))},
    {"GetElements", _findElements},
    {"GetRootAttribute", _getRootAttribute},
    {"GetRootName", DO(GetRootName(s.Answer()))},
    {"LoadFile", DO(LoadFile(s.Word(0), false))},
    {"LoadSilently", DO(LoadFile(s.Word(0), true))},
    {"LoadStream", _loadStream},
    {"Read", ANSWER(Folder.Read(s.Word(0)))},
    {"RemoveAttribute", DO(RemoveAttribute(s.Word(0), s.Word(1)))},
    {"RemoveAttributes", DO(RemoveAttributes(s.Word(0)))},
    {"RemoveElement", DO(RemoveElement(s.Word(0), s.Index()))},
    {"RemoveElementsByName", DO(RemoveElementsByName(s.Word(0), s.Names()))},
    {"ReplaceElement", DO(ReplaceElement(s.Word(0), s.Other(s.Word(1))))},
    {"RootValue", ANSWER(s.document.RootValue())},
    {"SaveFile", DO(SaveFile(s.Word(0)))},
    {"SaveToFailedStream", _saveToFailedStream},
    {"SetAttribute", DO(SetAttribute(s.Word(0), s.Word(1), s.Word(2)))},
    {"SetAttributes", DO(SetAttributes(s.Word(0), s.Pairs()))},
    {"SetValue", DO(SetValue(s.Word(0), s.Word(1)))},
    {"SetValueCData", DO(SetValueCData(s.Word(0), s.Word(1)))},
    {"State", _state},
    {"ToText", ANSWER(s.document.ToText(static_cast<std::uint32_t>(std::stoul(s.Word(0)))))},
    {"Write", ANSWER(Folder.Write(s.Word(0), s.Word(1)))},
};

// What a word or a column of operations.txt means.
std::string _meaning(const std::string& written) {
    static const std::string folder = Folder.Path().u8string();
    static const std::pair<const char*, std::string> names[] = {
        {"{data}", folder},
        {"{full}", std::filesystem::exists("/dev/full") ? "/dev/full" : folder},
        {"{xml}", "<?xml version='1.0' encoding='UTF-8'?>"},
        {"{deep}", "<deep>" + Repeated("<d>"s, 200000) + Repeated("</d>"s, 200000) + "</deep>"}};
    std::string text = Decoded(written);
    for (const auto& [name, value] : names) Poco::replaceInPlace(text, name, value.c_str());
    return text;
}

std::string _outcome(const std::string& row, const std::string& text) {
    std::istringstream operations(row);
    Subject s(text);
    const std::string before = s.document.ToText(0);
    bool isDone = true;
    for (std::string name, word; operations >> name;) {
        s.words.clear();
        while (operations >> std::quoted(word) && word != ";") s.words.push_back(_meaning(word));
        s.answer.reset();
        try {
            isDone = Operations.at(name)(s);
        } catch (const NException& e) {
            EXPECT_EQ(e.Code(), 0);
            isDone = false;
            s.Tell("throws ", e);
        }
        if (!isDone) s.events += "no ";
    }
    const std::string after = s.document.ToText(0);
    if (!isDone && !s.answer && after == before) return s.events.substr(0, s.events.size() - 1);
    const std::string& shown = s.answer ? *s.answer : after;
    return s.events + (shown.empty() ? "-" : Poco::replace(shown, "\"", "'"));
}

struct Derived : NXML {
    using NXML::operator=;
    void Clear() override {
        ++cleared;
        NXML::Clear();
    }
    bool FindElements(const std::string& path, NDataContainerArray& array,
                      const NAttributeList& filter) const override {
        ++asked;
        return NXML::FindElements(path, array, filter);
    }
    bool SetAttributes(const std::string& path, const NAttributeList& list) override {
        ++asked;
        return NXML::SetAttributes(path, list);
    }
    int cleared = 0;
    mutable int asked = 0;
};

}  // namespace

TEST(NXML, DoesWhatTheTableTells) {
    for (const auto& row : ReadTable(OPERATIONS, 3)) {
        EXPECT_EQ(_outcome(row[0], _meaning(row[1])), _meaning(row[2])) << row[0] << "  " << row[1];
    }
}

// The class itself walks without copies, a class derived from it through FindElements.
TEST(NXML, ForEachElementCallsForEachChildThoughItRemovesThem) {
    static std::vector<std::string> calledWith;
    static NXML* edited;
    const auto call = [](const std::string& name, void* user) {
        calledWith.push_back(user == nullptr ? name : "user");
        edited->RemoveElementsByName("a", {"b", "c"});
    };
    NXML plain;
    Derived derived;
    for (NXML* document : {&plain, static_cast<NXML*>(&derived)}) {
        edited = document;
        calledWith.clear();
        EXPECT_FALSE(document->ForEachElement("", call));
        ASSERT_TRUE(document->FromText("<a><b/>t<c><d/></c><![CDATA[u]]></a>"));
        EXPECT_FALSE(document->ForEachElement("a", nullptr));
        EXPECT_FALSE(document->ForEachElement("a.b", call));
        EXPECT_TRUE(document->ForEachElement("", call));
        EXPECT_THAT(calledWith, ElementsAre("b", "c"));
        EXPECT_EQ(document->ToText(0), "<a>t<![CDATA[u]]></a>");
        ASSERT_TRUE(document->FromText("<a.b><c/></a.b>"));
        EXPECT_FALSE(document->ForEachElement("", call));  // the root's name is taken as a path
        EXPECT_TRUE(document->ForEachElement("a|b", call));
    }
    EXPECT_EQ(derived.asked, 5);
    NDataContainerArray children;
    EXPECT_TRUE(derived.GetElements("a|b", children));
    EXPECT_TRUE(derived.SetAttribute("a|b", "x", "1"));
    EXPECT_EQ(derived.asked, 7);
}

TEST(NXML, RootAttributesLieInTheObject) {
    Document document("<a Id='1'/>");
    const NAttributeList& attributes = document.RootAttributes();
    document.SetAttribute("a", "y", "2");
    EXPECT_EQ(attributes, (NAttributeList{{"Id", "1"}}));
    EXPECT_EQ(&document.RootAttributes(), &attributes);
    EXPECT_EQ(attributes, (NAttributeList{{"Id", "1"}, {"y", "2"}}));
    document.Clear();
    EXPECT_EQ(attributes.size(), 2u);
    EXPECT_TRUE(document.RootAttributes().empty());
}

TEST(NXML, ReplacingADocumentGoesThroughClear) {
    Derived document;
    Document source("<r><a/></r>");
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
