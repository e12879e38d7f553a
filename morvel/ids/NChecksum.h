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
/// Used by one thread at a time.
class MORVEL_API NChecksum {
public:
    NChecksum();
    NChecksum(const NChecksum&) = delete;
    NChecksum& operator=(const NChecksum&) = delete;
    virtual ~NChecksum();

    void Update(const std::string& data);  ///< All bytes, whatever they are.

    std::uint32_t Value() const;  ///< Of all bytes so far; may be read between updates.

private:
    Poco::Checksum* _checksum;
};
