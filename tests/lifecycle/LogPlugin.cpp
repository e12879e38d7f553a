// A module as an application loads it: linked to the library, and through it to POCO.

#include <atomic>
#include <thread>

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

// Threads that nobody joins log on until the process is gone.
void plugin_write_on() {
    static std::atomic<int> written{0};
    for (int writer = 0; writer < 4; ++writer) {
        std::thread([writer] {
            for (int i = 0;; ++i) {
                NLOG("NOTICE", "writer %d line %d", writer, i);
                ++written;
            }
        }).detach();
    }
    while (written < 2000) {
        std::this_thread::yield();
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
