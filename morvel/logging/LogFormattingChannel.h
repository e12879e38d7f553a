#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include <Poco/AutoPtr.h>
#include <Poco/FormattingChannel.h>
#include <Poco/PatternFormatter.h>
#include <Poco/Timestamp.h>

#include <morvel/logging/LogAsyncChannel.h>

namespace morvel {

/// POCO's formatting channel with a short path for lines that show nothing but their time, to the
/// second, and their text: a message of POCO's costs a system call, and its calendar is slow.
///
/// Any thread may log.
class LogFormattingChannel : public Poco::FormattingChannel {
public:
    LogFormattingChannel(Poco::AutoPtr<Poco::PatternFormatter> formatter,
                         Poco::AutoPtr<LogAsyncChannel> writer);

    /// As log with a message of this text, made now; false, with nothing done, where the host has
    /// given this channel another formatter or another next channel. REQUIRES: the formatter's
    /// pattern ends in %t and has nothing but dates, times and constants ahead of it; it was set
    /// before the first call and stays.
    bool TryWrite(std::string_view text);

protected:
    ~LogFormattingChannel() override;

private:
    std::string_view _headAt(const Poco::Timestamp& now);

    Poco::AutoPtr<Poco::PatternFormatter> _formatter;
    Poco::AutoPtr<LogAsyncChannel> _writer;
    // Under the writer's lock: what stands ahead of each line of that second.
    std::time_t _second = -1;
    std::string _head;
};

}  // namespace morvel
