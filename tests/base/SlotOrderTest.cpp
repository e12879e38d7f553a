// The order of the virtual operations is part of the library's binary interface: a program built
// against one release calls them by their place in the table. One table a class stands here, apart
// from the headers, and fails when two declarations change places or a new one comes in between.
//
// Read off pointers to members, whose form the Itanium C++ ABI sets (2.3, Member Pointers).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <istream>
#include <ostream>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include <morvel/morvel.h>

namespace {

constexpr std::size_t NotVirtual = ~std::size_t{0};
constexpr std::size_t Destructor = ~std::size_t{1};

// The place in the table that a pointer to a virtual operation refers to.
template <class Class, class Signature>
std::size_t place(Signature Class::*operation) {
    std::uintptr_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
#if defined(__aarch64__) || \
    defined(__arm__)  // the mark of a virtual one is in the other word there
    const bool isVirtual = words[1] & 1;
    const std::uintptr_t offset = words[0];
#else
    const bool isVirtual = words[0] & 1;
    const std::uintptr_t offset = words[0] - 1;
#endif
    return isVirtual ? offset / sizeof(void*) : NotVirtual;
}

struct Slot {
    const char* name;
    std::size_t place;
};

// Adds an operation of its own: its place tells how many there are in front of it.
template <class Class>
struct Extended : Class {
    using Class::operator=;  // those that are virtual stay visible
    virtual void behindTheLast() = 0;
};

// Expects `slots` behind the first `inherited` places, and nothing behind them.
template <class Class>
void expectTable(std::size_t inherited, std::initializer_list<Slot> slots) {
    std::size_t expected = inherited;
    for (const Slot& slot : slots) {
        if (slot.place == Destructor) {
            expected += 2;  // of a whole object, and of one that is to be freed as well
        } else {
            EXPECT_EQ(slot.place, expected) << slot.name;
            ++expected;
        }
    }
    EXPECT_EQ((place<Extended<Class>, void()>(&Extended<Class>::behindTheLast)), expected)
        << "operations in the table";
}

template <class Class>
void expectTable(std::initializer_list<Slot> slots) {
    expectTable<Class>(0, slots);
}

struct ProtectedOfNString : NString {
    using NString::operator=;
    static std::size_t SetNumber64Place() {
        return place<NString, void(long long)>(&ProtectedOfNString::SetNumber64);
    }
};

// Whether the class leaves the operations at the head of the table as it inherits them.
template <class... Classes>
constexpr bool inheritsTheHead =
    (std::is_same_v<decltype(&Classes::ClassRecord), decltype(&NBaseObject::ClassRecord)> && ...) &&
    (std::is_same_v<decltype(&Classes::Reserved), decltype(&NBaseObject::Reserved)> && ...);

}  // namespace

// The operation `name` of the Class of the test, with the signature behind it.
#define SLOT(name, ...)                                                   \
    Slot {                                                                \
#name " " #__VA_ARGS__, place < Class, __VA_ARGS__>(&Class::name) \
    }
#define DESTRUCTOR               \
    Slot {                       \
        "destructor", Destructor \
    }
#define HEAD SLOT(ClassRecord, const NClassRecord*() const), DESTRUCTOR, SLOT(Reserved, void())

TEST(SlotOrder, HeadIsInherited) {
    static_assert(inheritsTheHead<NErrorHandler, NString, NPath, NStringTokenizer, NFile,
                                  NFileStream, NDataContainer, NTimestamp, NDateTime, NURL, NLog,
                                  NLogMessage, NMutex, NNamedMutex>);
    static_assert(
        std::is_same_v<decltype(&NXML::ClassRecord), const NClassRecord* (NXML::*)() const>);
    static_assert(std::is_same_v<decltype(&NXML::Reserved), decltype(&NBaseObject::Reserved)>);
}

// Those that have nothing but the head or a destructor.
TEST(SlotOrder, ClassesWithoutOperationsOfTheirOwn) {
    {
        using Class = NBaseObject;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NFile;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NFileStream;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NTimestamp;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NDateTime;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NLog;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NLogMessage;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NMutex;
        expectTable<Class>({HEAD});
    }
    {
        using Class = NNamedMutex;
        expectTable<Class>({HEAD});
    }
    expectTable<NAutoMutexLock>({DESTRUCTOR});
    expectTable<NAutoNamedMutexLock>({DESTRUCTOR});
    expectTable<NUUID>({DESTRUCTOR});
    expectTable<NChecksum>({DESTRUCTOR});
}

TEST(SlotOrder, Exceptions) {
    using Class = NException;
    const auto table = {
        DESTRUCTOR,
        SLOT(what, const char*() const noexcept),
        SLOT(Name, const char*() const noexcept),
        SLOT(ClassName, const char*() const noexcept),
        SLOT(Clone, NException * () const),
        SLOT(Rethrow, void() const),
        SLOT(Reserved, void()),
    };
    expectTable<NException>(table);
    // What a class returns from Clone may not cost a slot of its own.
    expectTable<KelRuntimeException>(table);
    expectTable<KelFileNotFoundException>(table);
}

TEST(SlotOrder, ErrorHandler) {
    using Class = NErrorHandler;
    expectTable<Class>({
        HEAD,
        SLOT(Exception, void()),
        SLOT(Exception, void(const NException&)),
        SLOT(Exception, void(const std::exception&)),
    });
}

TEST(SlotOrder, String) {
    using Class = NString;
    using Size = std::size_t;
    using U8 = unsigned char;
    using U16 = std::uint16_t;
    using U32 = std::uint32_t;
    using I32 = std::int32_t;
    using Counted = const unsigned char*;
    using Chars = const char*;
    using Wide = const NWideChar*;
    using Bytes = const std::string&;
    using Encoding = NStringEncoding;
    const auto table = {
        HEAD,
        SLOT(operator==, bool(const NString&) const),
        SLOT(operator==, bool(Bytes) const),
        SLOT(operator==, bool(Counted) const),
        SLOT(operator==, bool(Chars) const),
        SLOT(operator=, NString & (const NString&)),
        SLOT(operator=, NString & (Bytes)),
        SLOT(operator=, NString & (Counted)),
        SLOT(operator=, NString & (Chars)),
        SLOT(operator+=, NString & (const NString&)),
        SLOT(operator+=, NString & (Bytes)),
        SLOT(operator+=, NString & (Counted)),
        SLOT(operator+=, NString & (Chars)),
        SLOT(operator+=, NString & (char)),
        SLOT(SetData, void(Counted, Encoding)),
        SLOT(SetData, void(Chars, Encoding)),
        SLOT(SetData, void(Bytes, Encoding)),
        SLOT(SetData, void(Counted)),
        SLOT(SetData, void(Wide)),
        SLOT(SetData, void(Chars)),
        SLOT(SetData, void(const NWideString&)),
        SLOT(SetData, void(Bytes)),
        SLOT(SetBytes, void(Chars, Size, Encoding)),
        SLOT(SetBytes, void(Wide, Size)),
        SLOT(SetBytes, void(Chars, Size)),
        SLOT(ConvertTo, bool(Encoding)),
        SLOT(SwapBytes, void()),
        SLOT(Normalize, void(NStringForm)),
        SLOT(KeepNumeric, void()),
        SLOT(ToUpper, void()),
        SLOT(ToLower, void()),
        SLOT(Capitalize, void()),
        SLOT(Trim, void(char)),
        SLOT(TrimLeft, void(char)),
        SLOT(TrimRight, void(char)),
        SLOT(Mid, std::string(Size, Size) const),
        SLOT(Left, std::string(Size) const),
        SLOT(Right, std::string(Size) const),
        SLOT(Find, long long(Chars, Size) const),
        SLOT(Find, long long(Bytes, Size) const),
        SLOT(ReverseFind, U32(Chars, Size) const),
        SLOT(ReverseFind, U32(Bytes, Size) const),
        SLOT(Replace, std::string(Size, Size, Chars)),
        SLOT(Replace, std::string(Size, Size, Bytes)),
        SLOT(ReplaceAll, void(Chars, Chars)),
        SLOT(ReplaceAll, void(const NString&, const NString&)),
        SLOT(ReplaceAll, void(Bytes, Bytes)),
        SLOT(UrlEncode, void()),
        SLOT(UrlDecode, void()),
        SLOT(Compare, int(Chars, Encoding) const),
        SLOT(Compare, int(Chars) const),
        SLOT(Compare, int(Bytes, Encoding) const),
        SLOT(Compare, int(Bytes) const),
        SLOT(Compare, int(const NString&) const),
        SLOT(CompareN, int(Chars, Encoding, U32) const),
        SLOT(CompareN, int(Chars, U32) const),
        SLOT(CompareN, int(Bytes, Encoding, U32) const),
        SLOT(CompareN, int(Bytes, U32) const),
        SLOT(CompareN, int(const NString&, U32) const),
        SLOT(CompareNoCase, int(Chars, Encoding) const),
        SLOT(CompareNoCase, int(Chars) const),
        SLOT(CompareNoCase, int(Bytes, Encoding) const),
        SLOT(CompareNoCase, int(Bytes) const),
        SLOT(CompareNoCase, int(const NString&) const),
        SLOT(CompareNoCaseN, int(Chars, Encoding, Size) const),
        SLOT(CompareNoCaseN, int(Chars, Size) const),
        SLOT(CompareNoCaseN, int(Bytes, Encoding, Size) const),
        SLOT(CompareNoCaseN, int(Bytes, Size) const),
        SLOT(CompareNoCaseN, int(const NString&, Size) const),
        SLOT(SetNumber, void(double)),
        SLOT(SetNumber, void(double, int)),
        SLOT(SetNumber, void(float)),
        SLOT(SetNumber, void(float, int)),
        SLOT(SetNumber, void(int)),
        SLOT(SetNumber, void(unsigned int)),
        SLOT(SetNumber, void(long)),
        SLOT(SetNumber, void(unsigned long)),
        SLOT(SetNumber, void(long long)),
        Slot{"SetNumber64", ProtectedOfNString::SetNumber64Place()},
        SLOT(SetFourCC, void(U32)),
        SLOT(SetVersion, void(U32)),
        SLOT(SetHex, void(const U8*, U32)),
        SLOT(SetHex, void(U8, U8, U8, U8)),
        SLOT(SetHex, void(U32)),
        SLOT(SetNumber, void(unsigned long long)),
        SLOT(SetPair, void(NPair16)),
        SLOT(SetPair, void(I32, I32)),
        SLOT(SetPair, void(NPair32)),
        SLOT(ToDouble, double() const),
        SLOT(ToFloat, float() const),
        SLOT(ToInt, I32() const),
        SLOT(ToFourCC, U32() const),
        SLOT(ToVersion, U32() const),
        SLOT(HexValue, U32() const),
        SLOT(HexByte, U32(U32) const),
        SLOT(HexBytes, I32(U8*, U32) const),
        SLOT(ToUInt64, unsigned long long() const),
        SLOT(ToPair16, NPair16() const),
        SLOT(ToPair32, NPair32() const),
        SLOT(SetList, void(const float*, std::uint8_t)),
        SLOT(SetList, void(const U16*, std::uint8_t)),
        SLOT(SetList, void(const std::int16_t*, std::uint8_t)),
        SLOT(SetList, void(const U8*, std::uint8_t)),
        SLOT(ToList, U32(float*) const),
        SLOT(ToList, U32(U16*) const),
        SLOT(ToList, U32(U8*) const),
        SLOT(ToList, std::vector<I32>() const),
        SLOT(Format, NString(Chars, ...) const),
        SLOT(ToUInt, U32() const),
        SLOT(ToSize, unsigned long long() const),
        SLOT(EncodeBase64, void(const U8*, U32)),
        SLOT(EncodeBase64, void()),
        SLOT(DecodeBase64, void(U8*, U32*) const),
        SLOT(DecodeBase64, void()),
    };
    expectTable<NString>(table);
    expectTable<NPath>(table);  // has none of its own
}

TEST(SlotOrder, StringTokenizer) {
    using Class = NStringTokenizer;
    expectTable<Class>({
        HEAD,
        SLOT(operator=, NStringTokenizer & (const NStringTokenizer&)),
    });
}

TEST(SlotOrder, DataContainers) {
    using U32 = std::uint32_t;
    using I32 = std::int32_t;
    using Bytes = const std::string&;
    {
        using Class = NDataContainerArray;
        expectTable<Class>({
            DESTRUCTOR,
            SLOT(Assign, void(const NDataContainerArray&)),
            SLOT(Clear, void()),
        });
    }
    std::size_t inContainer = 0;
    {
        using Class = NDataContainer;
        const auto table = {
            HEAD,
            SLOT(LoadFile, bool(Bytes, bool)),
            SLOT(LoadStream, bool(std::istream&, bool)),
            SLOT(CreateRoot, I32(Bytes)),
            SLOT(SaveFile, bool(Bytes)),
            SLOT(SaveStream, bool(std::ostream&, U32)),
            SLOT(GetElement, bool(Bytes, NDataContainer*, I32) const),
            SLOT(GetElements, bool(Bytes, NDataContainerArray&) const),
            SLOT(AppendElements, bool(Bytes, const NDataContainerArray&)),
            SLOT(ReplaceElement, bool(Bytes, const NDataContainer*)),
            SLOT(SetValue, bool(Bytes, const NString&)),
            SLOT(SetValue, bool(Bytes, const char*)),
            SLOT(SetValue, bool(Bytes, Bytes)),
            SLOT(SetAttributes, bool(Bytes, const NAttributeList&)),
            SLOT(GetAttributes, bool(Bytes, NAttributeList&) const),
            SLOT(SetAttribute, bool(Bytes, Bytes, Bytes)),
            SLOT(RemoveAttribute, bool(Bytes, Bytes)),
            SLOT(RemoveAttributes, bool(Bytes)),
            SLOT(RemoveElementsByName, bool(Bytes, NNameList)),
            SLOT(RemoveElement, bool(Bytes, I32)),
            SLOT(ForEachElement, bool(Bytes, NElementCallback) const),
            SLOT(CountNodes, I32() const),
            SLOT(operator=, NDataContainer & (const NDataContainer&)),
            SLOT(Assign, void(const NDataContainer&, I32)),
            SLOT(IsEmpty, bool() const),
            SLOT(Clear, void()),
            SLOT(RootName, std::string() const),
            SLOT(RootValue, std::string() const),
            SLOT(RootAttributes, const NAttributeList&() const),
            SLOT(GetRootAttribute, bool(Bytes, NString&) const),
            SLOT(GetRootAttribute, bool(Bytes, std::string&) const),
            SLOT(ToText, std::string(U32)),
            SLOT(FromText, bool(Bytes)),
        };
        expectTable<Class>(table);
        inContainer = table.size() + 1;
    }
    {
        using Class = NXML;
        expectTable<Class>(
            inContainer,
            {
                SLOT(FindElements, bool(Bytes, NDataContainerArray&, const NAttributeList&) const),
                SLOT(GetRootName, bool(std::string&) const),
                SLOT(operator=, NXML & (const NXML&)),
                SLOT(SetValueCData, bool(Bytes, Bytes)),
            });
    }
}

TEST(SlotOrder, Url) {
    using Class = NURL;
    using U32 = std::uint32_t;
    using U64 = unsigned long long;
    using Cancel = bool (*)(void*);
    using Progress = void (*)(std::uint64_t, std::uint64_t, void*);
    expectTable<Class>({
        HEAD,
        SLOT(Get, std::int32_t(std::string, U32, Cancel, void*, Progress, void*)),
        SLOT(Upload,
             std::int32_t(std::string, const void*, U64, U32, Cancel, void*, Progress, void*)),
        SLOT(Request, std::int32_t(std::string, const std::vector<std::string>*, const void*, U64,
                                   U32, Cancel, void*, Progress, void*, U32)),
        SLOT(Request, std::int32_t(std::string, const char*, U64, const void*, U64, U32, Cancel,
                                   void*, Progress, void*, U32)),
        SLOT(Request,
             std::int32_t(std::string, const void*, U64, U32, Cancel, void*, Progress, void*, U32)),
        SLOT(Data, const char*() const),
        SLOT(Size, U64() const),
    });
}

TEST(SlotOrder, RandomSources) {
    using Class = nanoid::crypto_random_base;
    const auto table = {
        SLOT(next_bytes, void(unsigned char*, unsigned long long)),
        DESTRUCTOR,
    };
    expectTable<Class>(table);
    expectTable<nanoid::crypto_random<std::mt19937>>(table);
}
