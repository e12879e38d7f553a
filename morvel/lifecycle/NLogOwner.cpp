#include <morvel/lifecycle/NLogOwner.h>

#include <memory>

#include <morvel/files/NFile.h>
#include <morvel/logging/LogAsyncChannel.h>
#include <morvel/logging/NLog.h>

NLogOwner::NLogOwner() : _log(nullptr) {
    if (NLog::Get() != nullptr) return;
    auto log = std::make_unique<NLog>();
    NPath file(log->_path);
    file.Append("morvel.log");
    if (NFile(file).Exists()) {
        log->SetName("morvel.log");
        NLog::Set(log.get());
        _log = log.release();
    }
}

NLogOwner::~NLogOwner() {
    if (_log == nullptr) return;
    morvel::LogAsyncChannel::WriteAllIfAlone();
    NLog::Set(NLog::DefaultLog());
    delete _log;
    _log = nullptr;
}
