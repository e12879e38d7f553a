#include <morvel/time/TimeTools.h>

#include <morvel/time/DatePattern.h>

std::optional<NDateTime> morvel::ParseStrict(const std::string& pattern, const std::string& text,
                                             std::int32_t* differential) {
    if (!HasLetterOf("defmnobByYr", pattern)) return std::nullopt;  // a time alone tells no day
    constexpr std::int32_t Utc = 0xFFFF;  // what Format writes as Z or GMT
    std::int32_t told = 0;
    NDateTime date = NDateTime::Parse(pattern, text, told);
    // Where Parse fell back on the current time, that doesn't come out as the text either.
    const bool comesBack = NDateTime::Format(date, pattern, told) == text ||
                           (told == 0 && NDateTime::Format(date, pattern, Utc) == text);
    if (!comesBack) return std::nullopt;
    if (differential != nullptr) *differential = told;
    return date;
}
