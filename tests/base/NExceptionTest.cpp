#include <morvel/base/NException.h>

#include <typeinfo>

#include <tests/support/Test.h>

namespace {

// No operation of the library fills the chain of nested exceptions yet. An explicit instantiation
// may name what is private.
NException*& _nestedOf(NException& exception);
template <auto Member>
struct Opened {
    friend NException*& _nestedOf(NException& exception) { return exception.*Member; }
};
template struct Opened<&NException::_nested>;

// That `Class` stands below `Base` and adds nothing to it; that a copy, a clone and what a rethrow
// throws are of exactly that class, with a chain of their own. Grouping classes can only be made as
// a part of another.
template <class Class, class Base, bool Raisable = true>
void _expectClass(const char* text) {
    static_assert(std::is_convertible_v<Class*, Base*> && sizeof(Class) == sizeof(NException));
    static_assert(std::is_constructible_v<Class, const std::string&, std::int32_t> == Raisable);
    struct Probe : Class {
        Probe() : Class("a\0b"s, -7) {}
    };
    auto original = std::make_unique<Class>(Probe());
    _nestedOf(*original) = new KelOpenFileException("inner", 2);
    try {
        const std::unique_ptr<NException> copy(original->Clone());
        original.reset();
        copy->Rethrow();
    } catch (const NException& thrown) {
        EXPECT_EQ(typeid(thrown), typeid(Class)) << text;
        EXPECT_STREQ(thrown.what(), text);
        EXPECT_STREQ(thrown.ClassName(), typeid(Class).name());
        EXPECT_EQ(thrown.Message(), "a\0b"s);
        EXPECT_EQ(thrown.Code(), -7);
        EXPECT_STREQ(thrown.Nested()->what(), "Cannot open file");
    }
}

}  // namespace

TEST(NException, EachClassOfTheFamilyHasItsTextAndItsPlace) {
    _expectClass<NException, std::exception>("NException");
    _expectClass<KelLogicException, NException, false>("Logic exception");
    _expectClass<KelInvalidArgumentException, KelLogicException>("Invalid argument");
    _expectClass<KelRuntimeException, NException>("Runtime exception");
    _expectClass<KelDataException, KelRuntimeException, false>("Data error");
    _expectClass<KelSyntaxException, KelDataException, false>("Syntax error");
    _expectClass<KelPathSyntaxException, KelSyntaxException>("Bad path syntax");
    _expectClass<KelIOException, KelRuntimeException, false>("I/O error");
    _expectClass<KelFileException, KelIOException>("File access error");
    _expectClass<KelFileExistsException, KelFileException>("File exists");
    _expectClass<KelFileNotFoundException, KelFileException>("File not found");
    _expectClass<KelPathNotFoundException, KelFileException>("Path not found");
    _expectClass<KelFileReadOnlyException, KelFileException>("File is read-only");
    _expectClass<KelFileAccessDeniedException, KelFileException>("Access to file denied");
    _expectClass<KelOpenFileException, KelFileException>("Cannot open file");
    _expectClass<KelXMLElementException, KelRuntimeException>("XML element exception");
    _expectClass<KelXMLParseException, KelRuntimeException>("XML parse error");
}
