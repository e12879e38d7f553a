// NURL against a libcurl of this file's own, which writes down what it is told and delivers what a
// test wants: for the calls, values and failures that no server brings about. The program has a
// copy of NURL.cpp in it, whose calls of libcurl and of realloc end here.

#include <curl/curl.h>

#include <cstdarg>

#include <morvel/files/NPath.h>
#include <morvel/transfer/NURL.h>
#include <tests/support/Generated.h>

namespace {

// All that is called, in order, as transfers.txt has it.
std::string _calls;

struct FakeCurl {
    CURLcode initResult = CURLE_OK;
    bool hasHandle = true;
    long long headersToKeep = -1;  // all
    std::function<void()> perform = [] {};
    curl_write_callback receive = nullptr;
    void* receiver = nullptr;
    curl_read_callback send = nullptr;
    void* sender = nullptr;
};

FakeCurl _curl;
std::size_t _reallocsToFail = 0;

// Which call of a callback stops the transfer, counted from 0, and whether by an exception.
long long _stopAt = -1;
bool _throws = false;

bool _stopsNow() {
    if (_stopAt-- != 0) return false;
    if (_throws) throw std::runtime_error("callback");
    return true;
}

bool _cancel(void* context) {
    EXPECT_EQ(context, &_stopAt);
    _calls += "? ";
    return _stopsNow();
}

void _progress(std::uint64_t done, std::uint64_t whole, void* context) {
    EXPECT_EQ(context, &_calls);
    _calls += std::to_string(done) + '/' + std::to_string(whole) + ' ';
    _stopsNow();
}

// Does what libcurl would, and gives all that was received whole.
std::string _move(const std::string& written) {
    std::istringstream moves(written);
    std::string received;
    std::size_t count = 0, size = 0;
    for (char way = 0; moves >> way >> count;) {
        if (moves.peek() != '*' || !(moves.ignore() >> size)) size = 1;
        std::string bytes(std::max<std::size_t>(count * size, 1), '-');
        if (way == '!') {
            _reallocsToFail = count;
        } else if (way == '<') {
            std::iota(bytes.begin(), bytes.end(), static_cast<char>(received.size()));
            const auto taken = _curl.receive(&bytes[0], size, count, _curl.receiver);
            _calls += '=' + std::to_string(taken) + ' ';
            if (taken == count) received += bytes.substr(0, taken);
        } else {
            const auto sent = _curl.send(&bytes[0], size, count, _curl.sender);
            if (sent <= bytes.size()) bytes.resize(sent);
            _calls += '=' + std::to_string(sent) + ':' + bytes + ' ';
        }
    }
    _reallocsToFail = 0;
    return received;
}

// The words of a request, each with what stands behind its =.
std::map<std::string, std::string> _words(const std::string& text) {
    std::map<std::string, std::string> words;
    std::istringstream in("timeout=7 body=0 stop=-1 list=-1 " + text);
    for (std::string word; in >> word;) {
        const std::size_t end = std::min(word.find('='), word.size());
        words[word.substr(0, end)] = word.substr(std::min(end + 1, word.size()));
    }
    return words;
}

}  // namespace

extern "C" {

void* __real_realloc(void* block, std::size_t size);

// Visible, because the linker sees shared libraries use realloc as well; theirs it doesn't replace.
__attribute__((visibility("default"))) void* __wrap_realloc(void* block, std::size_t size) {
    return _reallocsToFail > 0 && _reallocsToFail-- > 0 ? nullptr : __real_realloc(block, size);
}

CURLcode curl_global_init(long flags) {
    _calls += "global_init " + std::to_string(flags) + ' ';
    return _curl.initResult;
}

void curl_global_cleanup() {
    _calls += "global_cleanup ";
}

CURL* curl_easy_init() {
    _calls += "easy_init ";
    return _curl.hasHandle ? &_curl : nullptr;
}

void curl_easy_cleanup(CURL*) {
    _calls += "easy_cleanup ";
}

// A list is here but its lines, each in brackets.
curl_slist* curl_slist_append(curl_slist* list, const char* line) {
    if (_curl.headersToKeep-- == 0) return nullptr;
    auto* const lines = list == nullptr ? new std::string : reinterpret_cast<std::string*>(list);
    *lines += '[' + std::string(line) + ']';
    return reinterpret_cast<curl_slist*>(lines);
}

void curl_slist_free_all(curl_slist* list) {
    delete reinterpret_cast<std::string*>(list);
    _calls += "free_all ";
}

CURLcode curl_easy_perform(CURL*) {
    _calls += "perform ";
    _curl.perform();
    return CURLE_OK;
}

#undef curl_easy_setopt
#pragma GCC diagnostic ignored "-Wvarargs"  // the type of the option is libcurl's own
CURLcode curl_easy_setopt(CURL*, CURLoption option, ...) {
    va_list values;
    va_start(values, option);
    std::string value;
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        value = ' ' + std::to_string(va_arg(values, long));
    } else if (option >= CURLOPTTYPE_OFF_T) {
        value = ' ' + std::to_string(va_arg(values, curl_off_t));
    } else if (option == CURLOPT_URL) {
        value = ' ' + std::string(va_arg(values, const char*));
    } else if (option == CURLOPT_HTTPHEADER) {
        value = ' ' + *va_arg(values, std::string*);
    } else if (option == CURLOPT_WRITEFUNCTION) {
        _curl.receive = va_arg(values, curl_write_callback);
        const auto toFile = reinterpret_cast<curl_write_callback>(&std::fwrite);
        value = _curl.receive == toFile ? " fwrite" : " own";
    } else if (option == CURLOPT_READFUNCTION) {
        _curl.send = va_arg(values, curl_read_callback);
    } else {
        (option == CURLOPT_WRITEDATA ? _curl.receiver : _curl.sender) = va_arg(values, void*);
    }
    va_end(values);
    _calls += curl_easy_option_by_id(option)->name + value + ' ';
    return CURLE_UNKNOWN_OPTION;  // which nobody is to mind
}

}  // extern "C"

TEST(NURLCalls, AreWhatTheTableTells) {
    const TemporaryFolder folder;
    const std::vector<std::string> lines = {"A: 1", "", "B: 2"};
    std::unique_ptr<NURL> url;
    for (const auto& row : ReadTable(TRANSFERS, 4)) {
        SCOPED_TRACE(row[0] + "  " + row[1]);
        auto words = _words(row[0]);
        const auto has = [&](const char* word) { return words.count(word) > 0; };
        const auto number = [&](const char* word) { return std::stoll(words.at(word)); };
        const NPath name(folder.File(has("file") ? words["file"] : "").c_str());
        const void* const body = has("no-body") ? nullptr
                                 : has("file")  ? static_cast<const void*>(&name)
                                                : "0123456";
        const std::uint32_t flags =
            has("file") * RequestToFile | has("keep") * RequestKeepHttpErrors;
        if (!has("again")) url = std::make_unique<NURL>();
        _stopAt = number("stop");
        _throws = has("throw");
        _calls.clear();
        _curl = {has("init") ? CURLE_OUT_OF_MEMORY : CURLE_OK, !has("handle"), number("list")};
        std::string moved, received;
        _curl.perform = [&] {
            if (row[1] == "-") return;
            _calls.clear();
            received = _move(row[1]);
            moved = _calls;
        };
        const auto timeout = static_cast<std::uint32_t>(number("timeout"));
        const std::string result = Outcome([&] {
            return has("Get")      ? url->Get("u", timeout, &_cancel, &_stopAt, &_progress, &_calls)
                   : has("Upload") ? url->Upload("u", "0123456", 7, timeout, &_cancel, &_stopAt,
                                                 &_progress, &_calls)
                                   : url->Request("u", has("headers") ? &lines : nullptr, body,
                                                  static_cast<std::size_t>(number("body")), timeout,
                                                  &_cancel, &_stopAt, &_progress, &_calls, flags);
        });
        if (!moved.empty()) {
            EXPECT_THAT(_calls, HasSubstr("easy_cleanup global_cleanup "));
            EXPECT_EQ(std::string(url->Data(), url->Size()), received);
            _calls = moved;
        }
        EXPECT_EQ(_calls, row[2] + ' ');
        EXPECT_EQ(result + ' ' + std::to_string(url->Size()), row[3]);
    }
}

TEST(NURLCalls, AFileHasOneWriterAtATime) {
    const TemporaryFolder folder;
    const NPath name(folder.Write("reply", "former content").c_str());
    NURL url;
    const auto request = [&] {
        return url.Request("u", nullptr, &name, 0, 7, nullptr, nullptr, nullptr, nullptr,
                           RequestToFile);
    };
    _curl.perform = [&] {
        EXPECT_EQ(folder.Read("reply"), "");
        std::fputs("new", static_cast<std::FILE*>(_curl.receiver));
        EXPECT_EQ(request(), -4);
        EXPECT_EQ(folder.Read("reply"), "new");
    };
    EXPECT_EQ(request(), 0);
    EXPECT_EQ(folder.Read("reply"), "new");
}
