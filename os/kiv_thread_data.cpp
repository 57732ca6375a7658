// Thread-specific data: keys of the caller's, and one that the library keeps.

#include "kiv_thread.h"
#include "os/platform.h"

namespace os = kiv::os;

namespace {

uint32_t global_key = os::kNoThreadDataKey;

}  // namespace

int kiv_thread_specific_data_create_key(uint32_t *key) { return os::thread_data_create(key) ? 0 : 1; }
int kiv_thread_specific_data_destroy_key(uint32_t *key) { return os::thread_data_destroy(*key) ? 0 : 1; }
int kiv_thread_specific_data_set_value(uint32_t *key, void *value) { return os::thread_data_set(*key, value) ? 0 : 1; }
void *kiv_thread_specific_data_get_value(uint32_t *key) { return os::thread_data_get(*key); }

int kiv_thread_specific_data_init_global_key(void) {
  const uint32_t replaced = global_key;
  if (!os::thread_data_create(&global_key)) return 1;
  if (replaced != os::kNoThreadDataKey) os::thread_data_destroy(replaced);
  return 0;
}

int kiv_thread_specific_data_destroy_global_key(void) {
  const uint32_t destroyed = global_key;
  global_key = os::kNoThreadDataKey;
  return os::thread_data_destroy(destroyed) ? 0 : 1;
}

int kiv_thread_specific_data_set_value_using_global_key(void *value) {
  return kiv_thread_specific_data_set_value(&global_key, value);
}

void *kiv_thread_specific_data_get_value_using_global_key(void) {
  return kiv_thread_specific_data_get_value(&global_key);
}
