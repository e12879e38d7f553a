#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

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

bool IsLibraryMapped() {
    return dlopen("libmorvel.so.1", RTLD_NOW | RTLD_NOLOAD) != nullptr;
}

void SetEnvironment(const char* name, const char* value) {
    setenv(name, value, 1);
}

const char* Fork() {
    const pid_t child = fork();
    if (child == 0) std::exit(0);
    int status = 1;
    waitpid(child, &status, 0);
    return status == 0 ? "child-ended " : "child-failed ";
}

}  // namespace system_calls
