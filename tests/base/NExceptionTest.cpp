#include <morvel/base/NException.h>

#include <exception>
#include <typeinfo>

#include <tests/support/Expose.h>
#include <tests/support/Test.h>

namespace {

NException* NException::*nested;
std::int32_t NException::*detailNumber;
std::string NException::*detailText;

}  // namespace

template struct morvel::test::Expose<nested, &NException::_nested>;
template struct morvel::test::Expose<detailNumber, &NException::_detailNumber>;
template struct morvel::test::Expose<detailText, &NException::_detailText>;

namespace {

// An exception of exactly the class `Class`, grouping classes included: as a base of something that
// may be built, which is then copied without the rest.
template <class Class>
std::unique_ptr<NException> make(const std::string& message, std::int32_t code) {
    struct Probe : Class {
        Probe(const std::string& m, std::int32_t c) : Class(m, c) {}
    };
    return std::make_unique<Class>(Probe(message, code));
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
    int depth;
    const char* text;
    const std::type_info& type;
    std::unique_ptr<NException> (*make)(const std::string&, std::int32_t);
    bool (*caughtAs)(const NException&);
};

template <class Class, class Base, bool raisable = true>
Row row(int depth, const char* text) {
    using Message = const std::string&;
    static_assert(std::is_base_of_v<Base, Class> && sizeof(Class) == sizeof(NException));
    static_assert(std::is_copy_constructible_v<Class> && !std::is_copy_assignable_v<Class>);
    static_assert(std::is_constructible_v<Class, Message, std::int32_t> == raisable);
    return {depth, text, typeid(Class), make<Class>, caughtAs<Class>};
}

const Row family[] = {
    row<NException, std::exception>(1, "NException"),
    row<KelLogicException, NException, false>(2, "Logic exception"),
    row<KelInvalidArgumentException, KelLogicException>(3, "Invalid argument"),
    row<KelRuntimeException, NException>(2, "Runtime exception"),
    row<KelDataException, KelRuntimeException, false>(3, "Data error"),
    row<KelSyntaxException, KelDataException, false>(4, "Syntax error"),
    row<KelPathSyntaxException, KelSyntaxException>(5, "Bad path syntax"),
    row<KelIOException, KelRuntimeException, false>(3, "I/O error"),
    row<KelFileException, KelIOException>(4, "File access error"),
    row<KelFileExistsException, KelFileException>(5, "File exists"),
    row<KelFileNotFoundException, KelFileException>(5, "File not found"),
    row<KelPathNotFoundException, KelFileException>(5, "Path not found"),
    row<KelFileReadOnlyException, KelFileException>(5, "File is read-only"),
    row<KelFileAccessDeniedException, KelFileException>(5, "Access to file denied"),
    row<KelOpenFileException, KelFileException>(5, "Cannot open file"),
    row<KelXMLElementException, KelRuntimeException>(3, "XML element exception"),
    row<KelXMLParseException, KelRuntimeException>(3, "XML parse error"),
};

}  // namespace

TEST(NException, EachClassHasItsTextIsClonedAndCaughtAsItselfAndAllAboveIt) {
    const std::string message("a\0b", 3);
    for (const Row& row : family) {
        SCOPED_TRACE(row.text);
        const auto exception = row.make(message, -7);
        const std::unique_ptr<NException> clone(exception->Clone());
        for (const NException* each : {exception.get(), clone.get()}) {
            EXPECT_STREQ(each->what(), row.text);
            EXPECT_STREQ(each->Name(), row.text);
            EXPECT_STREQ(each->ClassName(), row.type.name());
            EXPECT_EQ(each->Message(), message);
            EXPECT_EQ(each->Code(), -7);
            EXPECT_EQ(each->Nested(), nullptr);
        }
        // As many clauses as the class is deep can only be its own and those of all above it.
        EXPECT_TRUE(row.caughtAs(*exception) && caughtAs<std::exception>(*exception));
        const auto catches = [&](const Row& clause) { return clause.caughtAs(*exception); };
        EXPECT_EQ(std::count_if(std::begin(family), std::end(family), catches), row.depth);
    }
}

TEST(NException, CopyOwnsACopyOfTheWholeChain) {
    auto original = std::make_unique<KelFileException>("outer", 3);
    auto* const inner = new KelOpenFileException("inner", 2);
    inner->*nested = new KelXMLParseException("innermost", 1);
    (*original).*nested = inner;
    (*original).*detailNumber = 11;
    (*original).*detailText = "detail";
    const KelFileException copy(*original);
    original.reset();
    EXPECT_EQ(copy.Message() + ' ' + copy.*detailText, "outer detail");
    EXPECT_EQ(copy.*detailNumber, 11);
    EXPECT_EQ(copy.Nested()->what() + (' ' + copy.Nested()->Message()), "Cannot open file inner");
    EXPECT_STREQ(copy.Nested()->Nested()->what(), "XML parse error");
    EXPECT_EQ(copy.Nested()->Nested()->Code(), 1);
    EXPECT_EQ(copy.Nested()->Nested()->Nested(), nullptr);
}
