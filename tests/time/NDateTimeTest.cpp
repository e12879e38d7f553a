#include <morvel/time/NDateTime.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>

#include <tests/support/Expose.h>

namespace {

constexpr std::int64_t Second = 1000000;
constexpr int NoZone = 0xFFFF;

// Nine hours and a half east, summer and winter: local time can't be taken for UTC. Set before the
// C library or POCO look at the zone.
constexpr std::int64_t ZoneOffset = (9 * 3600 + 1800) * Second;
const int zoneIsSet = [] {
#if defined(_WIN32)
    _putenv("TZ=ACT-9:30");
    _tzset();
#else
    setenv("TZ", "ACT-9:30", 1);
    tzset();
#endif
    return 0;
}();

struct Patterns {
    using Type = const std::string (*)[8];
    static inline Type member;
};
struct DayNames {
    using Type = const std::string (*)[7];
    static inline Type member;
};
struct MonthNames {
    using Type = const std::string (*)[12];
    static inline Type member;
};

std::string text(const NDateTime& dateTime) {
    return NDateTime::Format(dateTime, "%Y-%m-%d %H:%M:%S.%F", NoZone);
}

// Whether `dateTime` is the local time, which the test read just before and reads again now.
testing::AssertionResult isLocalNow(const NDateTime& dateTime, const NTimestamp& before) {
    const std::int64_t value = dateTime.Timestamp().Value() - ZoneOffset;
    const NTimestamp after;
    if (before.Value() <= value && value <= after.Value()) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << text(dateTime) << " is not the local time";
}

}  // namespace

template struct morvel::test::Expose<Patterns, &NDateTime::_patterns>;
template struct morvel::test::Expose<DayNames, &NDateTime::_dayNames>;
template struct morvel::test::Expose<MonthNames, &NDateTime::_monthNames>;

TEST(NDateTime, KeepsThePatternsAndNamesOfPoco) {
    using Poco::DateTimeFormat;
    const std::string* patterns = *Patterns::member;
    EXPECT_EQ(patterns[0], DateTimeFormat::ISO8601_FORMAT);
    EXPECT_EQ(patterns[1], DateTimeFormat::RFC822_FORMAT);
    EXPECT_EQ(patterns[2], DateTimeFormat::RFC1123_FORMAT);
    EXPECT_EQ(patterns[3], DateTimeFormat::HTTP_FORMAT);
    EXPECT_EQ(patterns[4], DateTimeFormat::RFC850_FORMAT);
    EXPECT_EQ(patterns[5], DateTimeFormat::RFC1036_FORMAT);
    EXPECT_EQ(patterns[6], DateTimeFormat::ASCTIME_FORMAT);
    EXPECT_EQ(patterns[7], DateTimeFormat::SORTABLE_FORMAT);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ((*DayNames::member)[i], DateTimeFormat::WEEKDAY_NAMES[i]);
    }
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ((*MonthNames::member)[i], DateTimeFormat::MONTH_NAMES[i]);
    }
}

TEST(NDateTime, DefaultIsTheLocalWallClock) {
    const NTimestamp before;
    EXPECT_TRUE(isLocalNow(NDateTime(), before));
    EXPECT_GT(NDateTime(), NDateTime(before));
}

TEST(NDateTime, ReadsATimestampWithoutZone) {
    const struct {
        const char* why;
        std::int64_t value;
        const char* expected;
    } rows[] = {
        {"the epoch", 0, "1970-01-01 00:00:00.000000"},
        {"before it", -1, "1969-12-31 23:59:59.999999"},
        {"a leap day", 951782400 * Second + 123456, "2000-02-29 00:00:00.123456"},
        {"behind 32 bits of seconds", 4294967296 * Second, "2106-02-07 06:28:16.000000"},
        {"the first day of the calendar", -12219292800 * Second, "1582-10-15 00:00:00.000000"},
        {"the last microsecond of four digits", 253402300800 * Second - 1,
         "9999-12-31 23:59:59.999999"},
    };
    for (const auto& row : rows) {
        const NDateTime dateTime{NTimestamp(row.value)};
        EXPECT_EQ(text(dateTime), row.expected) << row.why;
        EXPECT_EQ(dateTime.Timestamp().Value(), row.value) << row.why;
    }
}

TEST(NDateTime, KeepsPartsAndTimestampInStep) {
    std::mt19937_64 random(20240229);
    std::uniform_int_distribution<std::int64_t> instants(-12219292800 * Second,
                                                         253402300800 * Second - 1);
    for (int i = 0; i < 20000; ++i) {
        const NTimestamp timestamp(instants(random));
        const NDateTime read(timestamp);
        const Poco::DateTime reference{Poco::Timestamp(timestamp.Value())};
        ASSERT_EQ(read.Year(), reference.year());
        ASSERT_EQ(read.Month(), reference.month());
        ASSERT_EQ(read.Day(), reference.day());
        ASSERT_EQ(read.Hour(), reference.hour());
        ASSERT_EQ(read.Minute(), reference.minute());
        ASSERT_EQ(read.Second(), reference.second());
        ASSERT_EQ(read.Millisecond(), reference.millisecond());
        ASSERT_EQ(read.Microsecond(), reference.microsecond());
        const NDateTime made(read.Year(), read.Month(), read.Day(), read.Hour(), read.Minute(),
                             read.Second(), read.Millisecond(), read.Microsecond());
        ASSERT_EQ(made.Timestamp().Value(), timestamp.Value());
    }
}

TEST(NDateTime, PartsThatAreNoDateBecomeTheLocalTime) {
    const struct {
        const char* why;
        int parts[8];
        const char* expected;  // null for the local time
    } rows[] = {
        {"a leap day", {2024, 2, 29, 0, 0, 0, 0, 0}, "2024-02-29 00:00:00.000000"},
        {"all eight", {2024, 12, 31, 23, 59, 58, 997, 996}, "2024-12-31 23:59:58.997996"},
        {"a leap second runs over", {2016, 12, 31, 23, 59, 60, 0, 0}, "2017-01-01 00:00:00.000000"},
        {"no leap year", {2023, 2, 29, 0, 0, 0, 0, 0}, nullptr},
        {"month 13", {2024, 13, 1, 0, 0, 0, 0, 0}, nullptr},
        {"month 0", {2024, 0, 1, 0, 0, 0, 0, 0}, nullptr},
        {"hour 24", {2024, 1, 1, 24, 0, 0, 0, 0}, nullptr},
        {"a year of five digits", {10000, 1, 1, 0, 0, 0, 0, 0}, nullptr},
        {"a thousand microseconds", {2024, 1, 1, 0, 0, 0, 0, 1000}, nullptr},
        {"as 16 bits it would be minute 0", {2024, 1, 1, 0, 65536, 0, 0, 0}, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const NTimestamp before;
        const int* p = row.parts;
        const NDateTime made(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7]);
        if (row.expected != nullptr) {
            EXPECT_EQ(text(made), row.expected);
        } else {
            EXPECT_TRUE(isLocalNow(made, before));
        }
    }
}

TEST(NDateTime, BaseAndDifferenceAreTakenAsMicroseconds) {
    EXPECT_EQ(text(NDateTime(0, 0)), "1970-01-01 00:00:00.000000");
    EXPECT_EQ(NDateTime(5, -2).Timestamp().Value(), -15);
    constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(NDateTime(highest, highest).Timestamp().Value(), highest - 10);
}

TEST(NDateTime, ParsesByTheGivenPattern) {
    constexpr int untouched = 4711;
    const struct {
        const char* why;
        const char* format;
        std::string input;
        const char* expected;  // null for the local time
        int differential;
    } rows[] = {
        {"ISO 8601", "%Y-%m-%dT%H:%M:%S%z", "2024-02-29T12:34:56+02:00",
         "2024-02-29 12:34:56.000000", 7200},
        {"RFC 822", "%w, %e %b %y %H:%M:%S %Z", "Tue, 18 Jan 05 12:00:00 EST",
         "2005-01-18 12:00:00.000000", -18000},
        {"RFC 850", "%W, %e-%b-%y %H:%M:%S %Z", "Tuesday, 18-Jan-05 12:00:00 GMT",
         "2005-01-18 12:00:00.000000", 0},
        {"asctime", "%w %b %f %H:%M:%S %Y", "Tue Jan 18 12:00:00 2005",
         "2005-01-18 12:00:00.000000", 0},
        {"a fraction", "%Y %H:%M:%s", "2024 01:02:03.000004", "2024-01-01 01:02:03.000004", 0},
        {"a mark of UTF-8 is dropped", "%Y",
         "\xEF\xBB\xBF"
         "2024",
         "2024-01-01 00:00:00.000000", 0},
        {"a mark of UTF-16 says how to read", "%Y",
         std::string("\xFF\xFE"
                     "2\0"
                     "0\0"
                     "2\0"
                     "4\0",
                     10),
         "2024-01-01 00:00:00.000000", 0},
        {"the pattern decides what 05 is", "%d/%m/%Y", "05/06/2024", "2024-06-05 00:00:00.000000",
         0},
        // What doesn't match leaves the differential alone.
        {"no leap year", "%Y-%m-%d%z", "2023-02-29+01:00", nullptr, untouched},
        {"month 13", "%Y-%m-%d", "2024-13-01", nullptr, untouched},
        {"no name of a month", "%d %b %Y", "18 Foo 2005", nullptr, untouched},
        {"empty text", "%Y", "", nullptr, untouched},
        {"empty pattern", "", "2024", nullptr, untouched},
        // Without a digit, though the pattern asks for a number.
        {"words", "%Y-%m-%d", "hello", nullptr, untouched},
        {"a name and a zone only", "%b %Y %Z", "May EST", nullptr, untouched},
        {"digits of wide text are digits", "%H", std::string("\xFF\xFE\x30\x31", 4), nullptr,
         untouched},
        // Where it asks for none, there need be none; %% is no letter.
        {"a month", "%B", "May", "0000-05-01 00:00:00.000000", 0},
        {"a zone", "%w %Z", "Tue EST", "0000-01-01 00:00:00.000000", -18000},
        {"an escaped percent sign", "%%Y %b", "May", "0000-05-01 00:00:00.000000", 0},
        {"a percent sign at the end", "%b%", "May", "0000-05-01 00:00:00.000000", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const NTimestamp before;
        std::int32_t differential = untouched;
        const NDateTime parsed = NDateTime::Parse(row.format, row.input, differential);
        if (row.expected != nullptr) {
            EXPECT_EQ(text(parsed), row.expected);
        } else {
            EXPECT_TRUE(isLocalNow(parsed, before));
        }
        EXPECT_EQ(differential, row.differential);
    }
}

// For each letter that there is: where the parser reads a number, as its own reading of a digit
// shows, a text without digits is refused, and nowhere else.
TEST(NDateTime, RefusesTextWithoutDigitsExactlyWhereTheParserReadsANumber) {
    for (char letter = '!'; letter <= '~'; ++letter) {
        const std::string format = std::string("%") + letter;
        const NTimestamp before;
        std::int32_t differential = 0;
        const NDateTime parsed = NDateTime::Parse(format, "x", differential);
        bool refused;
        try {
            // What reads a number takes the 7 away from the letter behind it.
            const std::string behind = letter == 'H' || letter == 'h' ? "%M" : "%H";
            const Poco::DateTime read =
                Poco::DateTimeParser::parse(format + behind, "7", differential);
            refused = (behind == "%H" ? read.hour() : read.minute()) == 0;
        } catch (const Poco::SyntaxException&) {
            refused = true;  // the name of a month, am and pm: "x" is none either
        }
        if (refused) {
            EXPECT_TRUE(isLocalNow(parsed, before)) << format;
        } else {
            EXPECT_EQ(text(parsed), "0000-01-01 00:00:00.000000") << format;
        }
    }
}

TEST(NDateTime, FormatsWithoutShiftingByTheDifferential) {
    const NDateTime dateTime(2005, 1, 8, 12, 0, 1, 2, 3);
    const struct {
        const char* format;
        int differential;
        const char* expected;
    } rows[] = {
        {"%Y-%m-%dT%H:%M:%S%z", NoZone, "2005-01-08T12:00:01Z"},
        {"%Y-%m-%dT%H:%M:%S%z", 7200, "2005-01-08T12:00:01+02:00"},
        {"%w, %e %b %y %H:%M:%S %Z", NoZone, "Sat, 8 Jan 05 12:00:01 GMT"},
        {"%W %B %i %c %F", 0, "Saturday January 002 0 002003"},
        {"", 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NDateTime::Format(dateTime, row.format, row.differential), row.expected);
    }
}

TEST(NDateTime, CopiesAndComparesByTheTimestamp) {
    const NDateTime early(2005, 1, 18, 12, 0, 0, 0, 0);
    const NDateTime late(early.Timestamp() + NTimestamp(1));
    EXPECT_TRUE(early < late && early <= late && late > early && late >= early && early != late);
    EXPECT_FALSE(late < early || late <= early || early > late || early >= late || early == late);

    NDateTime target;
    target = early;
    EXPECT_EQ(text(target), text(early));
    EXPECT_TRUE(target == early && target <= early && target >= early);
    NDateTime& same = target;
    target = same;
    EXPECT_EQ(text(target), text(early));
}
