// A module as an application loads it: linked to the library, and through it to POCO.

#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

namespace {
// Clean-up of the module's own, which logs.
struct LastWord {
    bool wanted = false;
    ~LastWord() {
        if (wanted) {
            NLOG("NOTICE", "last word");
        }
    }
} lastWord;
}  // namespace

extern "C" {
bool plugin_log_in_force() {
    return NLog::Get() != nullptr;
}

void plugin_write(int lines) {
    for (int i = 0; i < lines; ++i) {
        NLOG("NOTICE", "writer 0 line %d", i);
    }
}

void plugin_default_log(bool inForce) {
    NLog* const log = NLog::DefaultLog();
    if (inForce) {
        NLog::Set(log);
    }
}

void plugin_last_word() {
    lastWord.wanted = true;
}
}
