// A program that knows the library only through plugins: it is linked neither to it nor to POCO,
// whose presence would change what can be unloaded. Does what its arguments say, one after the
// other, and prints an answer for each question. What it doesn't know itself is the log plugin's, a
// number so many lines.
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
void* _plugin = nullptr;
void (*_lateWrite)(int) = nullptr;

template <class Result = void, class... Arguments>
auto _find(void* library, const char* name) {
    return reinterpret_cast<Result (*)(Arguments...)>(LoadSystem::Find(library, name));
}

std::function<void()> _answer(std::function<bool()> question, const char* ifYes, const char* ifNo) {
    return [=] { std::cout << (question() ? ifYes : ifNo) << ' '; };
}
}  // namespace

// A missing library, function or step is a crash, which the test sees.
int main(int argc, char** argv) {
    std::cout << std::unitbuf;  // nothing for a forked child to write once more
    const std::string file =
        std::getenv("XDG_DATA_HOME") + std::string("/Tarnwick Software/morvel.log");
    const auto poco = [&] { return LoadSystem::Open(argv[2]); };
    const std::map<std::string, std::function<void()>> steps = {
        {"load", [&] { _plugin = LoadSystem::Open(argv[1]); }},
        {"unload", [] { LoadSystem::Close(_plugin); }},
        {"log?",
         _answer([] { return _find<bool>(_plugin, "plugin_log_in_force")(); }, "on", "off")},
        {"mapped?", _answer(LoadSystem::IsMapped, "mapped", "gone")},
        {"channel?", _answer([&] { return _find<bool>(poco(), "plugin_root_has_channel")(); },
                             "channel", "no-channel")},
        {"give-channel", [&] { _find(poco(), "plugin_give_root_a_channel")(); }},
        // Joins the exit handlers ahead of the library's load, and so runs behind its unload.
        {"late-write", [] { std::atexit([] { _lateWrite(1); }); }},
        {"arm-late-write", [] { _lateWrite = _find<void, int>(_plugin, "plugin_write"); }},
        {"create", [&] { std::ofstream{file}; }},
        {"remove", [&] { std::filesystem::remove(file); }},
        {"move-data", [] { LoadSystem::Set("XDG_DATA_HOME", std::getenv("OTHER_DATA")); }},
        {"fork", _answer(LoadSystem::Fork, "child-ended", "child-failed")},
    };
    for (int i = 3; i < argc; ++i) {
        const int lines = std::atoi(argv[i]);
        if (lines > 0) {
            _find<void, int>(_plugin, "plugin_write")(lines);
        } else if (const auto step = steps.find(argv[i]); step != steps.end()) {
            step->second();
        } else {
            _find(_plugin, ("plugin_" + std::string(argv[i])).c_str())();
        }
    }
    return 0;
}
