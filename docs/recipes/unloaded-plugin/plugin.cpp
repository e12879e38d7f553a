#include <string>

#include <morvel/companions.h>
#include <morvel/morvel.h>

#include "plugin_export.h"

namespace {

class Reports : public NErrorHandler {
public:
    using NErrorHandler::Exception;
    void Exception(const NException& exception) override {
        NLOG(morvel::LevelWarning, "%s", morvel::Describe(exception).c_str());
    }
};

Reports reports;
NErrorHandler* former = nullptr;
std::string logFile;

}  // namespace

extern "C" {

PLUGIN_EXPORT const char* PluginBegin() {
    morvel::StartLog("plugin");
    former = NErrorHandler::Set(&reports);
    logFile = morvel::Utf8(morvel::LogFile());
    return logFile.c_str();
}

PLUGIN_EXPORT bool PluginWork(const char* file) {
    NXML document;
    return document.LoadFile(file, false);
}

PLUGIN_EXPORT void PluginEnd() {
    NErrorHandler::Set(former);
    NLOG(morvel::LevelNotice, "unloaded");
}
}
