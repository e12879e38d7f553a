#pragma once

/// What LoadHost asks of the system. Fork makes a child that ends at once.
#ifdef _WIN32

#include <windows.h>

struct LoadSystem {
    static void* Open(const char* library) { return LoadLibraryA(library); }
    static void* Find(void* library, const char* name) {
        return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
    }
    static void Close(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }
    static bool IsMapped() { return GetModuleHandleA("morvel.dll") != nullptr; }
    static void Set(const char* name, const char* value) { SetEnvironmentVariableA(name, value); }
    static bool Fork() { return false; }
};

#else

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

struct LoadSystem {
    static void* Open(const char* library) { return dlopen(library, RTLD_NOW | RTLD_LOCAL); }
    static void* Find(void* library, const char* name) { return dlsym(library, name); }
    static void Close(void* library) { dlclose(library); }
    static bool IsMapped() { return dlopen("libmorvel.so.1", RTLD_NOW | RTLD_NOLOAD) != nullptr; }
    static void Set(const char* name, const char* value) { setenv(name, value, 1); }
    static bool Fork() {
        if (fork() == 0) std::exit(0);
        int status = 1;
        wait(&status);
        return status == 0;
    }
};

#endif
