#include <windows.h>
//
#include <tlhelp32.h>

#include <tests/lifecycle/LoadSystem.h>

namespace system_calls {

void* Open(const char* library) {
    return LoadLibraryA(library);
}

void* Find(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void Close(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

int CountThreads() {
    const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL more = Thread32First(all, &thread); more; more = Thread32Next(all, &thread)) {
        count += thread.th32OwnerProcessID == GetCurrentProcessId();
    }
    CloseHandle(all);
    return count;
}

bool IsLibraryMapped() {
    return GetModuleHandleA("morvel.dll") != nullptr;
}

void SetEnvironment(const char* name, const char* value) {
    SetEnvironmentVariableA(name, value);
}

const char* Fork() {
    return "no-forks ";
}

}  // namespace system_calls
