#include <morvel/ids/NUUID.h>

#include <iostream>
#include <set>

#include <morvel/ids/nanoid.h>
#include <tests/support/Process.h>
#include <tests/support/Test.h>

namespace {

std::string program;

}  // namespace

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

// One generator that goes on, in each process seeded from the random device: not by a constant and
// not by the clock.
TEST(NUUID, NeverComesTwice) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        NUUID id;
        ASSERT_EQ(id.Generate(nanoid::default_alphabet(), 21), 0);
        EXPECT_TRUE(seen.insert(id.Value()).second) << id.Value();
    }
    for (int i = 0; i < 5; ++i) {
        const auto result = morvel::test::RunProcess(program, {"--print-identifier"});
        EXPECT_EQ(result.output.size(), 21u);
        EXPECT_TRUE(seen.insert(result.output).second) << result.output;
    }
}

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == std::string("--print-identifier")) {
        NUUID id;
        id.Generate(nanoid::default_alphabet(), 21);
        std::cout << id.Value();
        return 0;
    }
    program = argv[0];
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
