#include "kiv_thread.h"
#include "os/win32/windows_api.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void *) {
  if (reason == DLL_PROCESS_ATTACH || reason == DLL_PROCESS_DETACH) kiv_thread_init();
  return TRUE;
}
