#pragma once

#include <exception>
#include <string>

#include <morvel/platform/config.h>

namespace morvel {

/// A caught exception in one line, as NErrorHandler writes it: "File not found: /x" for a member of
/// the NException family, what() for any other. What it wraps follows behind "; because of ", link
/// by link: NException::Nested and std::nested_exception.
///
///     } catch (const std::exception& e) {
///         std::cerr << "copy: " << morvel::Describe(e) << '\n';
///     }
///
/// Any thread may call it. Throws std::bad_alloc alone.
MORVEL_API std::string Describe(const std::exception& exception);

}  // namespace morvel
