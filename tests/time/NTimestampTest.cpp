#include <morvel/time/NTimestamp.h>

#include <chrono>
#include <limits>

#include <tests/support/Test.h>

TEST(NTimestamp, DefaultIsNow) {
    using namespace std::chrono;
    const auto clock = [] { return system_clock::now().time_since_epoch(); };
    const auto before = duration_cast<microseconds>(clock());
    const NTimestamp now;
    EXPECT_LE(before.count(), now.Value());
    EXPECT_LE(microseconds(now.Value()), clock());
}

TEST(NTimestamp, CountsUtcTimeCutTowardZeroAndWraps) {
    using T = NTimestamp;
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min(), highest = ~lowest;
    constexpr std::int64_t offset = 122192928000000000;
    EXPECT_EQ(T::FromUtcTime(offset + 15).Value(), 1);
    EXPECT_EQ(T::FromUtcTime(offset - 15).Value(), -1);
    // 2^64 - 2^63 - offset, in unsigned arithmetic
    EXPECT_EQ(T::FromUtcTime(lowest).Value(), (highest - offset + 1) / 10);
    // The last value at which neither of the two calls wraps.
    const std::int64_t last = (highest - offset) / 10;
    EXPECT_EQ(T::FromUtcTime(T(last).UtcTime()).Value(), last);
    EXPECT_EQ(T(last + 1).UtcTime(), lowest + 2);
    EXPECT_EQ(T::FromMilliseconds(-3).Value(), -3000);
    EXPECT_EQ(T::FromMilliseconds(highest).Value(), -1000);
    EXPECT_EQ((T(highest) + T(1)).Value(), lowest);
}
