// NURL against a libcurl of this file's own, which writes down what it is told and delivers what a
// test wants: for the calls, values and failures that no server brings about. The program has a
// copy of NURL.cpp in it, whose calls of libcurl and of realloc end here.

#include <curl/curl.h>

#include <cstdarg>
#include <cstdio>
#include <numeric>

#include <morvel/files/NPath.h>
#include <morvel/transfer/NURL.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

namespace {

// All that is called, in order; `?` is the cancel callback, = what libcurl got from one of its own.
std::string calls;

struct FakeCurl {
    CURLcode initResult = CURLE_OK;
    bool hasHandle = true;
    int headersToKeep = -1;  // all
    std::function<void()> perform = [] {};
    curl_write_callback receive = nullptr;
    void* receiver = nullptr;
    curl_read_callback send = nullptr;
    void* sender = nullptr;
};

FakeCurl curl;
std::size_t reallocsToFail = 0;

}  // namespace

extern "C" {

void* __real_realloc(void* block, std::size_t size);

// Visible, because the linker sees shared libraries use realloc as well; theirs it doesn't replace.
__attribute__((visibility("default"))) void* __wrap_realloc(void* block, std::size_t size) {
    return reallocsToFail > 0 && reallocsToFail-- > 0 ? nullptr : __real_realloc(block, size);
}

CURLcode curl_global_init(long flags) {
    calls += "global_init " + std::to_string(flags) + ' ';
    return curl.initResult;
}

void curl_global_cleanup() {
    calls += "global_cleanup ";
}

CURL* curl_easy_init() {
    calls += "easy_init ";
    return curl.hasHandle ? &curl : nullptr;
}

void curl_easy_cleanup(CURL*) {
    calls += "easy_cleanup ";
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
    calls += "free_all ";
}

CURLcode curl_easy_perform(CURL*) {
    calls += "perform ";
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
    calls += std::string(curl_easy_option_by_id(option)->name) + ' ' + value + ' ';
    return CURLE_UNKNOWN_OPTION;  // which nobody is to mind
}

}  // extern "C"

namespace {

// Which call of a callback stops the transfer, counted from 0, and whether by an exception.
int stopAt = -1;
bool throws = false;

bool _stopsNow() {
    if (stopAt-- != 0) return false;
    if (throws) throw std::runtime_error("callback");
    return true;
}

bool _cancel(void* context) {
    EXPECT_EQ(context, &stopAt);
    calls += "? ";
    return _stopsNow();
}

void _progress(std::uint64_t done, std::uint64_t whole, void* context) {
    EXPECT_EQ(context, &calls);
    calls += std::to_string(done) + '/' + std::to_string(whole) + ' ';
    _stopsNow();
}

class NURLCalls : public testing::Test {
protected:
    std::int32_t Get(std::uint32_t timeout = 7) {
        return url->Get("u", timeout, &_cancel, &stopAt, &_progress, &calls);
    }
    std::int32_t Upload(const std::string& data) {
        return url->Upload("u", data.data(), data.size(), 0xFFFFFFFE, &_cancel, &stopAt, &_progress,
                           &calls);
    }
    std::int32_t Request(const std::vector<std::string>* headers, const void* body,
                         unsigned long long size, std::uint32_t flags) {
        return url->Request("u", headers, body, size, 7, &_cancel, &stopAt, &_progress, &calls,
                            flags);
    }
    // What `request` calls.
    template <class Function>
    std::string Calls(Function request, std::int32_t status, const FakeCurl& fake = {}) {
        curl = fake;
        calls.clear();
        EXPECT_EQ(request(), status);
        return calls;
    }
    std::string Received() { return std::string(url->Data(), url->Size()); }

    const std::string begin = "global_init 3 easy_init URL u ", fail = "FAILONERROR 1 ";
    const std::string end = "easy_cleanup global_cleanup ";
    const morvel::test::TemporaryFolder folder;
    const std::vector<std::string> lines = {"A: 1", "", "B: 2"};
    std::unique_ptr<NURL> url = std::make_unique<NURL>();
};

TEST_F(NURLCalls, OptionsOfEachRequest) {
    const std::string own = "WRITEFUNCTION own WRITEDATA  ";
    const std::string file = "WRITEFUNCTION fwrite WRITEDATA  HTTPHEADER ";
    const std::string plain = own + "HTTPHEADER [Expect:] ", free = "free_all ";
    const std::string type = "[Content-Type: application/binary] ";
    const std::string post =
        "POST 1 POSTFIELDSIZE_LARGE 5 READFUNCTION  READDATA  UPLOAD_BUFFERSIZE 2097152 ";
    const std::string follow = "TIMEOUT 7 FOLLOWLOCATION 1 ";
    const NPath name(folder.File("reply").c_str());
    const struct {
        std::function<std::int32_t()> request;
        std::string options, last = "";
    } rows[] = {
        {[&] { return Get(0); }, fail + own + "TIMEOUT 0 "},
        {[&] { return Get(0xFFFFFFFF); }, fail + own},
        {[&] { return Upload(""); }, fail + "POST 1 READFUNCTION  READDATA  TIMEOUT 4294967294 "},
        {[&] { return Request(nullptr, "hello", 0, 0); }, fail + plain + follow, free},
        {[&] { return Request(nullptr, nullptr, 5, RequestKeepHttpErrors); }, plain + follow, free},
        {[&] { return Request(&lines, "hello", 5, 0); },
         fail + own + "HTTPHEADER [A: 1][][B: 2][Expect:] " + post + follow, free},
        {[&] { return Request(&lines, &name, 0, RequestToFile); },
         fail + file + "[A: 1][][B: 2]" + type + follow, free},
        {[&] { return Request(nullptr, &name, 5, RequestToFile | RequestKeepHttpErrors); },
         file + type + post + follow, free},
    };
    for (const auto& row : rows) {
        curl.perform = [] { curl.receive(std::string("bytes").data(), 1, 5, curl.receiver); };
        ASSERT_EQ(Get(), 0);
        EXPECT_EQ(Calls(row.request, 100, {CURLE_OUT_OF_MEMORY}), "global_init 3 ");
        EXPECT_EQ(Calls(row.request, 100, {CURLE_OK, false}),
                  "global_init 3 easy_init global_cleanup ");
        EXPECT_EQ(Received(), "bytes");
        EXPECT_EQ(Calls(row.request, 0),
                  begin + row.options + "SSL_VERIFYPEER 0 perform " + end + row.last);
    }
}

TEST_F(NURLCalls, WhatFailsBeforeATransfer) {
    // No request goes out without one of its headers.
    for (int kept = 0; kept < 4; ++kept) {
        const auto request = [&] { return Request(&lines, nullptr, 0, 0); };
        EXPECT_THROW(Calls(request, 0, {CURLE_OK, true, kept}), std::bad_alloc);
        EXPECT_THAT(calls, Not(testing::HasSubstr("perform"))) << kept;
        EXPECT_THAT(calls, testing::EndsWith(kept > 0 ? end + "free_all " : end)) << kept;
    }
    // These leave all behind that there is.
    const NPath missing(folder.File("no such folder/reply").c_str());
    for (const NPath* name : {static_cast<const NPath*>(nullptr), &missing}) {
        curl.perform = [] { curl.receive(std::string("bytes").data(), 1, 5, curl.receiver); };
        ASSERT_EQ(Get(), 0);
        const auto request = [&] { return Request(nullptr, name, 0, RequestToFile); };
        EXPECT_EQ(Calls(request, name == nullptr ? -3 : -4), begin + fail);
        EXPECT_EQ(url->Size(), 0u);
    }
}

TEST_F(NURLCalls, AFileHasOneWriterAtATime) {
    const NPath name(folder.Write("reply", "former content").c_str());
    curl.perform = [&] {
        EXPECT_EQ(folder.Read("reply"), "");
        std::fputs("new", static_cast<std::FILE*>(curl.receiver));
        EXPECT_EQ(Request(nullptr, &name, 0, RequestToFile), -4);
        EXPECT_EQ(folder.Read("reply"), "new");
    };
    EXPECT_EQ(Request(nullptr, &name, 0, RequestToFile), 0);
    EXPECT_EQ(folder.Read("reply"), "new");
}

TEST_F(NURLCalls, CallbacksAndMemoryOfEachTransfer) {
    const std::int32_t thrown = 77;
    const struct {
        // The request, and what libcurl does: `<` receives so many bytes, `>` sends them, in items
        // of as many as stand behind `*`, and `!` lets so many calls of realloc fail.
        const char *moves, *calls;
        std::int32_t status = 0;
        int stopAt = -1;
        bool again = false;  // by the same object
    } rows[] = {
        {"Get <6*0 <0 <3*2 <2", "=0 =0 ? 3/10240 =3 ? 5/10240 =2 "},
        {"Request >2*2 <3 >9 >9", "=4:0123 ? 3/10240 =3 =3:456 =0: "},
        {"Upload >0 >5 >5 >5", "=0: ? 5/7 =5:01234 ? 7/7 =2:56 ? =0: "},
        {"Get <3", "? =268435456 ", -2, 0},
        {"Request <3 <3", "? 3/10240 =3 ? =268435456 ", -2, 2},
        {"Upload >7", "? =268435456:------- ", -2, 0},
        {"Get <3", "? =268435456 ", thrown, 0},
        {"Request <3 <3", "? 3/10240 =3 ? =268435456 ", thrown, 2},
        {"Upload >7", "? 7/7 =268435456:0123456 ", thrown, 1},
        {"Get <1", "? 1/10240 =1 ", 0, -1, true},  // nothing of it is left over
        // The capacity grows by whole blocks, from what is there.
        {"Get <100 <20000", "? 100/10240 =100 ? 20100/30720 =20000 "},
        {"Get <30720 <1", "? 30720/30720 =30720 ? 30721/40960 =1 ", 0, -1, true},
        {"Get <10240", "? 10240/20480 =10240 "},
        // Where memory is short for three blocks, two will do if all fits in.
        {"Get <5000 !2 <15000", "? 5000/10240 =5000 ? 20000/20480 =15000 "},
        {"Get <5490 !2 <15000", "? 5490/10240 =5490 ? =0 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.moves);
        if (!row.again) url = std::make_unique<NURL>();
        std::istringstream moves(row.moves);
        std::string form, received;
        moves >> form;
        curl.perform = [&] {
            calls.clear();
            std::size_t count, size;
            for (char way; moves >> way >> count;) {
                if (moves.peek() != '*' || !(moves.ignore() >> size)) size = 1;
                std::string bytes(std::max<std::size_t>(count * size, 1), '-');
                if (way == '!') {
                    reallocsToFail = count;
                } else if (way == '<') {
                    std::iota(bytes.begin(), bytes.end(), static_cast<char>(received.size()));
                    const auto taken = curl.receive(&bytes[0], size, count, curl.receiver);
                    calls += '=' + std::to_string(taken) + ' ';
                    if (taken == count) received += bytes.substr(0, taken);
                } else {
                    const auto sent = curl.send(&bytes[0], size, count, curl.sender);
                    if (sent <= bytes.size()) bytes.resize(sent);
                    calls += '=' + std::to_string(sent) + ':' + bytes + ' ';
                }
            }
            EXPECT_EQ(calls, row.calls);
        };
        stopAt = row.stopAt;
        throws = row.status == thrown;
        try {
            EXPECT_EQ(form == "Get"      ? Get()
                      : form == "Upload" ? Upload("0123456")
                                         : Request(nullptr, "0123456", 7, 0),
                      row.status);
        } catch (const std::runtime_error&) {
            EXPECT_TRUE(throws);
        }
        reallocsToFail = 0;
        EXPECT_THAT(calls, testing::HasSubstr(end));
        EXPECT_TRUE(Received() == received);
    }
}

}  // namespace
