#include <morvel/platform/platform.h>

#include <tests/support/Test.h>  // with windows.h

using namespace morvel::platform;

TEST(PlatformWindows, WhatIsWrittenMayBeReadAndNothingElse) {
    const TemporaryFolder folder;
    const NWideString name = WideFromNarrow(folder.File("\u0416\u4E2D").c_str(), CodePageUtf8);
    std::FILE* const writer = OpenForWriting(name);
    ASSERT_NE(writer, nullptr);
    const auto opens = [&](DWORD access, DWORD share) {
        const HANDLE file =
            CreateFileW(name.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
        return file != INVALID_HANDLE_VALUE && CloseHandle(file);
    };
    const DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    EXPECT_TRUE(opens(GENERIC_READ, all));
    EXPECT_FALSE(opens(GENERIC_READ, FILE_SHARE_READ)) << "a reader that allows no writer";
    EXPECT_FALSE(opens(GENERIC_WRITE, all));
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    std::fclose(writer);
    EXPECT_TRUE(opens(GENERIC_WRITE, all));
}

// Elsewhere the C runtime has such a list.
const UnloadMark behindTheTests;

TEST(PlatformWindowsDeathTest, AtUnloadRunsTheLastComerFirstInOneListWithStaticObjects) {
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
        ExitedWithCode(0), "third, second, late comer, static object, first");
}
