#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

Handle mutex_create() { return CreateMutexA(nullptr, FALSE, nullptr); }
int mutex_lock(Handle mutex) { return WaitForSingleObject(mutex, INFINITE) == WAIT_OBJECT_0 ? 0 : 1; }
int mutex_unlock(Handle mutex) { return ReleaseMutex(mutex) != 0 ? 0 : 1; }

Handle semaphore_create(int32_t initial) { return CreateSemaphoreA(nullptr, initial, kSemaphoreMaximum, nullptr); }
bool semaphore_wait(Handle semaphore) { return WaitForSingleObject(semaphore, INFINITE) == WAIT_OBJECT_0; }

TryWait semaphore_try_wait(Handle semaphore) {
  switch (WaitForSingleObject(semaphore, 0)) {
    case WAIT_OBJECT_0:
      return TryWait::taken;
    case WAIT_TIMEOUT:
      return TryWait::would_block;
    default:
      return TryWait::failed;
  }
}

bool semaphore_post(Handle semaphore) { return ReleaseSemaphore(semaphore, 1, nullptr) != 0; }

bool lock_close(Handle lock) { return CloseHandle(lock) != 0; }

}  // namespace kiv::os
