#include <morvel/time/NTimestamp.h>

#include <chrono>
#include <limits>

#include <tests/support/Test.h>

namespace {

constexpr std::int64_t Lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t Highest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t Offset = 122192928000000000;

}  // namespace

TEST(NTimestamp, DefaultIsNow) {
    using namespace std::chrono;
    const auto clock = [] { return system_clock::now().time_since_epoch(); };
    const auto before = duration_cast<microseconds>(clock());
    const NTimestamp now;
    EXPECT_LE(before.count(), now.Value());
    EXPECT_LE(microseconds(now.Value()), clock());
}

TEST(NTimestamp, CountsUtcTimeCutTowardZeroAndWraps) {
    EXPECT_EQ(NTimestamp::FromUtcTime(0).Value(), -Offset / 10);
    EXPECT_EQ(NTimestamp::FromUtcTime(Offset + 15).Value(), 1);
    EXPECT_EQ(NTimestamp::FromUtcTime(Offset - 15).Value(), -1);
    // 2^64 - 2^63 - offset, in unsigned arithmetic
    EXPECT_EQ(NTimestamp::FromUtcTime(Lowest).Value(), (Highest - Offset + 1) / 10);
    EXPECT_EQ(NTimestamp(0).UtcTime(), Offset);
    // The ends are the last values at which neither of the two calls wraps.
    const std::int64_t last = (Highest - Offset) / 10;
    for (const std::int64_t value : {std::int64_t{-1}, Lowest / 10, last}) {
        EXPECT_EQ(NTimestamp::FromUtcTime(NTimestamp(value).UtcTime()).Value(), value);
    }
    EXPECT_EQ(NTimestamp(last + 1).UtcTime(), Lowest + 2);
    EXPECT_EQ(NTimestamp::FromMilliseconds(-3).Value(), -3000);
    EXPECT_EQ(NTimestamp::FromMilliseconds(Highest).Value(), -1000);
    EXPECT_EQ((NTimestamp(Highest) + NTimestamp(1)).Value(), Lowest);
}
