#include <windows.h>

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
