// Dates from their parts and from instants, against the calendar's own arithmetic, and dates read
// and written by a pattern, against POCO's parser and formatter.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include <Poco/DateTime.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>

#include <morvel/time/NDateTime.h>
#include <morvel/time/TimeTools.h>

#include "Fuzz.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr std::int64_t Second = 1000000, Day = 86400 * Second;
constexpr std::int64_t FirstDay = -141427, LastDay = 2932896;  // 1582-10-15 and 9999-12-31

// Days since 1970-01-01, counted in years that begin in March, so that the leap day is the last.
std::int64_t daysOf(std::int64_t year, std::int64_t month, std::int64_t day) {
    year -= month <= 2;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return 365 * year + year / 4 - year / 100 + year / 400 + dayOfYear - 719468;
}

int daysIn(int year, int month) {
    const auto next = month == 12 ? daysOf(year + 1, 1, 1) : daysOf(year, month + 1, 1);
    return static_cast<int>(next - daysOf(year, month, 1));
}

bool isNow(const NDateTime& date) {
    return std::llabs(date.Timestamp().Value() - NTimestamp().Value()) < 2 * Day;
}

void parts(FuzzedDataProvider& input) {
    const auto near = [&](int first, int last) {
        return input.ConsumeIntegralInRange<std::int32_t>(first - 2, last + 2);
    };
    const int year = input.ConsumeBool() ? near(0, 9999) : near(1970, 2100), month = near(1, 12);
    const int day = near(1, 31), hour = near(0, 23), minute = near(0, 59), second = near(0, 60);
    const int millisecond = near(0, 999), microsecond = near(0, 999);
    const NDateTime date(year, month, day, hour, minute, second, millisecond, microsecond);
    const auto within = [](int value, int first, int last) {
        return value >= first && value <= last;
    };
    if (!within(year, 0, 9999) || !within(month, 1, 12) || !within(day, 1, daysIn(year, month)) ||
        !within(hour, 0, 23) || !within(minute, 0, 59) || !within(second, 0, 60) ||
        !within(millisecond, 0, 999) || !within(microsecond, 0, 999)) {
        Expect(isNow(date), "what is no date is the current time");
        return;
    }
    if (daysOf(year, month, day) < FirstDay) return;
    const std::int64_t time = (hour * 60 + minute) * 60 + second;
    Expect(date.Timestamp().Value() ==
               daysOf(year, month, day) * Day + time * Second + millisecond * 1000 + microsecond,
           "the instant that the calendar gives");
}

void instant(FuzzedDataProvider& input) {
    const auto value = input.ConsumeIntegralInRange(FirstDay * Day, (LastDay + 1) * Day - 1);
    const NDateTime date{NTimestamp(value)};
    const NDateTime again(date.Year(), date.Month(), date.Day(), date.Hour(), date.Minute(),
                          date.Second(), date.Millisecond(), date.Microsecond());
    Expect(again.Timestamp().Value() == value, "an instant comes back from its parts");
    const std::int64_t time = value - daysOf(date.Year(), date.Month(), date.Day()) * Day;
    Expect(time >= 0 && time < Day, "on the day that the calendar gives");
    Expect(date.Hour() == time / Second / 3600 && date.Minute() == time / Second / 60 % 60 &&
               date.Second() == time / Second % 60,
           "at the time of that day");
}

const char* const patterns[] = {
    "%Y-%m-%dT%H:%M:%S%z",
    "%w, %e %b %y %H:%M:%S %Z",
    "%w, %e %b %Y %H:%M:%S %Z",
    "%w, %d %b %Y %H:%M:%S %Z",
    "%W, %e-%b-%y %H:%M:%S %Z",
    "%W, %e %b %y %H:%M:%S %Z",
    "%w %b %f %H:%M:%S %Y",
    "%Y-%m-%d %H:%M:%S",
    "%Y-%m-%dT%H:%M:%S",
    "%Y-%m-%dT%H:%M:%s%z",
    "%Y-%m-%d",
    "%H:%M:%S.%i%c%F",
};

void text(FuzzedDataProvider& input) {
    const std::string pattern = input.ConsumeBool() ? input.PickValueInArray(patterns)
                                                    : input.ConsumeRandomLengthString(16);
    std::string read = input.ConsumeRemainingBytesAsString();
    if (read[0] < 0) read = NString(read).Converted(EncodingSystem);  // it may begin with a mark
    std::int32_t zone = 7;
    int pocoZone = 7;
    const NDateTime date = NDateTime::Parse(pattern, read, zone);
    std::optional<Poco::DateTime> byPoco;
    try {
        byPoco = Poco::DateTimeParser::parse(pattern, read, pocoZone);
    } catch (const std::exception&) {
    }
    if (!isNow(date) || (byPoco && read.find_first_of("0123456789") != std::string::npos)) {
        Expect(byPoco.has_value(), "what POCO can't read is the current time");
        Expect(date.Timestamp().Value() == byPoco->timestamp().epochMicroseconds(),
               "read as POCO reads it");
        Expect(zone == pocoZone, "with its differential");
    }
    if (const auto strict = morvel::ParseStrict(pattern, read)) {
        Expect(isNow(date) || *strict == date, "read strictly as read at all");
    }
    if (date.Year() <= 1582) return;  // no time of day in the calendar before Gregory's
    const Poco::DateTime same(Poco::Timestamp(date.Timestamp().Value()));
    ExpectEqual(NDateTime::Format(date, pattern, zone),
                Poco::DateTimeFormatter::format(same, pattern, zone), "written as POCO writes it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto job = input.ConsumeIntegralInRange(0, 3);
    job == 0 ? parts(input) : job == 1 ? instant(input) : text(input);
    return 0;
}
