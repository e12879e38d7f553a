#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include <morvel/platform/config.h>

/// Root of the exceptions of this library: seventeen classes that can each be caught as itself and
/// as every class above it, std::exception included. The class tells the kind of failure, and
/// what() its fixed text; Message() tells the particulars. None derives from NBaseObject.
///
///     try {
///         file.CreateDirectories();
///     } catch (const KelFileException& e) {
///         std::cerr << e.what() << ": " << e.Message() << '\n';  // "File access error: /etc/x"
///     }
///
/// An exception belongs to the thread that handles it. A copy owns a copy of the whole chain of
/// nested exceptions; there is no assignment.
class MORVEL_API NException : public std::exception {
public:
    NException(const std::string& message, std::int32_t code);
    NException(const NException& other);
    NException& operator=(const NException&) = delete;

    ~NException() override;
    const char* what() const noexcept override;  ///< As Name(), of the object's own class.

    virtual const char* Name() const noexcept;  ///< The fixed text of the class.
    virtual const char* ClassName()
        const noexcept;  ///< The run-time type, as the compiler spells it.
    /// A copy of exactly this class, owned by the caller. Null if there is no memory for the
    /// object; std::bad_alloc if there is none for its texts.
    virtual NException* Clone() const;
    [[noreturn]] virtual void Rethrow() const;  ///< Throws a copy of exactly this class.
    virtual void Reserved();                    ///< Does nothing.

    const std::string& Message() const { return _message; }
    std::int32_t Code() const { return _code; }           ///< 0 in all that the library throws.
    const NException* Nested() const { return _nested; }  ///< Null if there is none.

private:
    std::string _message;
    NException* _nested = nullptr;
    std::int32_t _detailNumber = 0;
    std::string _detailText;
    std::int32_t _code;
};

// What every class of the family overrides.
#define MORVEL_EXCEPTION_OVERRIDES(Class)       \
    const char* Name() const noexcept override; \
    Class* Clone() const override;              \
    [[noreturn]] void Rethrow() const override

// The classes whose constructor is protected group others: they are there to be caught, and only a
// class below them can be raised.

/// Bad use by the caller.
class MORVEL_API KelLogicException : public NException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelLogicException);

protected:
    KelLogicException(const std::string& message, std::int32_t code);
};

class MORVEL_API KelInvalidArgumentException : public KelLogicException {
public:
    KelInvalidArgumentException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelInvalidArgumentException);
};

/// Everything that isn't the caller's fault; by itself, a failure of no kind known here.
class MORVEL_API KelRuntimeException : public NException {
public:
    KelRuntimeException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelRuntimeException);
};

/// Something wrong in what was read.
class MORVEL_API KelDataException : public KelRuntimeException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelDataException);

protected:
    KelDataException(const std::string& message, std::int32_t code);
};

/// Text that breaks the rules of its form.
class MORVEL_API KelSyntaxException : public KelDataException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelSyntaxException);

protected:
    KelSyntaxException(const std::string& message, std::int32_t code);
};

class MORVEL_API KelPathSyntaxException : public KelSyntaxException {
public:
    KelPathSyntaxException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelPathSyntaxException);
};

/// Something wrong on the way in or out.
class MORVEL_API KelIOException : public KelRuntimeException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelIOException);

protected:
    KelIOException(const std::string& message, std::int32_t code);
};

/// A failure of the file system; by itself, one that has no class of its own.
class MORVEL_API KelFileException : public KelIOException {
public:
    KelFileException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileException);
};

class MORVEL_API KelFileExistsException : public KelFileException {
public:
    KelFileExistsException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileExistsException);
};

class MORVEL_API KelFileNotFoundException : public KelFileException {
public:
    KelFileNotFoundException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileNotFoundException);
};

class MORVEL_API KelPathNotFoundException : public KelFileException {
public:
    KelPathNotFoundException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelPathNotFoundException);
};

class MORVEL_API KelFileReadOnlyException : public KelFileException {
public:
    KelFileReadOnlyException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileReadOnlyException);
};

class MORVEL_API KelFileAccessDeniedException : public KelFileException {
public:
    KelFileAccessDeniedException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileAccessDeniedException);
};

class MORVEL_API KelOpenFileException : public KelFileException {
public:
    KelOpenFileException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelOpenFileException);
};

class MORVEL_API KelXMLElementException : public KelRuntimeException {
public:
    KelXMLElementException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelXMLElementException);
};

class MORVEL_API KelXMLParseException : public KelRuntimeException {
public:
    KelXMLParseException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelXMLParseException);
};

#undef MORVEL_EXCEPTION_OVERRIDES
