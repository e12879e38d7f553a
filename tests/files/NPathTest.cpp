#include <morvel/files/NPath.h>

#include <Poco/Exception.h>
#include <Poco/Path.h>

#include <tests/support/Test.h>

namespace {

const char Separator = Poco::Path::separator();

NString _in(NStringEncoding encoding, const std::string& text) {
    NString result(text, EncodingUTF8);
    result.ConvertTo(encoding);
    return result;
}

#define PATH(...) [](NPath& p) -> NString { return p.__VA_ARGS__; }

}  // namespace

TEST(NPath, TakesTextApartAndPutsItTogether) {
    const struct {
        char separator;
        NString (*operation)(NPath& path);
        const char *text, *expected;
    } rows[] = {
        {'/', PATH(MakeDirectory()), "/d\xC3\xA9/file", "/d\xC3\xA9/file/"},
        {'/', PATH(MakeFile()), "/d\xC3\xA9/file/", "/d\xC3\xA9/file"},
        {'/', PATH(Parent()), "/d\xC3\xA9/file.txt", "/d\xC3\xA9/"},
        {'/', PATH(Parent()), "/a//b/./c/../d", "/a/b/"},  // read before anything is done
        {'/', PATH(BaseName()), "/data/\xC3\xA9.tar.gz", "\xC3\xA9.tar"},
        {'/', PATH(Absolute()), "/d\xC3\xA9/file", "/d\xC3\xA9/file"},
        {'/', PATH(Append(_in(p.Encoding(), "\xC3\xA9"))), "/data", "/data/\xC3\xA9"},
        {'/', PATH(Append(_in(p.Encoding(), "/a"))), "d/", "d/a"},  // the other as relative
        {'/', PATH(SetExtension(_in(EncodingUTF16, "l\xC3\xB6g")), p), "/data/file.txt",
         "/data/file.l\xC3\xB6g"},
        {'/', PATH(SetExtension(""), p), "/data/file.txt", "/data/file"},

        {'\\', PATH(MakeFile()), "c:/d\xC3\xA9/file/", "c:\\d\xC3\xA9\\file"},
        {'\\', PATH(Parent()), "\\\\server\\share\\folder\\file.txt",
         "\\\\server\\share\\folder\\"},
    };
    for (const auto& row : rows) {
        for (const auto encoding : {EncodingLatin1, EncodingUTF8, EncodingUTF16}) {
            if (row.separator != Separator) continue;
            NPath path(_in(encoding, row.text));
            const NString result = row.operation(path);
            EXPECT_EQ(result.Encoding(), encoding) << row.expected;
            EXPECT_EQ(result.Data(), _in(encoding, row.expected).Data());
        }
    }
    EXPECT_EQ(NPath("x", EncodingUTF8).Absolute().Data(),
              (std::filesystem::current_path() / "x").u8string());
    EXPECT_TRUE(NPath("/etc").IsFile() && !NPath("/etc/").IsFile());  // about the text only
}

TEST(NPath, AppendTakesTheHigherEncoding) {
    const std::string expected = std::string("a") + Separator + "b";
    for (const auto left : {EncodingSystem, EncodingASCII, EncodingUTF16}) {
        for (const auto right : {EncodingSystem, EncodingASCII, EncodingUTF16}) {
            NPath path(_in(left, "a"));
            path.Append(_in(right, "b"));
            EXPECT_EQ(path.Encoding(), std::max(left, right)) << left << ' ' << right;
            EXPECT_EQ(path.Data(), _in(path.Encoding(), expected).Data());
        }
    }
    EXPECT_EQ(NPath("a").Append("b").Encoding(), EncodingSystem);
    EXPECT_EQ(NPath("a").Append(std::string("b")).Encoding(), EncodingSystem);
    NPath self("a");
    EXPECT_EQ(self.Append(self).Data(), std::string("a") + Separator + "a");
}

TEST(NPath, IsKeptAsItWasGiven) {
    const std::string untidy = "a//b/./../c\\d";
    EXPECT_EQ(NPath(untidy.c_str()).Data(), untidy);
    // The two ways to name an encoding treat a byte-order mark as NString's do.
    EXPECT_EQ(NPath(std::string("\xEF\xBB\xBFx"), EncodingLatin1).Encoding(), EncodingUTF8);
    EXPECT_EQ(NPath("\xEF\xBB\xBFx", EncodingLatin1).Encoding(), EncodingLatin1);
}

// The first two bytes would be the byte-order mark of UTF-16 to any constructor.
TEST(NPath, KeepsBytesThatAreNoUtf8) {
    if (Separator != '/') GTEST_SKIP() << "file names are UTF-16 here";
    NPath path;
    path.SetBytes("\xFF\xFE/x", 4, EncodingUTF8);
    EXPECT_EQ(path.Parent().Data(), "\xFF\xFE/");
    EXPECT_EQ(path.MakeDirectory().Data(), "\xFF\xFE/x/");
}

TEST(NPath, ChangesItselfThroughTheAssignmentOfTheSubclass) {
    struct Watch : NPath {
        using NPath::NPath;
        using NPath::operator=;
        NString& operator=(const NString& other) override {
            assigned += '<' + other.Data() + '>';
            return NString::operator=(other);
        }
        std::string assigned;
    };
    Watch path("a");
    path.SetExtension("c");
    path.Append("d");
    path.MakeDirectory();
    path.MakeFile();
    std::replace(path.assigned.begin(), path.assigned.end(), Separator, '/');
    EXPECT_EQ(path.assigned, "<a.c><a.c/d><a.c/d/><a.c/d>");
}

TEST(NPath, LetsSyntaxErrorsThroughUnchanged) {
    if (Separator != '\\') GTEST_SKIP() << "every text is a path here";
    NPath path("c:x");
    EXPECT_THROW(path.MakeDirectory(), Poco::PathSyntaxException);
    EXPECT_EQ(path.Data(), "c:x");
}

TEST(NPath, SpecialFoldersEndInASeparator) {
    const NPath user = NPath::AppDataFolder(), common = NPath::CommonAppDataFolder(),
                documents = NPath::CommonDocumentsFolder();
    for (const NPath& folder : {user, common, documents}) EXPECT_FALSE(folder.IsFile());
    EXPECT_NE(common, documents);
    EXPECT_TRUE(OnWindows || common + documents == "/var/lib//usr/local/share/");
}
