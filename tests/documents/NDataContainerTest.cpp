#include <morvel/documents/NDataContainer.h>

#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

namespace {

// Counts itself and what is assigned to it; with a root element "throws" or "false" its operations
// fail in that way.
struct Counted : NXML {
    explicit Counted(const std::string& root = "") {
        CreateRoot(root);
        ++_alive;
    }
    ~Counted() override { --_alive; }

    const NClassRecord* ClassRecord() const override { return record; }
    using NXML::operator=;
    void Assign(const NDataContainer& source, std::int32_t reserved) override {
        NXML::Assign(source, reserved);
        assigned += std::to_string(reserved);
        (void)Done();
    }
    bool SaveStream(std::ostream& stream, std::uint32_t flags) override {
        stream << RootName() << flags;
        return Done();
    }
    bool Done() const {
        return RootName() != "throws" ? RootName() != "false" : throw std::runtime_error("refused");
    }

    std::string assigned;
    const NClassRecord* record = &OwnRecord;

    static const NClassRecord OwnRecord;
    inline static int _alive = 0;
};

const NClassRecord Counted::OwnRecord(
    "Counted", sizeof(Counted), []() -> NBaseObject* { return new Counted; }, &NXML::Record);

std::string _roots(const NDataContainerArray& array) {
    std::string roots;
    for (const NDataContainer* container : array) roots += container->RootName() + ' ';
    return roots;
}

}  // namespace

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
    Counted a("a"), b("b");
    NDataContainer &target = a, &other = b;
    EXPECT_EQ(&(target = other), &target);
    target = static_cast<NDataContainer&>(a);  // itself
    static_cast<NXML&>(a) = b;
    EXPECT_EQ(a.RootName() + a.assigned, "b00");
    b.record = NBaseObject::Record();
    NXML document;
    document.CreateRoot("d");
    document.Assign(b, 0);                            // which says that it is no NXML
    EXPECT_TRUE(document.NDataContainer::IsEmpty());  // as long as a format doesn't say otherwise
    document.NDataContainer::Clear();
    EXPECT_EQ(document.RootName(), "d");
}

TEST(NDataContainer, ToTextIsEmptyWhereSavingFails) {
    EXPECT_EQ(Counted("a").ToText(3), "a3");
    EXPECT_EQ(Counted("false").ToText(0), "");
    EXPECT_EQ(Counted("throws").ToText(0), "");
}

TEST(NDataContainerArray, OwnsDeepCopiesOfTheSameClasses) {
    auto array = std::make_unique<NDataContainerArray>();
    NDataContainerArray &source = *array, copy;
    const NClassRecord failing{"Failing", 0, []() -> NBaseObject* { throw 1; }, nullptr};
    const NClassRecord other{"Other", 0, []() -> NBaseObject* { return new NString; }, nullptr};
    for (const NClassRecord* record :
         {NBaseObject::Record(), &failing, &other, &Counted::OwnRecord}) {
        auto* container = new Counted("a");
        container->record = record;
        source.push_back(container);
    }
    source.push_back(nullptr);
    source.push_back(new NXML);
    source.back()->CreateRoot("b");
    copy.push_back(new Counted("former"));
    copy.Assign(source);
    EXPECT_EQ(dynamic_cast<Counted&>(*copy.front()).assigned, "0");
    EXPECT_EQ(Counted::_alive, 5);
    source.back()->CreateRoot("changed");
    copy.Assign(copy);
    EXPECT_EQ(_roots(copy), "a b ");

    source.push_back(new Counted("throws"));
    EXPECT_THROW(copy.Assign(source), std::runtime_error);
    EXPECT_EQ(_roots(copy), "a changed ");  // made before the failure
    EXPECT_EQ(Counted::_alive, 6);          // the one that failed is gone
    copy.Assign(NDataContainerArray());
    EXPECT_TRUE(copy.empty());
    array.reset();
    EXPECT_EQ(Counted::_alive, 0);
}
