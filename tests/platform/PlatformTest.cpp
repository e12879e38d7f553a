#include <morvel/platform/platform.h>

#include <cstdio>

#include <tests/support/Test.h>

using namespace morvel::platform;

namespace {

const UnloadMark behindTheTests;

TEST(PlatformDeathTest, AtUnloadRunsTheLastComerFirstInOneListWithStaticObjects) {
    struct Talker {
        ~Talker() { std::fputs("static object, ", stderr); }
    };
    const auto say = [](void* text) { std::fputs(static_cast<const char*>(text), stderr); };
    const auto sayLater = [](void*) {
        AtUnload([](void*) { std::fputs("late comer, ", stderr); }, nullptr);
        std::fputs("second, ", stderr);
    };
    char first[] = "first", third[] = "third, ";
    EXPECT_EXIT(
        {
            AtUnload(say, first);
            static const Talker talker;
            static const UnloadMark behindTheTalker;
            AtUnload(sayLater, nullptr);
            AtUnload(say, third);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "third, second, late comer, static object, first");
}

}  // namespace
