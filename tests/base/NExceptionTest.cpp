#include <morvel/base/NException.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include <tests/support/Expose.h>

namespace {

// What the replaced operator new below counts; `failAt` is the number of the one that fails.
struct Allocations {
    int made = 0;
    int alive = 0;
    int failAt = 0;
} allocations;

void* allocate(std::size_t size) noexcept {
    if (++allocations.made == allocations.failAt) {
        return nullptr;
    }
    void* const memory = std::malloc(size);
    allocations.alive += memory != nullptr;
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    void* const memory = allocate(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    allocations.alive -= memory != nullptr;
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    operator delete(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    operator delete(memory);
}

namespace {

struct Nested {
    using Type = NException* NException::*;
    static inline Type member;
};
struct DetailNumber {
    using Type = std::int32_t NException::*;
    static inline Type member;
};
struct DetailText {
    using Type = std::string NException::*;
    static inline Type member;
};

}  // namespace

template struct morvel::test::Expose<Nested, &NException::_nested>;
template struct morvel::test::Expose<DetailNumber, &NException::_detailNumber>;
template struct morvel::test::Expose<DetailText, &NException::_detailText>;

namespace {

// An exception of exactly the class `Class`, grouping classes included: as a base of something that
// may be built, which is then copied without the rest.
template <class Class>
std::unique_ptr<NException> make(const std::string& message, std::int32_t code) {
    struct Probe : Class {
        Probe(const std::string& m, std::int32_t c) : Class(m, c) {}
    };
    const Probe probe(message, code);
    return std::make_unique<Class>(probe);
}

template <class Class>
bool caughtAs(const NException& exception) {
    try {
        exception.Rethrow();
    } catch (const Class& caught) {
        return typeid(caught) == typeid(exception);
    } catch (...) {
        // a class beside or below
    }
    return false;
}

struct Row {
    const char* name;
    const char* base;
    const char* text;
    bool raisable;
    const std::type_info& type;
    std::unique_ptr<NException> (*make)(const std::string&, std::int32_t);
    bool (*caughtAs)(const NException&);
    bool constructible;
    std::size_t size;
};

template <class Class, class Base>
Row row(const char* name, const char* base, const char* text, bool raisable) {
    static_assert(std::is_base_of_v<Base, Class> && std::is_copy_constructible_v<Class>);
    static_assert(!std::is_copy_assignable_v<Class>);
    return {name,
            base,
            text,
            raisable,
            typeid(Class),
            make<Class>,
            caughtAs<Class>,
            std::is_constructible_v<Class, const std::string&, std::int32_t>,
            sizeof(Class)};
}

#define ROW(Class, Base, text, raisable) row<Class, Base>(#Class, #Base, text, raisable)
const Row family[] = {
    ROW(NException, std::exception, "NException", true),
    ROW(KelLogicException, NException, "Logic exception", false),
    ROW(KelInvalidArgumentException, KelLogicException, "Invalid argument", true),
    ROW(KelRuntimeException, NException, "Runtime exception", true),
    ROW(KelDataException, KelRuntimeException, "Data error", false),
    ROW(KelSyntaxException, KelDataException, "Syntax error", false),
    ROW(KelPathSyntaxException, KelSyntaxException, "Bad path syntax", true),
    ROW(KelIOException, KelRuntimeException, "I/O error", false),
    ROW(KelFileException, KelIOException, "File access error", true),
    ROW(KelFileExistsException, KelFileException, "File exists", true),
    ROW(KelFileNotFoundException, KelFileException, "File not found", true),
    ROW(KelPathNotFoundException, KelFileException, "Path not found", true),
    ROW(KelFileReadOnlyException, KelFileException, "File is read-only", true),
    ROW(KelFileAccessDeniedException, KelFileException, "Access to file denied", true),
    ROW(KelOpenFileException, KelFileException, "Cannot open file", true),
    ROW(KelXMLElementException, KelRuntimeException, "XML element exception", true),
    ROW(KelXMLParseException, KelRuntimeException, "XML parse error", true),
};

const Row* find(const std::string& name) {
    for (const Row& row : family) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

bool isOrDerivesFrom(const Row* row, const std::string& name) {
    return row != nullptr && (row->name == name || isOrDerivesFrom(find(row->base), name));
}

}  // namespace

TEST(NException, FixedTextComesFromTheClassAndParticularsFromTheMessage) {
    for (const Row& row : family) {
        SCOPED_TRACE(row.name);
        for (const std::string& message : {std::string(), std::string("a\0b", 3)}) {
            const auto exception = row.make(message, -7);
            EXPECT_STREQ(exception->what(), row.text);
            EXPECT_STREQ(exception->Name(), row.text);
            EXPECT_STREQ(exception->ClassName(), row.type.name());
            EXPECT_EQ(exception->Message(), message);
            EXPECT_EQ(exception->Code(), -7);
            EXPECT_EQ(exception->Nested(), nullptr);
            exception->Reserved();
        }
        EXPECT_EQ(row.constructible, row.raisable) << "by message and code";
        EXPECT_EQ(row.size, sizeof(NException));
    }
}

TEST(NException, RethrowIsCaughtAsTheClassAndThoseAboveItOnly) {
    for (const Row& thrown : family) {
        const auto exception = thrown.make("m", 1);
        EXPECT_TRUE(caughtAs<std::exception>(*exception)) << thrown.name;
        for (const Row& clause : family) {
            EXPECT_EQ(clause.caughtAs(*exception), isOrDerivesFrom(&thrown, clause.name))
                << thrown.name << " by " << clause.name;
        }
    }
}

TEST(NException, CloneIsOfTheSameClassAndOwnsItsOwnChain) {
    for (const Row& row : family) {
        SCOPED_TRACE(row.name);
        auto original = row.make("outer", 3);
        auto inner = std::make_unique<KelOpenFileException>("inner", 2);
        (*inner).*Nested::member = new KelXMLParseException("innermost", 1);
        (*original).*Nested::member = inner.release();
        (*original).*DetailNumber::member = 11;
        (*original).*DetailText::member = "detail";

        std::unique_ptr<NException> clone(original->Clone());
        ASSERT_NE(clone, nullptr);
        EXPECT_STREQ(clone->ClassName(), row.type.name());
        EXPECT_NE(clone->Nested(), original->Nested());
        EXPECT_NE(clone->Nested()->Nested(), original->Nested()->Nested());
        original.reset();

        EXPECT_EQ(clone->Message(), "outer");
        EXPECT_EQ(clone->Code(), 3);
        EXPECT_EQ((*clone).*DetailNumber::member, 11);
        EXPECT_EQ((*clone).*DetailText::member, "detail");
        EXPECT_EQ(clone->Nested()->Message(), "inner");
        EXPECT_STREQ(clone->Nested()->what(), "Cannot open file");
        EXPECT_EQ(clone->Nested()->Nested()->Message(), "innermost");
        EXPECT_EQ(clone->Nested()->Nested()->Code(), 1);
        EXPECT_EQ(clone->Nested()->Nested()->Nested(), nullptr);
    }
}

// Lets the first, the second, ... allocation fail until none does.
TEST(NException, CopyThatRunsOutOfMemoryLeaksNothing) {
    const std::string text(100, 'x');  // more than a string keeps in itself
    KelFileException original(text, 1);
    original.*DetailText::member = text;
    original.*Nested::member = new KelOpenFileException(text, 2);

    int withoutNested = 0;
    int thrown = 0;
    bool complete = false;
    const int before = allocations.alive;
    for (int n = 1; !complete && n < 100; ++n) {
        allocations.made = 0;
        allocations.failAt = n;
        try {
            const KelFileException copy(original);
            complete = copy.Nested() != nullptr;
            withoutNested += !complete;
            EXPECT_EQ(copy.Message().size(), text.size());
        } catch (const std::bad_alloc&) {
            ++thrown;
        }
        allocations.failAt = 0;
        ASSERT_EQ(allocations.alive, before) << "allocation " << n;
    }
    EXPECT_TRUE(complete);
#if !defined(_WIN32)  // a DLL has an operator new of its own
    // Three texts that can't be copied, one of them the nested one's; one object that can't be
    // made.
    EXPECT_EQ(thrown, 3);
    EXPECT_EQ(withoutNested, 1);

    allocations.made = 0;
    allocations.failAt = 1;
    const NException* const clone = original.Clone();
    allocations.failAt = 0;
    EXPECT_EQ(clone, nullptr);
#endif
}
