// A module of an application: linked to the library, and through it to POCO.

#include <atomic>
#include <thread>

#include <Poco/Channel.h>
#include <Poco/Logger.h>

#include <morvel/logging/NLog.h>
#include <morvel/logging/NLogMessage.h>

extern "C" {
bool plugin_log_in_force() {
    return NLog::Get() != nullptr;
}

void plugin_write(int lines) {
    static int number = 0;
    for (; lines > 0; --lines) NLOG("NOTICE", "writer 0 line %d", number++);
}

// Threads that nobody joins log on until the process is gone.
void plugin_write_on() {
    static std::atomic<int> written{0};
    for (int writer = 0; writer < 4; ++writer) {
        std::thread([writer] {
            for (int i = 0;; ++written) NLOG("NOTICE", "writer %d line %d", writer, i++);
        }).detach();
    }
    while (written < 2000) std::this_thread::yield();
}

void plugin_default_log() {
    NLog::DefaultLog();
}

void plugin_default_log_in_force() {
    NLog::Set(NLog::DefaultLog());
}

// Clean-up of the module's own, which logs.
void plugin_last_word() {
    static const struct LastWord {
        ~LastWord() { plugin_write(1); }
    } lastWord;
}

// The log's own logger has a channel that goes with the log, and logs then.
void plugin_own_channel() {
    struct Channel : Poco::Channel {
        void log(const Poco::Message&) override {}
        ~Channel() override { plugin_write(1); }
    };
    Poco::Logger::get("morvel.log").setChannel(new Channel);
}
}
