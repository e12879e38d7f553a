// NURL against a libcurl of this file's own, which writes down what it is told and delivers what a
// test wants: for the calls, values and failures that no server brings about. The program has a
// copy of NURL.cpp in it, whose calls of libcurl and of realloc end here.

#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <morvel/files/NPath.h>
#include <morvel/transfer/NURL.h>
#include <tests/support/TemporaryFolder.h>

namespace {

using Calls = std::vector<std::string>;

struct FakeCurl {
    Calls calls;
    CURLcode initResult = CURLE_OK;
    bool hasHandle = true;
    CURLcode optionResult = CURLE_OK;
    CURLcode performResult = CURLE_OK;
    std::function<void()> perform = [] {};

    curl_write_callback receive = nullptr;
    void* receiver = nullptr;
    curl_read_callback send = nullptr;
    void* sender = nullptr;

    std::size_t Receive(const std::string& bytes) {
        return receive(const_cast<char*>(bytes.data()), 1, bytes.size(), receiver);
    }
    // Up to `room` bytes, asked for as `room` / `size` items.
    std::string Send(std::size_t size, std::size_t room) {
        std::string bytes(room, '\0');
        bytes.resize(send(&bytes[0], size, room / size, sender));
        return bytes;
    }
};

struct FakeMemory {
    int failAt = 0;  // the number of the first call of realloc that fails
    int failures = 0;
    int calls = 0;
    std::size_t largest = 0;
};

FakeCurl curl;
FakeMemory memory;

}  // namespace

extern "C" {

void* __real_realloc(void* block, std::size_t size);

// Visible, because the linker sees shared libraries use realloc as well; theirs it doesn't replace.
__attribute__((visibility("default"))) void* __wrap_realloc(void* block, std::size_t size) {
    ++memory.calls;
    if (memory.failAt != 0 && memory.calls >= memory.failAt &&
        memory.calls < memory.failAt + memory.failures) {
        return nullptr;
    }
    memory.largest = std::max(memory.largest, size);
    return __real_realloc(block, size);
}

CURLcode curl_global_init(long flags) {
    curl.calls.push_back("global_init " + std::to_string(flags));
    return curl.initResult;
}

void curl_global_cleanup() {
    curl.calls.push_back("global_cleanup");
}

CURL* curl_easy_init() {
    curl.calls.push_back("easy_init");
    return curl.hasHandle ? &curl : nullptr;
}

void curl_easy_cleanup(CURL*) {
    curl.calls.push_back("easy_cleanup");
}

CURLcode curl_easy_perform(CURL*) {
    curl.calls.push_back("perform");
    curl.perform();
    return curl.performResult;
}

void curl_slist_free_all(curl_slist* list) {
    curl.calls.push_back("slist_free_all");
    while (list != nullptr) {
        curl_slist* const next = list->next;
        std::free(list->data);
        delete list;
        list = next;
    }
}

curl_slist* curl_slist_append(curl_slist* list, const char* line) {
    auto* const added = new curl_slist{strdup(line), nullptr};
    if (list == nullptr) {
        return added;
    }
    curl_slist* last = list;
    while (last->next != nullptr) {
        last = last->next;
    }
    last->next = added;
    return list;
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
        value =
            curl.receive == reinterpret_cast<curl_write_callback>(&std::fwrite) ? "fwrite" : "own";
    } else if (option == CURLOPT_WRITEDATA) {
        curl.receiver = va_arg(values, void*);
        value = "set";
    } else if (option == CURLOPT_READFUNCTION) {
        curl.send = va_arg(values, curl_read_callback);
        value = "own";
    } else if (option == CURLOPT_READDATA) {
        curl.sender = va_arg(values, void*);
        value = "set";
    }
    va_end(values);
    curl.calls.push_back(std::string(curl_easy_option_by_id(option)->name) + ' ' + value);
    return curl.optionResult;
}

}  // extern "C"

namespace {

constexpr std::uint32_t NoTimeout = 0xFFFFFFFF;
constexpr std::size_t Stop = 0x10000000;

class NURLCalls : public testing::Test {
protected:
    NURLCalls() {
        curl = FakeCurl();
        memory = FakeMemory();
    }

    std::int32_t Get() { return url.Get("u", NoTimeout, nullptr, nullptr, nullptr, nullptr); }
    std::string Received() { return std::string(url.Data(), url.Size()); }

    NURL url;
};

// The calls in front of and behind what one kind of request sets.
Calls _whole(Calls options, bool withList) {
    Calls calls = {"global_init 3", "easy_init"};
    calls.insert(calls.end(), options.begin(), options.end());
    calls.insert(calls.end(), {"perform", "easy_cleanup", "global_cleanup"});
    if (withList) {
        calls.push_back("slist_free_all");
    }
    return calls;
}

TEST_F(NURLCalls, GetSetsItsOptionsInOrder) {
    url.Get("http://h/", 7, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(curl.calls, _whole({"URL http://h/", "FAILONERROR 1", "WRITEFUNCTION own",
                                  "WRITEDATA set", "TIMEOUT 7", "SSL_VERIFYPEER 0"},
                                 false));
}

TEST_F(NURLCalls, UploadSetsItsOptionsInOrder) {
    url.Upload("http://h/", "x", 1, 7, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(curl.calls, _whole({"URL http://h/", "FAILONERROR 1", "POST 1", "READFUNCTION own",
                                  "READDATA set", "TIMEOUT 7", "SSL_VERIFYPEER 0"},
                                 false));
}

TEST_F(NURLCalls, RequestSetsItsOptionsInOrder) {
    const Calls toMemory = {"WRITEFUNCTION own", "WRITEDATA set"};
    const Calls toFile = {"WRITEFUNCTION fwrite", "WRITEDATA set"};
    const Calls body = {"POST 1", "POSTFIELDSIZE_LARGE 5", "READFUNCTION own", "READDATA set",
                        "UPLOAD_BUFFERSIZE 2097152"};
    const std::vector<std::string> lines = {"A: 1", "", "B: 2"};
    const morvel::test::TemporaryFolder folder;
    const NPath name(folder.File("reply").c_str());
    const struct {
        const char* why;
        const std::vector<std::string>* headers;
        const void* body;
        unsigned long long size;
        std::uint32_t flags;
        Calls target;
        std::string list;
        Calls post;
    } rows[] = {
        {"nothing given", nullptr, nullptr, 0, 0, toMemory, "[Expect:]", {}},
        {"headers and a body", &lines, "hello", 5, 0, toMemory, "[A: 1][][B: 2][Expect:]", body},
        {"a body of length 0", nullptr, "hello", 0, 0, toMemory, "[Expect:]", {}},
        {"a length without a body", nullptr, nullptr, 5, 0, toMemory, "[Expect:]", {}},
        {"errors kept", nullptr, nullptr, 0, RequestKeepHttpErrors, toMemory, "[Expect:]", {}},
        {"to a file",
         &lines,
         &name,
         0,
         RequestToFile,
         toFile,
         "[A: 1][][B: 2][Content-Type: application/binary]",
         {}},
        {"to a file, with a length", nullptr, &name, 5, RequestToFile, toFile,
         "[Content-Type: application/binary]", body},
        {"to a file, errors kept",
         nullptr,
         &name,
         0,
         RequestToFile | RequestKeepHttpErrors,
         toFile,
         "[Content-Type: application/binary]",
         {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        curl = FakeCurl();
        Calls options = {"URL http://h/"};
        if ((row.flags & 1) == 0) {
            options.push_back("FAILONERROR 1");
        }
        options.insert(options.end(), row.target.begin(), row.target.end());
        options.push_back("HTTPHEADER " + row.list);
        options.insert(options.end(), row.post.begin(), row.post.end());
        options.insert(options.end(), {"TIMEOUT 0", "FOLLOWLOCATION 1", "SSL_VERIFYPEER 0"});
        EXPECT_EQ(url.Request("http://h/", row.headers, row.body, row.size, 0, nullptr, nullptr,
                              nullptr, nullptr, row.flags),
                  0);
        EXPECT_EQ(curl.calls, _whole(options, true));
    }
}

TEST_F(NURLCalls, TimeoutGoesOutAsItIsButForTheHighest) {
    const auto timeouts = [&](std::uint32_t timeout) {
        curl = FakeCurl();
        url.Get("u", timeout, nullptr, nullptr, nullptr, nullptr);
        url.Upload("u", "", 0, timeout, nullptr, nullptr, nullptr, nullptr);
        url.Request("u", nullptr, 0, timeout, nullptr, nullptr, nullptr, nullptr, 0);
        Calls found;
        for (const std::string& call : curl.calls) {
            if (call.rfind("TIMEOUT", 0) == 0) {
                found.push_back(call);
            }
        }
        return found;
    };
    EXPECT_EQ(timeouts(NoTimeout), Calls());
    EXPECT_EQ(timeouts(0), Calls(3, "TIMEOUT 0"));
    EXPECT_EQ(timeouts(0xFFFFFFFE), Calls(3, "TIMEOUT 4294967294"));
}

TEST_F(NURLCalls, WithoutLibcurlTheStatusIs100AndNothingChanges) {
    curl.perform = [] { curl.Receive("kept"); };
    ASSERT_EQ(Get(), 0);
    const std::function<std::int32_t()> requests[] = {
        [&] { return Get(); },
        [&] { return url.Upload("u", "x", 1, 1, nullptr, nullptr, nullptr, nullptr); },
        [&] { return url.Request("u", nullptr, 0, 1, nullptr, nullptr, nullptr, nullptr, 0); },
    };
    for (const auto& request : requests) {
        curl = FakeCurl();
        curl.initResult = CURLE_OUT_OF_MEMORY;
        EXPECT_EQ(request(), 100);
        EXPECT_EQ(curl.calls, Calls({"global_init 3"}));

        curl = FakeCurl();
        curl.hasHandle = false;
        EXPECT_EQ(request(), 100);
        EXPECT_EQ(curl.calls, Calls({"global_init 3", "easy_init", "global_cleanup"}));
        EXPECT_EQ(Received(), "kept");
    }
}

TEST_F(NURLCalls, AFileThatCannotBeOpenedLeavesEverythingBehind) {
    curl.perform = [] { curl.Receive("gone"); };
    const morvel::test::TemporaryFolder folder;
    const NPath missing(folder.File("no such folder/reply").c_str());
    const struct {
        const void* name;
        std::int32_t status;
    } rows[] = {{nullptr, -3}, {&missing, -4}};
    for (const auto& row : rows) {
        ASSERT_EQ(Get(), 0);
        curl.calls.clear();
        EXPECT_EQ(url.Request("u", nullptr, row.name, 0, 1, nullptr, nullptr, nullptr, nullptr,
                              RequestToFile),
                  row.status);
        EXPECT_EQ(curl.calls, Calls({"global_init 3", "easy_init", "URL u", "FAILONERROR 1"}));
        EXPECT_EQ(url.Size(), 0u);
    }
}

TEST_F(NURLCalls, RefusedOptionsAreIgnoredAndTheCodeComesBackUnchanged) {
    curl.optionResult = CURLE_UNKNOWN_OPTION;
    EXPECT_EQ(Get(), 0);
    curl.performResult = CURLE_GOT_NOTHING;
    EXPECT_EQ(Get(), 52);
}

// What progress callbacks were told.
using Progress = std::vector<std::pair<std::uint64_t, std::uint64_t>>;
void _note(std::uint64_t done, std::uint64_t whole, void* context) {
    static_cast<Progress*>(context)->emplace_back(done, whole);
}

Progress _receive(NURL& url, const std::vector<std::size_t>& pieces) {
    Progress progress;
    curl.perform = [&] {
        for (const std::size_t piece : pieces) {
            EXPECT_EQ(curl.Receive(std::string(piece, 'x')), piece);
        }
    };
    EXPECT_EQ(url.Get("u", NoTimeout, nullptr, nullptr, &_note, &progress), 0);
    return progress;
}

TEST_F(NURLCalls, CapacityIsReportedInBlocks) {
    EXPECT_EQ(_receive(url, {100, 20000}), Progress({{100, 10240}, {20100, 30720}}));
    // The next request begins with the capacity that is there.
    EXPECT_EQ(_receive(url, {30720, 1}), Progress({{30720, 30720}, {30721, 40960}}));
    NURL other;
    EXPECT_EQ(_receive(other, {10240}), Progress({{10240, 20480}}));
}

TEST_F(NURLCalls, CapacityFollowsTheRuleForAnyPieces) {
    std::mt19937 random(1);
    std::uint64_t capacity = 0;
    for (int request = 0; request < 20; ++request) {
        std::vector<std::size_t> pieces(random() % 100);
        Progress expected;
        std::uint64_t size = 0;
        for (std::size_t& piece : pieces) {
            piece = 1 + random() % (1u << random() % 17);
            if (size + piece > capacity) {
                capacity += piece;
                capacity += 10240 - capacity % 10240;
            }
            size += piece;
            expected.emplace_back(size, capacity);
        }
        EXPECT_EQ(_receive(url, pieces), expected);
    }
}

TEST_F(NURLCalls, MemoryGrowsByAQuarterAtATime) {
    const std::string piece(16384, 'x');
    curl.perform = [&] {
        for (int i = 0; i < 3000; ++i) {
            curl.Receive(piece);
            ASSERT_LT(memory.calls, 60);
            ASSERT_LE(memory.largest, url.Size() * 5 / 4 + 2 * piece.size());
        }
    };
    Get();
    memory.calls = 0;
    _receive(url, {piece.size(), piece.size()});
    EXPECT_EQ(memory.calls, 0);
}

TEST_F(NURLCalls, ReceiverKeepsWhatItHasWhereMemoryEnds) {
    // Every call of realloc in turn is the first to fail, until a transfer needs none of them.
    bool failed = true;
    for (int n = 1; failed; ++n) {
        NURL target;
        std::string delivered;
        failed = false;
        memory = FakeMemory{n, std::numeric_limits<int>::max() - n, 0, 0};
        curl.perform = [&] {
            for (int i = 0; i < 40 && !failed; ++i) {
                const std::string piece(9000, static_cast<char>('A' + i));
                const std::size_t taken = curl.Receive(piece);
                failed = taken == 0;
                if (!failed) {
                    EXPECT_EQ(taken, piece.size());
                    delivered += piece;
                }
            }
        };
        target.Get("u", NoTimeout, nullptr, nullptr, nullptr, nullptr);
        ASSERT_EQ(target.Size(), delivered.size()) << n;
        EXPECT_EQ(target.Size() == 0 ? "" : std::string(target.Data(), target.Size()), delivered);

        memory = FakeMemory();  // and once there is memory again, the object is as good as new
        curl.perform = [] { curl.Receive(std::string(50000, 'z')); };
        target.Get("u", NoTimeout, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(std::string(target.Data(), target.Size()), std::string(50000, 'z'));
        ASSERT_LT(n, 100);
    }
}

TEST_F(NURLCalls, WhereMemoryIsShortASmallerBufferWillDoIfAllFitsIn) {
    Progress progress;
    const auto receive = [&](std::size_t first, std::size_t second, int failures) {
        NURL target;
        _receive(target, {10000});
        progress.clear();
        curl.perform = [&] {
            curl.Receive(std::string(first, 'a'));
            memory = FakeMemory{1, failures, 0, 0};
            curl.Receive(std::string(second, 'b'));
        };
        target.Get("u", NoTimeout, nullptr, nullptr, &_note, &progress);
        memory = FakeMemory();
        return std::string(target.Data(), target.Size());
    };
    // 10240 + 15000 would be three blocks, for 15000 two will do, and 20000 fit in.
    EXPECT_EQ(receive(5000, 15000, 2), std::string(5000, 'a') + std::string(15000, 'b'));
    EXPECT_EQ(progress, Progress({{5000, 10240}, {20000, 20480}}));
    // 20490 do not: what is there stays, and nothing is written behind the end.
    EXPECT_EQ(receive(5490, 15000, 2), std::string(5490, 'a'));
    EXPECT_EQ(progress, Progress({{5490, 10240}}));
}

TEST_F(NURLCalls, ReceiverTakesTheCountForTheLength) {
    curl.perform = [] {
        char bytes[] = "abcdef";
        EXPECT_EQ(curl.receive(bytes, 0, 6, curl.receiver), 0u);
        EXPECT_EQ(curl.receive(bytes, 1, 0, curl.receiver), 0u);
        EXPECT_EQ(curl.receive(bytes, 2, 3, curl.receiver), 3u);
    };
    Get();
    EXPECT_EQ(Received(), "abc");
}

TEST_F(NURLCalls, UploadIsReadPieceByPiece) {
    Progress progress;
    std::string sent;
    curl.perform = [&] {
        EXPECT_EQ(curl.send(nullptr, 0, 4, curl.sender), 0u);
        for (std::string piece = curl.Send(1, 4); !piece.empty(); piece = curl.Send(1, 4)) {
            sent += piece;
        }
    };
    EXPECT_EQ(url.Upload("u", "0123456789", 10, 1, nullptr, nullptr, &_note, &progress), 0);
    EXPECT_EQ(sent, "0123456789");
    EXPECT_EQ(progress, Progress({{4, 10}, {8, 10}, {10, 10}}));
}

TEST_F(NURLCalls, BodyIsReadInItemsOfAnySize) {
    curl.perform = [] {
        EXPECT_EQ(curl.Send(2, 6), "012345");
        EXPECT_EQ(curl.Send(2, 6), "6789");
        EXPECT_EQ(curl.Send(2, 6), "");
    };
    EXPECT_EQ(url.Request("u", "0123456789", 10, 1, nullptr, nullptr, nullptr, nullptr, 0), 0);
}

// True from the call on to which `context` has counted down.
bool _cancelAtZero(void* context) {
    return (*static_cast<int*>(context))-- <= 0;
}

TEST_F(NURLCalls, CancellingReplacesTheCode) {
    curl.performResult = CURLE_WRITE_ERROR;
    int calls = 1;
    curl.perform = [] {
        EXPECT_EQ(curl.Receive("kept"), 4u);
        EXPECT_EQ(curl.Receive("dropped"), Stop);
    };
    EXPECT_EQ(url.Get("u", 1, &_cancelAtZero, &calls, nullptr, nullptr), -2);
    EXPECT_EQ(Received(), "kept");

    // The answer of one request doesn't count for the next.
    curl.perform = [] {};
    EXPECT_EQ(url.Get("u", 1, &_cancelAtZero, &calls, nullptr, nullptr), CURLE_WRITE_ERROR);

    calls = 1;
    curl.perform = [] {
        EXPECT_EQ(curl.Send(1, 4), "0123");
        char room[4];
        EXPECT_EQ(curl.send(room, 1, 4, curl.sender), Stop);
    };
    EXPECT_EQ(url.Upload("u", "0123456789", 10, 1, &_cancelAtZero, &calls, nullptr, nullptr), -2);
}

TEST_F(NURLCalls, ExceptionsOfCallbacksComeOutWhenAllIsCleanedUp) {
    const auto cancel = [](void*) -> bool { throw std::runtime_error("cancel"); };
    const auto progress = [](std::uint64_t, std::uint64_t, void*) {
        throw std::runtime_error("progress");
    };
    curl.performResult = CURLE_WRITE_ERROR;
    curl.perform = [] { EXPECT_EQ(curl.Receive("bytes"), Stop); };
    EXPECT_THROW(url.Get("u", 1, cancel, nullptr, nullptr, nullptr), std::runtime_error);
    EXPECT_EQ(url.Size(), 0u);
    EXPECT_EQ(curl.calls.back(), "global_cleanup");

    curl.calls.clear();
    EXPECT_THROW(url.Request("u", nullptr, 0, 1, nullptr, nullptr, progress, nullptr, 0),
                 std::runtime_error);
    EXPECT_EQ(Received(), "bytes");
    EXPECT_EQ(curl.calls.back(), "slist_free_all");

    curl.perform = [] {
        char room[4];
        EXPECT_EQ(curl.send(room, 1, 4, curl.sender), Stop);
    };
    EXPECT_THROW(url.Upload("u", "0123", 4, 1, nullptr, nullptr, progress, nullptr),
                 std::runtime_error);

    // None of them is left over for a request that goes well.
    curl.performResult = CURLE_OK;
    curl.perform = [] { curl.Receive("fine"); };
    EXPECT_EQ(Get(), 0);
    EXPECT_EQ(Received(), "fine");
}

}  // namespace
