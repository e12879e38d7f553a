#include <morvel/logging/NLog.h>

#include <algorithm>
#include <ctime>
#include <iterator>
#include <mutex>
#include <shared_mutex>
#include <string_view>

#include <Poco/AutoPtr.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>
#include <Poco/Timestamp.h>

#include <morvel/files/NFile.h>
#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/logging/LogFileChannel.h>
#include <morvel/logging/LogFormattingChannel.h>
#include <morvel/logging/LogGate.h>
#include <morvel/platform/platform.h>

using morvel::_defaultLogLock;
using morvel::_logGate;
using morvel::LogAsyncChannel;
using morvel::LogFileChannel;
using morvel::LogFormattingChannel;
using morvel::LogGate;
using morvel::platform::Mutex;

namespace {
constexpr struct {
    std::string_view word;
    int priority;
} Levels[] = {
    {"INFO", Poco::Message::PRIO_INFORMATION},
    {"WARNING", Poco::Message::PRIO_WARNING},
    {"FATAL", Poco::Message::PRIO_FATAL},
    {"ERROR", Poco::Message::PRIO_ERROR},
    {"CRITICAL", Poco::Message::PRIO_CRITICAL},
    {"NOTICE", Poco::Message::PRIO_NOTICE},
    {"INFORMATION", Poco::Message::PRIO_INFORMATION},
    {"TRACE", Poco::Message::PRIO_TRACE},
};

// With the byte-order mark NString reads the name as UTF-8 on every platform.
NPath _logFolder() {
    NPath folder = NPath::AppDataFolder();
    folder.ConvertTo(EncodingUTF8);
    folder.Append(NPath(NString("\xEF\xBB\xBFTarnwick Software")));
    return folder;
}

NLog* _defaultLog = nullptr;

void _deleteDefaultLog(void*) {
    NLog* log;
    {
        const std::lock_guard<Mutex> lock(_defaultLogLock);
        log = _defaultLog;
        _defaultLog = nullptr;
    }
    delete log;
}
}  // namespace

std::atomic<NLog*> NLog::_instance{nullptr};

NLog::NLog() : _level(Poco::Message::PRIO_TRACE), _configured(false) {
    _name = NPath(morvel::platform::ExecutablePath().c_str()).BaseName();
    _path = _logFolder();
    NFile(_path.Absolute()).CreateDirectory();
    _rotation = "10 M";
    _archive = "number";
    _purgeAge = "24 hours";
}

NLog::~NLog() {
    try {
        LogAsyncChannel::WriteAllIfAlone();
        // Kept until the gate is open again: whoever logs need not wait while the queue is written.
        Poco::Channel::Ptr rootChannel, ownChannel;
        const std::lock_guard<LogGate> alone(_logGate);
        NLog* self = this;
        _instance.compare_exchange_strong(self, nullptr);
        rootChannel = Poco::Logger::root().getChannel();
        if (const Poco::Logger::Ptr own = Poco::Logger::has(_name.Data())) {
            ownChannel = own->getChannel();
        }
        Poco::Logger::root().setChannel(nullptr);
        Poco::Logger::shutdown();
    } catch (...) {
        // a destructor has nobody to tell
    }
}

void NLog::SetName(const NString& name) {
    _name = name;
}

NLog* NLog::Get() {
    return _instance;
}

NLog* NLog::Set(NLog* log) {
    if (log != nullptr) {
        LogGate::GuardForks();  // ahead of the first line: a fork may meet that one too
    }
    return _instance.exchange(log);
}

NLog* NLog::DefaultLog() {
    LogGate::GuardForks();
    const std::lock_guard<Mutex> lock(_defaultLogLock);
    if (_defaultLog == nullptr) {
        morvel::platform::AtUnload(_deleteDefaultLog, nullptr);
        _defaultLog = new NLog;
    }
    return _defaultLog;
}

void NLog::Write(const std::string& level, const std::string& text) {
    _write(level, text);
}

void NLog::Information(const std::string& text) {
    _write(Poco::Message::PRIO_INFORMATION, text);
}

void NLog::_write(std::string_view level, std::string_view text) {
    if (_instance == nullptr) return;
    const auto* const row = std::find_if(std::begin(Levels), std::end(Levels),
                                         [&](const auto& known) { return level == known.word; });
    if (row != std::end(Levels)) _write(row->priority, text);
}

void NLog::_write(int priority, std::string_view text) {
    while (_instance != nullptr) {
        {
            const std::shared_lock<LogGate> pass(_logGate);
            const NLog* const log = _instance;
            if (log == nullptr) return;
            if (log->_configured) {
                const std::string& name = log->_name.Data();
                Poco::Logger& logger = Poco::Logger::get(name);
                Poco::Channel::Ptr channel = logger.getChannel();
                auto* const chain = dynamic_cast<LogFormattingChannel*>(channel.get());
                if (chain == nullptr || !logger.is(priority) || !chain->TryWrite(text)) {
                    logger.log(Poco::Message(name, std::string(text),
                                             static_cast<Poco::Message::Priority>(priority)));
                }
                return;
            }
        }
        // Two first lines may meet here. POCO's formatter and loggers can't be set up and used at
        // the same time, so the other one waits and then finds the chain complete.
        const std::lock_guard<LogGate> alone(_logGate);
        if (NLog* const log = _instance) log->_configure();
    }
}

void NLog::_configure() {
    if (_configured) return;
    _configured = true;

    Poco::AutoPtr<LogFileChannel> file(new LogFileChannel);
    Poco::AutoPtr<LogAsyncChannel> writer(new LogAsyncChannel(file));

    file->setProperty(LogFileChannel::PROP_PATH, _file().Data());
    file->setProperty(LogFileChannel::PROP_ROTATION, _rotation.Data());
    file->setProperty(LogFileChannel::PROP_ARCHIVE, _archive.Data());
    file->setProperty(LogFileChannel::PROP_PURGEAGE, _purgeAge.Data());

    Poco::AutoPtr<Poco::PatternFormatter> formatter(new Poco::PatternFormatter);
    formatter->setProperty(Poco::PatternFormatter::PROP_PATTERN, "%t");
    Poco::AutoPtr<LogFormattingChannel> chain(new LogFormattingChannel(formatter, writer));
    const std::tm now = morvel::platform::LocalTime(Poco::Timestamp().epochTime());

    // Ahead of the logger's first use, because a new logger takes over the root's channel.
    Poco::Logger::root().setChannel(chain);
    Poco::Logger& logger = Poco::Logger::get(_name.Data());

    const NString text;
    const std::string stars(53, '*');
    logger.information(stars);
    logger.information("* - Log System -\t\t\t\t\t\t\t\t\t ");
    logger.information(text.Format("* Creation date: %d/%d/%d at %d:%d:%d", now.tm_mday,
                                   now.tm_mon + 1, now.tm_year + 1900, now.tm_hour, now.tm_min,
                                   now.tm_sec)
                           .Data());
    logger.information(text.Format("* Name: %s", _name.CStr()).Data());
    logger.information("*" + std::string(52, ' '));
    logger.information(stars);

    logger.setLevel(_level);
    formatter->setProperty(Poco::PatternFormatter::PROP_PATTERN, "%Y/%n/%e - [%w] - %H:%M:%S - %t");
}

NPath NLog::_file() const {
    NPath fileName(_name);
    fileName.SetExtension(NString("log"));
    NPath path(_path);
    path.Append(fileName).MakeFile();
    path.ConvertTo(EncodingUTF8);
    return path;
}
