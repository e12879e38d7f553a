// The library behind a pipe. Each line of the standard input is a command and its words, and is
// answered by a line: the command's number, and what came of it or the exception behind a "!". With
// a number as argument so many threads share the lines. What is to come out, the drivers beside
// this file know.
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include <morvel/companions.h>
#include <morvel/morvel.h>

namespace {
std::atomic<std::time_t> _clockReads{0};  // 0: what the system's clock reads

thread_local NXML _document;

using Folder = std::filesystem::directory_iterator;

struct Line {
    std::string command, file, other;
    int first, second;
    NPath Path() const { return NPath(file, EncodingUTF8); }
    long Count() const { return std::stol(other); }
    std::string Filling() const { return std::string(std::stoul(other), 'n'); }
    NStringEncoding Encoding() const { return static_cast<NStringEncoding>(first); }
};

// `file`, as text in the encoding `first`.
void _text(const Line& l, const std::function<void(NString&)>& use) {
    const std::string bytes = morvel::ReadFile(l.Path());
    NString text(l.Encoding());
    text.SetBytes(bytes.data(), bytes.size(), l.Encoding());
    use(text);
}

// Whether the document `file` is accepted, and comes back from its own text.
void _load(const Line& l, std::ostream& out) {
    NXML again;
    const bool accepted = _document.LoadFile(l.file, true);
    const std::string text = _document.ToText(0);
    const bool same = again.FromText(text) && again.ToText(0) == text;
    out << (!accepted ? "refused" : same ? "accepted" : "changed");
}

void _loadFrom(const Line& l, std::ostream& out) {
    const morvel::XmlFault fault = morvel::LoadFrom(_document, l.Path());
    if (fault) out << fault.line << ':' << fault.column << ' ' << fault.message;
    out << _document.ToText(0);
}

NXML& _documentOf(const Line& l) {
    _document.Clear();
    morvel::Put(_document, "r", l.Filling());
    return _document;
}

// Eight bytes read or written; -1 where there is no such file.
template <class Use>
int _open(const Line& l, int mode, Use use) {
    char bytes[] = "nnnnnnnn";
    NFileStream stream;
    return stream.Open(NFile(l.file), mode) != 0 ? -1 : (stream.*use)(bytes, 8);
}

// Where it stands and how much there is; -1 where there is no such file.
int _seek(const Line& l) {
    NFileStream stream;
    if (stream.Open(NFile(l.file), NFileStream::ModeRead) != 0) return -1;
    return stream.Seek(1) * 10 + stream.Size();
}

// `file`, which is read by its URL, into the file `other`.
int _download(const Line& l) {
    const NPath target(l.other, EncodingUTF8);
    return NURL().Request("file://" + l.file, nullptr, &target, 0, 10, nullptr, nullptr, nullptr,
                          nullptr, RequestToFile);
}

// The hours since 1970, `second` of them from `first` on, at which local time in the zone `file` is
// by another number of seconds ahead of UTC than it was, and that number.
void _offsets(const Line& l, std::ostream& out) {
    setenv("TZ", l.file.c_str(), 1);
    std::int64_t before = -1;
    for (std::int64_t hour = l.first; hour < l.first + l.second; ++hour) {
        _clockReads = hour * 3600;
        const NDateTime now;
        const std::int64_t ahead = now.Timestamp().Value() / 1000000 - _clockReads;
        if (ahead != before) out << hour << ':' << ahead << ' ';
        before = ahead;
    }
    _clockReads = 0;
}

// Numbers, tokens and dates: those that don't come back from their text.
void _values(const Line& l, std::ostream& out) {
    for (long long value = 0; value < l.Count(); ++value) {
        NString number;
        number.SetNumber(value * value);
        const NStringTokenizer tokens("a," + number, ",", 0);
        const NDateTime date(NTimestamp(value * 86400000000));
        std::int32_t zone = 0;
        const std::string text = NDateTime::Format(date, "%Y-%m-%d", 0);
        if (NString(tokens.Token(1)).ToUInt64() != std::uint64_t(value * value) ||
            NDateTime::Parse("%Y-%m-%d", text, zone) != date) {
            out << value << ' ';
        }
    }
}

void _log(const Line& l) {
    for (long line = 0; line < l.Count(); ++line) {
        NLOG("NOTICE", "writer %s line %ld", l.file.c_str(), line);
    }
}

void _lock(const Line& l) {
    NNamedMutex mutex(l.file.c_str());
    for (long turn = 0; turn < l.Count(); ++turn) const NAutoNamedMutexLock lock(&mutex);
}

// No file grows larger than that.
void _limitFiles(const Line& l) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {rlim_t(l.Count()), RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

std::string _hex(const std::string& bytes) {
    return NString::HexString(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

void _fetch(const Line& l, std::ostream& out) {
    const morvel::Reply reply = morvel::Fetch(l.file, static_cast<std::uint32_t>(l.Count()));
    out << reply.status << ' ' << reply.body.size();
}

#define DO(...) [](const Line& l, std::ostream& out) { (void)l, (void)out, __VA_ARGS__; }
#define READ(...) DO(_text(l, [&](NString& text) { __VA_ARGS__; }))
#define CHANGE(...) READ(text.__VA_ARGS__, std::ofstream(l.other, std::ios::binary) << text.Data())

const std::map<std::string, std::function<void(const Line&, std::ostream&)>> Commands = {
    {"convert", CHANGE(ConvertTo(static_cast<NStringEncoding>(l.second)))},
    {"normalize", CHANGE(Normalize(static_cast<NStringForm>(l.second)))},
    {"base64", CHANGE(EncodeBase64())},
    {"unbase64", CHANGE(DecodeBase64())},
    {"url", CHANGE(UrlEncode())},
    {"unurl", CHANGE(UrlDecode())},
    {"offsets", _offsets},
    {"values", _values},
    {"load", _load},
    {"load-from", _loadFrom},
    {"save", DO(out << _documentOf(l).SaveFile(l.file))},
    {"save-safely", DO(morvel::SaveSafely(_documentOf(l), l.Path()))},
    {"write", DO(morvel::WriteFile(l.Path(), l.Filling()))},
    {"malformed", READ(out << int(morvel::FindMalformed(text).value_or(std::size_t(-1))))},
    {"decode", READ(out << _hex(morvel::Decode(text.Data(), EncodingLatin1).Data()))},
    {"strict", READ(out << morvel::ParseStrict(text.Data(), l.other).has_value())},
    {"can-convert", READ(out << morvel::CanConvert(text, static_cast<NStringEncoding>(l.second)))},
    {"count", READ(out << morvel::CountCharacters(text))},
    {"query", READ(out << morvel::QueryUrl(l.other, {{"n", text}}))},
    {"status", DO(out << morvel::StatusText(static_cast<std::int32_t>(l.Count())))},
    {"read", DO(out << morvel::ReadFile(l.Path()).size())},
    {"rename", DO(morvel::Rename(l.Path(), NPath(l.other, EncodingUTF8)))},
    {"create", DO(out << NFile(l.file).CreateFile())},
    {"create-folder", DO(out << NFile(l.file).CreateDirectory())},
    {"create-folders", DO(NFile(l.file).CreateDirectories())},
    {"remove", DO(NFile(l.file).Remove(true))},
    {"exists", DO(out << NFile(l.file).Exists())},
    {"created", DO(out << NFile(l.file).CreationTime().Value())},
    {"stream-read", DO(out << _open(l, NFileStream::ModeRead, &NFileStream::Read))},
    {"stream-write", DO(out << _open(l, NFileStream::ModeWrite, &NFileStream::Write))},
    {"stream-seek", DO(out << _seek(l))},
    {"download", DO(out << _download(l))},
    {"flush-log", DO(out << morvel::FlushLog(20))},
    {"hold", DO((new NNamedMutex(l.file.c_str()))->Lock())},  // until the process ends
    {"start-log", DO(out << morvel::StartLog(l.file))},
    {"log", DO(_log(l))},
    {"lock", DO(_lock(l))},
    {"fetch", _fetch},
    {"room", DO(_limitFiles(l))},
    {"descriptors", DO(out << std::distance(Folder("/proc/self/fd"), {}))},
};

// What comes of a line, between two system calls that nothing else makes, for a tracer to see.
std::string _answer(const std::string& text) {
    Line line{};
    std::istringstream(text) >> line.command >> line.file >> line.other >> line.first >>
        line.second;
    std::ostringstream out;
    syscall(SYS_getppid);
    try {
        Commands.at(line.command)(line, out);
    } catch (const std::exception& e) {
        out << '!' << e.what();
    }
    syscall(SYS_getppid);
    return out.str();
}

void _work() {
    static std::mutex reading, writing;
    static int count = 0;
    for (std::string line;;) {
        std::unique_lock<std::mutex> lock(reading);
        if (!std::getline(std::cin, line)) return;
        const int number = count++;
        lock.unlock();
        const std::string answer = _answer(line);
        const std::lock_guard<std::mutex> alone(writing);
        std::cout << number << ' ' << answer << std::endl;
    }
}

}  // namespace

// In place of the C library's: the library and POCO read the clock through it.
#pragma GCC visibility push(default)
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const int result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_REALTIME && _clockReads != 0) *time = {_clockReads, 0};
    return result;
}
#pragma GCC visibility pop

int main(int argc, char** argv) {
    std::vector<std::thread> others(argc > 1 ? std::stoul(argv[1]) - 1 : 0);
    for (std::thread& other : others) other = std::thread(_work);
    _work();
    for (std::thread& other : others) other.join();
}
