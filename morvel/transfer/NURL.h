#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include <morvel/base/NBaseObject.h>

/// What NURL::Request can be told with its `flags`.
enum NRequestFlag : std::uint32_t {
    /// A reply of status 400 and up is a success, and its body is delivered.
    RequestKeepHttpErrors = 1,
    /// The reply goes to a file, whose name `body` tells.
    RequestToFile = 2,
};

/// One blocking HTTP or HTTPS transfer at a time, the reply kept in memory or written to a file.
///
/// **The server's certificate is never verified.** Every transfer runs with peer verification off:
/// HTTPS keeps those out who only listen, but whoever can redirect or answer the connection can
/// present any certificate, read what is sent and forge what comes back, and no status tells. Don't
/// send secrets or trust replies over a network that isn't yours.
///
///     NURL url;
///     if (url.Get("https://localhost/orders", 30, nullptr, nullptr, nullptr, nullptr) == 0) {
///         std::string orders(url.Data(), url.Size());
///     }
///
/// Redirects are followed by Request alone, as many in a row as libcurl follows by default.
///
/// What libcurl takes besides http and https goes through too (file, ftp, gopher, dict): check the
/// scheme of a URL from outside. Get returns 0 for a redirect, with the redirect's own body. A
/// reply that is cut off in its header is an empty success. A reply of any size is kept, and
/// redirects in a circle may be followed without end: only `timeout` ends those, and a server that
/// sends nothing, since no callback is asked then.
///
/// `timeout` is in seconds and covers the whole transfer. 0 and 0xFFFFFFFF set no limit, and
/// neither does what exceeds 2,147,483, which libcurl refuses.
///
/// Callbacks run on the caller's thread, and may be null: `cancelCallback` before each chunk of
/// data (true ends the transfer; the chunk is dropped), `progressCallback` behind it. One that
/// throws ends the transfer, and its exception comes out of the request once all is cleaned up.
/// Neither may start a request on the same object.
///
/// @failure Each request returns a status: 0; 100 if libcurl can't be started; -2 if the cancel
/// callback ended it; -3 or -4 from RequestToFile; else the number of libcurl's error (CURLcode): 7
/// refused, 18 cut short, 22 an HTTP status of 400 and up, 28 out of time. What arrived before a
/// failure can be read. Nothing is thrown but what a callback throws, and std::bad_alloc before
/// anything is sent.
/// @threads One at a time, which the request blocks until it ends; different objects are
/// independent.
/// @encoding A URL goes out as it is, so escape its values first. Bodies and headers are bytes; the
/// name of the file of RequestToFile is converted.
/// @cost An object is reusable, and only its buffer lasts from one request to the next: each opens
/// a connection of its own. The whole reply is held in memory, unless it goes to a file.
class MORVEL_API NURL : public NBaseObject {
public:
    /// True ends the transfer. `context` is the request's `cancelContext`.
    using CancelCallback = bool (*)(void* context);

    /// Bytes moved so far, and what they are counted against. `context` is the request's own.
    using ProgressCallback = void (*)(std::uint64_t done, std::uint64_t whole, void* context);

    NURL();                                 ///< Without a buffer; nothing is connected.
    NURL(const NURL&) = delete;             ///< Not copied.
    NURL& operator=(const NURL&) = delete;  ///< Not copied.
    ~NURL() override;                       ///< Releases the buffer.

    /// A GET. Progress counts the bytes received against the capacity of the buffer, which isn't
    /// the length of the reply; so it does in Request.
    [[nodiscard]] virtual std::int32_t Get(std::string url, std::uint32_t timeout,
                                           CancelCallback cancelCallback, void* cancelContext,
                                           ProgressCallback progressCallback,
                                           void* progressContext);

    /// A POST of `size` bytes, in chunks of no declared length. Progress counts the bytes sent
    /// against `size`. The reply goes to the standard output; Data and Size stay as they were.
    [[nodiscard]] virtual std::int32_t Upload(std::string url, const void* data,
                                              unsigned long long size, std::uint32_t timeout,
                                              CancelCallback cancelCallback, void* cancelContext,
                                              ProgressCallback progressCallback,
                                              void* progressContext);

    /// A POST of `bodySize` bytes, or a GET if there is none. The callbacks see the reply alone.
    ///
    /// `headers`, which may be null, are lines as "Name: value", sent as they are; they go to the
    /// target of a redirect as well, another host included. "Name:" keeps a header that libcurl
    /// sends by itself from being sent, and an empty line does nothing. REQUIRES: no line that
    /// holds text from elsewhere holds a line end, which would start a header.
    ///
    /// A redirect by 301, 302 or 303 turns a POST into a GET; one by 307 or 308 fails with 65, as
    /// the body can't be sent twice.
    ///
    /// With RequestToFile `body` points to the NString or NPath that names the file, and `bodySize`
    /// is to be 0: otherwise bytes of that object would be sent. -3 if it is null; -4 if the file
    /// can't be opened. The file is made or emptied first and stays after a failure with what
    /// arrived. Size is 0, and no callback is called. The two returns -3 and -4 leak libcurl's
    /// handle, the headers and one reference to its global state.
    [[nodiscard]] virtual std::int32_t Request(std::string url,
                                               const std::vector<std::string>* headers,
                                               const void* body, unsigned long long bodySize,
                                               std::uint32_t timeout, CancelCallback cancelCallback,
                                               void* cancelContext,
                                               ProgressCallback progressCallback,
                                               void* progressContext, std::uint32_t flags);

    /// The first form with one header line, of `headerLength` bytes.
    [[nodiscard]] virtual std::int32_t Request(std::string url, const char* headerText,
                                               unsigned long long headerLength, const void* body,
                                               unsigned long long bodySize, std::uint32_t timeout,
                                               CancelCallback cancelCallback, void* cancelContext,
                                               ProgressCallback progressCallback,
                                               void* progressContext, std::uint32_t flags);

    /// The second form with an empty header line.
    [[nodiscard]] virtual std::int32_t Request(std::string url, const void* body,
                                               unsigned long long bodySize, std::uint32_t timeout,
                                               CancelCallback cancelCallback, void* cancelContext,
                                               ProgressCallback progressCallback,
                                               void* progressContext, std::uint32_t flags);

    /// What the latest Get or Request received: Size() bytes, with no NUL behind them. Null before
    /// the first byte ever. The next request overwrites the bytes; the pointer is good until a
    /// request has to enlarge the buffer, or the object's end.
    ///@{
    virtual const char* Data() const MORVEL_LIFETIMEBOUND;
    virtual unsigned long long Size() const;
    ///@}

private:
    // The forms that libcurl calls; `object` is the NURL.
    MORVEL_LOCAL static std::size_t _receive(char* data, std::size_t size, std::size_t count,
                                             void* object);
    MORVEL_LOCAL static std::size_t _send(char* data, std::size_t size, std::size_t count,
                                          void* object);

    MORVEL_LOCAL void _begin(CancelCallback cancelCallback, void* cancelContext,
                             ProgressCallback progressCallback, void* progressContext);
    MORVEL_LOCAL std::int32_t _end(int code);
    template <class Work>
    MORVEL_LOCAL std::size_t _guarded(std::size_t size, std::size_t count, Work work);
    MORVEL_LOCAL void _report(std::uint64_t done, std::uint64_t total);
    MORVEL_LOCAL bool _reserve(std::uint64_t count);
    MORVEL_LOCAL bool _setCapacity(std::uint64_t capacity);

    char* _data = nullptr;
    std::uint64_t _size = 0;
    std::uint64_t _capacity = 0;  // as progress callbacks see it
    const char* _sendData = nullptr;
    std::uint64_t _sendPosition = 0;
    std::uint64_t _sendSize = 0;
    std::uint8_t _cancelled = 0;
    CancelCallback _cancelCallback = nullptr;
    void* _cancelContext = nullptr;
    ProgressCallback _progressCallback = nullptr;
    void* _progressContext = nullptr;
    std::uint64_t _allocated = 0;  // bytes behind _data, at least _capacity
    std::exception_ptr _raised;    // by a callback, on its way around libcurl's frames
};
