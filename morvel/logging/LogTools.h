#pragma once

#include <cstdint>

#include <morvel/files/NPath.h>
#include <morvel/text/NString.h>

// Companions of the log. Any thread may call these, though no signal handler.
namespace morvel {

/// The level words that write a line, as NLOG and NLog::Write want them spelled; "DEBUG" and all
/// others drop it.
///
///     NLOG(morvel::LevelWarning, "%d orders are late", count);
constexpr const char* LevelTrace = "TRACE";
constexpr const char* LevelInformation = "INFORMATION";
constexpr const char* LevelNotice = "NOTICE";
constexpr const char* LevelWarning = "WARNING";
constexpr const char* LevelError = "ERROR";
constexpr const char* LevelCritical = "CRITICAL";
constexpr const char* LevelFatal = "FATAL";  ///< The line shows the function, too.

/// Puts a log of the program's own in force, whether or not `morvel.log` is there: the default log
/// under this name, which gives its file `<name>.log` in the log folder. Until the first line the
/// file is empty. The log lasts until the library is unloaded; nobody has to delete it.
///
/// False, with nothing changed, if the file can't be written (on Windows another process may have
/// it open already), if the name is empty or has a folder in it, and if the default log has begun
/// to write, under whatever name. "morvel" would switch on the log of all programs. To be called
/// before other threads log.
///
///     if (!morvel::StartLog("orders")) std::cerr << "no log will be written\n";
MORVEL_API bool StartLog(const NString& name);

/// The file of the log in force, in UTF-8, whether or not it is there yet; empty without a log.
MORVEL_API NPath LogFile();

/// Waits until every line that was queued before the call is written, as long as `seconds` at most:
/// for the moment ahead of what loses queued lines, `abort`, `_exit` and `exec`. What is written
/// outlives the process, not the machine. 0 only asks.
///
/// False if the time ran out, and if a line was lost since the call before (the disk is full, the
/// file can't be opened): it is in no file. A log that is off queues nothing. Returns at once where
/// nothing is queued; while it waits, others log and fork as ever.
MORVEL_API bool FlushLog(std::uint32_t seconds);

}  // namespace morvel
