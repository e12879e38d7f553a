#include <morvel/base/NBaseObject.h>

#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

TEST(NBaseObject, IsInstanceOfWalksTheRecordsUpToTheRoot) {
    static_assert(sizeof(NBaseObject) == sizeof(void*));
    const NString text;  // has no record of its own
    const NXML document;
    const NClassRecord sameName("NXML", sizeof(NXML), nullptr, NBaseObject::Record);
    EXPECT_EQ(text.ClassRecord(), NBaseObject::Record());
    EXPECT_FALSE(text.IsInstanceOf(NXML::Record()));
    EXPECT_TRUE(document.IsInstanceOf(NXML::Record()));
    EXPECT_TRUE(document.IsInstanceOf(NBaseObject::Record()));
    EXPECT_FALSE(document.IsInstanceOf(&sameName) || document.IsInstanceOf(nullptr));
}

TEST(NClassRecord, CreatesAnInstanceOrNullForWhateverGoesWrong) {
    const NClassRecord throwing(
        "T", 7, []() -> NBaseObject* { throw -1; }, NBaseObject::Record);
    const struct {
        const NClassRecord* record;
        std::string name;
        std::size_t size;
    } rows[] = {{NBaseObject::Record(), "NBaseObject", sizeof(NBaseObject)},
                {NXML::Record(), "NXML", sizeof(NXML)},
                {&throwing, "T", 7}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.record->Name(), row.name);
        EXPECT_EQ(row.record->ObjectSize(), row.size);
        EXPECT_EQ(row.record->Schema(), 0xFFFFu);
        const std::unique_ptr<NBaseObject> made(row.record->CreateInstance());
        EXPECT_EQ(made ? made->ClassRecord() : nullptr, row.name == "NXML" ? row.record : nullptr);
    }
}
