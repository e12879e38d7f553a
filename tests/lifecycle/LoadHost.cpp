// A program that knows the library only through plugins: it is linked neither to it nor to POCO,
// whose presence would change what can be unloaded. Does what its arguments say, one after the
// other, and prints an answer for each question.
//   LoadHost <log plugin> <poco plugin> <step>...

#include <dirent.h>
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

namespace {
void* plugin = nullptr;

void* open(const char* path) {
    void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::cout << dlerror() << std::endl;
        std::exit(3);
    }
    return library;
}

template <class Function>
Function* find(void* library, const char* name) {
    void* const symbol = dlsym(library, name);
    if (symbol == nullptr) {
        std::cout << dlerror() << std::endl;
        std::exit(4);
    }
    return reinterpret_cast<Function*>(symbol);
}

template <class Function, class... Arguments>
auto call(const char* name, Arguments... arguments) {
    return find<Function>(plugin, name)(arguments...);
}

int entries(const char* folder) {
    DIR* const stream = opendir(folder);
    int count = 0;
    while (const dirent* entry = readdir(stream)) {
        count += entry->d_name[0] != '.';
    }
    closedir(stream);
    return count;
}

bool hasThreads() {
    return entries("/proc/self/task") > 1;
}

// A thread that was joined may stand in the list for a moment longer.
bool keepsThreads() {
    for (int turn = 0; turn < 1000 && hasThreads(); ++turn) {
        usleep(1000);
    }
    return hasThreads();
}

bool mapped() {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        if (line.find("libmorvel") != std::string::npos) return true;
    }
    return false;
}

// How many of this process's descriptors lead to the log.
int openLogs() {
    int count = 0;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        char target[4096] = "";
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        if (readlink(link.c_str(), target, sizeof target - 1) > 0) {
            count += std::strstr(target, "morvel.log") != nullptr;
        }
    }
    return count;
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
            dlclose(plugin);
        } else if (step == "log?") {
            std::cout << (call<bool()>("plugin_log_in_force") ? "on " : "off ");
        } else if (step == "thread?") {
            std::cout << (hasThreads() ? "thread " : "no-thread ");
        } else if (step == "thread-left?") {
            std::cout << (keepsThreads() ? "thread " : "no-thread ");
        } else if (step == "mapped?") {
            std::cout << (mapped() ? "mapped " : "gone ");
        } else if (step == "file?") {
            std::cout << (openLogs() > 0 ? "open " : "closed ");
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
            unlink(argv[++i]);
        } else if (step == "fork") {
            const pid_t child = fork();
            if (child == 0) std::exit(0);
            int status = 1;
            waitpid(child, &status, 0);
            std::cout << (status == 0 ? "child-ended " : "child-failed ");
        } else {
            std::cout << "no such step: " << step;
            return 2;
        }
    }
    return 0;
}
