#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <morvel/base/NBaseObject.h>

/// One line for the log, composed and then written when the object dies. Most code uses the
/// macro NLOG; the class itself serves a line that is put together in several pieces:
///
///     NLogMessage line(__FILE__, __LINE__, __func__, "NOTICE");
///     line.Format("morvel - reply of %zu bytes", size);
///     if (late) line.Format(", late");
///     // NOTICE [File: Client.cpp Line: 42]<tab>"morvel - reply of 512 bytes, late"
///
/// @failure A format that can't be printed leaves a notice in the line. The destructor ends the
/// process if NLog::Write throws; the rest throws std::bad_alloc alone.
/// @threads An object belongs to one thread.
/// @encoding Bytes as they are given, see NLog.
/// @cost The line is composed even when no log is in force, with one allocation for up to 250
/// bytes.
class MORVEL_API NLogMessage : public NBaseObject {
public:
    /// `file` is shown from behind its last (, / or \. `level` is one of the words of NLog::Write;
    /// with "FATAL" the line shows `function`.
    ///@{
    NLogMessage(const std::string& file, std::int32_t line, const std::string& function,
                const std::string& level);
    NLogMessage(const char* file, std::int32_t line, const char* function, const char* level);
    ///@}

    NLogMessage(const NLogMessage&) = delete;             ///< Not copied.
    NLogMessage& operator=(const NLogMessage&) = delete;  ///< Not copied.

    /// Hands the line to NLog::Write; ends the process if that throws.
    ~NLogMessage() override;

    /// Adds text as std::printf would print it. Of more than 2,048 characters the first 2,047 are
    /// kept, with "2048" behind them as a mark; of exactly 2,048 the last is lost without one. An
    /// empty result, and a format that can't be printed, add a notice with the format in its place.
    void Format(const char* format, ...) MORVEL_PRINTF_LIKE(2, 3);

private:
    MORVEL_LOCAL void _begin(std::string_view file, std::int32_t line, std::string_view function,
                             std::string_view level);

    std::string _text;      // the line as far as it goes; the level word is its beginning
    std::size_t _headSize;  // of the text in front of the caller's, with the opening quote
    std::size_t _levelSize;
};

/// Writes one line from here: NLOG("WARNING", "morvel - %s: %d", name, code). Level and format are
/// texts, the rest are the arguments of the format.
#define NLOG(level, ...) NLogMessage(__FILE__, __LINE__, __func__, (level)).Format(__VA_ARGS__)
