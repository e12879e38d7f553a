#include <morvel/ids/NChecksum.h>

#include <algorithm>

#include <Poco/Checksum.h>

NChecksum::NChecksum() : _checksum(new Poco::Checksum(Poco::Checksum::TYPE_CRC32)) {}

NChecksum::~NChecksum() {
    delete _checksum;
}

void NChecksum::Update(const std::string& data) {
    // In parts, since POCO counts bytes in 32 bits and would drop the rest of a longer text.
    constexpr std::size_t Largest = std::size_t{1} << 30;
    for (std::size_t at = 0; at < data.size(); at += Largest) {
        const std::size_t length = std::min(Largest, data.size() - at);
        _checksum->update(data.data() + at, static_cast<unsigned int>(length));
    }
}

std::uint32_t NChecksum::Value() const {
    return _checksum->checksum();
}
