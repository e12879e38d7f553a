#pragma once

#include <limits>
#include <new>

#include <tests/support/Test.h>

// Lets chosen allocations of a thread fail: those of the program, of every shared library in it and
// of the C library. Where a sanitizer has taken over malloc, only operator new and pugixml's own
// allocation fail, and leaks are the sanitizer's to find.
namespace morvel::test {

/// What this thread has allocated less what it has released; 0 where a sanitizer counts instead.
long AllocationsAlive();

/// Whether every allocation can fail, that of C code included.
extern const bool SeesAllAllocations;

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
        struct Stop {
            ~Stop() { *failed = StopFailing(); }
            bool* failed;
        } const stop{&_failed};
        FailAllocationsAfter(_count, _all);
        try {
            operation();
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
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
    Attempt none(std::numeric_limits<long>::max(), false);
    body(none);  // what is made once in a process is made here
    for (const bool all : {false, true}) {
        bool failed = true;
        for (long count = 0; failed && !testing::Test::HasFailure(); ++count) {
            SCOPED_TRACE(testing::Message() << (all ? "all from " : "only ") << count);
            Attempt attempt(count, all);
            const long before = AllocationsAlive();
            body(attempt);
            EXPECT_LE(AllocationsAlive() - before, attempt.Leaks()) << "allocations leaked";
            failed = attempt.Failed();
            EXPECT_TRUE(failed || count > 0 || !SeesAllAllocations) << "no allocation at all";
        }
    }
}

}  // namespace morvel::test
