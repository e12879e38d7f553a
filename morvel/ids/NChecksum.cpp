#include <morvel/ids/NChecksum.h>

#include <string_view>

#include <Poco/Checksum.h>

NChecksum::NChecksum() : _checksum(new Poco::Checksum(Poco::Checksum::TYPE_CRC32)) {}

NChecksum::~NChecksum() {
    delete _checksum;
}

void NChecksum::Update(const std::string& data) {
    // In parts, since POCO counts bytes in 32 bits and would drop the rest of a longer text.
    std::string_view rest = data;
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, std::size_t{1} << 30);
        _checksum->update(part.data(), static_cast<unsigned int>(part.size()));
        rest.remove_prefix(part.size());
    }
}

std::uint32_t NChecksum::Value() const {
    return _checksum->checksum();
}
