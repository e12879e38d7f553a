#include <morvel/time/NDateTime.h>

#include <iomanip>
#include <limits>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>

#include <tests/support/Expose.h>
#include <tests/support/Test.h>
#include <tests/support/TimeZone.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

using Int64 = std::int64_t;

constexpr Int64 Second = 1000000;
constexpr int NoZone = 0xFFFF;

// Nine hours and a half east, summer and winter: local time can't be taken for UTC. Set before the
// C library or POCO look at the zone.
constexpr Int64 ZoneOffset = (9 * 3600 + 1800) * Second;
const bool zoneIsSet = (morvel::test::SetTimeZone("ACT-9:30"), true);

const std::string (*patterns)[8];
const std::string (*dayNames)[7];
const std::string (*monthNames)[12];

const NTimestamp begin;

// "now" for a local time since the test began.
std::string text(const NDateTime& dateTime) {
    const NTimestamp value(dateTime.Timestamp().Value() - ZoneOffset);
    return begin <= value && value <= NTimestamp()
               ? "now"
               : NDateTime::Format(dateTime, "%Y-%m-%d %H:%M:%S.%F", NoZone);
}

/// Whether all parts are POCO's reading of the timestamp.
bool readsAsPoco(const NDateTime& own) {
    const Poco::DateTime expected{Poco::Timestamp(own.Timestamp().Value())};
    return own.Year() == expected.year() && own.Month() == expected.month() &&
           own.Day() == expected.day() && own.Hour() == expected.hour() &&
           own.Minute() == expected.minute() && own.Second() == expected.second() &&
           own.Millisecond() == expected.millisecond() &&
           own.Microsecond() == expected.microsecond();
}

}  // namespace

template struct morvel::test::Expose<patterns, &NDateTime::_patterns>;
template struct morvel::test::Expose<dayNames, &NDateTime::_dayNames>;
template struct morvel::test::Expose<monthNames, &NDateTime::_monthNames>;

TEST(NDateTime, KeepsThePatternsAndNamesOfPoco) {
    using F = Poco::DateTimeFormat;
    EXPECT_THAT(*patterns, ElementsAre(F::ISO8601_FORMAT, F::RFC822_FORMAT, F::RFC1123_FORMAT,
                                       F::HTTP_FORMAT, F::RFC850_FORMAT, F::RFC1036_FORMAT,
                                       F::ASCTIME_FORMAT, F::SORTABLE_FORMAT));
    EXPECT_THAT(*dayNames, ElementsAreArray(F::WEEKDAY_NAMES));
    EXPECT_THAT(*monthNames, ElementsAreArray(F::MONTH_NAMES));
}

// Besides a plain zone such as have daylight saving all year: by half an hour, and back by an hour
// as Dublin has it in winter.
TEST(NDateTime, DefaultIsTheClockOnTheWall) {
    const auto wallClock = [] {
        const std::time_t now = std::time(nullptr);
        std::ostringstream shown;
        shown << std::put_time(std::localtime(&now), "%Y-%m-%d %H:%M");
        return shown.str();
    };
    for (const char* const zone :
         {"LHST-10:30LHDT-11,0/0,J365/25", "IST-1GMT0,0/0,J365/25", "ACT-9:30"}) {
        morvel::test::SetTimeZone(zone);
        const std::string before = wallClock();
        const std::string shown = NDateTime::Format(NDateTime(), "%Y-%m-%d %H:%M", NoZone);
        EXPECT_THAT(shown, testing::AnyOf(before, wallClock())) << zone;
    }
}

TEST(NDateTime, PartsThatAreNoDateBecomeTheLocalTime) {
    EXPECT_EQ(text(NDateTime(2024, 2, 29, 23, 59, 58, 997, 996)), "2024-02-29 23:59:58.997996");
    EXPECT_EQ(text(NDateTime(2016, 12, 31, 23, 59, 60, 0, 0)), "2017-01-01 00:00:00.000000");
    EXPECT_EQ(text(NDateTime(2023, 2, 29, 0, 0, 0, 0, 0)), "now");
    EXPECT_EQ(text(NDateTime(10000, 1, 1, 0, 0, 0, 0, 0)), "now");
    EXPECT_EQ(text(NDateTime(2024, 1, 1, 0, 65536, 0, 0, 0)), "now");  // 0 as 16 bits
}

TEST(NDateTime, BaseAndDifferenceAreTakenAsMicroseconds) {
    EXPECT_EQ(text(NDateTime(0, 0)), "1970-01-01 00:00:00.000000");
    EXPECT_EQ(NDateTime(5, -2).Timestamp().Value(), -15);
    constexpr Int64 highest = std::numeric_limits<Int64>::max();
    EXPECT_EQ(NDateTime(highest, highest).Timestamp().Value(), highest - 10);
}

TEST(NDateTime, ParsesByTheGivenPattern) {
    constexpr int untouched = 4711;
    const std::string noon = "2005-01-18 12:00:00.000000", may = "0000-05-01 00:00:00.000000";
    const std::string utf16("\xFF\xFE\x30\0\x35\0", 6);
    const std::tuple<std::string, std::string, std::string, int> rows[] = {
        {"%Y-%m-%dT%H:%M:%S%z", "2005-01-18T12:00:00+02:00", noon, 7200},
        {"%w, %e %b %y %H:%M:%S %Z", "Tue, 18 Jan 05 12:00:00 EST", noon, -18000},
        {"%Y %H:%M:%s", "2024 01:02:03.000004", "2024-01-01 01:02:03.000004", 0},
        // What is read from the instant differs after a leap second and long ago.
        {"%Y-%m-%d %H:%M:%S", "2016-12-31 23:59:60", "2017-01-01 00:00:00.000000", 0},
        {"%Y %H", "1038 05", "1038-01-01 -19:00:00.000000", 0},
        // A mark is dropped and says how to read.
        {"%m", "\xEF\xBB\xBF\x30\x35", may, 0},
        {"%m", utf16, may, 0},
        // What doesn't match leaves the differential alone.
        {"%Y-%m-%d%z", "2023-02-29+01:00", "now", untouched},
        {"%d %b %Y", "18 Foo 2005", "now", untouched},
        // Without a digit in the system's encoding, though the pattern asks for a number.
        {"%b %Y %Z", "May EST", "now", untouched},
        {"%H", "\xFF\xFE\x30\x31", "now", untouched},
        // Where it asks for none, there need be none; %% is no letter.
        {"%b %Z", "May EST", may, -18000},
        {"%%Y %b", "May", may, 0},
        {"%b%", "May", may, 0},
    };
    for (const auto& [format, input, expected, shift] : rows) {
        std::int32_t differential = untouched;
        const NDateTime parsed = NDateTime::Parse(format, input, differential);
        EXPECT_EQ(text(parsed), expected) << format;
        EXPECT_TRUE(readsAsPoco(parsed)) << format;
        EXPECT_EQ(differential, shift) << format;
    }
}

// For each letter that there is: where the parser reads a number, as its own reading of a digit
// shows, a text without digits is refused, and nowhere else.
TEST(NDateTime, RefusesTextWithoutDigitsExactlyWhereTheParserReadsANumber) {
    for (char letter = '!'; letter <= '~'; ++letter) {
        const std::string format = std::string("%") + letter;
        bool refused = true;
        std::int32_t differential = 0;
        try {
            // What reads a number takes the 7 away from the letter behind it.
            const bool hour = letter == 'H' || letter == 'h';
            const Poco::DateTime read =
                Poco::DateTimeParser::parse(format + (hour ? "%M" : "%H"), "7", differential);
            refused = (hour ? read.minute() : read.hour()) == 0;
        } catch (const Poco::SyntaxException&) {
            // the name of a month, am and pm: "x" is none either
        }
        EXPECT_EQ(text(NDateTime::Parse(format, "x", differential)),
                  refused ? "now" : "0000-01-01 00:00:00.000000")
            << format;
    }
}

TEST(NDateTime, FormatsWithoutShiftingByTheDifferential) {
    const NDateTime dateTime(2005, 1, 8, 12, 0, 1, 2, 3);
    EXPECT_EQ(NDateTime::Format(dateTime, "%w %H:%M:%S.%F%z", 7200), "Sat 12:00:01.002003+02:00");
    EXPECT_EQ(NDateTime::Format(dateTime, "%H:%M:%S %Z", NoZone), "12:00:01 GMT");
}

// Either class compares as signed numbers do, and the one by the value of the other.
TEST(NDateTime, AndTimestampCompareByTheValue) {
    const auto expectOrder = [](const auto& early, const auto& late) {
        EXPECT_TRUE(early < late && early <= late && late > early && late >= early);
        EXPECT_TRUE(early != late && early == early && early <= early && early >= early);
        EXPECT_FALSE(late < early || late <= early || early > late || early >= late);
        EXPECT_FALSE(early == late || early != early || early < early || early > early);
    };
    expectOrder(NTimestamp(-1), NTimestamp(1));
    expectOrder(NDateTime(NTimestamp(-1)), NDateTime(NTimestamp(1)));
}

// The reading has a short way of its own; POCO's is the measure. Each day's ends, and past both
// ends of the range. In between, what was read gives the timestamp again.
TEST(NDateTime, ReadsEveryDayAsPocoDoesAndBack) {
    constexpr std::int64_t day = 86400000000;
    std::mt19937_64 random(11);
    for (std::int64_t i = -136000; i < 2933500; ++i) {
        const std::int64_t within = static_cast<std::int64_t>(random() % day);
        const std::int64_t value = i * day + (i % 3 == 0 ? 0 : i % 3 == 1 ? -1 : within);
        const NDateTime own{NTimestamp(value)};
        ASSERT_TRUE(readsAsPoco(own)) << value;
        if (own.Year() < 0 || own.Year() > 9999) continue;
        const NDateTime made(own.Year(), own.Month(), own.Day(), own.Hour(), own.Minute(),
                             own.Second(), own.Millisecond(), own.Microsecond());
        ASSERT_EQ(made.Timestamp().Value(), value);
        if (i % 97 != 0) continue;
        std::int32_t differential;
        const NDateTime parsed = NDateTime::Parse("%Y-%m-%d %H:%M:%s", text(own), differential);
        ASSERT_EQ(parsed.Timestamp().Value(), value);
        ASSERT_TRUE(readsAsPoco(parsed)) << value;
    }
}
