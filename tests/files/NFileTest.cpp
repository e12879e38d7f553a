#include <morvel/files/NFile.h>

#include <ctime>

#include <morvel/base/NException.h>
#include <morvel/files/NFileStream.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;

namespace {

class NFileTest : public testing::Test {
protected:
    NFile At(const std::string& name) const {
        return NFile(NString(folder.File(name), EncodingUTF8));
    }

    TemporaryFolder folder;
};

// The failure of an operation as its reader would report it, the class by its fixed text.
template <class Operation>
std::string failureOf(Operation operation) {
    try {
        operation();
    } catch (const NException& e) {
        return std::string(e.what()) + ": " + e.Message();
    }
    return "none";
}

std::string removing(const NFile& file, bool recursive = false) {
    return failureOf([&] { file.Remove(recursive); });
}
std::string creating(const NFile& file) {
    return failureOf([&] { file.CreateDirectories(); });
}

}  // namespace

TEST_F(NFileTest, CreatesFilesAndFoldersAndRemovesThem) {
    EXPECT_TRUE(At("file").CreateFile());
    EXPECT_TRUE(At("empty").CreateDirectory());
    At("c/d/e").CreateDirectories();
    folder.Write("c/d/file", "x");
    for (const char* const name : {"file", "empty", "c/d/e", "c"}) {
        EXPECT_TRUE(At(name).Exists()) << name;
        At(name).Remove(name == std::string("c"));
        EXPECT_FALSE(At(name).Exists()) << name;
    }
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
    const NFile nowhere{NString()};
    for (const NFile& file : {At("missing/x"), At("file/x"), At(std::string(5000, 'x')), nowhere}) {
        EXPECT_FALSE(file.CreateFile());
        EXPECT_FALSE(file.CreateDirectory());
        EXPECT_FALSE(file.Exists());
        EXPECT_EQ(file.CreationTime(), NTimestamp(0));
    }
    nowhere.Remove(true);
    EXPECT_EQ(creating(nowhere), "Runtime exception: Assertion violation");
}

TEST_F(NFileTest, TellsTheReasonByClassAndMessage) {
    folder.Write("file", "");
    At("full").CreateDirectory();
    folder.Write("full/x", "");
    EXPECT_EQ(removing(At("missing")), "File not found: " + folder.File("missing"));
    EXPECT_EQ(removing(At("missing"), true), "File not found: " + folder.File("missing"));
    EXPECT_EQ(removing(At("full")), "File access error: " + folder.File("full"));
    EXPECT_TRUE(folder.Has("full/x"));
    if (OnWindows) {
        EXPECT_THAT(creating(At("a*b")), testing::StartsWith("Bad path syntax: "));
    } else {
        EXPECT_THAT(creating(At("file/x")),
                    testing::StartsWith("Cannot open file: not a directory: "));
    }
}

TEST_F(NFileTest, KeepsItsPathAndConvertsTheNameOnTheWay) {
    constexpr std::int64_t second = 1000000;
    const auto now = static_cast<std::int64_t>(std::time(nullptr)) * second;
    NString latin(folder.File("caf\xC3\xA9/\xC3\xB1"), EncodingUTF8);
    latin.ConvertTo(EncodingLatin1);
    const NFile file(latin);
    EXPECT_EQ(file.Path().Data(), latin.Data());
    EXPECT_EQ(file.Path().Encoding(), EncodingLatin1);
    file.CreateDirectories();
    EXPECT_TRUE(file.Exists());
    EXPECT_TRUE(folder.Has("caf\xC3\xA9/\xC3\xB1"));
    const std::int64_t created = file.CreationTime().Value();
    EXPECT_EQ(created % second, 0);
    EXPECT_GE(created, now - 5 * second);  // the file system's clock may be a little behind
    EXPECT_LE(created, now + 60 * second);
    NFileStream stream;
    EXPECT_EQ(stream.Open(NFile(latin + NString("/x", EncodingLatin1)), NFileStream::ModeWrite), 0);
    EXPECT_TRUE(folder.Has("caf\xC3\xA9/\xC3\xB1/x"));
    if (std::filesystem::exists("/proc/self/stat")) {  // procfs keeps no birth times
        EXPECT_GE(NFile(NString("/proc/self/stat")).CreationTime().Value(), now - 5 * second);
    }
}

// POCO takes "~" for the home folder and a first part with a colon for a device.
TEST_F(NFileTest, CreatesFoldersByTheBytesOfTheirNames) {
    if (OnWindows) {
        GTEST_SKIP() << "names have no colons";
    }
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    for (const char* const name : {"~/p/q", "zq1:/u", "a/../b//c/"}) {
        EXPECT_EQ(creating(NFile(NString(name))), "none") << name;
        EXPECT_TRUE(folder.Has(name)) << name;
    }
    std::filesystem::current_path(former);
}
