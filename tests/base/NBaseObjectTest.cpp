#include <morvel/base/NBaseObject.h>

#include <morvel/documents/NXML.h>
#include <tests/support/Test.h>

TEST(NBaseObject, HasNoDataOfItsOwn) {
    EXPECT_EQ(sizeof(NBaseObject), sizeof(void*));
    EXPECT_EQ(NBaseObject::Record()->Name(), "NBaseObject");
    EXPECT_EQ(NBaseObject::Record()->ObjectSize(), sizeof(NBaseObject));
    EXPECT_EQ(NBaseObject::Record()->Schema(), 0xFFFFu);
}

TEST(NBaseObject, IsInstanceOfWalksTheRecordsUpToTheRoot) {
    const NString text;  // has no record of its own
    const NXML document;
    const NClassRecord sameName("NXML", sizeof(NXML), nullptr, NBaseObject::Record);
    EXPECT_EQ(text.ClassRecord(), NBaseObject::Record());
    EXPECT_TRUE(text.IsInstanceOf(NBaseObject::Record()));
    EXPECT_FALSE(text.IsInstanceOf(NXML::Record()));
    EXPECT_TRUE(document.IsInstanceOf(NXML::Record()));
    EXPECT_TRUE(document.IsInstanceOf(NBaseObject::Record()));
    EXPECT_FALSE(document.IsInstanceOf(&sameName));
    EXPECT_FALSE(document.IsInstanceOf(nullptr));
}

TEST(NClassRecord, CreateInstanceGivesNullForWhateverGoesWrong) {
    const std::unique_ptr<NBaseObject> made(NXML::Record()->CreateInstance());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->ClassRecord(), NXML::Record());
    EXPECT_EQ(NXML::Record()->Name(), "NXML");
    EXPECT_EQ(NXML::Record()->ObjectSize(), sizeof(NXML));
    EXPECT_EQ(NBaseObject::Record()->CreateInstance(), nullptr);
    const NClassRecord throwing(
        "Throwing", 0, []() -> NBaseObject* { throw -1; }, NBaseObject::Record);
    EXPECT_EQ(throwing.CreateInstance(), nullptr);
}
