#include <morvel/time/TimeTools.h>

#include <string_view>

namespace {

// Whether the pattern has a part of a date; by a time alone nobody can tell the day.
bool _tellsDate(const std::string& pattern) {
    constexpr std::string_view Letters = "defmnobByYr";
    for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
        if (pattern[i] == '%' && Letters.find(pattern[++i]) != Letters.npos) return true;
    }
    return false;
}

}  // namespace

std::optional<NDateTime> morvel::ParseStrict(const std::string& pattern, const std::string& text,
                                             std::int32_t* differential) {
    if (!_tellsDate(pattern)) return std::nullopt;
    constexpr std::int32_t Utc = 0xFFFF;  // what Format writes as Z or GMT
    std::int32_t told = 0;
    const NDateTime date = NDateTime::Parse(pattern, text, told);
    // Where Parse fell back on the current time, that doesn't come out as the text either.
    const bool comesBack = NDateTime::Format(date, pattern, told) == text ||
                           (told == 0 && NDateTime::Format(date, pattern, Utc) == text);
    if (!comesBack) return std::nullopt;
    if (differential != nullptr) *differential = told;
    return date;
}
