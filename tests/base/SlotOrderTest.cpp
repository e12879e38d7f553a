// The order of the virtual operations is part of the library's binary interface: a program built
// against one release calls them by their place in the table. One table a class stands here, apart
// from the headers, and fails when two declarations change places or a new one comes in between.
//
// Read off pointers to members, whose form the Itanium C++ ABI sets (2.3, Member Pointers).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <morvel/morvel.h>

namespace {

using Size = std::size_t;
using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using I32 = std::int32_t;
using U64 = unsigned long long;
using Chars = const char*;
using Counted = const unsigned char*;
using Wide = const NWideChar*;
using Bytes = const std::string&;
using Encoding = NStringEncoding;
using Text = const NString&;
using List = NDataContainerArray;
using Attributes = NAttributeList;
using Cancel = bool (*)(void*);
using Progress = void (*)(std::uint64_t, std::uint64_t, void*);

constexpr std::size_t NotVirtual = ~std::size_t{0};

// The place in the table that a pointer to a virtual operation refers to.
template <class Class, class Signature>
std::size_t place(Signature Class::*operation) {
    std::uintptr_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
    // The mark of a virtual one is in the other word on ARM.
#if defined(__aarch64__) || defined(__arm__)
    const bool isVirtual = words[1] & 1;
    const std::uintptr_t offset = words[0];
#else
    const bool isVirtual = words[0] & 1;
    const std::uintptr_t offset = words[0] - 1;
#endif
    return isVirtual ? offset / sizeof(void*) : NotVirtual;
}

// The places of operations of one name that stand side by side.
struct Slots {
    const char* name;
    std::vector<std::size_t> places;
};

const Slots destructor = {"destructor", {}};  // no pointer refers to it

template <class Class, class... Signatures, class PlaceOf>
Slots slots(const char* name, PlaceOf placeOf) {
    return {name, {placeOf(static_cast<Signatures Class::*>(nullptr))...}};
}

// Adds an operation of its own: its place tells how many there are in front of it.
template <class Class>
struct Extended : Class {
    using Class::operator=;  // those that are virtual stay visible
    virtual void behindTheLast() = 0;
};

// Expects `rows` behind the first `inherited` places, and nothing behind them; returns how many
// places there are.
template <class Class>
std::size_t expectTable(const std::vector<Slots>& rows, std::size_t inherited = 0) {
    std::size_t expected = inherited;
    for (const Slots& row : rows) {
        for (const std::size_t place : row.places) {
            EXPECT_EQ(place, expected++) << row.name;
        }
        if (row.places.empty()) {
            expected += 2;  // of a whole object, and of one that is to be freed as well
        }
    }
    EXPECT_EQ((place<Extended<Class>, void()>(&Extended<Class>::behindTheLast)), expected);
    return expected;
}

}  // namespace

// The operations `name` of the Class at hand, one for each signature behind it.
#define SLOTS(name, ...) \
    slots<Class, __VA_ARGS__>(#name, [](auto overload) { return place(overload = &Class::name); })

namespace {

// The same for a class of the family that leaves the operations at the head as it inherits them.
template <class Class>
std::size_t expectFamily(std::vector<Slots> rows = {}) {
    static_assert(
        std::is_same_v<decltype(&Class::ClassRecord), decltype(&NBaseObject::ClassRecord)>);
    static_assert(std::is_same_v<decltype(&Class::Reserved), decltype(&NBaseObject::Reserved)>);
    const std::vector<Slots> head = {SLOTS(ClassRecord, const NClassRecord*() const), destructor,
                                     SLOTS(Reserved, void())};
    rows.insert(rows.begin(), head.begin(), head.end());
    return expectTable<Class>(rows);
}

template <class... Classes>
void expectHeadAlone() {
    (expectFamily<Classes>(), ...);
}

}  // namespace

TEST(SlotOrder, ClassesWithoutOperationsOfTheirOwn) {
    expectHeadAlone<NBaseObject, NFile, NFileStream, NTimestamp, NDateTime, NLog, NLogMessage,
                    NMutex, NNamedMutex>();
    expectTable<NAutoMutexLock>({destructor});
    expectTable<NAutoNamedMutexLock>({destructor});
    expectTable<NUUID>({destructor});
    expectTable<NChecksum>({destructor});
}

TEST(SlotOrder, Exceptions) {
    using Class = NException;
    const std::vector<Slots> rows = {
        destructor,
        SLOTS(what, Chars() const noexcept),
        SLOTS(Name, Chars() const noexcept),
        SLOTS(ClassName, Chars() const noexcept),
        SLOTS(Clone, NException * () const),
        SLOTS(Rethrow, void() const),
        SLOTS(Reserved, void()),
    };
    expectTable<NException>(rows);
    // What a class returns from Clone may not cost a slot of its own.
    expectTable<KelRuntimeException>(rows);
    expectTable<KelFileNotFoundException>(rows);
}

TEST(SlotOrder, ErrorHandler) {
    using Class = NErrorHandler;
    expectFamily<Class>(
        {SLOTS(Exception, void(), void(const NException&), void(const std::exception&))});
}

TEST(SlotOrder, String) {
    using Class = NString;
    struct Opened : NString {
        using NString::operator=;
        using NString::SetNumber64;
    };
    const std::vector<Slots> rows = {
        SLOTS(operator==, bool(Text) const, bool(Bytes) const, bool(Counted) const,
              bool(Chars) const),
        SLOTS(operator=, NString & (Text), NString & (Bytes), NString & (Counted),
              NString & (Chars)),
        SLOTS(operator+=, NString & (Text), NString & (Bytes), NString & (Counted),
              NString & (Chars), NString & (char)),
        SLOTS(SetData, void(Counted, Encoding), void(Chars, Encoding), void(Bytes, Encoding),
              void(Counted), void(Wide), void(Chars), void(const NWideString&), void(Bytes)),
        SLOTS(SetBytes, void(Chars, Size, Encoding), void(Wide, Size), void(Chars, Size)),
        SLOTS(ConvertTo, bool(Encoding)),
        SLOTS(SwapBytes, void()),
        SLOTS(Normalize, void(NStringForm)),
        SLOTS(KeepNumeric, void()),
        SLOTS(ToUpper, void()),
        SLOTS(ToLower, void()),
        SLOTS(Capitalize, void()),
        SLOTS(Trim, void(char)),
        SLOTS(TrimLeft, void(char)),
        SLOTS(TrimRight, void(char)),
        SLOTS(Mid, std::string(Size, Size) const),
        SLOTS(Left, std::string(Size) const),
        SLOTS(Right, std::string(Size) const),
        SLOTS(Find, long long(Chars, Size) const, long long(Bytes, Size) const),
        SLOTS(ReverseFind, U32(Chars, Size) const, U32(Bytes, Size) const),
        SLOTS(Replace, std::string(Size, Size, Chars), std::string(Size, Size, Bytes)),
        SLOTS(ReplaceAll, void(Chars, Chars), void(Text, Text), void(Bytes, Bytes)),
        SLOTS(UrlEncode, void()),
        SLOTS(UrlDecode, void()),
        SLOTS(Compare, int(Chars, Encoding) const, int(Chars) const, int(Bytes, Encoding) const,
              int(Bytes) const, int(Text) const),
        SLOTS(CompareN, int(Chars, Encoding, U32) const, int(Chars, U32) const,
              int(Bytes, Encoding, U32) const, int(Bytes, U32) const, int(Text, U32) const),
        SLOTS(CompareNoCase, int(Chars, Encoding) const, int(Chars) const,
              int(Bytes, Encoding) const, int(Bytes) const, int(Text) const),
        SLOTS(CompareNoCaseN, int(Chars, Encoding, Size) const, int(Chars, Size) const,
              int(Bytes, Encoding, Size) const, int(Bytes, Size) const, int(Text, Size) const),
        SLOTS(SetNumber, void(double), void(double, int), void(float), void(float, int), void(int),
              void(unsigned), void(long), void(unsigned long), void(long long)),
        {"SetNumber64", {place<NString, void(long long)>(&Opened::SetNumber64)}},
        SLOTS(SetFourCC, void(U32)),
        SLOTS(SetVersion, void(U32)),
        SLOTS(SetHex, void(Counted, U32), void(U8, U8, U8, U8), void(U32)),
        SLOTS(SetNumber, void(U64)),
        SLOTS(SetPair, void(NPair16), void(I32, I32), void(NPair32)),
        SLOTS(ToDouble, double() const),
        SLOTS(ToFloat, float() const),
        SLOTS(ToInt, I32() const),
        SLOTS(ToFourCC, U32() const),
        SLOTS(ToVersion, U32() const),
        SLOTS(HexValue, U32() const),
        SLOTS(HexByte, U32(U32) const),
        SLOTS(HexBytes, I32(U8*, U32) const),
        SLOTS(ToUInt64, U64() const),
        SLOTS(ToPair16, NPair16() const),
        SLOTS(ToPair32, NPair32() const),
        SLOTS(SetList, void(const float*, U8), void(const U16*, U8), void(const std::int16_t*, U8),
              void(Counted, U8)),
        SLOTS(ToList, U32(float*) const, U32(U16*) const, U32(U8*) const, std::vector<I32>() const),
        SLOTS(Format, NString(Chars, ...) const),
        SLOTS(ToUInt, U32() const),
        SLOTS(ToSize, U64() const),
        SLOTS(EncodeBase64, void(Counted, U32), void()),
        SLOTS(DecodeBase64, void(U8*, U32*) const, void()),
    };
    expectFamily<NString>(rows);
    expectFamily<NPath>(rows);  // has none of its own
}

TEST(SlotOrder, StringTokenizer) {
    using Class = NStringTokenizer;
    expectFamily<Class>({SLOTS(operator=, Class & (const Class&))});
}

TEST(SlotOrder, DataContainerArray) {
    using Class = NDataContainerArray;
    expectTable<Class>({destructor, SLOTS(Assign, void(const Class&)), SLOTS(Clear, void())});
}

std::size_t expectContainer() {
    using Class = NDataContainer;
    return expectFamily<Class>({
        SLOTS(LoadFile, bool(Bytes, bool)),
        SLOTS(LoadStream, bool(std::istream&, bool)),
        SLOTS(CreateRoot, I32(Bytes)),
        SLOTS(SaveFile, bool(Bytes)),
        SLOTS(SaveStream, bool(std::ostream&, U32)),
        SLOTS(GetElement, bool(Bytes, Class*, I32) const),
        SLOTS(GetElements, bool(Bytes, List&) const),
        SLOTS(AppendElements, bool(Bytes, const List&)),
        SLOTS(ReplaceElement, bool(Bytes, const Class*)),
        SLOTS(SetValue, bool(Bytes, Text), bool(Bytes, Chars), bool(Bytes, Bytes)),
        SLOTS(SetAttributes, bool(Bytes, const Attributes&)),
        SLOTS(GetAttributes, bool(Bytes, Attributes&) const),
        SLOTS(SetAttribute, bool(Bytes, Bytes, Bytes)),
        SLOTS(RemoveAttribute, bool(Bytes, Bytes)),
        SLOTS(RemoveAttributes, bool(Bytes)),
        SLOTS(RemoveElementsByName, bool(Bytes, NNameList)),
        SLOTS(RemoveElement, bool(Bytes, I32)),
        SLOTS(ForEachElement, bool(Bytes, NElementCallback) const),
        SLOTS(CountNodes, I32() const),
        SLOTS(operator=, Class & (const Class&)),
        SLOTS(Assign, void(const Class&, I32)),
        SLOTS(IsEmpty, bool() const),
        SLOTS(Clear, void()),
        SLOTS(RootName, std::string() const),
        SLOTS(RootValue, std::string() const),
        SLOTS(RootAttributes, const Attributes&() const),
        SLOTS(GetRootAttribute, bool(Bytes, NString&) const, bool(Bytes, std::string&) const),
        SLOTS(ToText, std::string(U32)),
        SLOTS(FromText, bool(Bytes)),
    });
}

TEST(SlotOrder, Containers) {
    using Class = NXML;
    static_assert(
        std::is_same_v<decltype(&Class::ClassRecord), const NClassRecord* (Class::*)() const>);
    static_assert(std::is_same_v<decltype(&Class::Reserved), decltype(&NBaseObject::Reserved)>);
    const std::vector<Slots> rows = {
        SLOTS(FindElements, bool(Bytes, List&, const Attributes&) const),
        SLOTS(GetRootName, bool(std::string&) const),
        SLOTS(operator=, Class & (const Class&)),
        SLOTS(SetValueCData, bool(Bytes, Bytes)),
    };
    expectTable<Class>(rows, expectContainer());
}

TEST(SlotOrder, Url) {
    using Class = NURL;
    using To = void*;
    expectFamily<Class>({
        SLOTS(Get, I32(std::string, U32, Cancel, To, Progress, To)),
        SLOTS(Upload, I32(std::string, const void*, U64, U32, Cancel, To, Progress, To)),
        SLOTS(Request,
              I32(std::string, const std::vector<std::string>*, const void*, U64, U32, Cancel, To,
                  Progress, To, U32),
              I32(std::string, Chars, U64, const void*, U64, U32, Cancel, To, Progress, To, U32),
              I32(std::string, const void*, U64, U32, Cancel, To, Progress, To, U32)),
        SLOTS(Data, Chars() const),
        SLOTS(Size, U64() const),
    });
}

TEST(SlotOrder, RandomSources) {
    using Class = nanoid::crypto_random_base;
    const std::vector<Slots> rows = {SLOTS(next_bytes, void(unsigned char*, U64)), destructor};
    expectTable<Class>(rows);
    expectTable<nanoid::crypto_random<std::mt19937>>(rows);
}
