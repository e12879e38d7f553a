#include <morvel/time/NDateTime.h>

#include <algorithm>
#include <string_view>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <Poco/LocalDateTime.h>
#include <Poco/Timestamp.h>

#include <morvel/text/NString.h>
#include <morvel/text/RawText.h>

namespace {

// The wall clock, read as if it were UTC.
NTimestamp localNow() {
    return Poco::LocalDateTime().timestamp().epochMicroseconds();
}

NTimestamp fromParts(int year, int month, int day, int hour, int minute, int second,
                     int millisecond, int microsecond) {
    try {
        const Poco::DateTime parts(year, month, day, hour, minute, second, millisecond,
                                   microsecond);
        return Poco::Timestamp::fromUtcTime(parts.utcTime()).epochMicroseconds();
    } catch (...) {
        return localNow();
    }
}

// Whether the parser of POCO would look for a number.
bool asksForNumber(const std::string& format) {
    constexpr std::string_view letters = "defmnoyYrHhMSsicF";
    for (std::size_t i = 0; i + 1 < format.size(); ++i) {
        if (format[i] == '%' && letters.find(format[++i]) != letters.npos) {
            return true;
        }
    }
    return false;
}

bool hasDigit(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// From 1601-01-01 to the end of 9999 POCO's reading is that of the Gregorian calendar, which can be
// had without its detour through a Julian day in floating point.
constexpr std::int64_t microsecondsPerDay = 86400000000;
constexpr std::int64_t calendarBegin = -134774 * microsecondsPerDay;
constexpr std::int64_t calendarEnd = 2932897 * microsecondsPerDay;

struct Date {
    std::int32_t year, month, day;
};

// `day` counts from calendarBegin. Years begin in March here, so that a leap day is the last of its
// year.
constexpr Date dateOf(std::uint32_t day) {
    const std::uint32_t days = day + 584694;  // from 0000-03-01
    const std::uint32_t era = days / 146097;  // of 400 years
    const std::uint32_t ofEra = days % 146097;
    const std::uint32_t yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const std::uint32_t ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t month = (5 * ofYear + 2) / 153;  // from March
    const std::uint32_t ofMonth = ofYear - (153 * month + 2) / 5;
    const bool nextYear = month >= 10;
    return {static_cast<std::int32_t>(yearOfEra + era * 400 + (nextYear ? 1 : 0)),
            static_cast<std::int32_t>(nextYear ? month - 9 : month + 3),
            static_cast<std::int32_t>(ofMonth + 1)};
}

}  // namespace

NDateTime::NDateTime() : NDateTime(localNow()) {}

NDateTime::NDateTime(const NTimestamp& timestamp) : _timestamp(timestamp) {
    _refresh();
}

NDateTime::NDateTime(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
                     std::int32_t minute, std::int32_t second, std::int32_t millisecond,
                     std::int32_t microsecond)
    : NDateTime(fromParts(year, month, day, hour, minute, second, millisecond, microsecond)) {}

// The factor is that of 100-nanosecond intervals, and yet both numbers count microseconds.
NDateTime::NDateTime(std::int64_t base, std::int64_t difference)
    : NDateTime(NTimestamp(static_cast<std::int64_t>(
          static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(difference) * 10))) {}

NDateTime::NDateTime(const NTimestamp& timestamp, const Poco::DateTime& parts)
    : _timestamp(timestamp) {
    _take(parts);
}

NDateTime::~NDateTime() = default;

std::string NDateTime::Format(const NDateTime& dateTime, const std::string& format,
                              std::int32_t timeZoneDifferential) {
    // There and back changes nothing, but far from 1582 it wraps, as the reading itself does.
    const NTimestamp timestamp = NTimestamp::FromUtcTime(dateTime._timestamp.UtcTime());
    return Poco::DateTimeFormatter::format(Poco::Timestamp(timestamp.Value()), format,
                                           timeZoneDifferential);
}

NDateTime NDateTime::Parse(const std::string& format, const std::string& text,
                           std::int32_t& timeZoneDifferential) {
    try {
        // Without a mark, text is in the system's encoding already.
        if (morvel::MarkOf(text).length == 0) {
            return _read(format, text, &timeZoneDifferential);
        }
        const NString marked(text);
        return _read(format, marked.Converted(EncodingSystem), &timeZoneDifferential);
    } catch (...) {
        // Whatever it was, the text could not be read.
    }
    return NDateTime();
}

// Throws where POCO finds that it can't read the text, and for a text without any digit, of which
// it would read every number as 0 and so find the year 0.
NDateTime NDateTime::_read(const std::string& format, const std::string& text,
                           std::int32_t* timeZoneDifferential) {
    if (!hasDigit(text) && asksForNumber(format)) throw Poco::SyntaxException("no number");
    const Poco::DateTime parts = Poco::DateTimeParser::parse(format, text, *timeZoneDifferential);
    const NTimestamp timestamp(parts.timestamp().epochMicroseconds());
    // What was written is what would be read again, but for a leap second.
    const bool plain = timestamp.Value() >= calendarBegin && parts.second() < 60;
    return plain ? NDateTime(timestamp, parts) : NDateTime(timestamp);
}

void NDateTime::_refresh() {
    const std::int64_t value = _timestamp.Value();
    if (value >= calendarBegin && value < calendarEnd) {
        const auto since = static_cast<std::uint64_t>(value - calendarBegin);
        const std::uint64_t ofDay = since % microsecondsPerDay;
        const auto seconds = static_cast<std::uint32_t>(ofDay / 1000000);
        const auto fraction = static_cast<std::uint32_t>(ofDay % 1000000);
        const Date date = dateOf(static_cast<std::uint32_t>(since / microsecondsPerDay));
        _year = date.year;
        _month = date.month;
        _day = date.day;
        _hour = static_cast<std::int32_t>(seconds / 3600);
        _minute = static_cast<std::int32_t>(seconds / 60 % 60);
        _second = static_cast<std::int32_t>(seconds % 60);
        _millisecond = static_cast<std::int32_t>(fraction / 1000);
        _microsecond = static_cast<std::int32_t>(fraction % 1000);
        return;
    }
    _take(Poco::DateTime(Poco::Timestamp(value)));
}

void NDateTime::_take(const Poco::DateTime& parts) {
    _year = parts.year();
    _month = parts.month();
    _day = parts.day();
    _hour = parts.hour();
    _minute = parts.minute();
    _second = parts.second();
    _millisecond = parts.millisecond();
    _microsecond = parts.microsecond();
}
