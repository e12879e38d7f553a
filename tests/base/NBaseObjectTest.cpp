#include <morvel/base/NBaseObject.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace {

const NClassRecord* baseRecord() {
    return NBaseObject::Record();
}

// A class of an application that has a record of its own, and one below it that has none.
class Shape : public NBaseObject {
public:
    ~Shape() override = default;
    const NClassRecord* ClassRecord() const override { return &record; }
    static NBaseObject* create() { return new Shape; }
    static const NClassRecord record;
};
const NClassRecord Shape::record("Shape", sizeof(Shape), create, baseRecord);

class Circle : public Shape {};

// The same name, and yet another class.
const NClassRecord otherShape("Shape", sizeof(Shape), Shape::create, baseRecord);

class Plain : public NBaseObject {};

}  // namespace

TEST(NBaseObject, HasNoDataOfItsOwn) {
    EXPECT_EQ(sizeof(NBaseObject), sizeof(void*));
    EXPECT_EQ(NBaseObject::Record()->Name(), "NBaseObject");
    EXPECT_EQ(NBaseObject::Record()->ObjectSize(), sizeof(NBaseObject));
    EXPECT_EQ(NBaseObject::Record()->Schema(), 0xFFFFu);
}

TEST(NBaseObject, IsInstanceOfWalksTheRecordsUpToTheRoot) {
    const Plain plain;
    const Circle circle;
    EXPECT_EQ(plain.ClassRecord(), NBaseObject::Record());
    EXPECT_EQ(circle.ClassRecord(), &Shape::record);
    const struct {
        const char* why;
        const NBaseObject& object;
        const NClassRecord* record;
        bool expected;
    } rows[] = {
        {"an object without a record of its own", plain, NBaseObject::Record(), true},
        {"the record of a class beside it", plain, &Shape::record, false},
        {"the record of the parent", circle, &Shape::record, true},
        {"the record of the root", circle, NBaseObject::Record(), true},
        {"records are compared by address, not by name", circle, &otherShape, false},
        {"null is nobody's record", circle, nullptr, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.object.IsInstanceOf(row.record), row.expected) << row.why;
    }
}

TEST(NClassRecord, CreateInstanceGivesNullForWhateverGoesWrong) {
    const std::unique_ptr<NBaseObject> shape(Shape::record.CreateInstance());
    ASSERT_NE(shape, nullptr);
    EXPECT_TRUE(shape->IsInstanceOf(&Shape::record));

    EXPECT_EQ(NBaseObject::Record()->CreateInstance(), nullptr);
    const NClassRecord throwing(
        "Throwing", 0, []() -> NBaseObject* { throw std::runtime_error("no"); }, baseRecord);
    EXPECT_EQ(throwing.CreateInstance(), nullptr);
    const NClassRecord throwingInteger(
        "Throwing", 0, []() -> NBaseObject* { throw -1; }, baseRecord);
    EXPECT_EQ(throwingInteger.CreateInstance(), nullptr);
}
