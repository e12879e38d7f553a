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
/// An exception belongs to the thread that handles it. A copy owns a copy of the whole chain of nested
/// exceptions; there is no assignment.
class MORVEL_API NException : public std::exception {
public:
    NException(const std::string& message, std::int32_t code);
    NException(const NException& other);
    NException& operator=(const NException&) = delete;

    ~NException() override;
    const char* what() const noexcept override;  ///< As Name(), of the object's own class.

    virtual const char* Name() const noexcept;       ///< The fixed text of the class.
    virtual const char* ClassName() const noexcept;  ///< The run-time type, as the compiler spells it.
    virtual NException* Clone() const;  ///< A copy of exactly this class, owned by the caller; null
                                        ///< if there is no memory for it.
    [[noreturn]] virtual void Rethrow() const;  ///< Throws a copy of exactly this class.
    virtual void Reserved();                    ///< Does nothing.

    const std::string& Message() const { return _message; }
    std::int32_t Code() const { return _code; }             ///< 0 in all that the library throws.
    const NException* Nested() const { return _nested; }    ///< Null if there is none.

private:
    std::string _message;
    NException* _nested = nullptr;
    std::int32_t _detailNumber = 0;
    std::string _detailText;
    std::int32_t _code;
};
