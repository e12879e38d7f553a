// NURL against a libcurl of this file's own, which writes down what it is told and delivers what a
// test wants: for the calls, values and failures that no server brings about. The program has a
// copy of NURL.cpp in it, whose calls of libcurl and of realloc end here.

#include <curl/curl.h>

#include <cstdarg>
#include <cstdio>

#include <morvel/files/NPath.h>
#include <morvel/transfer/NURL.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

namespace {

struct FakeCurl {
    std::string calls;
    CURLcode initResult = CURLE_OK;
    bool hasHandle = true;
    int headersToKeep = -1;  // all
    std::function<void()> perform = [] {};

    curl_write_callback receive = nullptr;
    void* receiver = nullptr;
    curl_read_callback send = nullptr;
    void* sender = nullptr;

    std::size_t Receive(std::string bytes) {
        return receive(bytes.data(), 1, bytes.size(), receiver);
    }
    std::string Send(std::size_t count) {
        std::string bytes(count, '-');
        return std::to_string(send(bytes.data(), 1, count, sender)) + bytes;
    }
};

FakeCurl curl;
int reallocsToFail = 0;

}  // namespace

extern "C" {

void* __real_realloc(void* block, std::size_t size);

// Visible, because the linker sees shared libraries use realloc as well; theirs it doesn't replace.
__attribute__((visibility("default"))) void* __wrap_realloc(void* block, std::size_t size) {
    return reallocsToFail > 0 && reallocsToFail-- > 0 ? nullptr : __real_realloc(block, size);
}

CURLcode curl_global_init(long flags) {
    curl.calls += "global_init " + std::to_string(flags) + ' ';
    return curl.initResult;
}

void curl_global_cleanup() {
    curl.calls += "global_cleanup ";
}

CURL* curl_easy_init() {
    curl.calls += "easy_init ";
    return curl.hasHandle ? &curl : nullptr;
}

void curl_easy_cleanup(CURL*) {
    curl.calls += "easy_cleanup ";
}

// A list is here but its lines, each in brackets.
curl_slist* curl_slist_append(curl_slist* list, const char* line) {
    if (curl.headersToKeep-- == 0) return nullptr;
    auto* const lines = list == nullptr ? new std::string : reinterpret_cast<std::string*>(list);
    *lines += '[' + std::string(line) + ']';
    return reinterpret_cast<curl_slist*>(lines);
}

void curl_slist_free_all(curl_slist* list) {
    delete reinterpret_cast<std::string*>(list);
    curl.calls += "free_all ";
}

CURLcode curl_easy_perform(CURL*) {
    curl.calls += "perform ";
    curl.perform();
    return CURLE_OK;
}

#undef curl_easy_setopt
#pragma GCC diagnostic ignored "-Wvarargs"  // the type of the option is libcurl's own
CURLcode curl_easy_setopt(CURL*, CURLoption option, ...) {
    va_list values;
    va_start(values, option);
    std::string value;
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        value = std::to_string(va_arg(values, long));
    } else if (option >= CURLOPTTYPE_OFF_T) {
        value = std::to_string(va_arg(values, curl_off_t));
    } else if (option == CURLOPT_URL) {
        value = va_arg(values, const char*);
    } else if (option == CURLOPT_HTTPHEADER) {
        value = *va_arg(values, std::string*);
    } else if (option == CURLOPT_WRITEFUNCTION) {
        curl.receive = va_arg(values, curl_write_callback);
        const auto toFile = reinterpret_cast<curl_write_callback>(&std::fwrite);
        value = curl.receive == toFile ? "fwrite" : "own";
    } else if (option == CURLOPT_READFUNCTION) {
        curl.send = va_arg(values, curl_read_callback);
    } else {
        (option == CURLOPT_WRITEDATA ? curl.receiver : curl.sender) = va_arg(values, void*);
    }
    va_end(values);
    curl.calls += std::string(curl_easy_option_by_id(option)->name) + ' ' + value + ' ';
    return CURLE_UNKNOWN_OPTION;  // which nobody is to mind
}

}  // extern "C"

namespace {

// The calls of a request's callbacks, in order: `?` for the cancel callback.
struct Watch {
    std::string calls;
    int untilCancel = -1, untilThrow = -1;
};

bool _cancel(void* context) {
    auto* const watch = static_cast<Watch*>(context);
    watch->calls += "? ";
    if (watch->untilThrow-- == 0) throw std::runtime_error("cancel");
    return watch->untilCancel-- == 0;
}

void _progress(std::uint64_t done, std::uint64_t whole, void* context) {
    auto* const watch = static_cast<Watch*>(context);
    watch->calls += std::to_string(done) + '/' + std::to_string(whole) + ' ';
    if (watch->untilThrow-- == 0) throw std::runtime_error("progress");
}

class NURLCalls : public testing::Test {
protected:
    NURLCalls() { curl = FakeCurl(); }

    std::int32_t Get(std::uint32_t timeout = 7) {
        return url.Get("u", timeout, &_cancel, &watch, &_progress, &watch);
    }
    std::int32_t Upload() {
        return url.Upload("u", "0123456", 7, 0xFFFFFFFE, &_cancel, &watch, &_progress, &watch);
    }
    std::int32_t Request(const std::vector<std::string>* headers, const void* body,
                         unsigned long long size, std::uint32_t flags) {
        return url.Request("u", headers, body, size, 7, &_cancel, &watch, &_progress, &watch,
                           flags);
    }
    // What `request` calls.
    std::string Calls(const std::function<std::int32_t()>& request, std::int32_t status) {
        curl.calls.clear();
        EXPECT_EQ(request(), status);
        return curl.calls;
    }
    // Receives pieces of these lengths; what the callbacks were told meanwhile.
    std::string Receive(NURL& target, const std::vector<std::size_t>& lengths) {
        std::string bytes;
        curl.perform = [&] {
            for (const std::size_t length : lengths) {
                const std::string piece(length, static_cast<char>('a' + bytes.size() % 26));
                EXPECT_EQ(curl.Receive(piece), length);
                bytes += piece;
            }
        };
        watch = {};
        EXPECT_EQ(target.Get("u", 7, nullptr, nullptr, &_progress, &watch), 0);
        EXPECT_TRUE(bytes == std::string(target.Data(), target.Size()));
        return watch.calls;
    }
    std::string Received() { return std::string(url.Data(), url.Size()); }

    const std::string begin = "global_init 3 easy_init URL u ";
    const std::string perform = "SSL_VERIFYPEER 0 perform ";
    const std::string end = "easy_cleanup global_cleanup ";
    const morvel::test::TemporaryFolder folder;
    const std::vector<std::string> lines = {"A: 1", "", "B: 2"};
    NURL url;
    Watch watch;
};

TEST_F(NURLCalls, OptionsOfEachRequest) {
    const std::string fail = "FAILONERROR 1 ", own = "WRITEFUNCTION own WRITEDATA  ";
    EXPECT_EQ(Calls([&] { return Get(0); }, 0), begin + fail + own + "TIMEOUT 0 " + perform + end);
    EXPECT_EQ(Calls([&] { return Get(0xFFFFFFFF); }, 0), begin + fail + own + perform + end);
    EXPECT_EQ(Calls([&] { return Upload(); }, 0),
              begin + fail + "POST 1 READFUNCTION  READDATA  TIMEOUT 4294967294 " + perform + end);

    const std::string file = "WRITEFUNCTION fwrite WRITEDATA  HTTPHEADER ";
    const std::string plain = own + "HTTPHEADER [Expect:] ";
    const std::string type = "[Content-Type: application/binary] ";
    const std::string post =
        "POST 1 POSTFIELDSIZE_LARGE 5 READFUNCTION  READDATA  UPLOAD_BUFFERSIZE 2097152 ";
    const NPath name(folder.File("reply").c_str());
    const struct {
        const std::vector<std::string>* headers;
        const void* body;
        unsigned long long size;
        std::uint32_t flags;
        std::string options;
    } rows[] = {
        {nullptr, "hello", 0, 0, fail + plain},
        {nullptr, nullptr, 5, RequestKeepHttpErrors, plain},
        {&lines, "hello", 5, 0, fail + own + "HTTPHEADER [A: 1][][B: 2][Expect:] " + post},
        {&lines, &name, 0, RequestToFile, fail + file + "[A: 1][][B: 2]" + type},
        {nullptr, &name, 5, RequestToFile | RequestKeepHttpErrors, file + type + post},
    };
    for (const auto& row : rows) {
        const auto request = [&] { return Request(row.headers, row.body, row.size, row.flags); };
        const std::string calls = Calls(request, 0);
        EXPECT_EQ(calls, begin + row.options + "TIMEOUT 7 FOLLOWLOCATION 1 " + perform + end +
                             "free_all ");
    }
}

TEST_F(NURLCalls, WhatFailsBeforeATransfer) {
    curl.perform = [] { curl.Receive("kept"); };
    ASSERT_EQ(Get(), 0);
    const std::function<std::int32_t()> requests[] = {
        [&] { return Get(); }, [&] { return Upload(); }, [&] { return Request(&lines, "", 0, 0); }};
    for (const auto& request : requests) {
        curl = FakeCurl();
        curl.initResult = CURLE_OUT_OF_MEMORY;
        EXPECT_EQ(Calls(request, 100), "global_init 3 ");
        curl = FakeCurl();
        curl.hasHandle = false;
        EXPECT_EQ(Calls(request, 100), "global_init 3 easy_init global_cleanup ");
        EXPECT_EQ(Received(), "kept");
    }
    // No request goes out without one of its headers.
    for (int kept = 0; kept < 4; ++kept) {
        curl = FakeCurl();
        curl.headersToKeep = kept;
        EXPECT_THROW(Request(&lines, nullptr, 0, 0), std::bad_alloc);
        EXPECT_THAT(curl.calls, Not(testing::HasSubstr("perform"))) << kept;
        EXPECT_THAT(curl.calls, testing::EndsWith(kept > 0 ? end + "free_all " : end)) << kept;
    }
    // These leave all behind that there is.
    const NPath missing(folder.File("no such folder/reply").c_str());
    for (const NPath* name : {static_cast<const NPath*>(nullptr), &missing}) {
        curl = FakeCurl();
        curl.perform = [] { curl.Receive("gone"); };
        ASSERT_EQ(Get(), 0);
        const auto request = [&] { return Request(nullptr, name, 0, RequestToFile); };
        EXPECT_EQ(Calls(request, name == nullptr ? -3 : -4), begin + "FAILONERROR 1 ");
        EXPECT_EQ(url.Size(), 0u);
    }
}

TEST_F(NURLCalls, CallbacksOfEachPiece) {
    curl.perform = [&] {
        char bytes[] = "abcdef";
        EXPECT_EQ(curl.receive(bytes, 0, 6, curl.receiver), 0u);
        EXPECT_EQ(curl.receive(bytes, 1, 0, curl.receiver), 0u);
        EXPECT_EQ(curl.receive(bytes, 2, 3, curl.receiver), 3u) << "items of two count once";
        EXPECT_EQ(curl.Receive("xy"), 2u);
        if (curl.send == nullptr) return;
        EXPECT_EQ(curl.send(bytes, 2, 2, curl.sender), 4u) << "on the way out, twice";
        EXPECT_STREQ(bytes, "0123ef");
        EXPECT_EQ(curl.Send(9),
                  "4"
                  "4567-----");
        EXPECT_EQ(curl.Send(9), "0---------");
    };
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(std::exchange(watch.calls, ""), "? 3/10240 ? 5/10240 ");
    EXPECT_EQ(Request(nullptr, "01234567", 8, 0), 0);
    EXPECT_EQ(std::exchange(watch.calls, ""), "? 3/10240 ? 5/10240 ") << "of the reply alone";
    EXPECT_EQ(Received(), "abcxy");
    curl.perform = [] {
        EXPECT_EQ(curl.Send(0), "0");
        EXPECT_EQ(curl.Send(5), "501234");
        EXPECT_EQ(curl.Send(5), "256---");
        EXPECT_EQ(curl.Send(5), "0-----");
    };
    EXPECT_EQ(Upload(), 0);
    EXPECT_EQ(watch.calls, "? 5/7 ? 7/7 ? ");
}

TEST_F(NURLCalls, CallbacksThatCancelOrThrow) {
    constexpr std::size_t stop = 0x10000000;
    curl.perform = [&] {
        const std::size_t first = curl.Receive("abc");
        EXPECT_EQ(first, watch.calls == "? " ? stop : 3u);
        if (first == 3) {
            EXPECT_EQ(curl.Receive("def"), stop);
        }
    };
    watch.untilCancel = 0;
    EXPECT_EQ(Get(), -2);
    EXPECT_EQ(url.Size(), 0u);
    watch = {"", 1, -1};
    EXPECT_EQ(Request(nullptr, nullptr, 0, 0), -2);
    EXPECT_EQ(watch.calls, "? 3/10240 ? ");
    EXPECT_EQ(Received(), "abc");
    watch = {"", -1, 0};
    EXPECT_THROW(Get(), std::runtime_error);
    EXPECT_THAT(curl.calls, testing::EndsWith(end));
    watch = {"", -1, 2};
    EXPECT_THROW(Request(nullptr, nullptr, 0, 0), std::runtime_error);
    EXPECT_EQ(Received(), "abc");

    curl.perform = [] { EXPECT_EQ(curl.Send(7), "268435456-------"); };
    watch = {"", 0, -1};
    EXPECT_EQ(Upload(), -2);
    curl.perform = [] { EXPECT_EQ(curl.Send(7), "2684354560123456"); };
    watch = {"", -1, 1};
    EXPECT_THROW(Upload(), std::runtime_error);
    EXPECT_EQ(Receive(url, {1}), "1/10240 ") << "nothing of it is left over";
}

TEST_F(NURLCalls, CapacityGrowsInBlocks) {
    EXPECT_EQ(Receive(url, {100, 20000}), "100/10240 20100/30720 ");
    EXPECT_EQ(Receive(url, {30720, 1}), "30720/30720 30721/40960 ") << "from what is there";
    NURL other;
    EXPECT_EQ(Receive(other, {10240}), "10240/20480 ");
    std::vector<std::size_t> pieces(60);
    for (std::size_t i = 0; i < pieces.size(); ++i) pieces[i] = 1 + i * i * 31;
    EXPECT_THAT(Receive(other, pieces), testing::EndsWith(" 2176570/2263040 "));
}

TEST_F(NURLCalls, WhereMemoryIsShortASmallerBufferWillDoIfAllFitsIn) {
    const auto receive = [&](std::size_t first, std::size_t second) {
        NURL target;
        Receive(target, {10000});
        curl.perform = [&] {
            curl.Receive(std::string(first, 'a'));
            reallocsToFail = 2;
            curl.Receive(std::string(second, 'b'));
        };
        watch = {};
        (void)target.Get("u", 7, nullptr, nullptr, &_progress, &watch);
        reallocsToFail = 0;
        return std::string(target.Data(), target.Size());
    };
    // 10240 + 15000 would be three blocks, for 15000 two will do, and 20000 fit in.
    EXPECT_EQ(receive(5000, 15000), std::string(5000, 'a') + std::string(15000, 'b'));
    EXPECT_EQ(watch.calls, "5000/10240 20000/20480 ");
    // 20490 do not: what is there stays, and nothing is written behind the end.
    EXPECT_EQ(receive(5490, 15000), std::string(5490, 'a'));
    EXPECT_EQ(watch.calls, "5490/10240 ");
}

}  // namespace
