#include <morvel/files/NFileStream.h>

#include <ios>
#include <utility>

#include <Poco/Exception.h>
#include <Poco/File.h>

#include <morvel/base/NErrorHandler.h>
#include <morvel/base/NException.h>
#include <morvel/files/NFileStreamBuf.h>
#include <morvel/platform/platform.h>

namespace {

constexpr std::ios::openmode OpenModes[] = {
    std::ios::out,                                 // ModeWrite
    std::ios::in,                                  // ModeRead
    std::ios::in | std::ios::out,                  // ModeReadWrite
    std::ios::in | std::ios::out | std::ios::app,  // ModeAppend
    std::ios::in | std::ios::out | std::ios::ate,  // ModeReadWriteAtEnd
    std::ios::in | std::ios::binary,               // ModeReadBinary
};

constexpr std::ios::openmode BothDirections = std::ios::in | std::ios::out;

bool _isFolder(const std::string& name) {
    try {
        return Poco::File(name).isDirectory();
    } catch (const Poco::Exception&) {
        return false;  // gone again since it was opened
    }
}

// The result of `operation` cut to 32 bits, 0 where it fails or `file` is closed. Platforms differ
// in which failures throw and which return something below 0.
template <class Operation>
int _resultOf(const NFileStreamBuf* file, Operation operation) {
    if (file == nullptr) return 0;
    try {
        const std::streamoff result = operation();
        return result < 0 ? 0 : static_cast<int>(result);
    } catch (...) {  // 0 is all that the caller is to learn
    }
    return 0;
}

}  // namespace

NFileStreamBuf::NFileStreamBuf() = default;
NFileStreamBuf::~NFileStreamBuf() = default;

NFileStream::NFileStream() = default;

NFileStream::~NFileStream() {
    Close();
}

int NFileStream::Open(const NFile& file, int mode) {
    try {
        _buf = new NFileStreamBuf;
        NString name(file.Path());
        name.ConvertTo(EncodingUTF8);
        _buf->open(name.Data(), OpenModes[mode]);
        morvel::platform::KeepPrivate(_buf);
        // Some systems open a folder for reading, and only the first read would fail.
        if (_isFolder(name.Data())) throw Poco::OpenFileException(name.Data());
        return 0;
    } catch (const NException& e) {
        delete std::exchange(_buf, nullptr);  // first, so that the handler finds the stream closed
        NErrorHandler::Handle(e);
    } catch (...) {  // -1 is all that the caller is to learn
        delete std::exchange(_buf, nullptr);
    }
    return -1;
}

void NFileStream::Close() {
    if (_buf != nullptr) {
        _buf->close();
        delete _buf;
        _buf = nullptr;
    }
}

int NFileStream::Read(void* buffer, int count) {
    return _resultOf(_buf, [&] {
        return count > 0 ? _buf->readFromDevice(static_cast<char*>(buffer), count) : 0;
    });
}

int NFileStream::Write(const void* buffer, int count) {
    return _resultOf(_buf, [&] {
        return count > 0 ? _buf->writeToDevice(static_cast<const char*>(buffer), count) : 0;
    });
}

int NFileStream::Seek(int position) {
    return _resultOf(_buf, [&] { return std::streamoff(_buf->seekpos(position, BothDirections)); });
}

int NFileStream::Size() {
    return _resultOf(_buf, [&] {
        const std::streamoff position = _buf->seekoff(0, std::ios::cur, BothDirections);
        const std::streamoff size = _buf->seekoff(0, std::ios::end, BothDirections);
        _buf->seekoff(position, std::ios::beg, BothDirections);
        return size;
    });
}
