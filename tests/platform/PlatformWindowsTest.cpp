#include <morvel/platform/platform.h>

#include <windows.h>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

TEST(PlatformWindows, WhatIsWrittenMayBeReadAndNothingElse) {
    TemporaryFolder folder;
    const NWideString name = WideFromNarrow(folder.File("\u0416\u4E2D").c_str(), CodePageUtf8);
    std::FILE* const writer = OpenForWriting(name);
    ASSERT_NE(writer, nullptr);
    const auto opens = [&](DWORD access, DWORD share) {
        const HANDLE file =
            CreateFileW(name.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) return false;
        CloseHandle(file);
        return true;
    };
    const DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    EXPECT_TRUE(opens(GENERIC_READ, all));
    EXPECT_FALSE(opens(GENERIC_READ, FILE_SHARE_READ)) << "a reader that allows no writer";
    EXPECT_FALSE(opens(GENERIC_WRITE, all));
    EXPECT_FALSE(DeleteFileW(name.c_str()));
    std::fclose(writer);
    EXPECT_TRUE(opens(GENERIC_WRITE, all));
}
