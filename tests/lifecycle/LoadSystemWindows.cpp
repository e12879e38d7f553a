#include <windows.h>
//
#include <tlhelp32.h>

#include <cstdlib>
#include <string>

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

bool IsLogOpen() {
    // Opened for exclusive use, which is refused as long as anybody has it open.
    const std::string log =
        std::string(std::getenv("XDG_DATA_HOME")) + "\\Tarnwick Software\\morvel.log";
    const HANDLE file =
        CreateFileA(log.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
    CloseHandle(file);
    return false;
}

const char* Fork() {
    return "no-forks ";
}

}  // namespace system_calls
