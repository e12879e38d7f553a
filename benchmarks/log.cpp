// A log in force: what one call costs its caller, and how long 200,000 lines take to the disk. Each
// round starts with a fresh chain and an empty folder.
#include <Poco/AsyncChannel.h>
#include <Poco/AutoPtr.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

#include "Subject.h"

namespace {

namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

constexpr int Lines = 200000;

fs::path _folder() {
    static const fs::path folder =
        fs::temp_directory_path() / ("morvel-bench-log-" + std::to_string(::getpid()));
    return folder;
}

int _linesOnDisk() {
    int lines = 0;
    for (const auto& entry : fs::recursive_directory_iterator(_folder())) {
        std::ifstream in(entry.path());
        for (std::string line; std::getline(in, line);)
            lines += line.find("orders sent") != line.npos;
    }
    return lines;
}

// One subject: `start` makes a chain in the folder, `write` one line, `stop` returns when the last
// line is on the disk.
struct Chain {
    std::function<void()> start;
    std::function<void(int)> write;
    std::function<void()> stop;
};

void _addSubject(const std::string& subject, const Chain& chain) {
    benchmark::RegisterBenchmark(
        ("200,000 lines/" + subject).c_str(),
        [=](benchmark::State& state) {
            std::vector<std::uint32_t> calls(Lines);
            for (auto _ : state) {
                fs::remove_all(_folder());
                fs::create_directories(_folder());
                chain.start();
                chain.write(0);
                const auto begin = SteadyClock::now();
                auto last = begin;
                for (int i = 0; i < Lines; ++i) {
                    chain.write(i);
                    const auto now = SteadyClock::now();
                    calls[static_cast<std::size_t>(i)] = static_cast<std::uint32_t>(
                        std::chrono::duration_cast<std::chrono::nanoseconds>(now - last).count());
                    last = now;
                }
                chain.stop();
                state.SetIterationTime(
                    std::chrono::duration<double>(SteadyClock::now() - begin).count());
                if (_linesOnDisk() != Lines + 1) {
                    std::fprintf(stderr, "%s: lines are missing\n", subject.c_str());
                    std::exit(1);
                }
            }
            std::sort(calls.begin(), calls.end());
            state.counters["items"] = Lines;
            state.counters["call_p50_ns"] = calls[Lines / 2];
            state.counters["call_p99_ns"] = calls[Lines / 100 * 99];
            fs::remove_all(_folder());
        })
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void AddSubjects() {
    // The library looks its folder up in the environment when a log is made.
    ::setenv("XDG_DATA_HOME", _folder().c_str(), 1);

    static NLog* log = nullptr;
    _addSubject("Morvel",
                {[] {
                     log = new NLog;
                     log->SetName("bench");
                     NLog::Set(log);
                 },
                 [](int i) { NLOG("NOTICE", "morvel - %d orders sent", i); }, [] { delete log; }});

    // The same chain and the same lines, straight from POCO.
    _addSubject("POCO (raw)",
                {[] {
                     Poco::AutoPtr<Poco::FileChannel> file(new Poco::FileChannel);
                     file->setProperty("path", (_folder() / "poco.log").string());
                     file->setProperty("rotation", "10 M");
                     file->setProperty("archive", "number");
                     file->setProperty("purgeAge", "24 hours");
                     Poco::AutoPtr<Poco::AsyncChannel> async(new Poco::AsyncChannel(file));
                     Poco::AutoPtr<Poco::PatternFormatter> formatter(
                         new Poco::PatternFormatter("%Y/%n/%e - [%w] - %H:%M:%S - %t"));
                     Poco::AutoPtr<Poco::FormattingChannel> chain(
                         new Poco::FormattingChannel(formatter, async));
                     Poco::Logger::root().setChannel(chain);
                 },
                 [](int i) {
                     char text[256];
                     std::snprintf(text, sizeof text,
                                   "NOTICE [File: %s Line: %d]\t\"morvel - %d orders sent\"",
                                   "log.cpp", __LINE__, i);
                     Poco::Logger::get("bench").notice(text);
                 },
                 [] {
                     Poco::Channel::Ptr chain = Poco::Logger::root().getChannel();
                     Poco::Logger::root().setChannel(nullptr);
                     Poco::Logger::shutdown();
                 }});

    static std::shared_ptr<spdlog::logger> logger;
    _addSubject("spdlog", {[] {
                               // Room for all lines, found ahead of the clock: nobody waits.
                               spdlog::init_thread_pool(Lines + 16, 1);
                               logger = spdlog::rotating_logger_mt<spdlog::async_factory>(
                                   "bench", (_folder() / "spdlog.log").string(), 10 << 20, 100);
                               logger->set_pattern("%Y/%m/%d - [%a] - %H:%M:%S - %v");
                               // As the others do: each line is in the file when it is written.
                               logger->flush_on(spdlog::level::trace);
                           },
                           [](int i) {
                               logger->info(
                                   "NOTICE [File: {} Line: {}]\t\"morvel - {} orders sent\"",
                                   "log.cpp", __LINE__, i);
                           },
                           [] {
                               spdlog::drop_all();
                               logger.reset();
                               spdlog::shutdown();
                           }});
}
