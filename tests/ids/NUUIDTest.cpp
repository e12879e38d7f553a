#include <morvel/ids/NUUID.h>

#include <set>

#include <morvel/ids/nanoid.h>
#include <tests/support/Test.h>

namespace {

// One by each way that has no source of its own.
std::string _drawn() {
    NUUID id;
    id.Generate(nanoid::default_alphabet(), 21);
    return id.Value() + nanoid::generate(nanoid::default_alphabet(), 21);
}

}  // namespace

// One generator that goes on for both, in each process seeded from the random device: not by a
// constant, not by the clock, and not as in the process that it was forked from. Half of the death
// tests are forked, the others are started anew, which an emulator doesn't do.
TEST(NUUID, NeverComesTwice) {
    std::set<std::string> seen;
    const auto areNew = Truly([&](const std::string& both) {
        return both.size() == 42 && seen.insert(both.substr(0, 21)).second &&
               seen.insert(both.substr(21)).second;
    });
    const bool isEmulated = std::getenv("MORVEL_TEST_LAUNCHER") != nullptr;
    for (int i = 0; i < 8; ++i) {
        GTEST_FLAG_SET(death_test_style, i % 2 == 0 || isEmulated ? "fast" : "threadsafe");
        EXPECT_THAT(_drawn(), areNew);
        EXPECT_EXIT((std::cerr << _drawn(), std::exit(0)), ExitedWithCode(0), areNew);
    }
    for (int i = 0; i < 1000; ++i) EXPECT_THAT(_drawn(), areNew);
}

TEST(NUUID, HoldsTheLatestIdentifierThatItCouldMake) {
    NUUID id;
    EXPECT_EQ(id.Value(), "");
    ASSERT_EQ(id.Generate("x", 4), 0);
    EXPECT_EQ(id.Generate("", 4), -1);
    EXPECT_EQ(id.Generate("y", 0), -1);
    EXPECT_EQ(id.Value(), "xxxx");
    EXPECT_EQ(id.Generate("y", 2), 0);
    EXPECT_EQ(id.Value(), "yy");
}
