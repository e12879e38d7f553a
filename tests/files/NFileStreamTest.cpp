#include <morvel/files/NFileStream.h>

#include <tests/support/Test.h>

namespace {

struct Stream : NFileStream {
    // Up to `count` bytes from the position.
    std::string Get(int count) {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        const int size = Read(&bytes[0], count);
        return bytes.substr(0, static_cast<std::size_t>(size));
    }
    int Put(const std::string& bytes) {
        return Write(bytes.data(), static_cast<int>(bytes.size()));
    }
    void ExpectClosed() {
        EXPECT_EQ(Get(3), "");
        EXPECT_EQ(Put("abc"), 0);
        EXPECT_EQ(Seek(1), 0);
        EXPECT_EQ(Size(), 0);
        Close();
    }
};

struct NFileStreamTest : Test {
    NFile At(const std::string& name) const {
        NString text(folder.File(name), EncodingUTF8);
        text.ConvertTo(EncodingUTF16);
        return NFile(text);
    }

    TemporaryFolder folder;
};

}  // namespace

TEST_F(NFileStreamTest, StartsWhereTheModeSays) {
    const std::string name = "\xF0\x9F\x93\x84";
    const struct {
        NFileStream::Mode mode;
        bool makes;                     // a file that is missing
        const char *read, *afterWrite;  // of "XY" into "hel\r\n"
    } rows[] = {
        {NFileStream::ModeWrite, true, "", "XYl\r\n"},
        {NFileStream::ModeRead, false, "hel\r\n", "hel\r\n"},
        {NFileStream::ModeReadWrite, true, "hel\r\n", "XYl\r\n"},
        {NFileStream::ModeAppend, true, "", "hel\r\nXY"},
        {NFileStream::ModeReadWriteAtEnd, true, "", "hel\r\nXY"},
        {NFileStream::ModeReadBinary, false, "hel\r\n", "hel\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        Stream stream, writer;
        EXPECT_EQ(stream.Open(At(name + std::to_string(row.mode)), row.mode), row.makes ? 0 : -1);
        folder.Write(name, "hel\r\n");
        {
            Stream reader;  // closed before the next opens: on Windows one writes at a time
            ASSERT_EQ(reader.Open(At(name), row.mode), 0);
            EXPECT_EQ(reader.Get(9), row.read);
        }
        ASSERT_EQ(writer.Open(At(name), row.mode), 0);
        EXPECT_EQ(writer.Put("XY"), row.makes ? 2 : 0);
        EXPECT_EQ(folder.Read(name), row.afterWrite);  // nothing waits to be flushed
    }
}

TEST_F(NFileStreamTest, MovesItsPosition) {
    folder.Write("file", "abcdef");
    Stream stream;
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeReadWrite), 0);
    EXPECT_EQ(stream.Get(2), "ab");
    EXPECT_EQ(stream.Size(), 6);
    EXPECT_EQ(stream.Get(2), "cd");
    EXPECT_EQ(stream.Put("EFG"), 3);
    EXPECT_EQ(stream.Seek(9), 9);
    EXPECT_EQ(stream.Size(), 7);
    EXPECT_EQ(stream.Put("x"), 1);
    stream.Close();
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeAppend), 0);
    EXPECT_EQ(stream.Seek(1), 1);
    EXPECT_EQ(stream.Get(2), "bc");
    EXPECT_EQ(stream.Put("!"), 1);
    EXPECT_EQ(folder.Read("file"), std::string("abcdEFG\0\0x!", 11));
}

TEST_F(NFileStreamTest, IsClosedUnlessItCouldOpen) {
    folder.Write("file", "x");
    Stream stream;
    stream.ExpectClosed();
    for (const NFile& file : {At("missing/file"), At("file/file"), At(""), NFile(NString())}) {
        for (int mode = 0; mode < 6; ++mode) {
            EXPECT_EQ(stream.Open(file, mode), -1) << file.Path().Data() << ' ' << mode;
            stream.ExpectClosed();
        }
    }
}

// Platforms disagree on which of these throws and which gives -1.
TEST_F(NFileStreamTest, ReadsAFailureOfTheDeviceAsZero) {
    folder.Write("file", "hello");
    Stream writer, reader, full;
    ASSERT_EQ(writer.Open(At("file"), NFileStream::ModeReadWrite), 0);
    EXPECT_EQ(writer.Seek(-1), 0);
    ASSERT_EQ(reader.Open(At("file"), NFileStream::ModeRead), 0);
    EXPECT_EQ(reader.Put("abcde"), 0);
    char bytes[] = "abcde";
    for (const int count : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(reader.Read(bytes, count), 0);
        EXPECT_EQ(writer.Write(bytes, count), 0);
    }
    EXPECT_STREQ(bytes, "abcde");
    EXPECT_EQ(reader.Get(5), "hello");  // still where it was
    if (std::filesystem::exists("/dev/full")) {
        ASSERT_EQ(full.Open(NFile(NString("/dev/full")), NFileStream::ModeWrite), 0);
        EXPECT_EQ(full.Put("x"), 0);
    }
}

// Results have 32 bits, so of a larger file they give the low ones.
TEST_F(NFileStreamTest, CutsSizesAndPositions) {
    folder.Write("file", "x");
    for (const std::uintmax_t size : {0x7FFFFFFFu, 0xC0000000u}) {
        std::error_code refused;
        std::filesystem::resize_file(folder.Path() / "file", size, refused);
        if (refused) GTEST_SKIP() << "no file of " << size << " bytes here";
        Stream stream;
        ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeReadWrite), 0);
        EXPECT_EQ(stream.Seek(2147483647), 2147483647);
        EXPECT_EQ(stream.Size(), size > 0x7FFFFFFF ? -1073741824 : 2147483647);
        EXPECT_EQ(stream.Get(1).size(), size > 0x7FFFFFFF ? 1u : 0u);
    }
}
