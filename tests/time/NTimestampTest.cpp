#include <morvel/time/NTimestamp.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>

namespace {

constexpr std::int64_t Lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t Highest = std::numeric_limits<std::int64_t>::max();

}  // namespace

TEST(NTimestamp, TheEpochOffsetIsTheNumberOfDaysBetween) {
    EXPECT_EQ(NTimestamp::UtcEpochOffset, std::int64_t{141427} * 86400 * 10000000);
    EXPECT_EQ(NTimestamp::MicrosecondEpochOffset, std::int64_t{141427} * 86400 * 1000000);
}

TEST(NTimestamp, DefaultIsNow) {
    const auto clock = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    const std::int64_t before = clock();
    const NTimestamp now;
    const std::int64_t after = clock();
    EXPECT_LE(before, now.Value());
    EXPECT_LE(now.Value(), after);
}

TEST(NTimestamp, ReadsUtcTimeCutTowardZero) {
    const struct {
        const char* why;
        std::int64_t utcTime, microseconds;
    } rows[] = {
        {"1970", NTimestamp::UtcEpochOffset, 0},
        {"1582", 0, -12219292800000000},
        {"one and a half microseconds later", NTimestamp::UtcEpochOffset + 15, 1},
        {"and earlier: -1, not -2", NTimestamp::UtcEpochOffset - 15, -1},
        {"the last one", Highest, (Highest - NTimestamp::UtcEpochOffset) / 10},
        // 2^64 - 2^63 - offset, in unsigned arithmetic
        {"the first one wraps", Lowest, (Highest - NTimestamp::UtcEpochOffset + 1) / 10},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NTimestamp::FromUtcTime(row.utcTime).Value(), row.microseconds) << row.why;
    }
}

TEST(NTimestamp, UtcTimeComesBack) {
    EXPECT_EQ(NTimestamp(0).UtcTime(), 122192928000000000);
    // The ends are the last values at which neither of the two calls wraps.
    for (const std::int64_t value :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{1700000000123457}, Lowest / 10,
          Highest / 10 - NTimestamp::MicrosecondEpochOffset}) {
        EXPECT_EQ(NTimestamp::FromUtcTime(NTimestamp(value).UtcTime()).Value(), value);
    }
    EXPECT_EQ(NTimestamp(Highest / 10 - NTimestamp::MicrosecondEpochOffset + 1).UtcTime(),
              Lowest + 2);
}

TEST(NTimestamp, ArithmeticWraps) {
    EXPECT_EQ(NTimestamp::FromMilliseconds(-3).Value(), -3000);
    EXPECT_EQ(NTimestamp::FromMilliseconds(Highest).Value(), -1000);
    EXPECT_EQ((NTimestamp(40) + NTimestamp(2)).Value(), 42);
    EXPECT_EQ((NTimestamp(Highest) + NTimestamp(1)).Value(), Lowest);
}

TEST(NTimestamp, ComparesAsSignedNumbers) {
    const NTimestamp before(-1);
    const NTimestamp after(1);
    EXPECT_TRUE(before < after && before <= after && after > before && after >= before);
    EXPECT_FALSE(after < before || after <= before || before > after || before >= after);
    EXPECT_TRUE(before != after && !(before == after));
    const NTimestamp copy = before;
    EXPECT_TRUE(copy == before && copy <= before && copy >= before);
    EXPECT_FALSE(copy != before || copy < before || copy > before);
}
