#include <morvel/ids/NUUID.h>

#include <morvel/ids/IdentifierGenerator.h>

NUUID::NUUID() = default;
NUUID::~NUUID() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): by value is part of the interface.
std::int32_t NUUID::Generate(std::string alphabet, std::uint32_t size) {
    try {
        morvel::GenerateInto(&_value, morvel::_identifierGenerator, alphabet, size);
        return 0;
    } catch (...) {
        return -1;  // the reason is for callers of nanoid::generate
    }
}

std::string NUUID::Value() const {
    return _value;
}
