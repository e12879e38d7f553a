#include <morvel/time/NTimestamp.h>

#include <Poco/Timestamp.h>

namespace {

// Arithmetic that wraps: unsigned, since signed overflow is undefined.
std::int64_t _sum(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

std::int64_t _product(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

}  // namespace

NTimestamp::NTimestamp() : _value(Poco::Timestamp().epochMicroseconds()) {}

NTimestamp::NTimestamp(std::int64_t microseconds) : _value(microseconds) {}

NTimestamp::~NTimestamp() = default;

NTimestamp NTimestamp::FromMilliseconds(std::int64_t count) {
    return _product(count, 1000);
}

NTimestamp NTimestamp::FromUtcTime(std::int64_t utcTime) {
    return _sum(utcTime, -UtcEpochOffset) / 10;
}

std::int64_t NTimestamp::UtcTime() const {
    return _product(_sum(_value, MicrosecondEpochOffset), 10);
}

NTimestamp NTimestamp::operator+(const NTimestamp& other) const {
    return _sum(_value, other._value);
}
