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

void* open(const char* path) {
    void* const library = system_calls::Open(path);
    if (library == nullptr) {
        std::cout << "can't load " << path << std::endl;
        std::exit(3);
    }
    return library;
}

template <class Function>
Function* find(void* library, const char* name) {
    void* const symbol = system_calls::Find(library, name);
    if (symbol == nullptr) {
        std::cout << "can't find " << name << std::endl;
        std::exit(4);
    }
    return reinterpret_cast<Function*>(symbol);
}

template <class Function, class... Arguments>
auto call(const char* name, Arguments... arguments) {
    return find<Function>(plugin, name)(arguments...);
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

int main(int argc, char** argv) {
    std::cout << std::unitbuf;  // nothing for a forked child to write once more
    for (int i = 3; i < argc; ++i) {
        const std::string step = argv[i];
        if (step == "load") {
            plugin = open(argv[1]);
        } else if (step == "unload") {
            system_calls::Close(plugin);
        } else if (step == "log?") {
            std::cout << (call<bool()>("plugin_log_in_force") ? "on " : "off ");
        } else if (step == "thread?") {
            std::cout << (system_calls::CountThreads() > 1 ? "thread " : "no-thread ");
        } else if (step == "thread-left?") {
            std::cout << (keepsThreads() ? "thread " : "no-thread ");
        } else if (step == "mapped?") {
            std::cout << (system_calls::IsLibraryMapped() ? "mapped " : "gone ");
        } else if (step == "file?") {
            std::cout << (system_calls::IsLogOpen() ? "open " : "closed ");
        } else if (step == "channel?") {
            std::cout << (find<bool()>(open(argv[2]), "plugin_root_has_channel")() ? "channel "
                                                                                   : "no-channel ");
        } else if (step == "give-channel") {
            find<void()>(open(argv[2]), "plugin_give_root_a_channel")();
        } else if (step == "write") {
            call<void(int)>("plugin_write", std::atoi(argv[++i]));
        } else if (step == "default-log" || step == "default-log-in-force") {
            call<void(bool)>("plugin_default_log", step == "default-log-in-force");
        } else if (step == "last-word") {
            call<void()>("plugin_last_word");
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
            std::cout << "no such step: " << step;
            return 2;
        }
    }
    return 0;
}
