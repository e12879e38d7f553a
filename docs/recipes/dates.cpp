#include <iostream>

#include <morvel/companions.h>

int main() {
    for (const char* const text :
         {"2026-11-25", "25.11.2026", "yesterday at 5", "2026-02-30", "2026-11-25 or so"}) {
        const auto date = morvel::ParseStrict("%Y-%m-%d", text);
        std::cout << text << ": " << (date ? "a date" : "no date") << '\n';
    }

    std::int32_t seconds = 0;
    const auto sent =
        morvel::ParseStrict("%Y-%m-%dT%H:%M:%S%z", "2026-11-25T08:05:09+01:00", &seconds);
    if (sent) {
        const NDateTime utc(NTimestamp(sent->Timestamp().Value() - seconds * 1000000LL));
        std::cout << NDateTime::Format(utc, "%Y-%m-%dT%H:%M:%S%z", 0xFFFF) << '\n';
    }
}
