#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include <morvel/files/NPath.h>
#include <morvel/text/NString.h>

namespace morvel {
struct LogAccess;  // what LogTools.h needs to know of a log; no part of the interface
}

/// The process-wide log: off, unless `morvel.log` stood in the folder `Tarnwick Software` under the
/// user's application data when the library was loaded. Lines are written through NLogMessage:
///
///     NLOG("NOTICE", "morvel - %d orders sent", count);
///
/// The first line builds the log's chain and its thread, which alone touches the file. Lines stand
/// in the file in the order in which one thread wrote them; a line feed in a text begins a new line
/// there. At 10 megabytes the file becomes `morvel.log.0`, that one `morvel.log.1` and so on;
/// archives older than 24 hours are removed at the next such moment.
///
/// Unloading the library and ending the process by `exit` or a return from main write what is
/// queued; a violent end (`abort`, `std::terminate`, `_exit`, `quick_exit`, a signal) or an `exec`
/// loses it. A fork waits until it is written, and the child goes on in the same file. Where the
/// file is stuck in the system (a FIFO whose reader sleeps, a network folder that is gone), a fork
/// or an end waits five seconds.
///
/// The chain hangs off the root logger of POCO, where the host's own logging may hang too: deleting
/// any NLog takes the root logger's channel away and forgets all loggers. A host that replaces
/// priorities, channels or the formatter is obeyed; the pattern of the log's own formatter stays. A
/// host lets go of any channel that it has taken from there before the library is unloaded.
///
/// @failure A line that can't be written is lost without a report. Write throws what POCO throws on
/// the caller's thread, memory exhaustion mostly.
/// @threads Any thread may call the static operations, though no signal handler; Set is for moments
/// when no other thread logs.
/// @encoding A text goes into the file as its bytes: write UTF-8, so that one file has one
/// encoding.
/// @cost A caller formats its line and queues it, without waiting for the disk; with the log off it
/// is formatted all the same by NLOG. The queue has no bound: what comes faster than the disk takes
/// it waits in memory.
class MORVEL_API NLog : public NBaseObject {
public:
    /// Makes the folder, but for its parents, if it isn't there; nobody learns if that fails. The
    /// log is named after the running program, and is not in force.
    NLog();
    NLog(const NLog&) = delete;             ///< Not copied.
    NLog& operator=(const NLog&) = delete;  ///< Not copied.

    /// Waits until the lines queued so far are written, closes the file and shuts POCO's logging
    /// down, also if this log was never in force. If it is, no log is in force afterwards.
    ~NLog() override;

    /// Name of the logger and of the file, which gets the extension "log" in place of its own. To
    /// be set before the first line.
    void SetName(const NString& name);

    static NLog* Get();  ///< The log in force; null means that logging is off.

    /// Puts `log` in force, null for none, and returns the one before. The caller keeps ownership.
    static NLog* Set(NLog* log);

    /// A log of the library's own, made on first demand and named after the running program. It
    /// isn't in force until Set says so. The library deletes it when it is unloaded.
    static NLog* DefaultLog();

    /// Writes `text` at the priority that the level word stands for: "INFO" or "INFORMATION",
    /// "WARNING", "FATAL", "ERROR", "CRITICAL", "NOTICE", "TRACE", spelled exactly so. "DEBUG" and
    /// all other words drop the text.
    static void Write(const std::string& level, const std::string& text);

    static void Information(const std::string& text);  ///< As Write at "INFORMATION".

private:
    friend class NLogMessage;
    friend class NLogOwner;
    friend struct morvel::LogAccess;

    MORVEL_LOCAL static void _write(std::string_view level, std::string_view text);
    MORVEL_LOCAL static void _write(int priority, std::string_view text);
    MORVEL_LOCAL void _configure();
    MORVEL_LOCAL NPath _file() const;

    NString _name;
    NPath _path;
    NString _rotation;
    NString _archive;
    NString _purgeAge;
    std::int32_t _level;
    bool _configured;

    MORVEL_LOCAL static std::atomic<NLog*> _instance;
};
