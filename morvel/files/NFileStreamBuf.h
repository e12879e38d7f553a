#pragma once

#include <Poco/FileStream.h>

#include <morvel/platform/config.h>

/// The stream buffer under NFileStream, with the two operations that go straight to the file within
/// reach: they take no part in the buffering of the base class and move its file position only.
/// The one public header that needs POCO's own; morvel.h leaves it out.
///
/// @failure That of Poco::FileStreamBuf: to open throws, to read or write throws or gives less than
/// 0, by platform.
/// @threads One at a time.
/// @encoding Bytes; names are UTF-8.
/// @cost A system call for each call; the buffer of the base class is allocated with the object.
class MORVEL_API NFileStreamBuf : public Poco::FileStreamBuf {
public:
    NFileStreamBuf();            ///< Closed.
    ~NFileStreamBuf() override;  ///< Closes the file if it is open.

    using Poco::FileStreamBuf::readFromDevice;
    using Poco::FileStreamBuf::writeToDevice;
};
