#include <morvel/time/NDateTime.h>

#include <ctime>
#include <optional>
#include <string_view>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>
#include <Poco/Timestamp.h>

#include <morvel/platform/platform.h>
#include <morvel/text/ByteOrderMark.h>
#include <morvel/text/NString.h>
#include <morvel/time/DatePattern.h>

namespace {

constexpr std::int64_t OneSecond = 1000000;  // microseconds
constexpr std::int64_t OneDay = 86400 * OneSecond;

// Days count from 1 March of the year -400 here: a leap day is the last of its year, and no count
// of a date from year 0 on is negative.
constexpr std::int32_t EpochDay = 865565;  // 1970-01-01

constexpr std::int32_t _dayOf(std::int32_t year, std::int32_t month, std::int32_t day) {
    const std::int32_t years = year + 400 - (month < 3 ? 1 : 0);
    const std::int32_t ofYear = (153 * ((month + 9) % 12) + 2) / 5 + day - 1;
    return 365 * years + years / 4 - years / 100 + years / 400 + ofYear;
}

struct Date {
    std::int32_t year, month, day;
};

constexpr Date _dateOf(std::uint32_t day) {
    const std::uint32_t era = day / 146097;  // of 400 years
    const std::uint32_t ofEra = day % 146097;
    const std::uint32_t yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
    const std::uint32_t ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::uint32_t month = (5 * ofYear + 2) / 153;  // from March
    const std::uint32_t ofMonth = ofYear - (153 * month + 2) / 5;
    const bool nextYear = month >= 10;
    return {static_cast<std::int32_t>(yearOfEra + era * 400 + (nextYear ? 1 : 0)) - 400,
            static_cast<std::int32_t>(nextYear ? month - 9 : month + 3),
            static_cast<std::int32_t>(ofMonth + 1)};
}

// POCO's reading is that of the Gregorian calendar in this range, which needs no detour through a
// Julian day in floating point.
constexpr std::int64_t CalendarBegin = (_dayOf(1601, 1, 1) - EpochDay) * OneDay;
constexpr std::int64_t CalendarEnd = (_dayOf(10000, 1, 1) - EpochDay) * OneDay;

NTimestamp _instantOf(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
                      std::int32_t minute, std::int32_t second, std::int64_t microsecond) {
    const std::int64_t ofDay = (hour * 60 + minute) * 60 + second;
    return (_dayOf(year, month, day) - EpochDay) * OneDay + ofDay * OneSecond + microsecond;
}

// The wall clock, read as if it were UTC. Not by POCO's LocalDateTime, which takes daylight saving
// for an hour ahead everywhere: in Dublin it is an hour back, in winter.
NTimestamp _localNow() {
    const std::int64_t now = NTimestamp().Value();
    const std::tm local = morvel::platform::LocalTime(now / OneSecond);
    return _instantOf(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                      local.tm_min, local.tm_sec, now % OneSecond);
}

// Releases of POCO differ in what they take for a time of day.
bool _isDate(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
             std::int32_t minute, std::int32_t second, std::int32_t millisecond,
             std::int32_t microsecond) {
    const auto isIn = [](std::int32_t low, std::int32_t part, std::int32_t high) {
        return low <= part && part <= high;
    };
    return isIn(0, year, 9999) && isIn(1, month, 12) &&
           isIn(1, day, Poco::DateTime::daysOfMonth(year, month)) && isIn(0, hour, 23) &&
           isIn(0, minute, 59) && isIn(0, second, 60) && isIn(0, millisecond, 999) &&
           isIn(0, microsecond, 999);
}

constexpr std::string_view NumberLetters = "defmnoyYrHhMSsicF";  // POCO reads a number for each

constexpr std::string_view PlainLetters = "YmdHMS";  // each stands for two digits, Y for four

// Moves `digits` digits from the head of `text` to `value`; false where there are fewer.
bool _takeNumber(std::size_t digits, std::string_view* text, std::int32_t* value) {
    if (text->size() < digits) return false;
    *value = 0;
    for (const char c : text->substr(0, digits)) {
        if (c < '0' || c > '9') return false;
        *value = *value * 10 + (c - '0');
    }
    text->remove_prefix(digits);
    return true;
}

// "Z", or hours and minutes as in "+02:00"; nothing for all else.
std::optional<std::int32_t> _readPlainZone(std::string_view text) {
    if (text == "Z") return 0;
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') return {};
    std::string_view hours = text.substr(1, 2), minutes = text.substr(4);
    std::int32_t hour = 0, minute = 0;
    if (!_takeNumber(2, &hours, &hour) || !_takeNumber(2, &minutes, &minute)) return {};
    if (hour > 23 || minute > 59) return {};
    return (text[0] == '-' ? -60 : 60) * (hour * 60 + minute);
}

// A quick reader of plain texts: all digits of the plain letters are there, no letter comes twice,
// between them stands at most one separator, the pattern's own, and %z comes last if at all.
// Nothing for all else, which is POCO's.
std::optional<NDateTime> _readPlain(std::string_view pattern, std::string_view text,
                                    std::int32_t* zone) {
    constexpr std::string_view Separators = "-:T ";
    unsigned seen = 0;
    std::int32_t parts[] = {0, 1, 1, 0, 0, 0};  // in the order of the letters
    for (;;) {
        if (pattern.size() < 2 || pattern[0] != '%') return {};
        const std::size_t part = PlainLetters.find(pattern[1]);
        if (part == PlainLetters.npos || (seen >> part & 1) != 0) return {};
        if (!_takeNumber(part == 0 ? 4 : 2, &text, &parts[part])) return {};
        seen |= 1U << part;
        pattern.remove_prefix(2);
        if (pattern.empty() || pattern == "%z") break;
        if (pattern[0] == '%') continue;
        const bool isPlain = Separators.find(pattern[0]) != Separators.npos;
        if (!isPlain || text.empty() || text[0] != pattern[0]) return {};
        pattern.remove_prefix(1);
        text.remove_prefix(1);
    }
    if (pattern.empty() != text.empty()) return {};
    const std::optional<std::int32_t> told = text.empty() ? 0 : _readPlainZone(text);
    const auto [year, month, day, hour, minute, second] = parts;
    if (!told || second == 60 || !_isDate(year, month, day, hour, minute, second, 0, 0)) return {};
    *zone = *told;
    return NDateTime(year, month, day, hour, minute, second, 0, 0);
}

// The same the other way round; false where the pattern asks for more than plain letters and %z.
bool _writePlain(std::string_view pattern, const std::int32_t (&parts)[6], std::int32_t zone,
                 std::string* text) {
    const auto digit = [](std::int32_t value) { return static_cast<char>('0' + value % 10); };
    text->reserve(pattern.size() + 8);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            *text += pattern[i];
            continue;
        }
        const char letter = ++i < pattern.size() ? pattern[i] : '\0';
        const std::size_t part = PlainLetters.find(letter);
        if (letter == 'z') {
            Poco::DateTimeFormatter::tzdISO(*text, zone);
        } else if (part == PlainLetters.npos) {
            return false;
        } else {
            const std::int32_t value = parts[part];
            if (part == 0) {
                *text += digit(value / 1000);
                *text += digit(value / 100);
            }
            *text += digit(value / 10);
            *text += digit(value);
        }
    }
    return true;
}

// Throws where POCO finds that it can't read the text or takes what is no date, and for a text
// without any digit, of which it would read every number as 0 and so find the year 0.
NDateTime _parsed(const std::string& format, const std::string& text,
                  std::int32_t* timeZoneDifferential) {
    if (text.find_first_of("0123456789") == text.npos &&
        morvel::HasLetterOf(NumberLetters, format)) {
        throw Poco::SyntaxException("no number");
    }
    std::int32_t told = *timeZoneDifferential;
    const Poco::DateTime parts = Poco::DateTimeParser::parse(format, text, told);
    if (!_isDate(parts.year(), parts.month(), parts.day(), parts.hour(), parts.minute(),
                 parts.second(), parts.millisecond(), parts.microsecond())) {
        throw Poco::SyntaxException("no date");
    }
    *timeZoneDifferential = told;
    return {parts.year(),   parts.month(),  parts.day(),         parts.hour(),
            parts.minute(), parts.second(), parts.millisecond(), parts.microsecond()};
}

}  // namespace

NDateTime::NDateTime() : NDateTime(_localNow()) {}

NDateTime::NDateTime(const NTimestamp& timestamp) : _timestamp(timestamp) {
    _refresh();
}

NDateTime::NDateTime(std::int32_t year, std::int32_t month, std::int32_t day, std::int32_t hour,
                     std::int32_t minute, std::int32_t second, std::int32_t millisecond,
                     std::int32_t microsecond)
    : NDateTime(
          _isDate(year, month, day, hour, minute, second, millisecond, microsecond)
              ? _instantOf(year, month, day, hour, minute, second, millisecond * 1000 + microsecond)
              : _localNow()) {}

// The factor is that of 100-nanosecond intervals, and yet both numbers count microseconds.
NDateTime::NDateTime(std::int64_t base, std::int64_t difference)
    : NDateTime(NTimestamp(static_cast<std::int64_t>(
          static_cast<std::uint64_t>(base) + static_cast<std::uint64_t>(difference) * 10))) {}

NDateTime::~NDateTime() = default;

std::string NDateTime::Format(const NDateTime& dateTime, const std::string& format,
                              std::int32_t timeZoneDifferential) {
    const std::int64_t value = dateTime._timestamp.Value();
    if (value >= CalendarBegin && value < CalendarEnd) {
        const std::int32_t parts[] = {dateTime._year, dateTime._month,  dateTime._day,
                                      dateTime._hour, dateTime._minute, dateTime._second};
        std::string text;
        if (_writePlain(format, parts, timeZoneDifferential, &text)) return text;
    }
    // There and back changes nothing, but far from 1582 it wraps, as the reading itself does.
    const NTimestamp timestamp = NTimestamp::FromUtcTime(dateTime._timestamp.UtcTime());
    return Poco::DateTimeFormatter::format(Poco::Timestamp(timestamp.Value()), format,
                                           timeZoneDifferential);
}

NDateTime NDateTime::Parse(const std::string& format, const std::string& text,
                           std::int32_t& timeZoneDifferential) {
    if (const auto plain = _readPlain(format, text, &timeZoneDifferential)) return *plain;
    try {
        // Without a byte-order mark, text is in the system's encoding already.
        if (morvel::BomOf(text).length == 0) return _parsed(format, text, &timeZoneDifferential);
        const NString read(text);
        return _parsed(format, read.Converted(EncodingSystem), &timeZoneDifferential);
    } catch (...) {
        // Whatever it was, the text could not be read.
    }
    return NDateTime();
}

void NDateTime::_refresh() {
    const std::int64_t value = _timestamp.Value();
    if (value >= CalendarBegin && value < CalendarEnd) {
        const auto since = static_cast<std::uint64_t>(value + EpochDay * OneDay);
        const std::uint64_t ofDay = since % OneDay;
        const auto seconds = static_cast<std::uint32_t>(ofDay / OneSecond);
        const auto fraction = static_cast<std::uint32_t>(ofDay % OneSecond);
        const Date date = _dateOf(static_cast<std::uint32_t>(since / OneDay));
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
    try {
        const Poco::DateTime parts{Poco::Timestamp(value)};
        _year = parts.year();
        _month = parts.month();
        _day = parts.day();
        _hour = parts.hour();
        _minute = parts.minute();
        _second = parts.second();
        _millisecond = parts.millisecond();
        _microsecond = parts.microsecond();
    } catch (
        const Poco::Exception&) {  // later releases have no reading outside the years 0 to 9999
        *this = NDateTime();
    }
}
