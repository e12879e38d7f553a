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
    std::function<void()> perform = [] {};

    curl_write_callback receive = nullptr;
    void* receiver = nullptr;
    curl_read_callback send = nullptr;
    void* sender = nullptr;

    std::size_t Receive(std::string bytes) {
        return receive(bytes.data(), 1, bytes.size(), receiver);
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

CURLcode curl_easy_perform(CURL*) {
    curl.calls += "perform ";
    curl.perform();
    return CURLE_OK;
}

#undef curl_easy_setopt
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
        for (auto* line = va_arg(values, curl_slist*); line != nullptr; line = line->next) {
            value += '[' + std::string(line->data) + ']';
        }
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

class NURLCalls : public testing::Test {
protected:
    NURLCalls() { curl = FakeCurl(); }

    std::int32_t Get(std::uint32_t timeout = 7) {
        return url.Get("u", timeout, nullptr, nullptr, nullptr, nullptr);
    }
    std::int32_t Upload() {
        return url.Upload("u", "x", 1, 0xFFFFFFFE, nullptr, nullptr, nullptr, nullptr);
    }
    std::int32_t Request(const std::vector<std::string>* headers, const void* body,
                         unsigned long long size, std::uint32_t flags) {
        return url.Request("u", headers, body, size, 7, nullptr, nullptr, nullptr, nullptr, flags);
    }
    // What `request` calls.
    std::string Calls(const std::function<std::int32_t()>& request, std::int32_t status) {
        curl.calls.clear();
        EXPECT_EQ(request(), status);
        return curl.calls;
    }
    std::string Received() { return std::string(url.Data(), url.Size()); }

    const std::string begin = "global_init 3 easy_init URL u ";
    const std::string end = "SSL_VERIFYPEER 0 perform easy_cleanup global_cleanup ";
    const morvel::test::TemporaryFolder folder;
    const std::vector<std::string> lines = {"A: 1", "", "B: 2"};
    NURL url;
};

TEST_F(NURLCalls, OptionsAreSetInOrder) {
    const std::string fail = "FAILONERROR 1 ";
    const std::string own = "WRITEFUNCTION own WRITEDATA  ";
    EXPECT_EQ(Calls([&] { return Get(0); }, 0), begin + fail + own + "TIMEOUT 0 " + end);
    EXPECT_EQ(Calls([&] { return Get(0xFFFFFFFF); }, 0), begin + fail + own + end);
    EXPECT_EQ(Calls([&] { return Upload(); }, 0),
              begin + fail + "POST 1 READFUNCTION  READDATA  TIMEOUT 4294967294 " + end);

    const std::string file = "WRITEFUNCTION fwrite WRITEDATA  HTTPHEADER ";
    const std::string plain = own + "HTTPHEADER [Expect:] ";
    const std::string type = "[Content-Type: application/binary] ";
    const std::string post =
        "POST 1 POSTFIELDSIZE_LARGE 5 READFUNCTION  READDATA  "
        "UPLOAD_BUFFERSIZE 2097152 ";
    const NPath name(folder.File("reply").c_str());
    const struct {
        const std::vector<std::string>* headers;
        const void* body;
        unsigned long long size;
        std::uint32_t flags;
        std::string options;
    } rows[] = {
        {nullptr, nullptr, 0, 0, fail + plain},
        {nullptr, "hello", 0, 0, fail + plain},
        {nullptr, nullptr, 5, 0, fail + plain},
        {nullptr, nullptr, 0, RequestKeepHttpErrors, plain},
        {&lines, "hello", 5, 0, fail + own + "HTTPHEADER [A: 1][][B: 2][Expect:] " + post},
        {&lines, &name, 0, RequestToFile, fail + file + "[A: 1][][B: 2]" + type},
        {nullptr, &name, 5, RequestToFile, fail + file + type + post},
        {nullptr, &name, 0, RequestToFile | RequestKeepHttpErrors, file + type},
    };
    for (const auto& row : rows) {
        const auto request = [&] { return Request(row.headers, row.body, row.size, row.flags); };
        EXPECT_EQ(Calls(request, 0), begin + row.options + "TIMEOUT 7 FOLLOWLOCATION 1 " + end);
    }
}

TEST_F(NURLCalls, WithoutLibcurlTheStatusIs100AndNothingChanges) {
    curl.perform = [] { curl.Receive("kept"); };
    ASSERT_EQ(Get(), 0);
    using Requests = std::vector<std::function<std::int32_t()>>;
    for (const auto& request : Requests{[&] { return Get(); }, [&] { return Upload(); },
                                        [&] { return Request(nullptr, "", 0, 0); }}) {
        curl = FakeCurl();
        curl.initResult = CURLE_OUT_OF_MEMORY;
        EXPECT_EQ(Calls(request, 100), "global_init 3 ");
        curl = FakeCurl();
        curl.hasHandle = false;
        EXPECT_EQ(Calls(request, 100), "global_init 3 easy_init global_cleanup ");
        EXPECT_EQ(Received(), "kept");
    }
}

// The lists of headers leak for real: the leak check has to be told of them by NURL::Request.
TEST_F(NURLCalls, AFileThatCannotBeOpenedLeavesEverythingBehind) {
    curl.perform = [] { curl.Receive("gone"); };
    const NPath missing(folder.File("no such folder/reply").c_str());
    for (const NPath* name : {static_cast<const NPath*>(nullptr), &missing}) {
        ASSERT_EQ(Get(), 0);
        const auto request = [&] { return Request(&lines, name, 0, RequestToFile); };
        EXPECT_EQ(Calls(request, name == nullptr ? -3 : -4), begin + "FAILONERROR 1 ");
        EXPECT_EQ(url.Size(), 0u);
    }
}

// What progress callbacks were told.
using Progress = std::vector<std::pair<std::uint64_t, std::uint64_t>>;
void _note(std::uint64_t done, std::uint64_t whole, void* context) {
    static_cast<Progress*>(context)->emplace_back(done, whole);
}

Progress _receive(NURL& url, const std::vector<std::size_t>& pieces) {
    Progress progress;
    std::string bytes;
    curl.perform = [&] {
        for (const std::size_t length : pieces) {
            const std::string piece(length, static_cast<char>('a' + bytes.size() % 26));
            EXPECT_EQ(curl.Receive(piece), length);
            bytes += piece;
        }
    };
    EXPECT_EQ(url.Get("u", 7, nullptr, nullptr, &_note, &progress), 0);
    EXPECT_TRUE(bytes.empty() ? url.Size() == 0 : bytes == std::string(url.Data(), url.Size()));
    return progress;
}

TEST_F(NURLCalls, CapacityGrowsInBlocks) {
    EXPECT_EQ(_receive(url, {100, 20000}), Progress({{100, 10240}, {20100, 30720}}));
    // The next request begins with the capacity that is there.
    EXPECT_EQ(_receive(url, {30720, 1}), Progress({{30720, 30720}, {30721, 40960}}));
    NURL other;
    EXPECT_EQ(_receive(other, {10240}), Progress({{10240, 20480}}));

    std::vector<std::size_t> pieces(60);
    for (std::size_t i = 0; i < pieces.size(); ++i) pieces[i] = 1 + i * i * 31;
    EXPECT_EQ(_receive(other, pieces).back(), Progress::value_type(2176570, 2263040));
}

TEST_F(NURLCalls, WhereMemoryIsShortASmallerBufferWillDoIfAllFitsIn) {
    Progress progress;
    const auto receive = [&](std::size_t first, std::size_t second) {
        NURL target;
        _receive(target, {10000});
        progress.clear();
        curl.perform = [&] {
            curl.Receive(std::string(first, 'a'));
            reallocsToFail = 2;
            curl.Receive(std::string(second, 'b'));
        };
        target.Get("u", 7, nullptr, nullptr, &_note, &progress);
        reallocsToFail = 0;
        return std::string(target.Data(), target.Size());
    };
    // 10240 + 15000 would be three blocks, for 15000 two will do, and 20000 fit in.
    EXPECT_EQ(receive(5000, 15000), std::string(5000, 'a') + std::string(15000, 'b'));
    EXPECT_EQ(progress, Progress({{5000, 10240}, {20000, 20480}}));
    // 20490 do not: what is there stays, and nothing is written behind the end.
    EXPECT_EQ(receive(5490, 15000), std::string(5490, 'a'));
    EXPECT_EQ(progress, Progress({{5490, 10240}}));
}

TEST_F(NURLCalls, ItemsOfTwoBytesCountOnceOnTheWayInAndTwiceOnTheWayOut) {
    curl.perform = [] {
        char bytes[] = "abcdef";
        EXPECT_EQ(curl.receive(bytes, 0, 6, curl.receiver), 0u);
        EXPECT_EQ(curl.receive(bytes, 2, 3, curl.receiver), 3u);
        EXPECT_EQ(curl.send(bytes, 2, 3, curl.sender), 6u);
        EXPECT_STREQ(bytes, "012345");
        EXPECT_EQ(curl.send(bytes, 2, 3, curl.sender), 2u);
        EXPECT_STREQ(bytes, "672345");
        EXPECT_EQ(curl.send(bytes, 2, 3, curl.sender), 0u);
    };
    EXPECT_EQ(Request(nullptr, "01234567", 8, 0), 0);
    EXPECT_EQ(Received(), "abc");
}

}  // namespace
