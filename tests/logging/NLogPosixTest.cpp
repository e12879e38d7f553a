#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <morvel/files/NFileStream.h>
#include <morvel/logging/LogTools.h>
#include <tests/logging/Log.h>

namespace {
std::atomic<std::time_t> _clockReads{0};  // 0: what the system's clock reads
std::atomic<bool> _writesHang{false};     // behind what they have written
std::atomic<bool> _unlocksLinger{false};  // of all threads but the main one

using Written = std::map<int, std::vector<int>>;
const std::filesystem::path File = InLogFolder("LogInForce.log");

// Runs `body` in a child process and gives its exit status, or minus the signal that ended it.
int _inChild(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);  // rather than wait for ever
        body();
        _exit(Test::HasFailure());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

void _expectInChild(const std::function<void()>& body) {
    EXPECT_EQ(_inChild(body), 0);
}

// What is queued is in the file: each fork sees to it.
void _drain() {
    _expectInChild([] {});
}

void _expectSoon(const Written& lines) {
    Becomes([&] { return WrittenLines(File) == lines; });
    EXPECT_EQ(WrittenLines(File), lines);
}

// Of the open files, those whose name begins so: what the library opens, and so to be kept private.
std::vector<int> _descriptors(const std::string& name) {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the one that reads the folder
        if (std::filesystem::read_symlink(entry, gone).string().rfind(name, 0) == 0) {
            found.push_back(std::stoi(entry.path().filename()));
            EXPECT_GT(found.back(), STDERR_FILENO);
            EXPECT_EQ(fcntl(found.back(), F_GETFD), FD_CLOEXEC);
        }
    }
    return found;
}

auto _entriesOf(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

void _limitFileSize(rlim_t bytes) {
    const rlimit limit = {bytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

struct NLogPosix : Test {
    void SetUp() override {
        std::filesystem::remove_all(InLogFolder(""));
        std::filesystem::create_directories(InLogFolder(""));
    }
};
}  // namespace

// The first test, so that nothing but the default log itself has guarded forks yet.
TEST_F(NLogPosix, ChildForkedWhileTheDefaultLogIsMadeGetsItsOwn) {
    for (int headStart = 0; headStart < 200; headStart += 2) {
        const auto ask = [] { _exit(NLog::DefaultLog() == nullptr); };
        ASSERT_EQ(_inChild([&] {
                      std::thread other(NLog::DefaultLog);
                      const auto end = std::chrono::steady_clock::now() + headStart * 1us;
                      while (std::chrono::steady_clock::now() < end) {
                      }
                      const int child = _inChild(ask);
                      other.join();
                      _exit(child);
                  }),
                  0)
            << headStart;
    }
}

TEST_F(NLogPosix, BannerHasTheWallClockAndEachLineItsSecondInUtc) {
    // As Europe/Dublin: standard time is the summer's, and the winter's is an hour behind it.
    setenv("TZ", "IST-1GMT0,M10.5.0,M3.5.0/1", 1);
    _clockReads = 1768478402;
    const std::string stars(53, '*');
    EXPECT_EQ(WholeLogOf([] {
                  NLog::Information("100%t\tof\nit");
                  _clockReads = 1768478400;  // set back
                  NLog::Information("earlier");
              }),
              stars +
                  "\n* - Log System -\t\t\t\t\t\t\t\t\t \n* Creation date: 15/1/2026 at 12:0:2\n" +
                  "* Name: LogInForce\n*" + std::string(52, ' ') + "\n" + stars + "\n" +
                  "2026/1/15 - [Thu] - 12:00:02 - 100%t\tof\nit\n"
                  "2026/1/15 - [Thu] - 12:00:00 - earlier\n");
    _clockReads = 1784116800;
    EXPECT_THAT(WholeLogOf([] { NLog::Information("summer"); }),
                HasSubstr("* Creation date: 15/7/2026 at 13:0:0\n"));
    _clockReads = 0;
    unsetenv("TZ");
}

// Children that end normally, every other one without a line, and one of each one's own, forked
// while threads log and the queue is long.
TEST_F(NLogPosix, ChildrenOfABusyParentLogAndEnd) {
    constexpr int Children = 20, Lines = 6000;
    _expectInChild([] {
        NLog::Set(NLog::DefaultLog());
        InThreads(4, [](int writer) {
            for (int line = 0; writer < 3 && line < Lines; line += 50) {
                WriteLines(writer, line, 50);
                std::this_thread::sleep_for(1ms);
            }
            for (int child = 100; writer == 3 && child < 100 + Children; ++child) {
                _expectInChild([child] {
                    WriteLines(child, 0, child % 2 * 50);
                    _expectInChild([child] { WriteLines(child + 100, 0, 1), std::exit(0); });
                    std::exit(HasFailure());
                });
            }
        });
        std::exit(HasFailure());
    });
    Written expected;
    for (int writer = 0; writer < 3; ++writer) expected[writer] = Numbers(Lines);
    for (int child = 100; child < 100 + Children; ++child) {
        if (child % 2 == 1) expected[child] = Numbers(50);
        expected[child + 100] = Numbers(1);
    }
    EXPECT_EQ(WrittenLines(InLogFolder("NLogPosixTest.log")), expected);
}

// As daemon() does it.
TEST_F(NLogPosix, ParentThatEndsRightBehindTheForkHasWrittenItsLines) {
    _expectInChild([] {
        const LogInForce inForce;
        WriteLines(0, 0, 1000);
        if (fork() != 0) _exit(0);
        WriteLines(1, 0, 3);
        _drain();
        WriteLines(2, 0, 1);
        _drain();
    });
    _expectSoon({{0, Numbers(1000)}, {1, Numbers(3)}, {2, Numbers(1)}});
}

// Two lines, the second also between the step in which the writer finds no more and its sleep.
TEST_F(NLogPosix, LineThatComesWhenTheWriterIsAboutToSleepIsWritten) {
    const LogInForce inForce;
    _unlocksLinger = true;
    for (int line = 0; line < 40 && !HasFailure(); line += 2) {
        WriteLines(0, line, 1);
        std::this_thread::sleep_for(line * 100us);
        WriteLines(0, line + 1, 1);
        _expectSoon({{0, Numbers(line + 2)}});
    }
    _unlocksLinger = false;
}

// A network folder that is gone, say. The first fork and the end wait for a few seconds.
TEST_F(NLogPosix, WriterThatIsStuckHoldsUpNobodyForLong) {
    auto inForce = std::make_unique<LogInForce>();
    _writesHang = true;
    WriteLines(0, 0, 1000);
    EXPECT_FALSE(morvel::FlushLog(0));
    EXPECT_LT(SecondsOf(_drain), 9);
    EXPECT_LT(SecondsOf([] { _drain(), _drain(); }), 2);
    _expectInChild([&] {
        _writesHang = false;
        WriteLines(1, 0, 1);
        inForce.reset();
    });
    _writesHang = false;
    _expectSoon({{0, Numbers(1000)}, {1, Numbers(1)}});
    _writesHang = true;
    WriteLines(0, 0, 1000);
    EXPECT_LT(SecondsOf([&] { inForce.reset(); }), 9);
    _writesHang = false;
}

TEST_F(NLogPosix, FifoIsWrittenToIfSomebodyReadsIt) {
    ASSERT_EQ(mkfifo(File.c_str(), 0600), 0);
    EXPECT_LT(SecondsOf([] { LogInForce(), WriteLines(0, 0, 3); }), 2);
    const int both = open(File.c_str(), O_RDWR);  // so that nobody waits to open it
    std::thread reader([] {
        std::this_thread::sleep_for(200ms);
        std::ofstream(InLogFolder("read")) << std::ifstream(File).rdbuf();
    });
    LogInForce(), WriteLines(0, 0, 1000);  // more than it holds
    close(both);
    reader.join();
    EXPECT_EQ(WrittenLines(InLogFolder("read")), (Written{{0, Numbers(1000)}}));
}

// Also on the way out, where the thread that ends would be the one to get the signal.
TEST_F(NLogPosix, SurvivesALimitOfFileSizeAndGoesOnWithALineOfItsOwn) {
    _expectInChild([] {
        NLog::Set(NLog::DefaultLog());
        _limitFileSize(50000);
        WriteLines(0, 0, 20000);
        std::exit(0);
    });
    const LogInForce inForce;
    NLog::Information("first");
    _drain();
    _limitFileSize(std::filesystem::file_size(File) + 5);
    WriteLines(0, 0, 50);
    _drain();
    _limitFileSize(RLIM_INFINITY);
    const std::string torn = ReadLog(File);
    EXPECT_THAT(torn, MatchesRegex(".*first\n....."));
    WriteLines(0, 0, 2);
    _drain();
    EXPECT_EQ(ReadLog(File).rfind(torn + "\n", 0), 0u);
    EXPECT_EQ(WrittenLines(File), (Written{{0, Numbers(2)}}));
}

// What the host prints doesn't end in a file of ours though its standard streams are closed, and
// programs that it starts get none. The log rotates whatever became of its folder. Streams that are
// opened once more keep their first file.
TEST_F(NLogPosix, DescriptorsAreFewAndPrivate) {
    std::ofstream(InLogFolder("stream"));
    _expectInChild([] {
        const auto threads = _entriesOf("/proc/self/task");
        const LogInForce inForce("Rotated");
        EXPECT_EQ(_entriesOf("/proc/self/task"), threads);
        NLog::Information("x");
        _drain();
        EXPECT_EQ(_descriptors(InLogFolder("Rotated.log")).size(), 1u);
        const NFile file(NString(InLogFolder("stream").string()));
        for (int round = 0; round < 2; ++round) {
            for (int standard = 0; standard < 3 * round; ++standard) close(standard);
            NFileStream stream;
            for (int turn = 0; turn < 2; ++turn) (void)stream.Open(file, NFileStream::ModeRead);
        }
        EXPECT_EQ(_descriptors(file.Path().Data()).size(), 2u);
        const auto descriptors = _entriesOf("/proc/self/fd");
        for (int round = 0; round < 5; ++round) {
            const std::vector<int> logs = _descriptors(InLogFolder("Rotated.log"));
            ASSERT_EQ(logs.size(), 1u);
            EXPECT_EQ(ftruncate(logs[0], 10485760), 0);
            if (round == 3) std::filesystem::remove_all(InLogFolder(""));
            NLog::Information("x");
            _drain();
            EXPECT_EQ(_entriesOf("/proc/self/fd"), descriptors);
        }
    });
}

// In place of the C library's: the library and POCO read the clock, unlock and write through them.
#pragma GCC visibility push(default)
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    const int result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    if (clock == CLOCK_REALTIME && _clockReads != 0) time->tv_sec = _clockReads;
    return result;
}
extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    using Unlock = int (*)(pthread_mutex_t*);
    static const auto unlock = reinterpret_cast<Unlock>(dlsym(RTLD_NEXT, __func__));
    const int result = unlock(mutex);
    if (_unlocksLinger && gettid() != getpid()) std::this_thread::sleep_for(1ms);
    return result;
}
extern "C" ssize_t write(int file, const void* bytes, std::size_t count) {
    const ssize_t written = syscall(SYS_write, file, bytes, count);
    while (_writesHang) std::this_thread::sleep_for(1ms);
    return written;
}
#pragma GCC visibility pop
