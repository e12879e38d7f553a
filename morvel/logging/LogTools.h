#pragma once

#include <cstdint>

#include <morvel/files/NPath.h>
#include <morvel/text/NString.h>

/// @file
/// Companions of the log: a log of the program's own, its file, the moment ahead of a violent end.
/// The level words that write a line are here as constants, as NLOG and NLog::Write want them
/// spelled; "DEBUG" and all other words drop it.
///
///     NLOG(morvel::LevelWarning, "%d orders are late", count);
///
/// @failure A result alone, and std::bad_alloc.
/// @threads Any thread may call these, though no signal handler; StartLog before others log.
/// @encoding File names come out in UTF-8.
/// @cost FlushLog waits for the disk to take what is queued; the others are for the start.
namespace morvel {

constexpr const char* LevelTrace = "TRACE";              ///< As finely as can be.
constexpr const char* LevelInformation = "INFORMATION";  ///< What goes as it should.
constexpr const char* LevelNotice = "NOTICE";            ///< What is worth a look.
constexpr const char* LevelWarning = "WARNING";          ///< What may become an error.
constexpr const char* LevelError = "ERROR";              ///< What failed.
constexpr const char* LevelCritical = "CRITICAL";        ///< What others will fail of.
constexpr const char* LevelFatal = "FATAL";  ///< What ends the program. Shows the function.

/// Puts a log of the program's own in force, whether or not `morvel.log` is there: the default log
/// under this name, which gives its file `<name>.log` in the log folder. Until the first line the
/// file is empty. The log lasts until the library is unloaded; nobody has to delete it.
///
/// False, with nothing changed, if the file can't be written (on Windows another process may have
/// it open already), if the name is empty or has a slash, colon or dot in it, and if the default
/// log has begun to write, under whatever name. "morvel" would switch on the log of all programs.
/// To be called before other threads log.
///
///     if (!morvel::StartLog("orders")) std::cerr << "no log will be written\n";
MORVEL_API bool StartLog(const NString& name);

/// The file of the log in force, in UTF-8, whether or not it is there yet; empty without a log.
[[nodiscard]] MORVEL_API NPath LogFile();

/// Waits until every line that was queued before the call is written, as long as `seconds` at most:
/// for the moment ahead of what loses queued lines, `abort`, `_exit` and `exec`. What is written
/// outlives the process, not the machine. 0 only asks.
///
/// False if the time ran out, and if a line was lost since the call before (the disk is full, the
/// file can't be opened): it is in no file. A log that is off queues nothing. Returns at once where
/// nothing is queued; while it waits, others log and fork as ever.
MORVEL_API bool FlushLog(std::uint32_t seconds);

}  // namespace morvel
