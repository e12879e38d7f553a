// What the tests of the log run in a process of its own, with the log switched on or off before the
// process starts. The first argument says what to do; exit code 0 means that it was done.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <morvel/files/NPath.h>
#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

namespace {
using Arguments = std::vector<std::string>;

std::filesystem::path logFolder() {
    return std::filesystem::u8path(NPath::AppDataFolder().Data()) / "Tarnwick Software";
}

std::filesystem::path logFile() {
    return logFolder() / "morvel.log";
}

// Lines by which a test tells who wrote them and how manieth they are.
void writeLines(int writer, int first, int count) {
    for (int i = first; i < first + count; ++i) {
        NLOG("NOTICE", "writer %d line %d", writer, i);
    }
}

// Until the background thread has written, or a minute has passed.
bool waitForSize(std::uintmax_t size) {
    for (int turn = 0; turn < 6000; ++turn) {
        std::error_code missing;
        const std::uintmax_t now = std::filesystem::file_size(logFile(), missing);
        if (!missing && now >= size) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int where(const Arguments&) {
    std::cout << NPath::AppDataFolder().Data();
    return 0;
}

int state(const Arguments&) {
    std::cout << (NLog::Get() == nullptr ? "off" : "on");
    return 0;
}

// lines <count> [<level>]
int lines(const Arguments& arguments) {
    if (arguments.size() > 1) {
        NLOG(arguments[1], "one of %s", arguments[0].c_str());
    } else {
        writeLines(0, 0, std::stoi(arguments[0]));
    }
    return 0;
}

// threads <threads> <lines of each>; all begin at the same moment, the first line of the log
// included.
int threads(const Arguments& arguments) {
    const int count = std::stoi(arguments[0]);
    std::atomic<int> ready{0};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < count; ++writer) {
        writers.emplace_back([&, writer] {
            ++ready;
            while (ready < count) {
            }
            writeLines(writer, 0, std::stoi(arguments[1]));
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    return 0;
}

// Threads that nobody joins log on until the process is gone.
int shutdownRace(const Arguments&) {
    static std::atomic<int> written{0};
    for (int writer = 0; writer < 4; ++writer) {
        std::thread([writer] {
            for (int i = 0;; ++i) {
                writeLines(writer, i, 1);
                ++written;
            }
        }).detach();
    }
    while (written < 2000) {
        std::this_thread::yield();
    }
    return 0;
}

// The folder goes away with the log in it while the log is in use; it is full by then.
// folder-removed <file|nothing>: what stands in its place afterwards
int folderRemoved(const Arguments& arguments) {
    writeLines(0, 0, 1);
    if (!waitForSize(10485760)) {
        return 1;
    }
    std::filesystem::remove_all(logFolder());
    if (arguments[0] == "file") {
        std::ofstream(logFolder()) << "in the way";
    }
    writeLines(1, 0, 50);
    return 0;
}

// One log after the other comes into force and is deleted halfway through what threads have to log
// in its time.
int chains(const Arguments& arguments) {
    std::atomic<bool> go{true};
    std::atomic<int> written{0};
    std::atomic<int> due{0};
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&, writer] {
            for (int i = 0; go;) {
                if (written < due) {
                    writeLines(writer, i++, 1);
                    ++written;
                } else {
                    std::this_thread::yield();
                }
            }
        });
    }
    for (int round = 0; round < std::stoi(arguments[0]); ++round) {
        NLog own;
        own.SetName("chains");
        const int before = written;
        NLog::Set(&own);
        due = before + 200;
        while (written < before + 20) {
            std::this_thread::yield();
        }
    }
    go = false;
    for (std::thread& writer : writers) {
        writer.join();
    }
    return 0;
}

int folderMissing(const Arguments&) {
    std::filesystem::remove_all(logFolder());
    writeLines(0, 0, 100);
    return 0;
}

// A log of the application's own, a second one behind it, and the library's own one again.
int secondChain(const Arguments&) {
    writeLines(0, 0, 3);
    NLog* const former = NLog::Get();
    for (const char* name : {"second", "third.txt"}) {
        NLog own;
        own.SetName(name);
        NLog::Set(&own);
        writeLines(1, 0, 2000);
    }
    if (NLog::Get() != nullptr) {  // the one in force is gone, and no line may reach it
        return 1;
    }
    NLog::Set(former);
    return 0;
}

// The application's own use of the default log, which is deleted before the owner's turn comes.
int defaultLog(const Arguments&) {
    NLog* const log = NLog::DefaultLog();
    if (log != NLog::DefaultLog()) {
        return 1;
    }
    NLog* const former = NLog::Set(log);
    writeLines(0, 0, 500);
    NLog::Set(former);
    return 0;
}

// The default log is in force when its end comes.
int defaultLogStays(const Arguments&) {
    NLog::Set(NLog::DefaultLog());
    writeLines(0, 0, 500);
    return 0;
}
}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, std::function<int(const Arguments&)>> jobs = {
        {"where", where},
        {"state", state},
        {"lines", lines},
        {"threads", threads},
        {"shutdown-race", shutdownRace},
        {"folder-removed", folderRemoved},
        {"chains", chains},
        {"folder-missing", folderMissing},
        {"second-chain", secondChain},
        {"default-log", defaultLog},
        {"default-log-stays", defaultLogStays},
    };
    const auto job = argc > 1 ? jobs.find(argv[1]) : jobs.end();
    if (job == jobs.end()) {
        std::cerr << "unknown job\n";
        return 2;
    }
    return job->second(Arguments(argv + 2, argv + argc));
}
