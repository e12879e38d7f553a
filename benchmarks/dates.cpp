// ISO 8601: text to time and back.
#include <Poco/DateTime.h>
#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <Poco/Timestamp.h>

#include <ctime>
#include <string>

#include <morvel/time/NDateTime.h>

#include "Subject.h"

void AddSubjects() {
    const std::string text = "2024-02-29T13:37:42+01:00";
    const std::string pattern = Poco::DateTimeFormat::ISO8601_FORMAT;
    const std::int64_t expected = 1709213862000000;  // the reading as it stands, no zone applied

    bench::AddEqual(
        "parse/Morvel", bench::Items(1),
        [=] {
            std::int32_t zone = 0;
            return NDateTime::Parse(pattern, text, zone).Timestamp().Value();
        },
        expected);
    bench::AddEqual(
        "parse/POCO (raw)", bench::Items(1),
        [=] {
            int zone = 0;
            return static_cast<std::int64_t>(
                Poco::DateTimeParser::parse(pattern, text, zone).timestamp().epochMicroseconds());
        },
        expected);
    bench::AddEqual(
        "parse/strptime", bench::Items(1),
        [=] {
            std::tm parts{};
            ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S%z", &parts);
            return static_cast<std::int64_t>(::timegm(&parts)) * 1000000;
        },
        expected);

    const NDateTime own{NTimestamp(expected)};
    bench::AddEqual(
        "format/Morvel", bench::Items(1), [=] { return NDateTime::Format(own, pattern, 3600); },
        text);
    const Poco::Timestamp raw(expected);
    bench::AddEqual(
        "format/POCO (raw)", bench::Items(1),
        [=] { return Poco::DateTimeFormatter::format(raw, pattern, 3600); }, text);
    bench::AddEqual(
        "format/strftime", bench::Items(1),
        [=] {
            std::tm parts;
            const std::time_t seconds = expected / 1000000;
            ::gmtime_r(&seconds, &parts);
            char buffer[64];
            const std::size_t length =
                std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S+01:00", &parts);
            return std::string(buffer, length);
        },
        text);
}
