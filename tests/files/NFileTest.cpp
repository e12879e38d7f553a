#include <morvel/files/NFile.h>

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <ctime>
#include <filesystem>
#include <string>

#include <Poco/Path.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <morvel/base/NException.h>
#include <tests/support/TemporaryFolder.h>

// GoogleTest and POCO have brought windows.h in behind NFile.h.
#undef CreateDirectory
#undef CreateFile

namespace {

const bool onWindows = Poco::Path::separator() == '\\';

class NFileTest : public testing::Test {
protected:
    NFile At(const std::string& name) const {
        return NFile(NString(folder.File(name), EncodingUTF8));
    }

    morvel::test::TemporaryFolder folder;
};

// The failure of an operation as its reader would report it, the class by its fixed text.
template <class Operation>
std::string failureOf(Operation operation) {
    try {
        operation();
    } catch (const NException& e) {
        EXPECT_EQ(e.Code(), 0);
        return std::string(e.what()) + ": " + e.Message();
    }
    return "none";
}

}  // namespace

TEST_F(NFileTest, KeepsThePathItWasGiven) {
    const NFile file(NString("caf\xE9", EncodingLatin1));
    EXPECT_EQ(file.Path().Data(), "caf\xE9");
    EXPECT_EQ(file.Path().Encoding(), EncodingLatin1);
}

TEST_F(NFileTest, CreatesFilesAndFolders) {
    EXPECT_FALSE(At("a").Exists());
    EXPECT_TRUE(At("a").CreateFile());
    EXPECT_TRUE(At("a").Exists());
    EXPECT_EQ(folder.Read("a"), "");

    EXPECT_TRUE(At("b").CreateDirectory());
    EXPECT_TRUE(At("b").Exists());
    EXPECT_FALSE(At("b").CreateDirectory());  // is there already

    At("c/d/e").CreateDirectories();
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "c/d/e"));
    At("c/d/e").CreateDirectories();
}

TEST_F(NFileTest, LeavesWhatIsThereAsItIs) {
    folder.Write("a", "content");
    EXPECT_FALSE(At("a").CreateFile());
    EXPECT_FALSE(At("a").CreateDirectory());
    At("a").CreateDirectories();  // the name is taken, and that is enough
    EXPECT_FALSE(At("a").SetPermissions(511));
    EXPECT_EQ(folder.Read("a"), "content");
}

TEST_F(NFileTest, AnswersNoWhateverTheReason) {
    folder.Write("file", "");
    const std::string names[] = {"missing/x", "file/x", std::string(5000, 'x')};
    for (const std::string& name : names) {
        EXPECT_FALSE(At(name).CreateFile()) << name;
        EXPECT_FALSE(At(name).CreateDirectory()) << name;
        EXPECT_FALSE(At(name).Exists()) << name;
        EXPECT_EQ(At(name).CreationTime(), NTimestamp(0)) << name;
    }
}

TEST_F(NFileTest, EmptyPathIsNoPlace) {
    const NFile nowhere{NString()};
    EXPECT_FALSE(nowhere.Exists());
    nowhere.Remove(false);
    nowhere.Remove(true);
    EXPECT_FALSE(nowhere.CreateFile());
    EXPECT_FALSE(nowhere.CreateDirectory());
    EXPECT_EQ(nowhere.CreationTime(), NTimestamp(0));
    EXPECT_EQ(failureOf([&] { nowhere.CreateDirectories(); }),
              "Runtime exception: Assertion violation");
}

TEST_F(NFileTest, Removes) {
    folder.Write("file", "x");
    At("file").Remove(false);
    EXPECT_FALSE(folder.Has("file"));
    At("empty").CreateDirectory();
    At("empty").Remove(false);
    EXPECT_FALSE(folder.Has("empty"));
    At("full/of/folders").CreateDirectories();
    folder.Write("full/of/file", "x");
    At("full").Remove(true);
    EXPECT_FALSE(folder.Has("full"));
}

TEST_F(NFileTest, TellsTheReasonByClassAndMessage) {
    folder.Write("file", "");
    folder.Write("link-target", "");
    At("full").CreateDirectory();
    folder.Write("full/x", "");
    const std::string longName(300, 'x');
    const auto path = [&](const std::string& name) { return folder.File(name); };
    const auto removing = [&](const std::string& name) {
        return failureOf([&] { At(name).Remove(false); });
    };
    const auto creating = [&](const std::string& name) {
        return failureOf([&] { At(name).CreateDirectories(); });
    };
    EXPECT_EQ(removing("missing"), "File not found: " + path("missing"));
    EXPECT_EQ(removing("full"), "File access error: " + path("full"));
    EXPECT_TRUE(folder.Has("full/x"));
    EXPECT_EQ(failureOf([&] { At("missing").Remove(true); }), "File not found: " + path("missing"));
    if (onWindows) {
        EXPECT_EQ(removing("missing/x"), "File access error: " + path("missing/x"));
        EXPECT_THAT(creating("a*b"), testing::StartsWith("Bad path syntax: "));
    } else {
        EXPECT_EQ(removing("missing/x"), "File not found: " + path("missing/x"));
        EXPECT_EQ(removing("file/x"), "Cannot open file: not a directory: " + path("file/x"));
        EXPECT_EQ(removing(longName), "Bad path syntax: " + path(longName));
        EXPECT_THAT(creating("file/x"), testing::StartsWith("Cannot open file: not a directory: "));
    }
}

#ifndef _WIN32

TEST_F(NFileTest, TellsThatAccessIsDenied) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "to become another user takes the superuser";
    }
    std::filesystem::create_directory(folder.Path() / "locked");
    folder.Write("locked/file", "x");
    ASSERT_EQ(seteuid(65534), 0);
    const std::string removing = failureOf([&] { At("locked/file").Remove(false); });
    const std::string creating = failureOf([&] { At("locked/a/b").CreateDirectories(); });
    const bool created = At("locked/new").CreateFile();
    const bool createdFolder = At("locked/new").CreateDirectory();
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(removing, "Access to file denied: " + folder.File("locked/file"));
    EXPECT_THAT(creating, testing::StartsWith("Access to file denied: "));
    EXPECT_FALSE(created);
    EXPECT_FALSE(createdFolder);
    EXPECT_TRUE(folder.Has("locked/file"));
}

TEST_F(NFileTest, RemovesALinkAndNotWhatItLeadsTo) {
    At("target").CreateDirectory();
    folder.Write("target/x", "x");
    std::filesystem::create_symlink("target", folder.Path() / "link");
    std::filesystem::create_symlink("nowhere", folder.Path() / "dangling");
    EXPECT_FALSE(At("dangling").Exists());
    At("link").Remove(true);
    At("dangling").Remove(false);
    EXPECT_FALSE(std::filesystem::is_symlink(folder.Path() / "link"));
    EXPECT_FALSE(std::filesystem::is_symlink(folder.Path() / "dangling"));
    EXPECT_TRUE(folder.Has("target/x"));
}

#endif

TEST_F(NFileTest, CreationTimeIsThatOfAFreshFile) {
    constexpr std::int64_t second = 1000000;
    const auto now = static_cast<std::int64_t>(std::time(nullptr)) * second;
    for (const char* const name : {"file", "caf\xC3\xA9"}) {
        folder.Write(name, "");
        const std::int64_t created = At(name).CreationTime().Value();
        EXPECT_EQ(created % second, 0);
        EXPECT_GE(created,
                  now - 5 * second);  // the clock of the file system may be a little behind
        EXPECT_LE(created, now + 60 * second);
    }
    EXPECT_EQ(At("missing").CreationTime(), NTimestamp(0));
}

TEST_F(NFileTest, NamesAreConvertedOnTheWay) {
    const NString inside("caf\xE9/\xF1", EncodingLatin1);
    const NPath path = NPath(folder.File(""), EncodingUTF8).Append(inside);
    NString latin(path);
    latin.ConvertTo(EncodingLatin1);
    NFile(latin).CreateDirectories();
    EXPECT_TRUE(NFile(latin).Exists());
    EXPECT_TRUE(folder.Has("caf\xC3\xA9/\xC3\xB1"));
    // A name that comes decomposed means the composed one.
    EXPECT_TRUE(At("cafe\xCC\x81").Exists());
}
