#pragma once

#include <cstdint>
#include <exception>
#include <iosfwd>

#include <morvel/base/NBaseObject.h>
#include <morvel/base/NException.h>

namespace Poco {
class FastMutex;
}

/// The last stop for an exception that an operation caught because its result already tells of the
/// failure. The default handler writes each report as one line to std::cerr: what() and, for an
/// exception of this library, ": " and Message(). Derive and Set() to report in another way.
///
/// @failure Never throws: a report whose handler throws is lost.
/// @threads The static operations may be called from any thread from the end of load until unload
/// begins; reports run strictly one after another. A handler must not call them: it would wait for
/// itself.
/// @encoding Texts of exceptions are passed on as they are; those of this library are UTF-8, unless
/// the file name in them isn't.
/// @cost A report takes a lock and what the handler takes: callers wait for each other's.
class MORVEL_API NErrorHandler : public NBaseObject {
public:
    NErrorHandler();            ///< Not in force until Set.
    ~NErrorHandler() override;  ///< It is out of force by then.

    virtual void Exception();  ///< What was thrown is of a type unknown here.

    /// Reports the exception, which may be used until the call returns.
    ///@{
    virtual void Exception(const NException& exception);
    virtual void Exception(const std::exception& exception);
    ///@}

    /// Hands the exception, or the fact that there was one, to the current handler. Never throws:
    /// if the handler throws, that report is lost.
    ///@{
    static void Handle(const NException& exception);
    static void Handle(const std::exception& exception);
    static void Handle();
    ///@}

    /// Makes `handler` the current one, or the default handler for null, and returns the one
    /// before. The caller keeps ownership and takes the handler out again before it is deleted or
    /// the library unloaded. When this returns, no report runs in the former handler any more.
    static NErrorHandler* Set(NErrorHandler* handler);
    static NErrorHandler* Get();  ///< The current handler, never null.

    /// The handler that is in place from the start. The library owns it.
    static NErrorHandler* DefaultHandler();

private:
    template <class... Arguments>
    static void _report(const Arguments&... arguments);

    MORVEL_LOCAL static std::ostream& _standardError;
    MORVEL_LOCAL static Poco::FastMutex _mutex;
    MORVEL_LOCAL static NErrorHandler* _handler;
};

/// A function that an operation reports to: a numeric code, a text, and whatever the caller wanted
/// to have passed on to it.
using NReportCallback = int (*)(std::int32_t code, const char* text, void* user);

/// The NReportCallback of callers that gave none: writes one line at level "WARNING" to the log, if
/// one is in force, and returns 0. `user` is ignored. REQUIRES: `text` is not null.
MORVEL_API int _errorHandler_fn(std::int32_t code, const char* text, void* user = nullptr);
