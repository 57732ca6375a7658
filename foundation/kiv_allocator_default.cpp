// The default kind: the C runtime's heap, and the last resorts of its nofail operations.

#include <cstddef>
#include <cstring>

#include "base/record_layout.h"
#include "kiv_allocator.h"
#include "os/platform.h"

namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_ALLOCATOR) == 76);
KIV_LAYOUT_32(offsetof(KIV_ALLOCATOR, realloc_nofail) == 24);
static_assert(sizeof(KIV_ALLOCATOR_STATE) == 12 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, standard.mutex) == 2 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, standard.caller_owned) == 11 * sizeof(void *));

namespace {

constexpr uint32_t kRetries = 11;

void *default_alloc(KIV_ALLOCATOR *, uint32_t size) { return os::heap_alloc(size); }
void *default_calloc(KIV_ALLOCATOR *, uint32_t count, uint32_t size) { return os::heap_calloc(count, size); }
void *default_realloc(KIV_ALLOCATOR *, void *block, uint32_t size) { return os::heap_realloc(block, size); }

void default_free(KIV_ALLOCATOR *, void *block) {
  if (block != nullptr) os::heap_free(block);
}

/// Attempts a second apart; the sleep after the last one ends in the crash.
template <class Attempt>
void *persist(Attempt attempt) {
  void *block = attempt();
  for (uint32_t sleeps = 0; block == nullptr; ++sleeps) {
    kiv_sleep(1);
    if (sleeps >= kRetries) kiv_crash();
    block = attempt();
  }
  return block;
}

void *default_alloc_nofail(KIV_ALLOCATOR *, uint32_t size) {
  return persist([=] { return os::heap_alloc(size); });
}

void *default_calloc_nofail(KIV_ALLOCATOR *, uint32_t count, uint32_t size) {
  return persist([=] { return os::heap_calloc(count, size); });
}

/// The failed attempt's null is the next one's block: on purpose, a caller who gets here wants memory at any price, and
/// whether the old block still means anything after seconds of shortage is nothing that this level can know.
void *default_realloc_nofail(KIV_ALLOCATOR *, void *block, uint32_t size) {
  return persist([block, size]() mutable { return block = os::heap_realloc(block, size); });
}

}  // namespace

KIV_ALLOCATOR *kiv_allocator_default_new(KIV_ALLOCATOR *storage) {
  auto *allocator = storage;
  if (allocator != nullptr) {
    std::memset(allocator, 0, sizeof *allocator);
  } else {
    allocator = static_cast<KIV_ALLOCATOR *>(os::heap_calloc(1, sizeof *allocator));
    if (allocator == nullptr) return nullptr;
  }
  allocator->alloc = default_alloc;
  allocator->calloc = default_calloc;
  allocator->free = default_free;
  allocator->realloc = default_realloc;
  allocator->alloc_nofail = default_alloc_nofail;
  allocator->calloc_nofail = default_calloc_nofail;
  allocator->realloc_nofail = default_realloc_nofail;
  // No operation takes the mutex, so an allocator without one works just as well.
  (void)kiv_mutex_new(&allocator->state.standard.mutex);
  allocator->state.standard.caller_owned = storage != nullptr;
  return allocator;
}

int kiv_allocator_default_delete(KIV_ALLOCATOR *allocator) {
  (void)kiv_mutex_delete(&allocator->state.standard.mutex);
  if (allocator->state.standard.caller_owned == 0) os::heap_free(allocator);
  return 1;
}

void kiv_sleep(uint32_t seconds) {
  // Longer sleeps than 32 bits of milliseconds hold are cut into pieces.
  constexpr uint32_t kLongest = 4000000;
  for (; seconds > kLongest; seconds -= kLongest) os::sleep_milliseconds(kLongest * 1000);
  os::sleep_milliseconds(seconds * 1000);
}

void kiv_crash(void) { os::crash(); }
