// exchange_<peer> URL COUNT FOLDER: COUNT exchanges with the server at URL, after one that is not
// counted. Prints what one of them took, nanoseconds by the wall, nanoseconds of processor time and
// allocations, and the most memory that the process ever held, in bytes. With a COUNT of 0 it opens
// the log and prints the time at which a first line is in its file, in nanoseconds of the monotonic
// clock.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "../Memory.h"
#include "Exchange.h"

namespace {

namespace fs = std::filesystem;
using SteadyClock = std::chrono::steady_clock;

// What a line of the log has to say, for each of the three.
const std::string Marks[] = {
    "sending 219 bytes to ",
    "order A-2041 for Zoë Ångström, Storgata 4, Ålesund, Norge: 3 by Postbud, JJD0014, 38.65, "
    "Wednesday, 25 November 2026, 08:05:09",
    "saved as ",
};

long long _nanoseconds(SteadyClock::duration duration) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

// Nanoseconds, of all threads.
double _processorTime() {
    return 1e9 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::vector<fs::path> _logs(const fs::path& folder) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".log") found.push_back(entry.path());
    }
    return found;
}

// Some peers write their lines in a thread of its own, and lines of theirs ahead of the first.
void _waitForFirstLine(const fs::path& folder) {
    for (;;) {
        for (const fs::path& log : _logs(folder)) {
            std::ifstream in(log);
            for (std::string line; std::getline(in, line);) {
                if (line.find("the order desk opens") != line.npos) return;
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

// Whether the log has each of the three lines `count` times.
bool _logIsWhole(const fs::path& folder, int count) {
    int found[3] = {};
    for (const fs::path& log : _logs(folder)) {
        std::ifstream in(log);
        for (std::string line; std::getline(in, line);) {
            for (int i = 0; i < 3; ++i) found[i] += line.find(Marks[i]) != line.npos;
        }
    }
    return found[0] == count && found[1] == count && found[2] == count;
}

bool _replyIsSaved(const fs::path& folder) {
    std::ifstream in(folder / "confirmation.xml");
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    return text.find("<?xml") == 0 && text.find("<customer>Zoë Ångström</customer>") != text.npos;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: %s URL COUNT FOLDER\n", argv[0]);
        return 2;
    }
    const std::string url = argv[1];
    const int count = std::atoi(argv[2]);
    const std::string folder = argv[3];

    exchange::Start(folder);
    if (count == 0) {
        _waitForFirstLine(folder);
        std::printf("%lld\n", _nanoseconds(SteadyClock::now().time_since_epoch()));
        exchange::Stop();
        return 0;
    }
    bool right = exchange::Run(url, folder);
    bench::CountAllocations();
    const double processor = _processorTime();
    const auto begin = SteadyClock::now();
    for (int i = 0; i < count && right; ++i) right = exchange::Run(url, folder);
    const long long time = _nanoseconds(SteadyClock::now() - begin);
    exchange::Stop();
    const double processorTime = _processorTime() - processor;
    const std::uint64_t allocations = bench::CountedAllocations();
    const std::uint64_t peak = bench::StatusBytes("VmHWM:");

    if (!right || !_logIsWhole(folder, count + 1) || !_replyIsSaved(folder)) {
        std::fprintf(stderr, "%s: an exchange went wrong, see %s\n", argv[0], folder.c_str());
        return 1;
    }
    std::printf("%.1f %.1f %.3f %llu\n", static_cast<double>(time) / count, processorTime / count,
                static_cast<double>(allocations) / count, static_cast<unsigned long long>(peak));
    return 0;
}
