// One name after the other through every class that opens files.

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <morvel/morvel.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/TestServer.h>

using morvel::test::TemporaryFolder;
using morvel::test::TestServer;

TEST(FileNames, OfEveryScriptReachTheSystemUnchanged) {
    const TestServer server;
    const struct {
        const char* script;
        std::string name;
    } rows[] = {
        {"Latin", "caf\xC3\xA9"},
        {"Cyrillic", "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82"},
        {"CJK", "\xE4\xB8\xAD\xE6\x96\x87 \xED\x95\x9C"},
        {"beyond the basic plane", "\xF0\x9F\x98\x80\xF0\xA0\x80\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        TemporaryFolder folder;
        const std::string path = folder.File(row.name);
        const NPath npath(path, EncodingUTF8);

        NFile file(npath);
        EXPECT_FALSE(file.Exists());
        EXPECT_TRUE(file.CreateFile());
        EXPECT_TRUE(folder.Has(row.name));
        EXPECT_TRUE(file.Exists());

        NFileStream stream;
        ASSERT_EQ(stream.Open(file, NFileStream::ModeReadWrite), 0);
        EXPECT_EQ(stream.Write("bytes", 5), 5);
        stream.Close();
        EXPECT_EQ(folder.Read(row.name), "bytes");

        NXML document;
        document.CreateRoot("root");
        EXPECT_TRUE(document.SaveFile(path));
        NXML loaded;
        EXPECT_TRUE(loaded.LoadFile(path, true));
        EXPECT_EQ(loaded.RootName(), "root");

        NURL url;
        const NString target(path, EncodingUTF8);
        EXPECT_EQ(url.Request(server.Url("/bytes/9"), &target, 0, 30, nullptr, nullptr, nullptr,
                              nullptr, RequestToFile),
                  0);
        EXPECT_EQ(folder.Read(row.name), TestServer::Bytes(9));

        file.Remove(false);
        EXPECT_FALSE(folder.Has(row.name));

        NFile directory(npath);
        directory.CreateDirectories();
        EXPECT_TRUE(folder.Has(row.name));
        directory.Remove(true);
        EXPECT_FALSE(folder.Has(row.name));
    }
}
