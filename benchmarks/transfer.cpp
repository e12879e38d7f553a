// HTTP on loopback, in memory.
#include <curl/curl.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <morvel/transfer/NURL.h>

#include "Loopback.h"
#include "Subject.h"

namespace {

constexpr std::uint64_t Mebibyte = 1 << 20;

// What a caller of libcurl writes at the least: a buffer that was reserved, and a copy into it.
struct Buffer {
    std::vector<char> bytes;
    std::size_t size = 0;
};

std::size_t _receive(char* data, std::size_t size, std::size_t count, void* context) {
    auto* const buffer = static_cast<Buffer*>(context);
    std::memcpy(buffer->bytes.data() + buffer->size, data, size * count);
    buffer->size += size * count;
    return size * count;
}

struct Source {
    const char* data;
    std::size_t left;
};

std::size_t _send(char* data, std::size_t size, std::size_t count, void* context) {
    auto* const source = static_cast<Source*>(context);
    const std::size_t length = std::min(size * count, source->left);
    std::memcpy(data, source->data, length);
    source->data += length;
    source->left -= length;
    return length;
}

int _rawRequest(const std::string& url, Buffer* buffer, const std::string* body) {
    buffer->size = 0;
    curl_global_init(CURL_GLOBAL_ALL);
    CURL* const handle = curl_easy_init();
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &_receive);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, buffer);
    curl_slist* const headers = curl_slist_append(nullptr, "Expect:");
    Source source{};
    if (body != nullptr) {
        source = {body->data(), body->size()};
        curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(handle, CURLOPT_POST, 1L);
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(body->size()));
        curl_easy_setopt(handle, CURLOPT_READFUNCTION, &_send);
        curl_easy_setopt(handle, CURLOPT_READDATA, &source);
        curl_easy_setopt(handle, CURLOPT_UPLOAD_BUFFERSIZE, 0x200000L);
    }
    const int status = curl_easy_perform(handle);
    curl_easy_cleanup(handle);
    curl_slist_free_all(headers);
    curl_global_cleanup();
    return status;
}

bool _isBody(const char* data, std::uint64_t size, std::uint64_t expected) {
    return size == expected && data[0] == 'x' && data[size - 1] == 'x';
}

constexpr unsigned Seconds = 60;

std::int32_t _get(NURL* url, const std::string& address) {
    return url->Get(address, Seconds, nullptr, nullptr, nullptr, nullptr);
}

template <class Work>
void _addMemory(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(name.c_str(), [work](benchmark::State& state) {
        for (auto _ : state) {
            state.counters["peak_bytes"] = static_cast<double>(bench::PeakBytes(work));
        }
        state.counters["items"] = 1;
    })->Iterations(1);
}

}  // namespace

void AddSubjects() {
    const std::string server = bench::LoopbackServer();

    const std::string small = server + "100";
    bench::AddEqual(
        "small GET/Morvel", bench::Items(1),
        [small] {
            NURL url;
            return _get(&url, small) == 0 && _isBody(url.Data(), url.Size(), 100);
        },
        true, bench::Clock::Wall);
    bench::AddEqual(
        "small GET/libcurl (raw)", bench::Items(1),
        [small] {
            Buffer buffer{std::vector<char>(10240)};
            return _rawRequest(small, &buffer, nullptr) == 0 &&
                   _isBody(buffer.bytes.data(), buffer.size, 100);
        },
        true, bench::Clock::Wall);

    const std::uint64_t size = 512 * Mebibyte;
    const std::string large = server + std::to_string(size);
    const auto getOwn = [large] {
        NURL url;
        return _get(&url, large) == 0 && _isBody(url.Data(), url.Size(), size);
    };
    const auto getRaw = [large] {
        Buffer buffer;
        buffer.bytes.reserve(size);
        char* const bytes = buffer.bytes.data();  // written by the callback, never initialised here
        return _rawRequest(large, &buffer, nullptr) == 0 && _isBody(bytes, buffer.size, size);
    };
    bench::AddEqual("GET of 512 MiB/Morvel", bench::Bytes(size), getOwn, true, bench::Clock::Wall);
    bench::AddEqual("GET of 512 MiB/libcurl (raw)", bench::Bytes(size), getRaw, true,
                    bench::Clock::Wall);
    _addMemory("memory of GET of 512 MiB/Morvel", getOwn);
    _addMemory("memory of GET of 512 MiB/libcurl (raw)", getRaw);

    const auto body = std::make_shared<const std::string>(64 * Mebibyte, 'b');
    bench::AddEqual(
        "POST of 64 MiB/Morvel", bench::Bytes(body->size()),
        [server, body] {
            NURL url;
            return url.Request(server, body->data(), body->size(), Seconds, nullptr, nullptr,
                               nullptr, nullptr, 0) == 0 &&
                   url.Size() == 2;
        },
        true, bench::Clock::Wall);
    bench::AddEqual(
        "POST of 64 MiB/libcurl (raw)", bench::Bytes(body->size()),
        [server, body] {
            Buffer buffer{std::vector<char>(10240)};
            return _rawRequest(server, &buffer, body.get()) == 0 && buffer.size == 2;
        },
        true, bench::Clock::Wall);
}
