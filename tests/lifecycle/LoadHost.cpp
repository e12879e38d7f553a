// A program that knows the library only through plugins: it is linked neither to it nor to POCO,
// whose presence would change what can be unloaded. Does what its arguments say, one after the
// other, and prints an answer for each question.
//   LoadHost <log plugin> <poco plugin> <step>...

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include <tests/lifecycle/LoadSystem.h>

namespace {
void* plugin = nullptr;

template <class Function>
Function* find(void* library, const char* name) {
    return reinterpret_cast<Function*>(system_calls::Find(library, name));
}

template <class... Arguments>
void call(const char* name, Arguments... arguments) {
    find<void(Arguments...)>(plugin, name)(arguments...);
}

// A thread that has ended may stand in the system's list for a moment longer.
bool keepsThreads() {
    for (int turn = 0; turn < 1000 && system_calls::CountThreads() > 1; ++turn) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return system_calls::CountThreads() > 1;
}

void (*lateWrite)(int) = nullptr;
}  // namespace

// A missing library or function is a crash, which the test sees.
int main(int argc, char** argv) {
    std::cout << std::unitbuf;  // nothing for a forked child to write once more
    for (int i = 3; i < argc; ++i) {
        const std::string step = argv[i];
        if (step == "load") {
            plugin = system_calls::Open(argv[1]);
        } else if (step == "unload") {
            system_calls::Close(plugin);
        } else if (step == "log?") {
            std::cout << (find<bool()>(plugin, "plugin_log_in_force")() ? "on " : "off ");
        } else if (step == "thread?") {
            std::cout << (system_calls::CountThreads() > 1 ? "thread " : "no-thread ");
        } else if (step == "thread-left?") {
            std::cout << (keepsThreads() ? "thread " : "no-thread ");
        } else if (step == "mapped?") {
            std::cout << (system_calls::IsLibraryMapped() ? "mapped " : "gone ");
        } else if (step == "channel?") {
            void* const poco = system_calls::Open(argv[2]);
            const bool has = find<bool()>(poco, "plugin_root_has_channel")();
            std::cout << (has ? "channel " : "no-channel ");
        } else if (step == "give-channel") {
            find<void()>(system_calls::Open(argv[2]), "plugin_give_root_a_channel")();
        } else if (step == "write") {
            call("plugin_write", std::atoi(argv[++i]));
        } else if (step == "write-on") {
            call("plugin_write_on");
        } else if (step == "default-log" || step == "default-log-in-force") {
            call("plugin_default_log", step == "default-log-in-force");
        } else if (step == "last-word") {
            call("plugin_last_word");
        } else if (step == "late-write") {
            // Joins the exit list ahead of the library's load, and so runs behind its unload.
            std::atexit([] { lateWrite(1); });
        } else if (step == "arm-late-write") {
            lateWrite = find<void(int)>(plugin, "plugin_write");
        } else if (step == "create") {
            std::ofstream file(argv[++i]);
        } else if (step == "remove") {
            std::filesystem::remove(argv[++i]);
        } else if (step == "fork") {
            std::cout << system_calls::Fork();
        } else {
            return 2;
        }
    }
    return 0;
}
