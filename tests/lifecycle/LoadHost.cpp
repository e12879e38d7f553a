// A program that knows the library only through plugins: it is linked neither to it nor to POCO,
// whose presence would change what can be unloaded. Does what its arguments say, one after the
// other, and prints an answer for each question.
//   LoadHost <log plugin> <poco plugin> <step>...

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>

#include <tests/lifecycle/LoadSystem.h>

namespace {
void* plugin = nullptr;
void (*lateWrite)(int) = nullptr;

template <class Result = void, class... Arguments>
Result call(void* library, const char* name, Arguments... arguments) {
    return reinterpret_cast<Result (*)(Arguments...)>(system_calls::Find(library, name))(
        arguments...);
}

void answer(bool yes, const char* ifYes, const char* ifNo) {
    std::cout << (yes ? ifYes : ifNo) << ' ';
}

std::filesystem::path logFile() {
    return std::filesystem::path(std::getenv("XDG_DATA_HOME")) / "Tarnwick Software" / "morvel.log";
}
}  // namespace

// A missing library, function or step is a crash, which the test sees.
int main(int argc, char** argv) {
    std::cout << std::unitbuf;  // nothing for a forked child to write once more
    const auto poco = [&] { return system_calls::Open(argv[2]); };
    const auto log = [](const char* name, auto... arguments) {
        return [=] { call(plugin, name, arguments...); };
    };
    const std::map<std::string, std::function<void()>> steps = {
        {"load", [&] { plugin = system_calls::Open(argv[1]); }},
        {"unload", [] { system_calls::Close(plugin); }},
        {"log?", [] { answer(call<bool>(plugin, "plugin_log_in_force"), "on", "off"); }},
        {"mapped?", [] { answer(system_calls::IsLibraryMapped(), "mapped", "gone"); }},
        {"channel?",
         [&] { answer(call<bool>(poco(), "plugin_root_has_channel"), "channel", "no-channel"); }},
        {"give-channel", [&] { call(poco(), "plugin_give_root_a_channel"); }},
        {"own-channel", log("plugin_own_channel")},
        {"write-on", log("plugin_write_on")},
        {"default-log", log("plugin_default_log", false)},
        {"default-log-in-force", log("plugin_default_log", true)},
        {"last-word", log("plugin_last_word")},
        // Joins the exit handlers ahead of the library's load, and so runs behind its unload.
        {"late-write", [] { std::atexit([] { lateWrite(1); }); }},
        {"arm-late-write",
         [] {
             lateWrite =
                 reinterpret_cast<void (*)(int)>(system_calls::Find(plugin, "plugin_write"));
         }},
        {"create", [] { std::ofstream file(logFile()); }},
        {"remove", [] { std::filesystem::remove(logFile()); }},
        {"move-data",
         [] { system_calls::SetEnvironment("XDG_DATA_HOME", std::getenv("OTHER_DATA")); }},
        {"fork", [] { std::cout << system_calls::Fork(); }},
    };
    for (int i = 3; i < argc; ++i) {
        const int lines = std::atoi(argv[i]);
        if (lines > 0) {
            call(plugin, "plugin_write", lines);
        } else {
            steps.at(argv[i])();
        }
    }
    return 0;
}
