#include <morvel/platform/platform.h>

#include <windows.h>

#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::platform;
using morvel::test::TemporaryFolder;

namespace {

const NWideString beyondTheBasicPlane = L"\xD83D\xDE00";

}  // namespace

TEST(PlatformWindows, TheSystemsEncodingIsTheAnsiCodePage) {
    if (GetACP() != 1252) {
        GTEST_SKIP() << "the ANSI code page is " << GetACP() << " here, and the rows are of 1252";
    }
    const struct {
        const char* why;
        NWideString wide;
        std::string narrow;
    } rows[] = {
        {"Latin-1", L"caf\xE9", "caf\xE9"},
        {"what 1252 has where Latin-1 has controls", L"\x20AC\x201E\x2026", "\x80\x84\x85"},
        {"a byte without a character", L"\x81", "\x81"},
        {"nothing behind a NUL", NWideString(L"a\0b", 3), "a"},
        {"best fit", L"\x100\xFF21", "AA"},
        {"what it lacks", L"\x394\x4E2D", "??"},
        {"a pair is two units", beyondTheBasicPlane, "??"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NarrowFromWide(row.wide.c_str(), CodePageSystem), row.narrow) << row.why;
    }
    for (const char* back : {"caf\xE9", "\x80\x84\x85", "\x81"}) {
        const NWideString wide = WideFromNarrow(back, CodePageSystem);
        EXPECT_EQ(NarrowFromWide(wide.c_str(), CodePageSystem), back);
        EXPECT_EQ(wide.size(), std::string(back).size());
    }
    EXPECT_EQ(NarrowFromWide(L"text", 12345), "") << "an unknown code page";
    EXPECT_EQ(WideFromNarrow("text", 12345), L"");
    EXPECT_EQ(WideFromNarrow("text", 28591), L"text") << "a code page besides the two";
}

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
