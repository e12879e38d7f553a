#pragma once

#include <cstdint>
#include <string>

#include <morvel/base/NBaseObject.h>
#include <morvel/time/NTimestamp.h>

/// A reading of the calendar and the clock, without a zone. Which clock it shows depends on how it
/// was made: the default constructor reads the local wall clock, a timestamp is read as it stands
/// (NTimestamp() is UTC), and parts mean whatever the caller means by them.
///
///     NDateTime(NTimestamp()) < NDateTime();  // true east of Greenwich
///
/// Readings are right from 1582-10-15 to the end of 9999; before that the parts of a time of day
/// can come out negative, and what POCO can't read at all becomes the current local time.
///
/// @failure What can't be understood becomes the current local time, without a report: neither
/// construction nor Parse ever fails. morvel::ParseStrict tells. Format throws what POCO throws.
/// @threads A value: copies share nothing. Any number of threads may read one object at the same
/// time; a write needs the object to itself.
/// @encoding Parse takes the system's, or what a byte-order mark says. Month and day names are
/// English, in ASCII; the literals of a pattern come out as their bytes.
/// @cost The parts are worked out once, when the object is made, and no heap is used. The default
/// constructor asks the clock and the zone; Format and Parse go through their pattern.
class MORVEL_API NDateTime : public NBaseObject {
public:
    NDateTime();  ///< The current local time, as the C library tells it.
    NDateTime(const NDateTime& other) = default;  ///< The same reading.
    NDateTime(const NTimestamp& timestamp);       ///< The reading of an instant, as it stands.

    /// These parts, or the current local time if they are no date (month 13, 30 February). Years
    /// from 0 to 9999; a second of 60 is the first of the next minute.
    NDateTime(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
              std::int32_t minute, std::int32_t second, std::int32_t millisecond,
              std::int32_t microsecond);

    /// The reading of `base` + `difference` * 10 microseconds since 1970-01-01 00:00:00.
    NDateTime(std::int64_t base, std::int64_t difference);

    NDateTime& operator=(const NDateTime& other) = default;  ///< The same reading.
    ~NDateTime() override;                                   ///< Nothing to release.

    /// Text in the pattern language of Poco::DateTimeFormatter. The differential, in seconds, is
    /// what a %z or %Z shows, 0xFFFF is UTC; it never shifts the time. Throws what POCO throws.
    static std::string Format(const NDateTime& dateTime, const std::string& format,
                              std::int32_t timeZoneDifferential);

    /// Reads `text`, in the system's encoding or after a byte-order mark, by a pattern of
    /// Poco::DateTimeParser: literals are not compared, parts that the text lacks are the lowest
    /// there are, and what follows is ignored. `timeZoneDifferential` receives the differential, in
    /// seconds, which the result isn't corrected by.
    ///
    /// Text that doesn't match, or has no digit at all where the pattern asks for a number, gives
    /// the current local time and leaves the differential as it was.
    static NDateTime Parse(const std::string& format, const std::string& text,
                           std::int32_t& timeZoneDifferential);

    std::int32_t Year() const { return _year; }                ///< With the century.
    std::int32_t Month() const { return _month; }              ///< 1 to 12.
    std::int32_t Day() const { return _day; }                  ///< 1 to 31.
    std::int32_t Hour() const { return _hour; }                ///< 0 to 23.
    std::int32_t Minute() const { return _minute; }            ///< 0 to 59.
    std::int32_t Second() const { return _second; }            ///< 0 to 59.
    std::int32_t Millisecond() const { return _millisecond; }  ///< Within the second.
    std::int32_t Microsecond() const { return _microsecond; }  ///< Within the millisecond.

    /// From 1970-01-01 00:00:00 to this reading, with no zone applied.
    NTimestamp Timestamp() const { return _timestamp; }

    /// By Timestamp(): an earlier reading is less.
    ///@{
    bool operator==(const NDateTime& other) const { return _timestamp == other._timestamp; }
    bool operator!=(const NDateTime& other) const { return _timestamp != other._timestamp; }
    bool operator<(const NDateTime& other) const { return _timestamp < other._timestamp; }
    bool operator<=(const NDateTime& other) const { return _timestamp <= other._timestamp; }
    bool operator>(const NDateTime& other) const { return _timestamp > other._timestamp; }
    bool operator>=(const NDateTime& other) const { return _timestamp >= other._timestamp; }
    ///@}

private:
    MORVEL_LOCAL void _refresh();

    // The usual patterns and the English names. Nothing looks them up: callers name their pattern.
    static const std::string _patterns[8];
    static const std::string _dayNames[7];
    static const std::string _monthNames[12];

    NTimestamp _timestamp;
    std::int32_t _year;
    std::int32_t _month;
    std::int32_t _day;
    std::int32_t _hour;
    std::int32_t _minute;
    std::int32_t _second;
    std::int32_t _millisecond;
    std::int32_t _microsecond;
};
