#include <morvel/logging/LogFormattingChannel.h>

#include <utility>

#include <Poco/Message.h>

namespace morvel {

LogFormattingChannel::LogFormattingChannel(Poco::AutoPtr<Poco::PatternFormatter> formatter,
                                           Poco::AutoPtr<LogAsyncChannel> writer)
    : Poco::FormattingChannel(formatter, writer),
      _formatter(std::move(formatter)),
      _writer(std::move(writer)) {}

LogFormattingChannel::~LogFormattingChannel() = default;

bool LogFormattingChannel::TryWrite(std::string_view text) {
    if (getFormatter().get() != _formatter.get() || getChannel().get() != _writer.get()) {
        return false;
    }
    const Poco::Timestamp now;
    _writer->Queue([&] { return _headAt(now); }, text);
    return true;
}

std::string_view LogFormattingChannel::_headAt(const Poco::Timestamp& now) {
    if (now.epochTime() != _second) {
        Poco::Message message("", "", Poco::Message::PRIO_INFORMATION);
        message.setTime(now);
        std::string head;
        _formatter->format(message, head);
        _head.swap(head);
        _second = now.epochTime();
    }
    return _head;
}

}  // namespace morvel
