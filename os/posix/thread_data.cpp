#include <pthread.h>

#include "os/platform.h"

namespace kiv::os {

static_assert(sizeof(pthread_key_t) == sizeof(uint32_t));

bool thread_data_create(uint32_t *key) {
  pthread_key_t made;
  if (pthread_key_create(&made, nullptr) != 0) return false;
  *key = made;
  return true;
}

// The C library checks the key: one that is not in use fails, or gives null.
bool thread_data_destroy(uint32_t key) { return pthread_key_delete(key) == 0; }
bool thread_data_set(uint32_t key, void *value) { return pthread_setspecific(key, value) == 0; }
void *thread_data_get(uint32_t key) { return pthread_getspecific(key); }

}  // namespace kiv::os
