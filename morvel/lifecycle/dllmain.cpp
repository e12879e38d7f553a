#include <windows.h>

#include <morvel/logging/LogGate.h>

namespace {

// A process that ends by `exit`, as a return from main does, runs the exit handlers of the C
// runtime first, while all its threads are alive. Those of a DLL, which std::atexit reaches from
// here, come too late. Both functions below add to the former.
const struct {
    const wchar_t* runtime;
    const char* name;
} Runtimes[] = {{L"msvcrt.dll", "_onexit"}, {L"ucrtbase.dll", "_crt_atexit"}};

int _beforeTheEnd() {
    morvel::_logGate.CloseForTheEnd();
    return 0;
}

void _joinExitHandlers() {
    for (const auto& row : Runtimes) {
        const HMODULE runtime = GetModuleHandleW(row.runtime);
        if (runtime == nullptr) continue;
        using Add = void* (*)(int (*)());
        const FARPROC add = GetProcAddress(runtime, row.name);
        if (add != nullptr) reinterpret_cast<Add>(reinterpret_cast<void*>(add))(_beforeTheEnd);
    }
}

}  // namespace

// The entry point of the DLL. At load the runtime has constructed the static objects before it
// comes here; at unload it runs their destructors afterwards.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* loadedWithProgram) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Refused where the module has thread-local storage, as all that GCC links have. The start
        // and end of a thread are then told to us still, and nothing is to be done about them.
        DisableThreadLibraryCalls(module);
        // An exit handler is never taken back, so only a library that stays until the end may add
        // one. It is added ahead of the program's own, and so it is called last.
        if (loadedWithProgram != nullptr) _joinExitHandlers();
    }
    return TRUE;
}
