#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <new>
#include <utility>

// Lets chosen allocations of a thread fail: those of the program, of every shared library in it and
// of the C library. Where a sanitizer has taken over malloc, only operator new and pugixml's own
// allocation fail, and leaks are the sanitizer's to find.
namespace morvel::test {

/// Counts what this thread has allocated since and nobody has released yet. One at a time.
class MemoryWatch {
public:
    MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;
    ~MemoryWatch();

    long Alive() const;  ///< 0 where a sanitizer counts instead.

    static bool SeesAll();  ///< Whether every allocation can fail, that of C code included.
};

/// From here on `count` allocations of this thread succeed, and then one fails, or all do.
void FailAllocationsAfter(long count, bool all);

/// Ends that, and says whether any allocation has failed.
bool StopFailing();

/// One go at an operation, in which one allocation, or all from one on, will fail.
class Attempt {
public:
    Attempt(long count, bool all) : _count(count), _all(all) {}

    /// Runs `operation`; false if std::bad_alloc came out of it. Anything else passes.
    template <class Operation>
    bool Run(Operation operation) {
        bool done = false;
        FailAllocationsAfter(_count, _all);
        try {
            operation();
            done = true;
        } catch (const std::bad_alloc&) {
        } catch (...) {
            _failed = StopFailing();
            throw;
        }
        _failed = StopFailing();
        return done;
    }

    bool Failed() const { return _failed; }  ///< Whether an allocation did fail in Run.

    /// Says that up to `count` allocations will stay behind, for a reason that the caller knows.
    void ExpectLeak(long count) { _leaks = count; }
    long Leaks() const { return _leaks; }

private:
    long _count;
    bool _all, _failed = false;
    long _leaks = 0;
};

/// Runs `body(Attempt&)` with the first allocation of its Run failing, then the second, and so on
/// until none does; then the same with all later ones failing too. Leaks of the body are failures.
template <class Body>
void ForEachFailingAllocation(const char* what, Body body) {
    SCOPED_TRACE(what);
    {
        Attempt none(std::numeric_limits<long>::max(), false);
        body(none);  // what is made once in a process is made here
    }
    for (const bool all : {false, true}) {
        bool failed = true;
        for (long count = 0; failed && !testing::Test::HasFailure(); ++count) {
            SCOPED_TRACE(testing::Message() << (all ? "all from " : "only ") << count);
            const MemoryWatch watch;
            long leaks;
            {
                Attempt attempt(count, all);
                body(attempt);
                failed = attempt.Failed();
                leaks = attempt.Leaks();
            }
            EXPECT_LE(watch.Alive(), leaks) << "allocations leaked";
            EXPECT_TRUE(failed || count > 0 || !MemoryWatch::SeesAll()) << "no allocation at all";
        }
    }
}

}  // namespace morvel::test
