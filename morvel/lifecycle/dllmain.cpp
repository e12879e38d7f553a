#include <windows.h>

// The entry point of the DLL. At load the runtime has constructed the static objects before it
// comes here; at unload it runs their destructors afterwards.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Refused where the module has thread-local storage, as all that GCC links have. The start
        // and end of a thread are then told to us still, and nothing is to be done about them.
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
