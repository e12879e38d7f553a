#pragma once

#include <exception>
#include <string>

#include <morvel/platform/config.h>

/// @file
/// The companion of the exceptions.
///
/// @failure Throws std::bad_alloc alone.
/// @threads Any thread may call it.
/// @encoding The texts of the exceptions as they are, joined by ASCII.
/// @cost Linear in the texts.
namespace morvel {

/// A caught exception in one line, as NErrorHandler writes it: "File not found: /x" for a member of
/// the NException family, what() for any other. What it wraps follows behind "; because of ", link
/// by link: NException::Nested and std::nested_exception.
///
///     } catch (const std::exception& e) {
///         std::cerr << "copy: " << morvel::Describe(e) << '\n';
///     }
MORVEL_API std::string Describe(const std::exception& exception);

}  // namespace morvel
