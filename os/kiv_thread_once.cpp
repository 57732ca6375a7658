#include <atomic>
#include <cstddef>

#include "base/record_layout.h"
#include "kiv_thread.h"
#include "os/platform.h"

static_assert(sizeof(KIV_THREAD_ONCE) == 8 && offsetof(KIV_THREAD_ONCE, done) == 4);
// The words are accessed as atomics in place, whatever object they lie in.
static_assert(std::atomic_ref<uint32_t>::is_always_lock_free &&
              std::atomic_ref<uint32_t>::required_alignment == alignof(KIV_THREAD_ONCE));

int kiv_thread_once(KIV_THREAD_ONCE *once, void (*function)(void)) {
  if (once == nullptr || function == nullptr) return 1;
  const std::atomic_ref done(once->done);
  if (done.load(std::memory_order_acquire) != 0) return 0;
  if (std::atomic_ref(once->started).exchange(1, std::memory_order_relaxed) == 0) {
    function();
    done.store(1, std::memory_order_release);
  } else {
    while (done.load(std::memory_order_acquire) == 0) kiv::os::sleep_milliseconds(0);
  }
  return 0;
}
