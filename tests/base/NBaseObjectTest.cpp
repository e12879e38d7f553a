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
    const NClassRecord throwing{"T", 7, []() -> NBaseObject* { throw -1; }, NBaseObject::Record};
    EXPECT_EQ(throwing.CreateInstance(), nullptr);
    EXPECT_EQ(throwing.ObjectSize(), 7u);
    EXPECT_EQ(throwing.Schema(), 0xFFFFu);
    EXPECT_EQ(NBaseObject::Record()->CreateInstance(), nullptr);
    EXPECT_EQ(NBaseObject::Record()->Name(), "NBaseObject");
    const std::unique_ptr<NBaseObject> made(NXML::Record()->CreateInstance());
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->ClassRecord()->Name(), "NXML");
    EXPECT_EQ(made->ClassRecord()->ObjectSize(), sizeof(NXML));
}
