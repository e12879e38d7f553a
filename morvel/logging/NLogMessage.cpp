#include <morvel/logging/NLogMessage.h>

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <system_error>

#include <morvel/base/NErrorHandler.h>
#include <morvel/logging/NLog.h>

namespace {
constexpr int BufferSize = 2048;

bool _isSeparator(char c) {
    return c == '/' || c == '\\' || c == '(';
}

// What std::vsnprintf would put there, for formats that hold text, %s and whole numbers without
// flags, width or precision, as nearly all do; below 0 for others, and where the result is too
// long or an argument is null.
int _printPlain(char (&buffer)[BufferSize], const char* format, std::va_list arguments) {
    char* to = buffer;
    char* const end = buffer + sizeof buffer - 1;
    const auto text = [&](const char* from, std::size_t length) {
        if (length > static_cast<std::size_t>(end - to)) return false;
        to = std::copy_n(from, length, to);
        return true;
    };
    const auto number = [&](auto value) {
        const std::to_chars_result result = std::to_chars(to, end, value);
        to = result.ptr;
        return result.ec == std::errc();
    };
    const auto conversion = [&] {
        switch (*format++) {
            case '%':
                return text("%", 1);
            case 's': {
                const char* const argument = va_arg(arguments, const char*);
                return argument != nullptr && text(argument, std::strlen(argument));
            }
            case 'd':
                return number(va_arg(arguments, int));
            case 'u':
                return number(va_arg(arguments, unsigned));
            case 'z':
                return *format++ == 'u' && number(va_arg(arguments, std::size_t));
            default:
                return false;
        }
    };
    while (const char* const percent = std::strchr(format, '%')) {
        if (!text(format, static_cast<std::size_t>(percent - format))) return -1;
        format = percent + 1;
        if (!conversion()) return -1;
    }
    if (!text(format, std::strlen(format))) return -1;
    *to = '\0';
    return static_cast<int>(to - buffer);
}
}  // namespace

NLogMessage::NLogMessage(const std::string& file, std::int32_t line, const std::string& function,
                         const std::string& level) {
    _begin(file, line, function, level);
}

NLogMessage::NLogMessage(const char* file, std::int32_t line, const char* function,
                         const char* level) {
    _begin(file, line, function, level);
}

void NLogMessage::_begin(std::string_view file, std::int32_t line, std::string_view function,
                         std::string_view level) {
    constexpr std::size_t Usual = 250;  // most lines need no more
    _text.reserve(Usual);
    const auto separator = std::find_if(file.rbegin(), file.rend(), _isSeparator);
    file.remove_prefix(static_cast<std::size_t>(file.rend() - separator));
    _text.append(level).append(" [File: ").append(file);
    if (level == "FATAL") _text.append(" at: ").append(function);
    _text.append(" Line: ").append(std::to_string(line)).append("]\t\"");
    _levelSize = level.size();
    _headSize = _text.size();
}

NLogMessage::~NLogMessage() {
    if (_text.size() == _headSize) {
        _text.pop_back();
    } else {
        _text += '"';
    }
    NLog::_write(std::string_view(_text).substr(0, _levelSize), _text);
}

void NLogMessage::Format(const char* format, ...) {
    char buffer[BufferSize];
    std::va_list arguments;
    va_start(arguments, format);
    int length = _printPlain(buffer, format, arguments);
    va_end(arguments);
    if (length < 0) {
        va_start(arguments, format);
        length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
        va_end(arguments);
    }
    if (length <= 0) {
        _text += "\n\tERROR LOG MSG NOTIFICATION: Failure to parse successfully the message\"";
        _text.append(format).append("\"\n");
        return;
    }
    _text += buffer;
    if (length > BufferSize) _text += std::to_string(BufferSize);
}

int _errorHandler_fn(std::int32_t code, const char* text, void*) {
    NLOG("WARNING", "morvel - %s. error: %d\n", text, static_cast<int>(code));
    return 0;
}
