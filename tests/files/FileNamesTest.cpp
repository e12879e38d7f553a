// One name after the other through every class that opens files.

#include <morvel/morvel.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>
#include <tests/support/TestServer.h>

using namespace morvel::test;

TEST(FileNames, OfEveryScriptReachTheSystemUnchanged) {
    const TestServer server;
    const TemporaryFolder folder;
    for (const std::string name :
         {"caf\u00E9", "\u041F\u0440\u0438", "\u4E2D\u6587 \uD55C", "\U0001F600\U00020000"}) {
        SCOPED_TRACE(name);
        const NString path(folder.File(name), EncodingUTF8);
        NXML document;
        document.CreateRoot("root");
        EXPECT_TRUE(document.SaveFile(path.Data()));
        EXPECT_TRUE(NXML().LoadFile(path.Data(), true));
        EXPECT_EQ(NURL().Request(server.Url("/bytes/9"), &path, 0, 30, nullptr, nullptr, nullptr,
                                 nullptr, RequestToFile),
                  0);
        EXPECT_EQ(folder.Read(name), TestServer::Bytes(9));
        const NFile file(path);
        NFileStream stream;
        ASSERT_EQ(stream.Open(file, NFileStream::ModeReadWrite), 0);
        EXPECT_EQ(stream.Write("bytes", 5), 5);
        stream.Close();
        EXPECT_EQ(folder.Read(name).substr(0, 5), "bytes");
        file.Remove(false);
        EXPECT_FALSE(folder.Has(name));
        EXPECT_TRUE(file.CreateDirectory());
        EXPECT_TRUE(folder.Has(name));
    }
}
