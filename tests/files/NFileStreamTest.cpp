#include <morvel/files/NFileStream.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include <Poco/Path.h>
#include <gtest/gtest.h>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <morvel/files/NFileStreamBuf.h>
#include <tests/support/TemporaryFolder.h>

namespace {

const bool onWindows = Poco::Path::separator() == '\\';

using Mode = NFileStream::Mode;

const Mode readingModes[] = {NFileStream::ModeRead, NFileStream::ModeReadWrite,
                             NFileStream::ModeAppend, NFileStream::ModeReadWriteAtEnd,
                             NFileStream::ModeReadBinary};
const Mode writingModes[] = {NFileStream::ModeWrite, NFileStream::ModeReadWrite,
                             NFileStream::ModeAppend, NFileStream::ModeReadWriteAtEnd};

// Bytes with every value, line ends among them, and no period that a block could hide.
std::string content(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t value = 1;
    for (char& byte : bytes) {
        value = value * 1664525 + 1013904223;
        byte = static_cast<char>(value >> 24);
    }
    return bytes;
}

class NFileStreamTest : public testing::Test {
protected:
    NFile At(const std::string& name) const {
        return NFile(NString(folder.File(name), EncodingUTF8));
    }

    std::string ReadWhole(const std::string& name, Mode mode) const {
        NFileStream stream;
        EXPECT_EQ(stream.Open(At(name), mode), 0);
        std::string bytes(static_cast<std::size_t>(stream.Size()), '\0');
        EXPECT_EQ(stream.Seek(0), 0);
        EXPECT_EQ(stream.Read(&bytes[0], stream.Size()), stream.Size());
        char more;
        EXPECT_EQ(stream.Read(&more, 1), 0);  // the end
        return bytes;
    }

    bool Holds(const std::string& name, const std::string& bytes) const {
        std::ifstream in(folder.Path() / name, std::ios::binary);
        std::string read(bytes.size() + 1, '\0');
        in.read(&read[0], static_cast<std::streamsize>(read.size()));
        read.resize(static_cast<std::size_t>(in.gcount()));
        return read == bytes;
    }

    morvel::test::TemporaryFolder folder;
};

// Counts what comes to the last stop of exceptions.
class CountingHandler : public NErrorHandler {
public:
    CountingHandler() { NErrorHandler::Set(this); }
    ~CountingHandler() override { NErrorHandler::Set(nullptr); }
    void Exception() override { ++count; }
    void Exception(const NException&) override { ++count; }
    void Exception(const std::exception&) override { ++count; }
    int count = 0;
};

// Each of the calls in the state in which it has nothing to work on.
void expectAllZero(NFileStream* stream) {
    char bytes[4] = "abc";
    EXPECT_EQ(stream->Read(bytes, 3), 0);
    EXPECT_EQ(stream->Write(bytes, 3), 0);
    EXPECT_EQ(stream->Seek(1), 0);
    EXPECT_EQ(stream->Size(), 0);
    EXPECT_STREQ(bytes, "abc");
    stream->Close();
}

}  // namespace

TEST_F(NFileStreamTest, CopiesWholeFilesInEveryMode) {
    for (const std::size_t size : {0u, 1u, 4095u, 4096u, 4097u, 64u << 20}) {
        const std::string bytes = content(size);
        for (const Mode mode : writingModes) {
            SCOPED_TRACE(testing::Message() << size << " bytes, mode " << mode);
            {
                NFileStream stream;
                ASSERT_EQ(stream.Open(At("copy"), mode), 0);  // makes the file
                EXPECT_EQ(stream.Write(bytes.data(), static_cast<int>(size)),
                          static_cast<int>(size));
            }  // nothing is lost in a buffer that nobody flushed
            ASSERT_TRUE(Holds("copy", bytes));
            std::filesystem::remove(folder.Path() / "copy");
        }
        folder.Write("source", bytes);
        for (const Mode mode : readingModes) {
            SCOPED_TRACE(testing::Message() << size << " bytes, mode " << mode);
            ASSERT_TRUE(ReadWhole("source", mode) == bytes);
        }
    }
}

TEST_F(NFileStreamTest, StartsWhereTheModeSays) {
    const struct {
        Mode mode;
        const char* afterWrite;  // of "XY" into "hello"
        const char* read;        // what is left from the start of the stream
    } rows[] = {
        {NFileStream::ModeWrite, "XYllo", ""},
        {NFileStream::ModeRead, "hello", "hello"},
        {NFileStream::ModeReadWrite, "XYllo", "hello"},
        {NFileStream::ModeAppend, "helloXY", ""},
        {NFileStream::ModeReadWriteAtEnd, "helloXY", ""},
        {NFileStream::ModeReadBinary, "hello", "hello"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        folder.Write("file", "hello");
        NFileStream stream;
        ASSERT_EQ(stream.Open(At("file"), row.mode), 0);
        char bytes[10] = {};
        EXPECT_EQ(stream.Read(bytes, 9), static_cast<int>(std::string(row.read).size()));
        EXPECT_STREQ(bytes, row.read);
        stream.Close();

        ASSERT_EQ(stream.Open(At("file"), row.mode), 0);
        const bool writes = row.afterWrite != std::string("hello");
        EXPECT_EQ(stream.Write("XY", 2), writes ? 2 : 0);
        stream.Close();
        EXPECT_EQ(folder.Read("file"), row.afterWrite);
    }
}

TEST_F(NFileStreamTest, AppendReadsAnywhereAndWritesAtTheEnd) {
    folder.Write("file", "hello");
    NFileStream stream;
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeAppend), 0);
    char bytes[3] = {};
    EXPECT_EQ(stream.Seek(1), 1);
    EXPECT_EQ(stream.Read(bytes, 2), 2);
    EXPECT_STREQ(bytes, "el");
    EXPECT_EQ(stream.Seek(0), 0);
    EXPECT_EQ(stream.Write("!", 1), 1);
    EXPECT_EQ(folder.Read("file"), "hello!");
}

TEST_F(NFileStreamTest, SizeLeavesThePosition) {
    folder.Write("file", "abcdef");
    NFileStream stream;
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeReadWrite), 0);
    char bytes[3] = {};
    EXPECT_EQ(stream.Read(bytes, 2), 2);
    EXPECT_EQ(stream.Size(), 6);
    EXPECT_EQ(stream.Read(bytes, 2), 2);
    EXPECT_STREQ(bytes, "cd");
    EXPECT_EQ(stream.Write("EFG", 3), 3);
    EXPECT_EQ(stream.Size(), 7);
    EXPECT_EQ(folder.Read("file"), "abcdEFG");
}

TEST_F(NFileStreamTest, FillsTheGapBeforeAWriteBehindTheEnd) {
    NFileStream stream;
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeReadWrite), 0);
    EXPECT_EQ(stream.Seek(5), 5);
    char letter;
    EXPECT_EQ(stream.Read(&letter, 1), 0);
    EXPECT_EQ(stream.Size(), 0);
    EXPECT_EQ(stream.Write("x", 1), 1);
    EXPECT_EQ(stream.Size(), 6);
    EXPECT_EQ(folder.Read("file"), std::string("\0\0\0\0\0x", 6));
}

TEST_F(NFileStreamTest, DoesNothingWhileClosed) {
    NFileStream stream;
    expectAllZero(&stream);
    folder.Write("file", "x");
    ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeRead), 0);
    stream.Close();
    expectAllZero(&stream);
}

// What a failure was, nobody learns: not by an exception, and not the last stop for exceptions.
TEST_F(NFileStreamTest, FailsToOpenInSilence) {
    folder.Write("file", "x");
    std::filesystem::create_directory(folder.Path() / "folder");
    const struct {
        const char* name;
        bool fails[6];  // by mode
    } rows[] = {
        {"missing", {false, true, false, false, false, true}},  // the others make it
        {"missing/file", {true, true, true, true, true, true}},
        {"file/file", {true, true, true, true, true, true}},
        {"folder", {true, true, true, true, true, true}},
    };
    CountingHandler handler;
    for (const auto& row : rows) {
        for (int mode = 0; mode < 6; ++mode) {
            std::filesystem::remove(folder.Path() / "missing");
            NFileStream stream;
            EXPECT_EQ(stream.Open(At(row.name), mode), row.fails[mode] ? -1 : 0)
                << row.name << ' ' << mode;
            if (row.fails[mode]) {
                expectAllZero(&stream);
            }
        }
    }
    NFileStream stream;
    EXPECT_EQ(stream.Open(NFile(NString()), NFileStream::ModeReadWrite), -1);
    EXPECT_EQ(handler.count, 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path() / "folder"));
}

// Platforms disagree on which of these throws and which gives -1.
TEST_F(NFileStreamTest, ReadsAFailureOfTheDeviceAsZero) {
    folder.Write("file", "hello");
    CountingHandler handler;
    char bytes[6] = "abcde";
    NFileStream writer;
    ASSERT_EQ(writer.Open(At("file"), NFileStream::ModeWrite), 0);
    EXPECT_EQ(writer.Read(bytes, 5), 0);
    EXPECT_EQ(writer.Seek(-1), 0);
    writer.Close();
    NFileStream reader;
    ASSERT_EQ(reader.Open(At("file"), NFileStream::ModeRead), 0);
    EXPECT_EQ(reader.Write(bytes, 5), 0);
    for (const int count : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(reader.Read(bytes, count), 0);
        EXPECT_EQ(reader.Write(bytes, count), 0);
    }
    EXPECT_STREQ(bytes, "abcde");
    EXPECT_EQ(reader.Read(bytes, 5), 5);  // still where it was
    EXPECT_EQ(folder.Read("file"), "hello");
    EXPECT_EQ(handler.count, 0);
}

TEST_F(NFileStreamTest, TellsOfAFullDisk) {
    if (onWindows || !std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    NFileStream stream;
    ASSERT_EQ(stream.Open(NFile(NString("/dev/full")), NFileStream::ModeWrite), 0);
    EXPECT_EQ(stream.Write("x", 1), 0);
}

// Results have 32 bits, so of a larger file they give the low ones.
TEST_F(NFileStreamTest, CutsSizesAndPositions) {
    folder.Write("file", "x");
    NFileStream stream;
    const struct {
        std::uintmax_t size;
        int cut;
    } rows[] = {{0x7FFFFFFF, 2147483647},
                {0x80000000, -2147483647 - 1},
                {0xC0000000, -1073741824},
                {0x100000005, 5}};
    for (const auto& row : rows) {
        std::error_code refused;
        std::filesystem::resize_file(folder.Path() / "file", row.size, refused);
        if (refused) {
            GTEST_SKIP() << "no file of " << row.size << " bytes here: " << refused.message();
        }
        ASSERT_EQ(stream.Open(At("file"), NFileStream::ModeReadWrite), 0);
        EXPECT_EQ(stream.Size(), row.cut);
        EXPECT_EQ(stream.Seek(2147483647), 2147483647);
        char letter;
        EXPECT_EQ(stream.Read(&letter, 1), row.size > 0x7FFFFFFF ? 1 : 0);
        EXPECT_EQ(stream.Size(), row.cut);
        stream.Close();
    }
}

// The first file stays open, out of reach; its buffer is the leak that the header tells of.
TEST_F(NFileStreamTest, SecondOpenLeavesTheFirstFileOpen) {
    if (onWindows || !std::filesystem::exists("/proc/self/fd")) {
        GTEST_SKIP() << "no list of open files";
    }
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    folder.Write("a", "a");
    folder.Write("b", "b");
    const auto before = openFiles();
    {
        NFileStream stream;
        ASSERT_EQ(stream.Open(At("a"), NFileStream::ModeRead), 0);
        ASSERT_EQ(stream.Open(At("b"), NFileStream::ModeRead), 0);
        char letter = 0;
        EXPECT_EQ(stream.Read(&letter, 1), 1);
        EXPECT_EQ(letter, 'b');
    }
    EXPECT_EQ(openFiles(), before + 1);
}

TEST_F(NFileStreamTest, ConvertsTheName) {
    folder.Write("caf\xC3\xA9", "x");
    NString name(folder.File("caf\xC3\xA9"), EncodingUTF8);
    name.ConvertTo(EncodingLatin1);
    NFileStream stream;
    EXPECT_EQ(stream.Open(NFile(name), NFileStream::ModeRead), 0);
    EXPECT_EQ(stream.Size(), 1);
}

// The buffer alone, for those who want both ways to a file.
TEST_F(NFileStreamTest, BufferReachesTheDevicePastItsOwnBuffering) {
    static_assert(std::is_base_of<Poco::FileStreamBuf, NFileStreamBuf>::value, "");
    NFileStreamBuf buffer;
    buffer.open(folder.File("file"), std::ios::out);
    EXPECT_EQ(buffer.sputn("late", 4), 4);
    EXPECT_EQ(buffer.writeToDevice("early ", 6), 6);
    EXPECT_EQ(folder.Read("file"), "early ");
    EXPECT_TRUE(buffer.close());
    EXPECT_EQ(folder.Read("file"), "early late");
}
