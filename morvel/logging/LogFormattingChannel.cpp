#include <morvel/logging/LogFormattingChannel.h>

#include <utility>

#include <Poco/Message.h>
#include <Poco/Timestamp.h>

namespace morvel {

LogFormattingChannel::LogFormattingChannel(Poco::AutoPtr<Poco::PatternFormatter> formatter,
                                           Poco::AutoPtr<LogAsyncChannel> writer)
    : Poco::FormattingChannel(formatter, writer),
      _formatter(std::move(formatter)),
      _writer(std::move(writer)) {}

LogFormattingChannel::~LogFormattingChannel() = default;

void LogFormattingChannel::Write(const std::string& text) {
    // Nobody waits for the head: at the end of a process the thread that has it may be gone.
    if (_headTaken.exchange(true, std::memory_order_acquire)) {
        log(Poco::Message("", text, Poco::Message::PRIO_INFORMATION));
        return;
    }
    const Poco::Timestamp now;
    std::string line;
    if (now.epochTime() != _second) {
        Poco::Message message("", "", Poco::Message::PRIO_INFORMATION);
        message.setTime(now);
        _head.clear();
        _formatter->format(message, _head);
        _second = now.epochTime();
    }
    line.reserve(_head.size() + text.size());
    line.append(_head);
    _headTaken.store(false, std::memory_order_release);
    line.append(text);
    _writer->Queue(std::move(line));
}

}  // namespace morvel
