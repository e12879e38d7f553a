#include <morvel/ids/NUUID.h>

#include <iostream>
#include <set>

#include <morvel/ids/nanoid.h>
#include <tests/support/Process.h>
#include <tests/support/Test.h>

namespace {

std::string program;

// One by each way that has no source of its own.
std::string _drawn() {
    NUUID id;
    id.Generate(nanoid::default_alphabet(), 21);
    return id.Value() + nanoid::generate(nanoid::default_alphabet(), 21);
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

// One generator that goes on for both, in each process seeded from the random device: not by a
// constant, not by the clock, and not as in the process that it was forked from, as death tests
// are.
TEST(NUUID, NeverComesTwice) {
    std::set<std::string> seen;
    const auto areNew = testing::Truly([&](const std::string& both) {
        return both.size() == 42 && seen.insert(both.substr(0, 21)).second &&
               seen.insert(both.substr(21)).second;
    });
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(morvel::test::RunProcess(program, {"--print-identifier"}).output, areNew);
        EXPECT_EXIT((std::cerr << _drawn(), std::exit(0)), testing::ExitedWithCode(0), areNew);
    }
    for (int i = 0; i < 1000; ++i) EXPECT_THAT(_drawn(), areNew);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == std::string("--print-identifier")) {
        std::cout << _drawn();
        return 0;
    }
    program = argv[0];
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
