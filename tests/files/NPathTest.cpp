#include <morvel/files/NPath.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <string>

#include <Poco/Exception.h>
#include <Poco/Path.h>
#include <gtest/gtest.h>

#include <morvel/text/NString.h>
#include <tests/support/Process.h>
#include <tests/support/TemporaryFolder.h>

namespace {

const char separator = Poco::Path::separator();

std::string program;

NPath utf8(const std::string& text) {
    return NPath(text, EncodingUTF8);
}

NString in(NStringEncoding encoding, const std::string& text) {
    NString result(text, EncodingUTF8);
    result.ConvertTo(encoding);
    return result;
}

// The operations of a table, each as text to text.
std::string isFile(const std::string& text) {
    return utf8(text).IsFile() ? "file" : "folder";
}
std::string makeDirectory(const std::string& text) {
    return utf8(text).MakeDirectory().Data();
}
std::string makeFile(const std::string& text) {
    return utf8(text).MakeFile().Data();
}
std::string parent(const std::string& text) {
    return utf8(text).Parent().Data();
}
std::string baseName(const std::string& text) {
    return utf8(text).BaseName().Data();
}
std::string setExtensionLog(const std::string& text) {
    NPath path = utf8(text);
    path.SetExtension("log");
    return path.Data();
}
std::string setNoExtension(const std::string& text) {
    NPath path = utf8(text);
    path.SetExtension("");
    return path.Data();
}

}  // namespace

TEST(NPath, TakesTextApartAndPutsItTogether) {
    const struct {
        char separator;
        std::string (*operation)(const std::string&);
        const char* text;
        const char* expected;
    } rows[] = {
        {'/', isFile, "", "folder"},
        {'/', isFile, "/", "folder"},
        {'/', isFile, "/etc", "file"},  // about the text only
        {'/', isFile, "/etc/", "folder"},
        {'/', isFile, "..", "file"},
        {'/', isFile, "c:\\data\\", "file"},  // a backslash is an ordinary byte
        {'/', makeDirectory, "/data/file", "/data/file/"},
        {'/', makeDirectory, "/data/file/", "/data/file/"},
        {'/', makeDirectory, "", ""},
        {'/', makeFile, "/data/file/", "/data/file"},
        {'/', makeFile, "/", "/"},
        {'/', parent, "/data/file.txt", "/data/"},
        {'/', parent, "/data/", "/"},
        {'/', parent, "/", "/"},
        {'/', parent, "", "../"},
        {'/', parent, "../../", "../../../"},
        {'/', parent, "/a//b/./c/../d", "/a/b/"},  // read before anything is done
        {'/', baseName, "/data/file.txt", "file"},
        {'/', baseName, "a.tar.gz", "a.tar"},
        {'/', baseName, ".bashrc", ""},
        {'/', baseName, "/data/", ""},
        {'/', setExtensionLog, "/data/file.txt", "/data/file.log"},
        {'/', setExtensionLog, "/data/file", "/data/file.log"},
        {'/', setExtensionLog, "/data/", "/data/.log"},
        {'/', setNoExtension, "/data/file.txt", "/data/file"},

        {'\\', isFile, "", "folder"},
        {'\\', isFile, "c:\\data", "file"},
        {'\\', isFile, "c:\\data\\", "folder"},
        {'\\', isFile, "\\\\server\\share", "folder"},
        {'\\', makeDirectory, "c:\\data\\file", "c:\\data\\file\\"},
        {'\\', makeFile, "c:\\data\\file\\", "c:\\data\\file"},
        {'\\', makeFile, "c:/data/file", "c:\\data\\file"},
        {'\\', parent, "c:\\data\\file.txt", "c:\\data\\"},
        {'\\', parent, "\\\\server\\share\\folder\\file.txt", "\\\\server\\share\\folder\\"},
        {'\\', baseName, "c:\\data\\file.txt", "file"},
        {'\\', setExtensionLog, "c:\\data\\file.txt", "c:\\data\\file.log"},
    };
    for (const auto& row : rows) {
        if (row.separator == separator) {
            EXPECT_EQ(row.operation(row.text), row.expected) << row.text;
        }
    }
}

TEST(NPath, AppendReadsItselfAsAFolderAndTheOtherAsRelative) {
    const struct {
        char separator;
        const char *text, *other, *expected;
    } rows[] = {
        {'/', "/a/", "b/c", "/a/b/c"},
        {'/', "/a", "b/", "/a/b/"},
        {'/', "/a/", "/b/c", "/a/b/c"},
        {'/', "/a", "", "/a/"},
        {'/', "", "a", "a"},
        {'/', "/a/", "../c", "/a/../c"},
        {'\\', "c:\\a\\", "b", "c:\\a\\b"},
        {'\\', "c:\\a", "b\\", "c:\\a\\b\\"},
        {'\\', "c:\\a\\", "d:\\b", "c:\\a\\b"},
    };
    for (const auto& row : rows) {
        if (row.separator != separator) {
            continue;
        }
        SCOPED_TRACE(testing::Message() << row.text << " and " << row.other);
        NPath literal(row.text), bytes(row.text), text(row.text);
        EXPECT_EQ(&literal.Append(row.other), &literal);
        EXPECT_EQ(literal.Data(), row.expected);
        EXPECT_EQ(bytes.Append(std::string(row.other)).Data(), row.expected);
        EXPECT_EQ(text.Append(NString(row.other)).Data(), row.expected);
    }
    NPath self("a");
    EXPECT_EQ(self.Append(self).Data(), std::string("a") + separator + "a");
}

TEST(NPath, IsKeptAsItWasGiven) {
    const std::string untidy = "a//b/./../c\\d";
    EXPECT_EQ(NPath(untidy.c_str()).Data(), untidy);
    EXPECT_EQ(NPath(untidy, EncodingLatin1).Data(), untidy);
    EXPECT_EQ(NPath(NString("x", EncodingASCII)).Encoding(), EncodingASCII);
    EXPECT_TRUE(NPath().IsEmpty());
    EXPECT_TRUE(NPath(nullptr).IsEmpty());
    // The two ways to name an encoding treat a mark as NString's do.
    EXPECT_EQ(NPath(std::string("\xEF\xBB\xBFx"), EncodingLatin1).Encoding(), EncodingUTF8);
    EXPECT_EQ(NPath("\xEF\xBB\xBFx", EncodingLatin1).Encoding(), EncodingLatin1);
}

TEST(NPath, ResultsKeepItsEncoding) {
    const std::string here = separator == '/' ? "/caf\xC3\xA9/" : "c:\\caf\xC3\xA9\\";
    for (const auto encoding : {EncodingLatin1, EncodingLatin9, EncodingUTF8, EncodingUTF16}) {
        SCOPED_TRACE(encoding);
        const NPath path(in(encoding, here + "na\xC3\xAFve.txt"));
        NPath folder(path), file(in(encoding, here)), log(path);
        log.SetExtension(NString("l\xF6g", EncodingLatin1));
        const struct {
            NString result;
            std::string expected;
        } rows[] = {
            {path.Parent(), here},
            {path.BaseName(), "na\xC3\xAFve"},
            {path.Absolute(), here + "na\xC3\xAFve.txt"},
            {folder.MakeDirectory(), here + "na\xC3\xAFve.txt" + separator},
            {file.MakeFile(), here.substr(0, here.size() - 1)},
            {log, here + "na\xC3\xAFve.l\xC3\xB6g"},
        };
        for (const auto& row : rows) {
            EXPECT_EQ(row.result.Encoding(), encoding) << row.expected;
            EXPECT_EQ(row.result.Data(), in(encoding, row.expected).Data());
        }
    }
}

TEST(NPath, AppendTakesTheHigherEncoding) {
    const std::string expected = std::string("a") + separator + "b";
    const NStringEncoding all[] = {EncodingSystem, EncodingASCII, EncodingLatin1,
                                   EncodingLatin9, EncodingUTF8,  EncodingUTF16};
    for (const NStringEncoding left : all) {
        for (const NStringEncoding right : all) {
            NPath path(in(left, "a"));
            path.Append(in(right, "b"));
            const NStringEncoding higher = std::max(left, right);
            EXPECT_EQ(path.Encoding(), higher) << left << ' ' << right;
            EXPECT_EQ(path.Data(), in(higher, expected).Data()) << left << ' ' << right;
        }
    }
}

// The first two bytes would be a mark of UTF-16 to any constructor.
TEST(NPath, KeepsBytesThatAreNoUtf8) {
    if (separator != '/') {
        GTEST_SKIP() << "file names are UTF-16 here";
    }
    NPath path;
    path.SetBytes("\xFF\xFE/x", 4, EncodingUTF8);
    EXPECT_EQ(path.Parent().Data(), "\xFF\xFE/");
    EXPECT_EQ(path.MakeDirectory().Data(), "\xFF\xFE/x/");
    EXPECT_EQ(path.Encoding(), EncodingUTF8);
}

TEST(NPath, ChangesItselfThroughTheAssignmentOfTheSubclass) {
    class Watch : public NPath {
    public:
        using NPath::NPath;
        using NPath::operator=;
        NString& operator=(const NString& other) override {
            assigned += '<' + other.Data() + '>';
            return NString::operator=(other);
        }
        std::string assigned;
    };
    Watch path("a/b/");
    path.MakeFile();
    path.SetExtension("c");
    path.Append("d");
    path.MakeDirectory();
    std::replace(path.assigned.begin(), path.assigned.end(), separator, '/');
    EXPECT_EQ(path.assigned, "<a/b><a/b.c><a/b.c/d><a/b.c/d/>");
}

TEST(NPath, LetsSyntaxErrorsThroughUnchanged) {
    if (separator != '\\') {
        GTEST_SKIP() << "every text is a path here";
    }
    NPath path("c:x");
    EXPECT_THROW(path.IsFile(), Poco::PathSyntaxException);
    EXPECT_THROW(path.MakeDirectory(), Poco::PathSyntaxException);
    EXPECT_EQ(path.Data(), "c:x");
}

TEST(NPath, AbsoluteIsSeenFromTheCurrentFolder) {
    const std::string here = (std::filesystem::current_path() / "").u8string();
    EXPECT_EQ(utf8("x/y").Absolute().Data(), here + "x" + separator + "y");
    EXPECT_EQ(utf8("").Absolute().Data(), here);
}

TEST(NPath, SpecialFoldersEndInASeparator) {
    for (const NPath& folder :
         {NPath::AppDataFolder(), NPath::CommonAppDataFolder(), NPath::CommonDocumentsFolder()}) {
        EXPECT_FALSE(folder.IsEmpty());
        EXPECT_FALSE(folder.IsFile()) << folder.Data();
        EXPECT_EQ(folder.Encoding(), EncodingUTF8);
    }
    if (separator == '/') {
        EXPECT_EQ(NPath::CommonAppDataFolder().Data(), "/var/lib/");
        EXPECT_EQ(NPath::CommonDocumentsFolder().Data(), "/usr/local/share/");
    }
}

// In a process of its own, since the environment belongs to the whole process.
TEST(NPath, AppDataFolderIsThatOfTheUser) {
    if (separator != '/') {
        GTEST_SKIP() << "the system doesn't ask the environment here";
    }
    const morvel::test::TemporaryFolder folder;
    const auto folderWith = [](const std::string& home, const std::string& data) {
        return morvel::test::RunProcess(program, {"--print-folder"},
                                        {{"HOME", home}, {"XDG_DATA_HOME", data}})
            .output;
    };
    const std::string data = folder.File("caf\xC3\xA9/data");
    EXPECT_EQ(folderWith(folder.File("home"), data), data + '/');
    EXPECT_TRUE(folder.Has("caf\xC3\xA9/data"));
    EXPECT_EQ(folderWith(folder.File("home"), ""), folder.File("home/.local/share/"));
    EXPECT_EQ(folderWith(folder.File("home"), "relative"), folder.File("home/.local/share/"));
}

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == std::string("--print-folder")) {
        std::cout << NPath::AppDataFolder().Data();
        return 0;
    }
    program = argv[0];
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
