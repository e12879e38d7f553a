#include <dirent.h>
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <tests/lifecycle/LoadSystem.h>

namespace system_calls {

void* Open(const char* library) {
    return dlopen(library, RTLD_NOW | RTLD_LOCAL);
}

void* Find(void* library, const char* name) {
    return dlsym(library, name);
}

void Close(void* library) {
    dlclose(library);
}

int CountThreads() {
    DIR* const stream = opendir("/proc/self/task");
    int count = 0;
    while (const dirent* entry = readdir(stream)) {
        count += entry->d_name[0] != '.';
    }
    closedir(stream);
    return count;
}

bool IsLibraryMapped() {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line)) {
        if (line.find("libmorvel") != std::string::npos) return true;
    }
    return false;
}

const char* Fork() {
    const pid_t child = fork();
    if (child == 0) std::exit(0);
    int status = 1;
    waitpid(child, &status, 0);
    return status == 0 ? "child-ended " : "child-failed ";
}

}  // namespace system_calls
