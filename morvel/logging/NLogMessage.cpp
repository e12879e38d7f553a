#include <morvel/logging/NLogMessage.h>

#include <cstdarg>
#include <cstdio>

#include <morvel/base/NErrorHandler.h>
#include <morvel/logging/NLog.h>

namespace {
constexpr int BufferSize = 2048;
constexpr std::size_t UsualSize = 240;  // of a line: most need no second allocation

bool isSeparator(char c) {
    return c == '/' || c == '\\' || c == '(';
}
}  // namespace

NLogMessage::NLogMessage(const std::string& file, std::int32_t line, const std::string& function,
                         const std::string& level)
    : _level(level) {
    std::size_t name = file.size();
    while (name > 0 && !isSeparator(file[name - 1])) {
        --name;
    }
    _text.reserve(UsualSize);
    _text.append(level).append(" [File: ");
    _text.append(file, name, std::string::npos);
    if (level == "FATAL") {
        _text.append(" at: ").append(function);
    }
    _text.append(" Line: ").append(std::to_string(line)).append("]\t\"");
    _headSize = _text.size();
}

NLogMessage::~NLogMessage() {
    if (_text.size() == _headSize) {
        _text.pop_back();
    } else {
        _text += '"';
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
        _text.append("\n\tERROR LOG MSG NOTIFICATION: Failure to parse successfully the message\"");
        _text.append(format).append("\"\n");
        return;
    }
    _text.append(buffer);
    if (length > BufferSize) {
        _text.append(std::to_string(BufferSize));
    }
}

int _errorHandler_fn(std::int32_t code, const char* text, void*) {
    NLOG("WARNING", "morvel - %s. error: %d\n", text, static_cast<int>(code));
    return 0;
}
