/// @file
/// Where Windows enters the DLL. A program that links the library as a static one never gets here.
#if defined(_WIN32)

#include <pthread.h>
#include <windows.h>

/// The entry of the C runtime, which constructs and destroys static objects.
extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, void* reserved);

namespace {

DWORD g_threadSlot = TLS_OUT_OF_INDEXES;

/// The thread runtime that is linked in takes a slot of thread-local storage with its first use and never
/// gives it back, and a process has about a thousand. Lets it take the slot now.
/// @return the slot; TLS_OUT_OF_INDEXES if it took none
DWORD takeThreadSlot() {
    const DWORD next = TlsAlloc();
    TlsFree(next);
    pthread_self();
    return TlsGetValue(next) != nullptr ? next : TLS_OUT_OF_INDEXES;
}

}  // namespace

/// At the end of a process, which a set @p reserved tells from FreeLibrary, all other threads were killed
/// wherever they stood: with locks taken and records half written. Nothing is destroyed then, as the system
/// takes it all back; the destructor of the engine would wait for threads that are no more.
extern "C" BOOL WINAPI talvexDllEntry(HINSTANCE instance, DWORD reason, void* reserved) {
    if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
        return TRUE;
    }
    if (reason == DLL_PROCESS_ATTACH) {
        g_threadSlot = takeThreadSlot();
    }
    const BOOL result = DllMainCRTStartup(instance, reason, reserved);
    if (reason == DLL_PROCESS_DETACH && g_threadSlot != TLS_OUT_OF_INDEXES) {
        TlsFree(g_threadSlot);
    }
    return result;
}

#endif
