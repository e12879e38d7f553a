#pragma once

#include <cstdint>

#include <morvel/base/NBaseObject.h>

/// An instant: microseconds since 1970-01-01 00:00:00, negative before it; no zone, no leap
/// seconds. Every 64-bit value is legal, and arithmetic past either end wraps without a report.
///
/// A value: copies share nothing. Any number of threads may read one object at the same time; a
/// write needs the object to itself. Nothing throws but the default constructor.
class MORVEL_API NTimestamp : public NBaseObject {
public:
    /// 100-nanosecond intervals from 1582-10-15 00:00:00 (the origin that RFC 4122, 4.1.4 sets) to
    /// 1970-01-01 00:00:00: 141,427 days of 86,400 s, times 10^7.
    static constexpr std::int64_t UtcEpochOffset = 0x01B21DD213814000;
    static constexpr std::int64_t MicrosecondEpochOffset = UtcEpochOffset / 10;

    NTimestamp();  ///< Now, by the system clock; throws what reading the clock throws.
    NTimestamp(const NTimestamp& other) = default;
    NTimestamp(std::int64_t microseconds);
    NTimestamp& operator=(const NTimestamp& other) = default;
    ~NTimestamp() override;

    static NTimestamp FromMilliseconds(std::int64_t count);  ///< Since 1970-01-01 00:00:00.

    /// From 100-nanosecond intervals since 1582-10-15: (`utcTime` - UtcEpochOffset) / 10, cut
    /// toward zero. FromUtcTime(t.UtcTime()) is t wherever neither call wraps.
    static NTimestamp FromUtcTime(std::int64_t utcTime);
    std::int64_t UtcTime() const;

    std::int64_t Value() const { return _value; }  ///< Microseconds.

    bool operator==(const NTimestamp& other) const { return _value == other._value; }
    bool operator!=(const NTimestamp& other) const { return _value != other._value; }
    bool operator<(const NTimestamp& other) const { return _value < other._value; }
    bool operator<=(const NTimestamp& other) const { return _value <= other._value; }
    bool operator>(const NTimestamp& other) const { return _value > other._value; }
    bool operator>=(const NTimestamp& other) const { return _value >= other._value; }

    /// The sum of the two counts; with a span as one of them, the instant that much later.
    NTimestamp operator+(const NTimestamp& other) const;

private:
    std::int64_t _value;
};
