#include <morvel/time/NDateTime.h>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Exception.h>

#include <tests/support/Generated.h>

namespace {

using Int64 = std::int64_t;
using Parts = std::array<int, 8>;

constexpr Int64 Highest = std::numeric_limits<Int64>::max();
constexpr int NoZone = 0xFFFF;

const NDateTime Begin;

// "now" for a local time since the test began.
std::string _text(const NDateTime& dateTime) {
    return Begin <= dateTime && dateTime <= NDateTime()
               ? "now"
               : NDateTime::Format(dateTime, "%Y-%m-%d %H:%M:%S.%F", NoZone);
}

NDateTime _made(const Parts& parts) {
    return std::apply([](auto... part) { return NDateTime(part...); }, parts);
}

Parts _partsOf(const Poco::DateTime& d) {
    return {d.year(),   d.month(),  d.day(),         d.hour(),
            d.minute(), d.second(), d.millisecond(), d.microsecond()};
}

Parts _parts(const NDateTime& d) {
    return {d.Year(),   d.Month(),  d.Day(),         d.Hour(),
            d.Minute(), d.Second(), d.Millisecond(), d.Microsecond()};
}

}  // namespace

// The tests run where daylight saving is half an hour ahead, all year.
TEST(NDateTime, DefaultIsTheClockOnTheWall) {
    const std::time_t now = std::time(nullptr);
    const std::tm t = *std::localtime(&now);
    const NDateTime own,
        wall(1900 + t.tm_year, 1 + t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, 0, 0);
    EXPECT_LE(wall, own);
    EXPECT_LT(own.Timestamp().Value() - wall.Timestamp().Value(), 60000000);
}

// Either side of both bounds of each part, and what 16 bits would take for the upper one.
TEST(NDateTime, PartsThatAreNoDateBecomeTheLocalTime) {
    const Parts low{0, 1, 1, 0, 0, 0, 0, 0}, high{9999, 12, 29, 23, 59, 60, 999, 999};
    for (std::size_t i = 0; i < low.size(); ++i) {
        for (const int value : {low[i] - 1, low[i], high[i], high[i] + 1, high[i] + 65536}) {
            Parts parts{2024, 2, 10, 9, 8, 7, 6, 5};
            parts[i] = value;
            EXPECT_EQ(_text(_made(parts)) == "now", value < low[i] || value > high[i])
                << i << ' ' << value;
        }
    }
    EXPECT_EQ(_text(NDateTime(2023, 2, 29, 0, 0, 0, 0, 0)), "now");
    EXPECT_EQ(_text(NDateTime(2016, 12, 31, 23, 59, 60, 0, 1)), "2017-01-01 00:00:00.000001");
    // A base and a difference that is taken for microseconds too.
    EXPECT_EQ(NDateTime(5, -2).Timestamp().Value(), -15);
    EXPECT_EQ(NDateTime(Highest, Highest).Timestamp().Value(), Highest - 10);
}

TEST(NDateTime, ParsesByTheGivenPattern) {
    for (const auto& row : ReadTable(PARSING, 4)) {
        std::int32_t differential = 4711;
        EXPECT_EQ(_text(NDateTime::Parse(row[0], Decoded(row[1]), differential)), row[2]) << row[0];
        EXPECT_EQ(std::to_string(differential), row[3]) << row[0];
    }
}

// Each letter reads a number if POCO finds another date where there is one.
TEST(NDateTime, RefusesTextWithoutDigitsExactlyWhereTheParserReadsANumber) {
    for (char letter = '!'; letter <= '~'; ++letter) {
        const std::string format = std::string("%") + letter;
        std::int32_t zone = 0;
        const auto read = [&](const char* text) {  // throws for the name of a month, am and pm
            return Outcome([&] {
                return Poco::DateTimeParser::parse(format, text, zone).timestamp().epochTime();
            });
        };
        const bool refused = read("x") != read("7") || read("x")[0] == 't';
        EXPECT_EQ(_text(NDateTime::Parse(format, "x", zone)) == "now", refused) << format;
    }
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

// The reading has a short way of its own; POCO's is the measure, or the local time where it has
// none. Each day's ends, and what was read gives the timestamp again; then past both ends.
TEST(NDateTime, ReadsEveryDayAsPocoDoesAndBack) {
    constexpr Int64 Day = 86400000000;
    const auto expectAsPoco = [](Int64 value) {
        const NDateTime own{NTimestamp(value)};
        try {
            const Poco::DateTime d{Poco::Timestamp(value)};
            ASSERT_EQ(own.Timestamp().Value(), value);
            ASSERT_EQ(_parts(own), _partsOf(d));
        } catch (const Poco::Exception&) {
            EXPECT_EQ(_text(own), "now") << value;
        }
    };
    Draw draw(11);
    for (Int64 i = -136000; i < 2932897 && !HasFailure(); ++i) {
        const auto within = static_cast<Int64>(draw.Below(Day));
        const Int64 value = i * Day + (i % 3 == 0 ? 0 : i % 3 == 1 ? -1 : within);
        expectAsPoco(value);
        ASSERT_EQ(_made(_parts(NTimestamp(value))).Timestamp().Value(), value);
    }
    for (const Int64 value : {2932897 * Day, 3000000 * Day, Highest, -719600 * Day, -Highest - 1}) {
        expectAsPoco(value);
    }
}

// Plain patterns have a short way of their own; POCO's is the measure, or the local time where it
// refuses. Both patterns and texts are regular ones with up to two changes.
TEST(NDateTime, ReadsAndWritesPlainTextsAsPocoDoes) {
    const auto change = [](Draw& draw, std::string text, const std::string& characters) {
        for (std::size_t changes = draw.Below(3); changes > 0; --changes) {
            const std::string piece(draw.Below(3) > 0, draw.Of(characters));
            text.replace(draw.Below(text.size() + 1), draw.Below(2), piece);
        }
        return text;
    };
    ForEachDraw(50000, [&](Draw& draw) {
        const std::string pattern = change(draw, "%Y-%m-%dT%H:%M:%S%z", "%YmdHMSzZey -:T7");
        const Int64 value =
            (static_cast<Int64>(draw.Below(8390)) * 31556952 - 11600000000) * 1000000;
        const int zone = draw.OneIn(3) ? NoZone : static_cast<int>(draw.Below(100000)) - 50000;
        const std::string written =
            Poco::DateTimeFormatter::format(Poco::Timestamp(value), pattern, zone);
        ASSERT_EQ(NDateTime::Format(NTimestamp(value), pattern, zone), written) << pattern;

        const std::string read =
            change(draw, written + "0", "0123456789+-:TZ ").substr(0, written.size());
        std::string expected = "now";
        std::int32_t told = 4711, expectedZone = told;
        try {
            int differential = 0;
            const Poco::DateTime d = Poco::DateTimeParser::parse(pattern, read, differential);
            expected = _text(_made(_partsOf(d)));
            if (expected != "now") expectedZone = differential;
        } catch (const Poco::Exception&) {
            // the local time
        }
        ASSERT_EQ(_text(NDateTime::Parse(pattern, read, told)), expected) << pattern << ' ' << read;
        ASSERT_EQ(told, expectedZone) << pattern << ' ' << read;
    });
}

TEST(NTimestamp, DefaultIsNow) {
    const Poco::Timestamp before;
    const Poco::Timestamp now(NTimestamp().Value());
    EXPECT_TRUE(before <= now && now <= Poco::Timestamp()) << now.raw();
}

TEST(NTimestamp, CountsUtcTimeCutTowardZeroAndWraps) {
    using T = NTimestamp;
    constexpr Int64 Lowest = ~Highest, Offset = 122192928000000000;
    EXPECT_EQ(T::FromUtcTime(Offset + 15).Value(), 1);
    EXPECT_EQ(T::FromUtcTime(Offset - 15).Value(), -1);
    // 2^64 - 2^63 - offset, in unsigned arithmetic
    EXPECT_EQ(T::FromUtcTime(Lowest).Value(), (Highest - Offset + 1) / 10);
    // The last value at which neither of the two calls wraps.
    const Int64 last = (Highest - Offset) / 10;
    EXPECT_EQ(T::FromUtcTime(T(last).UtcTime()).Value(), last);
    EXPECT_EQ(T(last + 1).UtcTime(), Lowest + 2);
    EXPECT_EQ(T::FromMilliseconds(-3).Value(), -3000);
    EXPECT_EQ(T::FromMilliseconds(Highest).Value(), -1000);
    EXPECT_EQ((T(Highest) + T(1)).Value(), Lowest);
}
