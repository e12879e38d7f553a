#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// Shows on the standard error stream how far a transfer is: a bar that is drawn over itself on a
/// terminal, else a line each time the amount has doubled. The total is not known from the
/// transfer; where the user told it, share done and remaining time are shown as well.
class Progress {
public:
    /// `total` in bytes, 0 for unknown.
    Progress(std::uint64_t total, bool terminal);

    void Update(std::uint64_t received);

    /// The last state, which stays on the screen.
    void Finish(std::uint64_t received);

private:
    using Clock = std::chrono::steady_clock;

    void _draw(std::uint64_t received, Clock::time_point now);

    std::uint64_t _total;
    bool _terminal;
    Clock::time_point _start = Clock::now();
    Clock::time_point _drawn{};
    std::uint64_t _nextLine = 64 * 1024;
};

/// 1536 as "1.5 KiB".
std::string ReadableSize(double bytes);
