#pragma once

#include <cstdint>

#include <morvel/base/NBaseObject.h>

/// An instant: microseconds since 1970-01-01 00:00:00, negative before it; no zone, no leap
/// seconds. Every 64-bit value is legal, and arithmetic past either end wraps without a report.
///
/// @failure Nothing throws but the default constructor.
/// @threads A value: copies share nothing. Any number of threads may read one object at the same
/// time; a write needs the object to itself.
/// @encoding This class holds no text.
/// @cost An object has 16 bytes, and each operation takes a few instructions.
class MORVEL_API NTimestamp : public NBaseObject {
public:
    /// 100-nanosecond intervals from 1582-10-15 00:00:00 (the origin that RFC 4122, 4.1.4 sets) to
    /// 1970-01-01 00:00:00: 141,427 days of 86,400 s, times 10^7.
    static constexpr std::int64_t UtcEpochOffset = 0x01B21DD213814000;
    /// The same span in microseconds.
    static constexpr std::int64_t MicrosecondEpochOffset = UtcEpochOffset / 10;

    NTimestamp();  ///< Now, by the system clock; throws what reading the clock throws.
    NTimestamp(const NTimestamp& other) = default;             ///< The same instant.
    NTimestamp(std::int64_t microseconds);                     ///< Since 1970-01-01 00:00:00.
    NTimestamp& operator=(const NTimestamp& other) = default;  ///< The same instant.
    ~NTimestamp() override;                                    ///< Nothing to release.

    static NTimestamp FromMilliseconds(std::int64_t count);  ///< Since 1970-01-01 00:00:00.

    /// From 100-nanosecond intervals since 1582-10-15: (`utcTime` - UtcEpochOffset) / 10, cut
    /// toward zero. FromUtcTime(t.UtcTime()) is t wherever neither call wraps.
    static NTimestamp FromUtcTime(std::int64_t utcTime);

    /// In 100-nanosecond intervals since 1582-10-15.
    std::int64_t UtcTime() const;

    std::int64_t Value() const { return _value; }  ///< Microseconds.

    /// By the count: earlier is less.
    ///@{
    bool operator==(const NTimestamp& other) const { return _value == other._value; }
    bool operator!=(const NTimestamp& other) const { return _value != other._value; }
    bool operator<(const NTimestamp& other) const { return _value < other._value; }
    bool operator<=(const NTimestamp& other) const { return _value <= other._value; }
    bool operator>(const NTimestamp& other) const { return _value > other._value; }
    bool operator>=(const NTimestamp& other) const { return _value >= other._value; }
    ///@}

    /// The sum of the two counts; with a span as one of them, the instant that much later.
    NTimestamp operator+(const NTimestamp& other) const;

private:
    std::int64_t _value;
};
