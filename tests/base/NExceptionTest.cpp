#include <morvel/base/NException.h>

#include <typeinfo>

#include <tests/support/Test.h>

namespace {

// No operation of the library fills the chain of nested exceptions yet. An explicit instantiation
// may name what is private.
NException*& nestedOf(NException& exception);
template <auto member>
struct Opened {
    friend NException*& nestedOf(NException& exception) { return exception.*member; }
};
template struct Opened<&NException::_nested>;

// That `Class` stands below `Base` and adds nothing to it; that a copy, a clone and what a rethrow
// throws are of exactly that class. Grouping classes can only be made as a part of another.
template <class Class, class Base, bool raisable = true>
void expectClass(const char* text) {
    static_assert(std::is_convertible_v<Class*, Base*> && sizeof(Class) == sizeof(NException));
    static_assert(std::is_copy_constructible_v<Class> && !std::is_copy_assignable_v<Class>);
    static_assert(std::is_constructible_v<Class, const std::string&, std::int32_t> == raisable);
    const std::string message("a\0b", 3);
    struct Probe : Class {
        explicit Probe(const std::string& text) : Class(text, -7) {}
    };
    const Class exception{Probe(message)};
    try {
        std::unique_ptr<NException>(exception.Clone())->Rethrow();
    } catch (const NException& thrown) {
        EXPECT_EQ(typeid(thrown), typeid(Class)) << text;
        EXPECT_STREQ(thrown.what(), text);
        EXPECT_STREQ(thrown.Name(), text);
        EXPECT_STREQ(thrown.ClassName(), typeid(Class).name());
        EXPECT_EQ(thrown.Message(), message);
        EXPECT_EQ(thrown.Code(), -7);
        EXPECT_EQ(thrown.Nested(), nullptr);
    }
}

}  // namespace

TEST(NException, EachClassOfTheFamilyHasItsTextAndItsPlace) {
    expectClass<NException, std::exception>("NException");
    expectClass<KelLogicException, NException, false>("Logic exception");
    expectClass<KelInvalidArgumentException, KelLogicException>("Invalid argument");
    expectClass<KelRuntimeException, NException>("Runtime exception");
    expectClass<KelDataException, KelRuntimeException, false>("Data error");
    expectClass<KelSyntaxException, KelDataException, false>("Syntax error");
    expectClass<KelPathSyntaxException, KelSyntaxException>("Bad path syntax");
    expectClass<KelIOException, KelRuntimeException, false>("I/O error");
    expectClass<KelFileException, KelIOException>("File access error");
    expectClass<KelFileExistsException, KelFileException>("File exists");
    expectClass<KelFileNotFoundException, KelFileException>("File not found");
    expectClass<KelPathNotFoundException, KelFileException>("Path not found");
    expectClass<KelFileReadOnlyException, KelFileException>("File is read-only");
    expectClass<KelFileAccessDeniedException, KelFileException>("Access to file denied");
    expectClass<KelOpenFileException, KelFileException>("Cannot open file");
    expectClass<KelXMLElementException, KelRuntimeException>("XML element exception");
    expectClass<KelXMLParseException, KelRuntimeException>("XML parse error");
}

TEST(NException, CopyOwnsACopyOfTheWholeChain) {
    auto original = std::make_unique<KelFileException>("outer", 3);
    nestedOf(*original) = new KelOpenFileException("inner", 2);
    nestedOf(*nestedOf(*original)) = new KelXMLParseException("innermost", 1);
    const KelFileException copy(*original);
    original.reset();
    EXPECT_STREQ(copy.Nested()->what(), "Cannot open file");
    EXPECT_EQ(copy.Nested()->Nested()->Message(), "innermost");
}
