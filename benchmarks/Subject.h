#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <morvel/text/NString.h>

#include "Memory.h"

/// What the benchmarks share: how a subject is named, checked and timed, and the texts they work
/// on.
///
/// A job is one program, a case one question in it, a subject one way to answer. Names are
/// "case/subject"; a subject whose name begins with "ceiling: " is no library but the bare work
/// that no library can beat.
namespace bench {

/// How much one round of a case's work is: bytes give a rate, items divide the time.
struct Size {
    std::uint64_t bytes = 0;
    std::uint64_t items = 1;
};
inline Size Bytes(std::uint64_t count) {
    return {count, 1};
}
inline Size Items(std::uint64_t count) {
    return {0, count};
}

/// Wall time where a thread or a server shares the work.
enum class Clock { Process, Wall };

/// Adds the subject. `work` does one round and returns its result; `right` says whether that is the
/// result it should be, and is asked before the clock starts. A wrong one ends the program.
template <class Work, class Right>
void Add(const std::string& name, Size size, Work work, Right right, Clock clock = Clock::Process) {
    auto* const added = benchmark::RegisterBenchmark(
        name.c_str(), [name, size, work, right](benchmark::State& state) mutable {
            static_cast<void>(work());  // what is set up once is no part of a round
            CountAllocations();
            const auto result = work();
            const std::uint64_t allocations = CountedAllocations();
            if (!right(result)) {
                std::fprintf(stderr, "%s: wrong result\n", name.c_str());
                std::exit(1);
            }
            for (auto _ : state) benchmark::DoNotOptimize(work());
            const auto rounds = static_cast<std::int64_t>(state.iterations());
            if (size.bytes != 0) {
                state.SetBytesProcessed(rounds * static_cast<std::int64_t>(size.bytes));
            }
            state.counters["items"] = static_cast<double>(size.items);
            state.counters["allocations"] =
                static_cast<double>(allocations) / static_cast<double>(size.items);
        });
    if (clock == Clock::Wall) added->UseRealTime();
}

/// Whether a result is the expected one; a text of the library is compared by its bytes.
template <class Result, class Expected>
bool Same(const Result& result, const Expected& expected) {
    return result == expected;
}
inline bool Same(const NString& result, const std::string& expected) {
    return result.Data() == expected;
}

/// Adds a subject whose result is compared with `expected`.
template <class Work, class Expected>
void AddEqual(const std::string& name, Size size, Work work, const Expected& expected,
              Clock clock = Clock::Process) {
    const auto kept = std::make_shared<const Expected>(expected);
    Add(
        name, size, std::move(work), [kept](const auto& result) { return Same(result, *kept); },
        clock);
}

/// Adds up what `work()` returns in each of `count` threads.
template <class Work>
auto InThreads(std::size_t count, Work work) {
    std::vector<decltype(work())> results(count);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&result, work] { result = work(); });
    }
    for (std::thread& thread : threads) thread.join();
    return std::accumulate(results.begin(), results.end(), decltype(work()){});
}

/// `pattern` over and over, cut to whole repetitions of at most `bytes`, at least one.
std::string Repeated(const std::string& pattern, std::size_t bytes);

/// Running text in UTF-8 by the name of its script: ascii, latin, greek, cyrillic, kana, cjk,
/// hangul, decomposed.
std::string Text(const std::string& script, std::size_t bytes);

/// "64 B", "64 KiB", "1 MiB".
std::string SizeName(std::size_t bytes);

}  // namespace bench
