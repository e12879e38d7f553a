#include <morvel/logging/NLogMessage.h>

#include <cstdarg>
#include <cstdio>

#include <morvel/base/NErrorHandler.h>
#include <morvel/logging/NLog.h>

namespace {
constexpr int BufferSize = 2048;
}

NLogMessage::NLogMessage(const std::string& file, std::int32_t line, const std::string& function,
                         const std::string& level)
    : _file(file), _line(line), _function(function), _level(level) {}

NLogMessage::~NLogMessage() {
    const std::size_t separator = _file.find_last_of("(/\\");
    _text.append(_level).append(" [File: ");
    _text.append(_file, separator == std::string::npos ? 0 : separator + 1, std::string::npos);
    if (_level == "FATAL") {
        _text.append(" at: ").append(_function);
    }
    _text.append(" Line: ").append(std::to_string(_line)).append("]\t");
    if (!_message.empty()) {
        _text.append(1, '"').append(_message).append(1, '"');
    }
    NLog::Write(_level, _text);
}

void NLogMessage::Format(const char* format, ...) {
    char buffer[BufferSize];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    if (length <= 0) {
        _message.append(
            "\n\tERROR LOG MSG NOTIFICATION: Failure to parse successfully the message\"");
        _message.append(format).append("\"\n");
        return;
    }
    _message.append(buffer);
    if (length > BufferSize) {
        _message.append(std::to_string(BufferSize));
    }
}

int _errorHandler_fn(std::int32_t code, const char* text, void*) {
    NLOG("WARNING", "morvel - %s. error: %d\n", text, static_cast<int>(code));
    return 0;
}
