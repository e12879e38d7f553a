#include <morvel/logging/LogTools.h>

#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/logging/NLog.h>
#include <morvel/platform/platform.h>
#include <morvel/text/TextTools.h>

// What the companions need to know of a log and its class tells nobody else.
struct morvel::LogAccess {
    static NPath FileOf(const NLog& log) { return log._file(); }

    static bool Rename(NLog* log, const NString& name) {
        if (log->_configured) return false;
        const NString former = log->_name;
        log->SetName(name);
        const platform::FileHandle file = platform::OpenForAppending(log->_file().Data());
        if (file == platform::NoFile) {
            log->SetName(former);
            return false;
        }
        platform::Close(file);
        return true;
    }
};

bool morvel::StartLog(const NString& name) {
    const std::string utf8 = Utf8(name);
    NLog* const log = NLog::DefaultLog();
    if (utf8.empty() || utf8.find_first_of("/\\:.") != utf8.npos ||
        !LogAccess::Rename(log, FromUtf8(utf8))) {
        return false;
    }
    NLog::Set(log);
    return true;
}

NPath morvel::LogFile() {
    const NLog* const log = NLog::Get();
    return log == nullptr ? NPath() : LogAccess::FileOf(*log);
}

bool morvel::FlushLog(std::uint32_t seconds) {
    return LogAsyncChannel::Flush(std::chrono::seconds(seconds));
}
