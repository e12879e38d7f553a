// What it costs to have a library: how long it takes to load, how large it is with all that it
// brings, what an empty process holds with it, and how long a program takes from its start to the
// first line of its log on disk. Each figure is a process's own; the files are in the system's
// cache.
#include <chrono>
#include <filesystem>
#include <sstream>
#include <string>

#include "Programs.h"
#include "Subject.h"

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int Starts = 5;  // a round

// `files` are those whose size is the library's own, with colons between.
void _addLoad(const std::string& subject, const std::string& library, const std::string& files) {
    std::istringstream names(files);
    double bytes = 0;
    for (std::string file; std::getline(names, file, ':');) {
        bytes += static_cast<double>(std::filesystem::file_size(file));
    }
    benchmark::RegisterBenchmark(
        ("load/" + subject).c_str(),
        [library, bytes](benchmark::State& state) {
            for (auto _ : state) {
                static_cast<void>(bench::FreshFolder());  // the library's log looks there
                const std::vector<double> found = bench::NumbersFrom("startup_load", {library}, 4);
                state.SetIterationTime(found[0] / 1e9);
                state.counters["library_bytes"] = bytes;
                state.counters["loaded_bytes"] = found[1];
                state.counters["held_bytes"] = found[2];
                state.counters["private_bytes"] = found[3];
            }
            state.counters["items"] = 1;
        })
        ->UseManualTime()
        ->Iterations(Starts)
        ->Unit(benchmark::kMillisecond);
}

void _addFirstLine(const std::string& subject, const std::string& peer) {
    benchmark::RegisterBenchmark(
        ("start to first log line/" + subject).c_str(),
        [peer](benchmark::State& state) {
            for (auto _ : state) {
                const std::string folder = bench::FreshFolder();
                const auto begin = SteadyClock::now().time_since_epoch();
                const double written =
                    bench::NumbersFrom("exchange_" + peer, {"", "0", folder}, 1)[0];
                state.SetIterationTime(written / 1e9 -
                                       std::chrono::duration<double>(begin).count());
            }
            state.counters["items"] = 1;
        })
        ->UseManualTime()
        ->Iterations(Starts)
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

void AddSubjects() {
    _addLoad("Morvel", LOAD_MORVEL, LOAD_MORVEL);
    _addLoad("its dependencies (raw)", LOAD_DEPENDENCIES, FILES_DEPENDENCIES);
    _addLoad("POCO", LOAD_POCO, FILES_POCO);
    _addLoad("Qt 6", LOAD_QT, FILES_QT);
    _addLoad("ceiling: nothing", LOAD_NOTHING, FILES_NOTHING);

    _addFirstLine("Morvel", "morvel");
    _addFirstLine("libcurl and pugixml (raw)", "libcurl_pugixml");
    _addFirstLine("POCO", "poco");
    _addFirstLine("Qt 6", "qt");
}
