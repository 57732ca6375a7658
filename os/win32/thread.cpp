#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

bool thread_create(KIV_THREAD_ROUTINE routine, void *argument, ThreadIdSlots ids, Handle *handle) {
  DWORD id = 0;
  // DWORD is another 32-bit type than uint32_t, hence the cast. Suspended until the ids are stored.
  const HANDLE thread =
      CreateThread(nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(routine), argument, CREATE_SUSPENDED, &id);
  if (thread == nullptr) return false;
  if (ids.first != nullptr) *ids.first = id;
  if (ids.second != nullptr) *ids.second = id;
  if (handle != nullptr) *handle = thread;
  ResumeThread(thread);
  if (handle == nullptr) CloseHandle(thread);
  return true;
}

bool thread_join(Handle thread) {
  if (WaitForSingleObject(thread, INFINITE) != WAIT_OBJECT_0) return false;
  CloseHandle(thread);
  return true;
}

void thread_exit(int32_t value) { ExitThread(static_cast<DWORD>(value)); }

uint32_t thread_current_id() { return GetCurrentThreadId(); }

}  // namespace kiv::os
