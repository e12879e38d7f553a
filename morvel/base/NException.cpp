#include <morvel/base/NException.h>

#include <new>
#include <typeinfo>

NException::NException(const std::string& message, std::int32_t code)
    : _message(message), _code(code) {}

NException::NException(const NException& other)
    : std::exception(other),
      _message(other._message),
      _detailNumber(other._detailNumber),
      _detailText(other._detailText),
      _code(other._code) {
    if (other._nested != nullptr) _nested = other._nested->Clone();
}

NException::~NException() {
    delete _nested;
    _nested = nullptr;
}

const char* NException::what() const noexcept {
    return Name();
}

const char* NException::ClassName() const noexcept {
    return typeid(*this).name();
}

void NException::Reserved() {}

// The fixed text of a class, and the two operations that must know its exact type.
#define MORVEL_EXCEPTION_CLASS(Class, text)     \
    const char* Class::Name() const noexcept {  \
        return text;                            \
    }                                           \
    Class* Class::Clone() const {               \
        return new (std::nothrow) Class(*this); \
    }                                           \
    void Class::Rethrow() const {               \
        throw Class(*this);                     \
    }

#define MORVEL_EXCEPTION_DESCENDANT(Class, Base, text)                                   \
    Class::Class(const std::string& message, std::int32_t code) : Base(message, code) {} \
    MORVEL_EXCEPTION_CLASS(Class, text)

MORVEL_EXCEPTION_CLASS(NException, "NException")
MORVEL_EXCEPTION_DESCENDANT(KelLogicException, NException, "Logic exception")
MORVEL_EXCEPTION_DESCENDANT(KelInvalidArgumentException, KelLogicException, "Invalid argument")
MORVEL_EXCEPTION_DESCENDANT(KelRuntimeException, NException, "Runtime exception")
MORVEL_EXCEPTION_DESCENDANT(KelDataException, KelRuntimeException, "Data error")
MORVEL_EXCEPTION_DESCENDANT(KelSyntaxException, KelDataException, "Syntax error")
MORVEL_EXCEPTION_DESCENDANT(KelPathSyntaxException, KelSyntaxException, "Bad path syntax")
MORVEL_EXCEPTION_DESCENDANT(KelIOException, KelRuntimeException, "I/O error")
MORVEL_EXCEPTION_DESCENDANT(KelFileException, KelIOException, "File access error")
MORVEL_EXCEPTION_DESCENDANT(KelFileExistsException, KelFileException, "File exists")
MORVEL_EXCEPTION_DESCENDANT(KelFileNotFoundException, KelFileException, "File not found")
MORVEL_EXCEPTION_DESCENDANT(KelPathNotFoundException, KelFileException, "Path not found")
MORVEL_EXCEPTION_DESCENDANT(KelFileReadOnlyException, KelFileException, "File is read-only")
MORVEL_EXCEPTION_DESCENDANT(KelFileAccessDeniedException, KelFileException, "Access to file denied")
MORVEL_EXCEPTION_DESCENDANT(KelOpenFileException, KelFileException, "Cannot open file")
MORVEL_EXCEPTION_DESCENDANT(KelXMLElementException, KelRuntimeException, "XML element exception")
MORVEL_EXCEPTION_DESCENDANT(KelXMLParseException, KelRuntimeException, "XML parse error")
