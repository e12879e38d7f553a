#include <morvel/ids/NUUID.h>

#include <iostream>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include <morvel/ids/nanoid.h>
#include <tests/support/Process.h>

namespace {

std::string program;

}  // namespace

TEST(NUUID, HoldsTheLatestIdentifier) {
    NUUID id;
    EXPECT_EQ(id.Value(), "");
    EXPECT_EQ(id.Generate("ab", 40), 0);
    const std::string first = id.Value();
    EXPECT_EQ(first.size(), 40u);
    EXPECT_EQ(first.find_first_not_of("ab"), std::string::npos);
    EXPECT_EQ(id.Generate("cd", 3), 0);
    EXPECT_EQ(id.Value().size(), 3u);
    EXPECT_EQ(id.Value().find_first_not_of("cd"), std::string::npos);
}

TEST(NUUID, KeepsTheFormerIdentifierWhenItFails) {
    NUUID id;
    ASSERT_EQ(id.Generate("x", 4), 0);
    EXPECT_EQ(id.Generate("", 4), -1);
    EXPECT_EQ(id.Generate(std::string(256, 'y'), 4), -1);
    EXPECT_EQ(id.Generate("y", 0), -1);
    EXPECT_EQ(id.Value(), "xxxx");
    EXPECT_EQ(id.Generate(std::string(255, 'y'), 2), 0);
    EXPECT_EQ(id.Value(), "yy");
}

TEST(NUUID, DrawsOnOneGeneratorThatGoesOn) {
    std::set<std::string> seen;
    for (int i = 0; i < 10000; ++i) {
        NUUID id;
        ASSERT_EQ(id.Generate(nanoid::default_alphabet(), 21), 0);
        EXPECT_TRUE(seen.insert(id.Value()).second) << id.Value() << " came twice";
    }
}

// Seeded from the random device, not by a constant and not by the clock.
TEST(NUUID, StartsElsewhereInEachProcess) {
    std::set<std::string> seen;
    for (int i = 0; i < 5; ++i) {
        const auto result = morvel::test::RunProcess(program, {"--print-identifier"});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.output.size(), 21u);
        EXPECT_TRUE(seen.insert(result.output).second) << result.output << " came twice";
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
