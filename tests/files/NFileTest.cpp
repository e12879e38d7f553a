#include <morvel/files/NFile.h>

#include <Poco/Exception.h>

#include <morvel/base/NException.h>
#include <morvel/files/FileTools.h>
#include <morvel/files/NFileStream.h>
#include <morvel/files/ThrowTranslated.h>
#include <tests/support/Test.h>

namespace {

struct NFileTest : Test {
    NFile At(const std::string& name) const {
        return NFile(NString(folder.File(name), EncodingUTF8));
    }

    // The failure of an operation as its reader would report it, the class by its fixed text.
    static std::string FailureOf(const std::function<void()>& operation) {
        try {
            operation();
        } catch (const NException& e) {
            EXPECT_EQ(e.Code(), 0);
            return std::string(e.what()) + ": " + e.Message();
        }
        return "none";
    }
    static std::string Removing(const NFile& file, bool recursive) {
        return FailureOf([&] { file.Remove(recursive); });
    }
    static std::string Creating(const NFile& file) {
        return FailureOf([&] { file.CreateDirectories(); });
    }

    template <class Thrown>
    static std::string Translated(const Thrown& thrown) {
        return FailureOf([&] {
            try {
                throw thrown;
            } catch (...) {
                morvel::ThrowTranslated();
            }
        });
    }

    TemporaryFolder folder;
};

}  // namespace

TEST_F(NFileTest, CreatesFilesAndFoldersAndRemovesThem) {
    EXPECT_TRUE(At("file").CreateFile());
    EXPECT_TRUE(At("empty").CreateDirectory());
    At("c/d/e").CreateDirectories();
    folder.Write("c/d/file", "content");
    EXPECT_FALSE(At("c/d/file").CreateFile());
    EXPECT_FALSE(At("c/d/file").CreateDirectory());
    At("c/d/file").CreateDirectories();  // the name is taken, and that is enough
    EXPECT_FALSE(At("c/d/file").SetPermissions(511));
    EXPECT_EQ(folder.Read("c/d/file"), "content");
    EXPECT_EQ(Removing(At("c"), false), "File access error: " + folder.File("c"));
    for (const char* const name : {"file", "empty", "c/d/e", "c"}) {
        EXPECT_TRUE(At(name).Exists()) << name;
        At(name).Remove(name == std::string("c"));
        EXPECT_FALSE(At(name).Exists()) << name;
        EXPECT_EQ(Removing(At(name), false), "File not found: " + folder.File(name));
        EXPECT_EQ(Removing(At(name), true), "File not found: " + folder.File(name));
    }
}

TEST_F(NFileTest, AnswersNoWhateverTheReason) {
    folder.Write("file", "");
    const NFile nowhere{NString()};
    for (const NFile& file : {At("missing/x"), At("file/x"), At(std::string(5000, 'x')), nowhere}) {
        EXPECT_FALSE(file.CreateFile());
        EXPECT_FALSE(file.CreateDirectory());
        EXPECT_FALSE(file.Exists());
        EXPECT_EQ(file.CreationTime(), NTimestamp(0));
    }
    EXPECT_EQ(Removing(nowhere, true), "none");
    EXPECT_EQ(Creating(nowhere), "Runtime exception: Assertion violation");
    EXPECT_THAT(
        Creating(At(OnWindows ? "a*b" : "file/x")),
        StartsWith(OnWindows ? "Bad path syntax: " : "Cannot open file: not a directory: "));
}

TEST_F(NFileTest, KeepsItsPathAndConvertsTheNameOnTheWay) {
    constexpr std::int64_t Second = 1000000;
    const auto now = static_cast<std::int64_t>(std::time(nullptr)) * Second;
    NString latin(folder.File("caf\xC3\xA9/\xC3\xB1"), EncodingUTF8);
    latin.ConvertTo(EncodingLatin1);
    const NFile file(latin);
    EXPECT_EQ(file.Path().Data(), latin.Data());
    EXPECT_EQ(file.Path().Encoding(), EncodingLatin1);
    file.CreateDirectories();
    EXPECT_TRUE(file.Exists());
    const std::int64_t created = file.CreationTime().Value();
    EXPECT_EQ(created % Second, 0);
    EXPECT_GE(created, now - 5 * Second);  // the file system's clock may be a little behind
    EXPECT_LE(created, now + 60 * Second);
    NFileStream stream;
    EXPECT_EQ(stream.Open(NFile(latin + NString("/x", EncodingLatin1)), NFileStream::ModeWrite), 0);
    EXPECT_TRUE(folder.Has("caf\xC3\xA9/\xC3\xB1/x"));
    if (std::filesystem::exists("/proc/self/stat")) {  // procfs keeps no birth times
        EXPECT_GE(NFile(NString("/proc/self/stat")).CreationTime().Value(), now - 5 * Second);
    }
}

// POCO takes "~" for the home folder and a first part with a colon for a device.
TEST_F(NFileTest, CreatesFoldersByTheBytesOfTheirNames) {
    if (OnWindows) GTEST_SKIP() << "names have no colons";
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    for (const char* const name : {"~/p/q", "zq1:/u", "a/../b//c/"}) {
        EXPECT_EQ(Creating(NFile(NString(name))), "none") << name;
        EXPECT_TRUE(folder.Has(name)) << name;
    }
    std::filesystem::current_path(former);
}

TEST_F(NFileTest, WritesThroughNoLinkThatLeadsToItself) {
    if (OnWindows) GTEST_SKIP() << "links take a privilege";
    std::filesystem::create_symlink("loop", folder.File("loop"));
    EXPECT_THAT(FailureOf([&] { morvel::WriteFile(At("loop").Path(), "x"); }),
                StartsWith("File access error: " + folder.File("loop") + ": "));
}

// By hand, since several of these no file system gives on demand. The code 13 is lost on the way.
TEST_F(NFileTest, TurnsWhatPocoThrowsIntoTheFamily) {
    EXPECT_EQ(Translated(Poco::FileAccessDeniedException("m", 13)), "Access to file denied: m");
    EXPECT_EQ(Translated(Poco::FileNotFoundException("m", 13)), "File not found: m");
    EXPECT_EQ(Translated(Poco::OpenFileException("m", 13)), "Cannot open file: m");
    EXPECT_EQ(Translated(Poco::FileReadOnlyException("m", 13)), "File is read-only: m");
    EXPECT_EQ(Translated(Poco::FileExistsException("m", 13)), "File exists: m");
    EXPECT_EQ(Translated(Poco::FileException("m", "n", 13)), "File access error: m: n");
    EXPECT_EQ(Translated(Poco::PathSyntaxException("m", 13)), "Bad path syntax: m");
    // Without a row of their own: the base class answers, or the fixed text of what() is all.
    EXPECT_EQ(Translated(Poco::PathNotFoundException("m")), "File access error: m");
    EXPECT_EQ(Translated(Poco::SyntaxException("m")), "Runtime exception: Syntax error");
    EXPECT_EQ(Translated(std::runtime_error("m")), "Runtime exception: m");
    EXPECT_EQ(Translated(42), "Runtime exception: Unkwnown exception");
}
