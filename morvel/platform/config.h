#pragma once

#include <string>

// What a header has to ask about compiler and platform: how a name leaves the shared library, and
// which type a unit of wide text has. All other questions are asked in platform.h.

/// Makes a name leave the shared library.
#if defined(_WIN32) && defined(MORVEL_BUILD)
#define MORVEL_API __declspec(dllexport)
#elif defined(_WIN32)
#define MORVEL_API __declspec(dllimport)
#else
#define MORVEL_API __attribute__((visibility("default")))
#endif

/// Keeps a private member of an exported class inside the library, so that it can change without a
/// change of what is exported. Not for what an inline function in a header uses. Windows exports
/// whole classes.
#if defined(_WIN32)
#define MORVEL_LOCAL
#else
#define MORVEL_LOCAL __attribute__((visibility("hidden")))
#endif

/// Lets the compiler check the arguments of a member that formats as printf does. The two places
/// are those of the format and of its first argument, `this` being 1.
#if defined(__clang__)
#define MORVEL_PRINTF_LIKE(format_place, first_place) \
    __attribute__((format(__printf__, format_place, first_place)))
#elif defined(__GNUC__)
#define MORVEL_PRINTF_LIKE(format_place, first_place) \
    __attribute__((format(__gnu_printf__, format_place, first_place)))
#else
#define MORVEL_PRINTF_LIKE(format_place, first_place)
#endif

/// What is returned points into the object: a compiler that knows the attribute warns where the
/// object is a temporary that is gone at the end of the statement.
#if defined(__clang__)
#define MORVEL_LIFETIMEBOUND [[clang::lifetimebound]]
#elif defined(_MSC_VER)
#define MORVEL_LIFETIMEBOUND [[msvc::lifetimebound]]
#else
#define MORVEL_LIFETIMEBOUND
#endif

/// One 16-bit unit of UTF-16 text in native byte order.
#if defined(_WIN32)
using NWideChar = wchar_t;
#else
using NWideChar = char16_t;
#endif

/// A sequence of 16-bit units, as the wide calls of the platform take it.
using NWideString = std::basic_string<NWideChar>;
