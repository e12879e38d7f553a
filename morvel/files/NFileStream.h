#pragma once

#include <morvel/base/NBaseObject.h>
#include <morvel/files/NFile.h>

class NFileStreamBuf;

/// A file that is read and written by plain calls with integer results. Each call goes straight to
/// the file: nothing is buffered here and nothing needs flushing.
///
///     NFileStream in;
///     if (in.Open(NFile(NString("data.bin")), NFileStream::ModeReadBinary) == 0) {
///         std::vector<char> bytes(in.Size());
///         const bool whole = in.Read(bytes.data(), in.Size()) == in.Size();
///     }
///
/// Positions, sizes and counts have 32 bits: of a larger file Seek and Size give the low 32 bits.
/// The destructor closes a stream that is open.
///
/// @failure Shows in the result alone, 0 or for Open -1, whatever its reason.
/// @threads One at a time.
/// @encoding Bytes are never translated. Open takes the name as NFile does.
/// @cost A system call for each call, however small, and a few for Size. Open allocates a buffer
/// that the other calls go past.
class MORVEL_API NFileStream : public NBaseObject {
public:
    /// None of the modes empties an existing file, and bytes are never translated. All but the two
    /// for reading alone make a file that is missing.
    enum Mode : int {
        ModeWrite = 0,           ///< Writes only, from the beginning on.
        ModeRead = 1,            ///< Reads only.
        ModeReadWrite = 2,       ///< Reads and writes, from the beginning on.
        ModeAppend = 3,          ///< Reads anywhere, always writes at the end.
        ModeReadWriteAtEnd = 4,  ///< Starts at the end.
        ModeReadBinary = 5,      ///< As ModeRead.
    };

    NFileStream();                                        ///< Closed.
    NFileStream(const NFileStream&) = delete;             ///< Not copied.
    NFileStream& operator=(const NFileStream&) = delete;  ///< Not copied.
    ~NFileStream() override;                              ///< Closes the file.

    /// 0, or -1 with the stream closed. A folder can't be opened.
    ///
    /// An open stream must be closed first: otherwise its file stays open and out of reach to the
    /// end of the process, and its buffer is leaked. REQUIRES: `mode` is one of Mode.
    [[nodiscard]] int Open(const NFile& file, int mode);

    void Close();  ///< Does nothing while closed.

    /// How many bytes were read into or written from `buffer` at the position, which moves on by as
    /// many. Fewer than `count` at the end of the file or on a full disk; 0 for a `count` that
    /// isn't positive.
    ///@{
    [[nodiscard]] int Read(void* buffer, int count);
    [[nodiscard]] int Write(const void* buffer, int count);
    ///@}

    /// Moves to `position` bytes from the head and returns it. A write behind the end fills the gap
    /// with zeros.
    int Seek(int position);

    int Size();  ///< In bytes. Leaves the position where it was.

private:
    NFileStreamBuf* _buf = nullptr;
};
