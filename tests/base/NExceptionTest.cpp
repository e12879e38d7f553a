#include <morvel/base/NException.h>

#include <typeinfo>

#include <tests/support/Expose.h>
#include <tests/support/Test.h>

namespace {

NException* NException::*nested;

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
    const std::unique_ptr<NException> clone(exception.Clone());
    try {
        clone->Rethrow();
    } catch (const NException& thrown) {
        for (const NException* each : {static_cast<const NException*>(&exception),
                                       static_cast<const NException*>(clone.get()), &thrown}) {
            EXPECT_EQ(typeid(*each), typeid(Class)) << text;
            EXPECT_STREQ(each->what(), text);
            EXPECT_STREQ(each->Name(), text);
            EXPECT_STREQ(each->ClassName(), typeid(Class).name());
            EXPECT_EQ(each->Message(), message);
            EXPECT_EQ(each->Code(), -7);
            EXPECT_EQ(each->Nested(), nullptr);
        }
    }
}

}  // namespace

template struct morvel::test::Expose<nested, &NException::_nested>;

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

// No operation of the library fills the chain yet.
TEST(NException, CopyOwnsACopyOfTheWholeChain) {
    auto original = std::make_unique<KelFileException>("outer", 3);
    auto* const inner = new KelOpenFileException("inner", 2);
    inner->*nested = new KelXMLParseException("innermost", 1);
    (*original).*nested = inner;
    const KelFileException copy(*original);
    original.reset();
    EXPECT_EQ(copy.Nested()->what() + (' ' + copy.Nested()->Message()), "Cannot open file inner");
    EXPECT_EQ(copy.Nested()->Nested()->Message(), "innermost");
    EXPECT_EQ(copy.Nested()->Nested()->Nested(), nullptr);
}
