#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

static_assert(TLS_OUT_OF_INDEXES == kNoThreadDataKey);

bool thread_data_create(uint32_t *key) {
  const DWORD made = TlsAlloc();
  if (made == TLS_OUT_OF_INDEXES) return false;
  *key = made;
  return true;
}

bool thread_data_destroy(uint32_t key) { return TlsFree(key) != 0; }
bool thread_data_set(uint32_t key, void *value) { return TlsSetValue(key, value) != 0; }
void *thread_data_get(uint32_t key) { return TlsGetValue(key); }

}  // namespace kiv::os
