#pragma once

namespace morvel {

/// Keeps callers that log apart from the moments that they must not meet: POCO's loggers and
/// formatters can't be used while they are set up or shut down, and a fork must find no lock of
/// theirs taken. Passes go side by side and cost two atomic additions; a closure is alone.
///
/// No wait is for ever. A thread that the end of a process cut off inside, and a caller that closes
/// the gate from inside a pass, cost a few seconds and the protection, not a hang.
class LogGate {
public:
    /// Held while a line goes through POCO's loggers.
    struct Pass {
        Pass();
        ~Pass();
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
    };

    /// Held while the loggers are changed. Not recursive.
    struct Closure {
        Closure();
        ~Closure();
        Closure(const Closure&) = delete;
        Closure& operator=(const Closure&) = delete;
    };

    /// Held while the default log is asked for or taken away: one thread at a time, and no fork.
    /// Not recursive.
    struct DefaultLogTurn {
        DefaultLogTurn();
        ~DefaultLogTurn();
        DefaultLogTurn(const DefaultLogTurn&) = delete;
        DefaultLogTurn& operator=(const DefaultLogTurn&) = delete;
    };

    /// For the moment before the system cuts off all threads but the caller's: what is queued is in
    /// the file afterwards, and whoever logs from then on waits outside and holds nothing. Where
    /// that moment doesn't come, the first of those who wait opens the gate again.
    static void CloseForTheEnd();

    /// From now on each fork of the process waits until the lines queued so far are written and the
    /// default log isn't being made, for a few seconds at most where the writer is stuck.
    static void GuardForks();
};

}  // namespace morvel
