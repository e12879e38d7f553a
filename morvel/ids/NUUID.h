#pragma once

#include <cstdint>
#include <string>

#include <morvel/platform/config.h>

/// Holds a random identifier. Despite the name it is no UUID of RFC 4122: it has the symbols and
/// the length that the caller asks for, each symbol drawn evenly from the alphabet.
///
///     NUUID id;
///     id.Generate(nanoid::default_alphabet(), 21);
///     id.Value();  // "q7RkX-0ZbTnWc_uE4hLsA", or the like
///
/// All objects draw on one generator of the process. It is seeded once, at load, with 32 bits, and
/// all that follows can be worked out from them: identifiers are no secrets, and of some 77,000
/// processes two may well draw the same ones. A forked child seeds its generator anew.
///
/// @failure Shows in the result of Generate; Value throws std::bad_alloc alone.
/// @threads The generator has no lock: only one thread of the process may be in Generate at a time.
/// Otherwise the objects are independent.
/// @encoding A symbol is a byte: an alphabet of ASCII gives an identifier of ASCII.
/// @cost Linear in the size. Nothing asks the system.
class MORVEL_API NUUID {
public:
    NUUID();           ///< Empty.
    virtual ~NUUID();  ///< For classes that derive.

    /// Draws a new identifier of `size` symbols. A symbol is a byte, and one that stands in the
    /// alphabet twice comes up twice as often. 0; or -1, and the former identifier is kept, for an
    /// alphabet that is empty or longer than 255 bytes, a size of 0, or out of memory.
    std::int32_t Generate(std::string alphabet, std::uint32_t size);

    std::string Value() const;  ///< The identifier; empty before the first one.

private:
    std::string _value;
};
