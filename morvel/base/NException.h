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
/// @failure To make or copy one throws std::bad_alloc where memory runs out.
/// @threads An exception belongs to the thread that handles it. A copy shares nothing.
/// @encoding what() is ASCII. A path in Message() is the UTF-8 that the system was given; from
/// FileTools.h it has the path's own bytes.
/// @cost A copy copies the message and the whole chain of nested exceptions.
class MORVEL_API NException : public std::exception {
public:
    NException(const std::string& message, std::int32_t code);  ///< Without a nested one.
    NException(const NException& other);  ///< Copies the chain of nested exceptions, too.
    NException& operator=(const NException&) = delete;  ///< Not copied.

    ~NException() override;                      ///< Deletes the nested exceptions.
    const char* what() const noexcept override;  ///< As Name(), of the object's own class.

    virtual const char* Name() const noexcept;  ///< The fixed text of the class.

    /// The run-time type, as the compiler spells it.
    virtual const char* ClassName() const noexcept;

    /// A copy of exactly this class, owned by the caller. Null if there is no memory for the
    /// object; std::bad_alloc if there is none for its texts.
    virtual NException* Clone() const;
    [[noreturn]] virtual void Rethrow() const;  ///< Throws a copy of exactly this class.
    virtual void Reserved();                    ///< Does nothing.

    /// The particulars, the name of a file say; can be empty.
    const std::string& Message() const MORVEL_LIFETIMEBOUND { return _message; }
    std::int32_t Code() const { return _code; }  ///< 0 in all that the library throws.

    /// Null if there is none.
    const NException* Nested() const MORVEL_LIFETIMEBOUND { return _nested; }

private:
    std::string _message;
    NException* _nested = nullptr;
    std::int32_t _detailNumber = 0;
    std::string _detailText;
    std::int32_t _code;
};

/// What every class of the family overrides.
#define MORVEL_EXCEPTION_OVERRIDES(Class)       \
    const char* Name() const noexcept override; \
    Class* Clone() const override;              \
    [[noreturn]] void Rethrow() const override

// The classes whose constructor is protected group others: they are there to be caught, and only a
// class below them can be raised.

/// Bad use by the caller. what(): "Logic exception".
/// @likeNException
class MORVEL_API KelLogicException : public NException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelLogicException);

protected:
    /// As the one of NException.
    KelLogicException(const std::string& message, std::int32_t code);
};

/// An argument that the operation can't work with. what(): "Invalid argument".
/// @likeNException
class MORVEL_API KelInvalidArgumentException : public KelLogicException {
public:
    /// As the one of NException.
    KelInvalidArgumentException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelInvalidArgumentException);
};

/// Everything that isn't the caller's fault; by itself, a failure of no kind known here. what():
/// "Runtime exception".
/// @likeNException
class MORVEL_API KelRuntimeException : public NException {
public:
    /// As the one of NException.
    KelRuntimeException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelRuntimeException);
};

/// Something wrong in what was read. what(): "Data error".
/// @likeNException
class MORVEL_API KelDataException : public KelRuntimeException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelDataException);

protected:
    /// As the one of NException.
    KelDataException(const std::string& message, std::int32_t code);
};

/// Text that breaks the rules of its form. what(): "Syntax error".
/// @likeNException
class MORVEL_API KelSyntaxException : public KelDataException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelSyntaxException);

protected:
    /// As the one of NException.
    KelSyntaxException(const std::string& message, std::int32_t code);
};

/// A text that is no path. what(): "Bad path syntax".
/// @likeNException
class MORVEL_API KelPathSyntaxException : public KelSyntaxException {
public:
    /// As the one of NException.
    KelPathSyntaxException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelPathSyntaxException);
};

/// Something wrong on the way in or out. what(): "I/O error".
/// @likeNException
class MORVEL_API KelIOException : public KelRuntimeException {
public:
    MORVEL_EXCEPTION_OVERRIDES(KelIOException);

protected:
    /// As the one of NException.
    KelIOException(const std::string& message, std::int32_t code);
};

/// A failure of the file system; by itself, one that has no class of its own. what(): "File access
/// error".
/// @likeNException
class MORVEL_API KelFileException : public KelIOException {
public:
    /// As the one of NException.
    KelFileException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileException);
};

/// The name is taken. what(): "File exists".
/// @likeNException
class MORVEL_API KelFileExistsException : public KelFileException {
public:
    /// As the one of NException.
    KelFileExistsException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileExistsException);
};

/// There is no such file or folder. what(): "File not found".
/// @likeNException
class MORVEL_API KelFileNotFoundException : public KelFileException {
public:
    /// As the one of NException.
    KelFileNotFoundException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileNotFoundException);
};

/// The folder of a file is missing, or NXML::SaveFile could not write. what(): "Path not found".
/// @likeNException
class MORVEL_API KelPathNotFoundException : public KelFileException {
public:
    /// As the one of NException.
    KelPathNotFoundException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelPathNotFoundException);
};

/// What is to be written is read-only. what(): "File is read-only".
/// @likeNException
class MORVEL_API KelFileReadOnlyException : public KelFileException {
public:
    /// As the one of NException.
    KelFileReadOnlyException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileReadOnlyException);
};

/// The system denies access. what(): "Access to file denied".
/// @likeNException
class MORVEL_API KelFileAccessDeniedException : public KelFileException {
public:
    /// As the one of NException.
    KelFileAccessDeniedException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelFileAccessDeniedException);
};

/// A file that can't be opened. what(): "Cannot open file".
/// @likeNException
class MORVEL_API KelOpenFileException : public KelFileException {
public:
    /// As the one of NException.
    KelOpenFileException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelOpenFileException);
};

/// A document that can't be parsed, from a stream. what(): "XML element exception".
/// @likeNException
class MORVEL_API KelXMLElementException : public KelRuntimeException {
public:
    /// As the one of NException.
    KelXMLElementException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelXMLElementException);
};

/// A document that can't be parsed, from a file. what(): "XML parse error".
/// @likeNException
class MORVEL_API KelXMLParseException : public KelRuntimeException {
public:
    /// As the one of NException.
    KelXMLParseException(const std::string& message, std::int32_t code);
    MORVEL_EXCEPTION_OVERRIDES(KelXMLParseException);
};

#undef MORVEL_EXCEPTION_OVERRIDES
