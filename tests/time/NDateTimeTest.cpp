#include <morvel/time/NDateTime.h>

#include <iomanip>
#include <limits>

#include <Poco/DateTime.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>

#include <tests/support/Test.h>
#include <tests/support/TimeZone.h>

namespace {

using Int64 = std::int64_t;

constexpr Int64 Highest = std::numeric_limits<Int64>::max();
constexpr int NoZone = 0xFFFF;

// Nine hours and a half east, summer and winter: local time can't be taken for UTC.
constexpr char Zone[] = "ACT-9:30";
constexpr Int64 ZoneOffset = Int64{9 * 3600 + 1800} * 1000000;
const bool zoneIsSet = (morvel::test::SetTimeZone(Zone), true);

const NTimestamp begin;

// "now" for a local time since the test began.
std::string text(const NDateTime& dateTime) {
    const NTimestamp value(dateTime.Timestamp().Value() - ZoneOffset);
    return begin <= value && value <= NTimestamp()
               ? "now"
               : NDateTime::Format(dateTime, "%Y-%m-%d %H:%M:%S.%F", NoZone);
}

using Parts = std::array<int, 8>;

NDateTime made(const Parts& parts) {
    return std::apply([](auto... part) { return NDateTime(part...); }, parts);
}

template <class DateTime, class... Part>
Parts partsOf(const DateTime& dateTime, Part (DateTime::*... part)() const) {
    return {(dateTime.*part)()...};
}

Parts parts(const NDateTime& own) {
    using T = NDateTime;
    return partsOf(own, &T::Year, &T::Month, &T::Day, &T::Hour, &T::Minute, &T::Second,
                   &T::Millisecond, &T::Microsecond);
}

// Whether all parts are POCO's reading of the timestamp, or the local time where POCO has none.
bool readsAsPoco(const NTimestamp& timestamp) {
    using T = Poco::DateTime;
    const NDateTime own(timestamp);
    try {
        const T poco{Poco::Timestamp(timestamp.Value())};
        return own.Timestamp() == timestamp &&
               parts(own) == partsOf(poco, &T::year, &T::month, &T::day, &T::hour, &T::minute,
                                     &T::second, &T::millisecond, &T::microsecond);
    } catch (const Poco::Exception&) {
        return text(own) == "now";
    }
}

}  // namespace

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
         {"LHST-10:30LHDT-11,0/0,J365/25", "IST-1GMT0,0/0,J365/25", Zone}) {
        morvel::test::SetTimeZone(zone);
        const std::string before = wallClock();
        const std::string shown = NDateTime::Format(NDateTime(), "%Y-%m-%d %H:%M", NoZone);
        EXPECT_THAT(shown, testing::AnyOf(before, wallClock())) << zone;
    }
}

// Either side of both bounds of each part, and what 16 bits would take for the upper one.
TEST(NDateTime, PartsThatAreNoDateBecomeTheLocalTime) {
    const Parts low{0, 1, 1, 0, 0, 0, 0, 0}, high{9999, 12, 29, 23, 59, 60, 999, 999};
    for (std::size_t i = 0; i < low.size(); ++i) {
        for (const int value : {low[i] - 1, low[i], high[i], high[i] + 1, high[i] + 65536}) {
            Parts parts{2024, 2, 10, 9, 8, 7, 6, 5};
            parts[i] = value;
            EXPECT_EQ(text(made(parts)) == "now", value < low[i] || value > high[i])
                << i << ' ' << value;
        }
    }
    EXPECT_EQ(text(made({2023, 2, 29, 0, 0, 0, 0, 0})), "now");
    EXPECT_EQ(text(made({2016, 12, 31, 23, 59, 60, 0, 1})), "2017-01-01 00:00:00.000001");
}

TEST(NDateTime, BaseAndDifferenceAreTakenAsMicroseconds) {
    EXPECT_EQ(NDateTime(5, -2).Timestamp().Value(), -15);
    EXPECT_EQ(NDateTime(Highest, Highest).Timestamp().Value(), Highest - 10);
}

TEST(NDateTime, ParsesByTheGivenPattern) {
    constexpr int untouched = 4711;
    const std::string noon = "2005-01-18 12:00:00.000000", may = "0000-05-01 00:00:00.000000";
    const struct {
        std::string format, input, expected;
        int differential;
    } rows[] = {
        {"%Y-%m-%dT%H:%M:%S%z", "2005-01-18T12:00:00+02:00", noon, 7200},
        {"%Y %H:%M:%s", "2024 01:02:03.000004", "2024-01-01 01:02:03.000004", 0},
        {"%H:%M", "00:00", "0000-01-01 00:00:00.000000", 0},
        // A byte-order mark is dropped and says how to read.
        {"%b", "\xEF\xBB\xBFMay", may, 0},
        {"%m", std::string("\xFF\xFE\x30\0\x35\0", 6), may, 0},
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
    for (const auto& row : rows) {
        std::int32_t differential = untouched;
        EXPECT_EQ(text(NDateTime::Parse(row.format, row.input, differential)), row.expected)
            << row.format;
        EXPECT_EQ(differential, row.differential) << row.format;
    }
}

// For each letter that there is: where the parser reads a number, as its own reading of a digit
// shows, a text without digits is refused, and else only where POCO refuses it.
TEST(NDateTime, RefusesTextWithoutDigitsExactlyWhereTheParserReadsANumber) {
    for (char letter = '!'; letter <= '~'; ++letter) {
        const std::string format = std::string("%") + letter;
        bool refused = true;
        std::int32_t differential = 0;
        try {
            Poco::DateTimeParser::parse(format, "x", differential);
            // What reads a number takes the 7 away from the letter behind it.
            const bool hour = letter == 'H' || letter == 'h';
            const Poco::DateTime read =
                Poco::DateTimeParser::parse(format + (hour ? "%M" : "%H"), "7", differential);
            refused = (hour ? read.minute() : read.hour()) == 0;
        } catch (const Poco::SyntaxException&) {
            // the name of a month, am and pm
        }
        EXPECT_EQ(text(NDateTime::Parse(format, "x", differential)),
                  refused ? "now" : "0000-01-01 00:00:00.000000")
            << format;
    }
}

TEST(NDateTime, FormatsWithoutShiftingByTheDifferential) {
    const NDateTime dateTime(2005, 1, 8, 12, 0, 1, 2, 3);
    EXPECT_EQ(NDateTime::Format(dateTime, "%w %H:%M:%S.%F%z", 7200), "Sat 12:00:01.002003+02:00");
}

// Either class compares as signed numbers do, and the one by the value of the other.
TEST(NDateTime, AndTimestampCompareByTheValue) {
    const auto expectOrder = [](const auto& a, const auto& b) {
        EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && a == a && a <= a && a >= a);
        EXPECT_FALSE(b < a || b <= a || a > b || a >= b || a == b || a != a || a < a || a > a);
    };
    expectOrder(NTimestamp(-1), NTimestamp(1));
    expectOrder(NDateTime(NTimestamp(-1)), NDateTime(NTimestamp(1)));
}

// The reading has a short way of its own; POCO's is the measure. Each day's ends, and what was read
// gives the timestamp again; then past both ends of the range.
TEST(NDateTime, ReadsEveryDayAsPocoDoesAndBack) {
    constexpr std::int64_t day = 86400000000;
    std::mt19937_64 random(11);
    for (std::int64_t i = -136000; i < 2932897; ++i) {
        const auto within = static_cast<std::int64_t>(random() % day);
        const std::int64_t value = i * day + (i % 3 == 0 ? 0 : i % 3 == 1 ? -1 : within);
        ASSERT_TRUE(readsAsPoco(value)) << value;
        ASSERT_EQ(made(parts(NTimestamp(value))).Timestamp().Value(), value);
    }
    for (const Int64 value : {2932897 * day, 3000000 * day, Highest, -719600 * day, -Highest - 1}) {
        EXPECT_TRUE(readsAsPoco(value)) << value;
    }
}
