#include <morvel/files/NFile.h>

#include <unistd.h>

#include <morvel/base/NException.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

namespace {

template <class Operation>
std::string denied(Operation operation) {
    try {
        operation();
    } catch (const KelFileAccessDeniedException& e) {
        return e.Message();
    }
    return "nothing is denied";
}

}  // namespace

TEST(NFilePosix, TellsThatAccessIsDenied) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "to become another user takes the superuser";
    }
    const morvel::test::TemporaryFolder folder;
    const auto at = [&](const char* name) {
        return NFile(NString(folder.File(name), EncodingUTF8));
    };
    at("locked").CreateDirectory();
    folder.Write("locked/file", "x");
    ASSERT_EQ(seteuid(65534), 0);
    const std::string removed = denied([&] { at("locked/file").Remove(false); });
    const std::string created = denied([&] { at("locked/a/b").CreateDirectories(); });
    const bool newFile = at("locked/new").CreateFile();
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(removed, folder.File("locked/file"));
    EXPECT_THAT(created, testing::StartsWith(folder.File("locked/a")));
    EXPECT_FALSE(newFile);
}
