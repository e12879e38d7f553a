#include <morvel/transfer/NURL.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <curl/curl.h>

#include <morvel/files/NPath.h>
#include <morvel/platform/platform.h>

namespace {

constexpr std::int32_t StatusNotStarted = 100;
constexpr std::int32_t StatusCancelled = -2;
constexpr std::int32_t StatusNoFileName = -3;
constexpr std::int32_t StatusNoFile = -4;

constexpr std::uint32_t NoTimeout = 0xFFFFFFFF;
constexpr std::uint64_t BlockSize = 10240;
constexpr long UploadBufferSize = 0x200000;

// Neither a length that libcurl could have asked for nor one that it gave, so it ends the transfer.
constexpr std::size_t Stop = CURL_READFUNC_ABORT;

// libcurl's global state and one handle for the length of a request. Both halves can fail.
class Session {
public:
    Session() : _started(curl_global_init(CURL_GLOBAL_ALL) == CURLE_OK) {
        if (_started) _handle = curl_easy_init();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        if (_handle != nullptr) curl_easy_cleanup(_handle);
        if (_started) curl_global_cleanup();
    }

    explicit operator bool() const { return _handle != nullptr; }

    // libcurl reads the value by the option's own type: long, curl_off_t or a pointer. One that
    // this libcurl doesn't know is passed over.
    template <class Value>
    void Set(CURLoption option, Value value) {
        curl_easy_setopt(_handle, option, value);
    }

    void SetTimeout(std::uint32_t seconds) {
        if (seconds != NoTimeout) Set(CURLOPT_TIMEOUT, static_cast<long>(seconds));
    }

    int Perform() { return curl_easy_perform(_handle); }

    // Leaves handle and global state behind.
    void Abandon() {
        _handle = nullptr;
        _started = false;
    }

private:
    bool _started;
    CURL* _handle = nullptr;
};

struct Release {
    void operator()(std::FILE* file) const { std::fclose(file); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, Release>;

void _append(HeaderList* list, const char* line) {
    curl_slist* const longer = curl_slist_append(list->get(), line);
    if (longer == nullptr) {
        throw std::bad_alloc();  // a request must not go out without one of its headers
    }
    static_cast<void>(list->release());  // it begins with its first line, now as before
    list->reset(longer);
}

// What of a request's body is still to be sent.
struct Remainder {
    const char* data;
    std::uint64_t length;
};

std::size_t _sendRemainder(char* data, std::size_t size, std::size_t count, void* context) {
    auto* remainder = static_cast<Remainder*>(context);
    const std::size_t length = std::min<std::uint64_t>(size * count, remainder->length);
    std::memcpy(data, remainder->data, length);
    remainder->data += length;
    remainder->length -= length;
    return length;
}

std::uint64_t _wholeBlocks(std::uint64_t length) {
    return (length / BlockSize + 1) * BlockSize;
}

}  // namespace

NURL::NURL() = default;

NURL::~NURL() {
    std::free(_data);
}

// The address is a value in every form of the interface.
// NOLINTBEGIN(performance-unnecessary-value-param)
std::int32_t NURL::Get(std::string url, std::uint32_t timeout, CancelCallback cancelCallback,
                       void* cancelContext, ProgressCallback progressCallback,
                       void* progressContext) {
    Session session;
    if (!session) return StatusNotStarted;
    _begin(cancelCallback, cancelContext, progressCallback, progressContext);
    _size = 0;
    session.Set(CURLOPT_URL, url.c_str());
    session.Set(CURLOPT_FAILONERROR, 1L);
    session.Set(CURLOPT_WRITEFUNCTION, &NURL::_receive);
    session.Set(CURLOPT_WRITEDATA, this);
    session.SetTimeout(timeout);
    session.Set(CURLOPT_SSL_VERIFYPEER, 0L);
    return _end(session.Perform());
}

std::int32_t NURL::Upload(std::string url, const void* data, unsigned long long size,
                          std::uint32_t timeout, CancelCallback cancelCallback, void* cancelContext,
                          ProgressCallback progressCallback, void* progressContext) {
    Session session;
    if (!session) return StatusNotStarted;
    _begin(cancelCallback, cancelContext, progressCallback, progressContext);
    _sendData = static_cast<const char*>(data);
    _sendSize = size;
    _sendPosition = 0;
    session.Set(CURLOPT_URL, url.c_str());
    session.Set(CURLOPT_FAILONERROR, 1L);
    session.Set(CURLOPT_POST, 1L);
    session.Set(CURLOPT_READFUNCTION, &NURL::_send);
    session.Set(CURLOPT_READDATA, this);
    session.SetTimeout(timeout);
    session.Set(CURLOPT_SSL_VERIFYPEER, 0L);
    return _end(session.Perform());
}

std::int32_t NURL::Request(std::string url, const std::vector<std::string>* headers,
                           const void* body, unsigned long long bodySize, std::uint32_t timeout,
                           CancelCallback cancelCallback, void* cancelContext,
                           ProgressCallback progressCallback, void* progressContext,
                           std::uint32_t flags) {
    // Declared so that the session, which uses the other two, is the first to go.
    std::unique_ptr<std::FILE, Release> file;
    HeaderList list;
    Session session;
    if (!session) return StatusNotStarted;
    _begin(cancelCallback, cancelContext, progressCallback, progressContext);
    _size = 0;
    if (headers != nullptr) {
        for (const std::string& header : *headers) _append(&list, header.c_str());
    }
    session.Set(CURLOPT_URL, url.c_str());
    if ((flags & RequestKeepHttpErrors) == 0) session.Set(CURLOPT_FAILONERROR, 1L);
    if ((flags & RequestToFile) != 0) {
        const auto abandoned = [&](std::int32_t status) {
            session.Abandon();
            static_cast<void>(list.release());
            return status;
        };
        if (body == nullptr) return abandoned(StatusNoFileName);
        const NPath name(*static_cast<const NString*>(body));
        file.reset(morvel::platform::OpenForWriting(name.Wide()));
        if (file == nullptr) return abandoned(StatusNoFile);
        // Nothing may wait in a buffer until the file is closed: a full disk is to end the
        // transfer.
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
        session.Set(CURLOPT_WRITEFUNCTION, &std::fwrite);
        session.Set(CURLOPT_WRITEDATA, file.get());
        _append(&list, "Content-Type: application/binary");
    } else {
        session.Set(CURLOPT_WRITEFUNCTION, &NURL::_receive);
        session.Set(CURLOPT_WRITEDATA, this);
        _append(&list, "Expect:");
    }
    if (list != nullptr) session.Set(CURLOPT_HTTPHEADER, list.get());
    Remainder remainder{static_cast<const char*>(body), bodySize};
    if (body != nullptr && bodySize != 0) {
        session.Set(CURLOPT_POST, 1L);
        session.Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bodySize));
        session.Set(CURLOPT_READFUNCTION, &_sendRemainder);
        session.Set(CURLOPT_READDATA, &remainder);
        session.Set(CURLOPT_UPLOAD_BUFFERSIZE, UploadBufferSize);
    }
    session.SetTimeout(timeout);
    session.Set(CURLOPT_FOLLOWLOCATION, 1L);
    session.Set(CURLOPT_SSL_VERIFYPEER, 0L);
    return _end(session.Perform());
}

// NOLINTEND(performance-unnecessary-value-param)

std::int32_t NURL::Request(std::string url, const char* headerText, unsigned long long headerLength,
                           const void* body, unsigned long long bodySize, std::uint32_t timeout,
                           CancelCallback cancelCallback, void* cancelContext,
                           ProgressCallback progressCallback, void* progressContext,
                           std::uint32_t flags) {
    std::vector<std::string> headers(1);
    if (headerText != nullptr) headers.front().assign(headerText, headerLength);
    return Request(std::move(url), &headers, body, bodySize, timeout, cancelCallback, cancelContext,
                   progressCallback, progressContext, flags);
}

std::int32_t NURL::Request(std::string url, const void* body, unsigned long long bodySize,
                           std::uint32_t timeout, CancelCallback cancelCallback,
                           void* cancelContext, ProgressCallback progressCallback,
                           void* progressContext, std::uint32_t flags) {
    return Request(std::move(url), nullptr, 0, body, bodySize, timeout, cancelCallback,
                   cancelContext, progressCallback, progressContext, flags);
}

const char* NURL::Data() const {
    return _data;
}

unsigned long long NURL::Size() const {
    return _size;
}

void NURL::_begin(CancelCallback cancelCallback, void* cancelContext,
                  ProgressCallback progressCallback, void* progressContext) {
    _cancelCallback = cancelCallback;
    _cancelContext = cancelContext;
    _progressCallback = progressCallback;
    _progressContext = progressContext;
    _cancelled = 0;
}

// The status of the transfer that ended with `code`. An exception of a callback goes on from here:
// it can't pass through libcurl, which is C and would be left half way.
std::int32_t NURL::_end(int code) {
    if (_raised) std::rethrow_exception(std::exchange(_raised, nullptr));
    return _cancelled ? StatusCancelled : code;
}

// What both callbacks of an object do around their `work`, which answers with the bytes it moved.
template <class Work>
std::size_t NURL::_guarded(std::size_t size, std::size_t count, Work work) {
    if (size == 0 || count == 0) return 0;
    try {
        if (_cancelCallback != nullptr && _cancelCallback(_cancelContext)) {
            _cancelled = 1;
            return Stop;
        }
        return work();
    } catch (...) {
        _raised = std::current_exception();
        return Stop;
    }
}

void NURL::_report(std::uint64_t done, std::uint64_t total) {
    if (_progressCallback != nullptr) _progressCallback(done, total, _progressContext);
}

std::size_t NURL::_receive(char* data, std::size_t size, std::size_t count, void* object) {
    NURL& self = *static_cast<NURL*>(object);
    return self._guarded(size, count, [&]() -> std::size_t {
        if (!self._reserve(count)) return 0;
        std::memcpy(self._data + self._size, data, count);
        self._size += count;
        self._report(self._size, self._capacity);
        return count;
    });
}

std::size_t NURL::_send(char* data, std::size_t size, std::size_t count, void* object) {
    NURL& self = *static_cast<NURL*>(object);
    return self._guarded(size, count, [&]() -> std::size_t {
        if (self._sendPosition >= self._sendSize) return 0;
        const std::size_t length =
            std::min<std::uint64_t>(self._sendSize - self._sendPosition, count);
        std::memcpy(data, self._sendData + self._sendPosition, length);
        self._sendPosition += length;
        self._report(self._sendPosition, self._sendSize);
        return length;
    });
}

// Makes room for `count` more bytes; false if there is no memory, with all as it was.
bool NURL::_reserve(std::uint64_t count) {
    const std::uint64_t needed = _size + count;
    if (_data != nullptr &&
        (needed <= _capacity || _setCapacity(_wholeBlocks(_capacity + count)))) {
        return true;
    }
    // The capacity for `count` bytes alone is the rule of the first piece. It is also the last
    // resort where memory is short, but only if the bytes that are there already find room in it.
    const std::uint64_t smaller = _wholeBlocks(count);
    return needed <= smaller && _setCapacity(smaller);
}

// Capacity grows block by block, as callers are told. Were the memory to do so too, each block
// would cost a copy of everything before it wherever realloc moves; hence the fourth that is added
// to what is there. Pages that nobody has written to take no memory yet.
bool NURL::_setCapacity(std::uint64_t capacity) {
    if (capacity > _allocated) {
        std::uint64_t length = std::max(capacity, _allocated + _allocated / 4);
        void* grown = std::realloc(_data, length);
        if (grown == nullptr) {
            length = capacity;
            grown = std::realloc(_data, length);
        }
        if (grown == nullptr) return false;
        _data = static_cast<char*>(grown);
        _allocated = length;
    }
    _capacity = capacity;
    return true;
}
