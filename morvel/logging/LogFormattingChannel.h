#pragma once

#include <atomic>
#include <ctime>
#include <string>

#include <Poco/AutoPtr.h>
#include <Poco/FormattingChannel.h>
#include <Poco/PatternFormatter.h>

#include <morvel/logging/LogAsyncChannel.h>

namespace morvel {

/// POCO's formatting channel with a short way for lines that show nothing but their time, to the
/// second, and their text: a message of POCO's costs a system call, and its calendar is slow.
///
/// Any thread may log.
class LogFormattingChannel : public Poco::FormattingChannel {
public:
    LogFormattingChannel(Poco::AutoPtr<Poco::PatternFormatter> formatter,
                         Poco::AutoPtr<LogAsyncChannel> writer);

    /// As log with a message of this text, made now. REQUIRES: the formatter's pattern ends in %t
    /// and has nothing but dates, times and constants ahead of it; it was set before the first call
    /// and stays.
    void Write(const std::string& text);

protected:
    ~LogFormattingChannel() override;

private:
    Poco::AutoPtr<Poco::PatternFormatter> _formatter;
    Poco::AutoPtr<LogAsyncChannel> _writer;
    // The thread that set it may use the two below. An exception leaves it set, which costs speed.
    std::atomic<bool> _headTaken{false};
    std::time_t _second = -1;
    std::string _head;  // of every line of that second
};

}  // namespace morvel
