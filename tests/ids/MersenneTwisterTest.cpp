#include <morvel/ids/MersenneTwister.h>

#include <tests/support/Test.h>

// Over several generations of the state; the seeds are the ends and the standard's default.
TEST(MersenneTwister, GivesTheNumbersOfTheStandardEngine) {
    for (const std::uint32_t seed : {0u, 1u, 5489u, 0x80000000u, 0xFFFFFFFFu}) {
        std::mt19937 expected(seed);
        morvel::MersenneTwister engine(seed);
        for (int i = 0; i < 3000; ++i) ASSERT_EQ(engine(), expected()) << seed << ' ' << i;
    }
}
