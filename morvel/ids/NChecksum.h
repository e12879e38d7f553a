#pragma once

#include <cstdint>
#include <string>

#include <morvel/platform/config.h>

namespace Poco {
class Checksum;
}

/// A running CRC-32, the one of Ethernet, zip and PNG (ISO 3309): an object for each calculation.
///
///     NChecksum sum;
///     sum.Update("1234");
///     sum.Update("56789");
///     sum.Value();  // 0xCBF43926, the same as for "123456789" at once
///
/// @failure The constructor throws std::bad_alloc; nothing else fails.
/// @threads One at a time.
/// @encoding Bytes, NULs among them: what the sum of a text is depends on its encoding.
/// @cost Linear in the bytes; nothing is kept of them.
class MORVEL_API NChecksum {
public:
    NChecksum();                                      ///< Of no bytes: 0.
    NChecksum(const NChecksum&) = delete;             ///< Not copied.
    NChecksum& operator=(const NChecksum&) = delete;  ///< Not copied.
    virtual ~NChecksum();                             ///< Discards the sum.

    void Update(const std::string& data);  ///< All bytes, whatever they are.

    std::uint32_t Value() const;  ///< Of all bytes so far; may be read between updates.

private:
    Poco::Checksum* _checksum;
};
