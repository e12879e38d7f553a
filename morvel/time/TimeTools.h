#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include <morvel/time/NDateTime.h>
#include <morvel/time/NTimestamp.h>

/// @file
/// Companions of the time classes.
///
/// @failure ParseStrict gives nothing for a text that is no date. It throws what NDateTime::Format
/// throws; the others throw nothing.
/// @threads Any thread may call these.
/// @encoding Texts and patterns as in NDateTime.
/// @cost ParseStrict reads the text and formats it again, once or twice.
namespace morvel {

/// The same instant by the standard's clock, cut to that clock's ticks (a microsecond or finer with
/// every compiler named in the README). Instants beyond its range, more than 292 years from 1970
/// with nanoseconds, wrap.
inline std::chrono::system_clock::time_point ToTimePoint(const NTimestamp& timestamp) {
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::microseconds(timestamp.Value())));
}

/// The same back, cut to microseconds towards the past.
inline NTimestamp FromTimePoint(std::chrono::system_clock::time_point point) {
    return NTimestamp(
        std::chrono::floor<std::chrono::microseconds>(point.time_since_epoch()).count());
}

/// From `earlier` to `later`, negative where they are the other way round. Of two NDateTime both
/// have to be of the same clock (see NDateTime), and no zone or daylight saving is looked at.
///@{
inline std::chrono::microseconds Between(const NTimestamp& earlier, const NTimestamp& later) {
    return std::chrono::microseconds(later.Value() - earlier.Value());
}
inline std::chrono::microseconds Between(const NDateTime& earlier, const NDateTime& later) {
    return Between(earlier.Timestamp(), later.Timestamp());
}
///@}

/// The date that `text` is in `pattern`, to the letter: nothing for a text that doesn't match, that
/// goes on behind the pattern, or that doesn't come out again when the date is formatted by the
/// same pattern; nothing, too, by a pattern without any part of a date, such as "%H:%M".
/// NDateTime::Parse takes "yesterday at 5" for 0005-01-01 by "%Y-%m-%d", and "31.12.2024" for
/// 0031-12-20.
///
/// `differential`, unless it is null, gets the seconds that a %z or %Z told, 0 without one. It is
/// left alone where nothing is returned.
///
///     const auto due = morvel::ParseStrict("%Y-%m-%d", value);
///     if (!due) std::cerr << value << " is no date like 2026-11-25\n";
[[nodiscard]] MORVEL_API std::optional<NDateTime> ParseStrict(const std::string& pattern,
                                                              const std::string& text,
                                                              std::int32_t* differential = nullptr);

}  // namespace morvel
