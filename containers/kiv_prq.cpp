// The exported queue operations: the array's size, and which entry has to find its place.

#include "kiv_prq.h"

#include <cstddef>
#include <cstdint>

#include "base/record_layout.h"
#include "containers/prq_heap.h"

namespace prq = kiv::prq;

KIV_LAYOUT_32(sizeof(KIV_PRQ_ENTRY) == 24 && offsetof(KIV_PRQ_ENTRY, key) == 0);
KIV_LAYOUT_32(offsetof(KIV_PRQ_ENTRY, payload) == 16 && offsetof(KIV_PRQ_ENTRY, position) == 20);
KIV_LAYOUT_32(sizeof(KIV_PRQ) == 32);
KIV_LAYOUT_32(offsetof(KIV_PRQ, capacity) == 4 && offsetof(KIV_PRQ, entries) == 8);
KIV_LAYOUT_32(offsetof(KIV_PRQ, allocator) == 12 && offsetof(KIV_PRQ, key_kind) == 16);
KIV_LAYOUT_32(offsetof(KIV_PRQ, smallest_first) == 20 && offsetof(KIV_PRQ, compare) == 24);
KIV_LAYOUT_32(offsetof(KIV_PRQ, compare_context) == 28);

namespace {

// Allocators take sizes of 32 bits.
constexpr uint32_t kMaxCapacity = UINT32_MAX / sizeof(KIV_PRQ_ENTRY);

/// Gives the array another size; false without memory: it keeps its own.
bool resize(KIV_PRQ *queue, uint32_t capacity) {
  KIV_ALLOCATOR *const allocator = queue->allocator;
  const auto size = static_cast<uint32_t>(capacity * sizeof(KIV_PRQ_ENTRY));
  void *const entries = allocator->realloc(allocator, queue->entries, size);
  if (entries == nullptr) return false;
  queue->entries = static_cast<KIV_PRQ_ENTRY *>(entries);
  queue->capacity = capacity;
  return true;
}

/// Makes room for one more entry.
[[gnu::noinline]] bool grow(KIV_PRQ *queue) {
  if (queue->capacity > kMaxCapacity / 2) return false;
  return resize(queue, queue->capacity != 0 ? queue->capacity * 2 : 1);
}

/// Halves an array of which less than half is used. Never to nothing: half of 1 is 1.
void shrink(KIV_PRQ *queue) {
  const uint32_t half = (queue->capacity + 1) / 2;
  if (queue->count < half && half != queue->capacity) (void)resize(queue, half);
}

KIV_PRQ_KEY key_of(const KIV_PRQ *queue, const void *key) {
  KIV_PRQ_KEY result;
  switch (queue->key_kind) {
    case KIV_PRQ_KEY_U64:
      result.u64 = *static_cast<const uint64_t *>(key);
      break;
    case KIV_PRQ_KEY_U128:
      result.u128 = *static_cast<const KIV_U128 *>(key);
      break;
    default:
      result.word = key;
  }
  return result;
}

}  // namespace

KIV_PRQ *kiv_prq_new(KIV_ALLOCATOR *allocator, uint32_t capacity, uint32_t key_kind, uint32_t smallest_first,
                     KIV_PRQ_COMPARE compare, void *compare_context) {
  if (capacity > kMaxCapacity) return nullptr;
  auto *queue = static_cast<KIV_PRQ *>(allocator->alloc(allocator, sizeof(KIV_PRQ)));
  if (queue == nullptr) return nullptr;
  void *entries = allocator->alloc(allocator, static_cast<uint32_t>(capacity * sizeof(KIV_PRQ_ENTRY)));
  // For no bytes some allocators give null.
  if (entries == nullptr && capacity != 0) {
    allocator->free(allocator, queue);
    return nullptr;
  }
  *queue = {.count = 0,
            .capacity = capacity,
            .entries = static_cast<KIV_PRQ_ENTRY *>(entries),
            .allocator = allocator,
            .key_kind = key_kind,
            .smallest_first = smallest_first,
            .compare = compare,
            .compare_context = compare_context};
  return queue;
}

void kiv_prq_delete(KIV_PRQ *queue) {
  if (queue == nullptr) return;
  KIV_ALLOCATOR *const allocator = queue->allocator;
  allocator->free(allocator, queue->entries);
  allocator->free(allocator, queue);
}

int kiv_prq_insert(KIV_PRQ *queue, const void *key, void *payload, uint32_t *position) {
  // The key is read first: it may lie in the array.
  const KIV_PRQ_ENTRY entry = {key_of(queue, key), payload, position};
  if (queue->count == queue->capacity && !grow(queue)) return 1;
  prq::with_order(*queue, [&](const auto &order) {
    prq::sift_up(queue->entries, queue->count, entry,
                 [&](const KIV_PRQ_KEY &parent) { return order.below(parent, entry.key); });
  });
  ++queue->count;
  return 0;
}

void *kiv_prq_extract_top(KIV_PRQ *queue) {
  if (queue->count == 0) return nullptr;
  void *const payload = queue->entries[0].payload;
  const uint32_t last = --queue->count;
  if (last > 0) {
    const KIV_PRQ_ENTRY entry = queue->entries[last];
    prq::with_order(*queue, [&](const auto &order) { prq::sift_down(queue->entries, last, 0, entry, order); });
  }
  shrink(queue);
  return payload;
}

void kiv_prq_remove(KIV_PRQ *queue, uint32_t index) {
  if (index >= queue->count) return;
  const uint32_t last = --queue->count;
  if (index != last) {
    const KIV_PRQ_ENTRY entry = queue->entries[last];
    prq::with_order(*queue, [&](const auto &order) {
      if (order.below(entry.key, queue->entries[index].key)) {
        prq::sift_down(queue->entries, last, index, entry, order);
      } else {
        prq::sift_up(queue->entries, index, entry,
                     [&](const KIV_PRQ_KEY &parent) { return order.above(entry.key, parent); });
      }
    });
  }
  shrink(queue);
}

void kiv_prq_remove_all(KIV_PRQ *queue) {
  queue->count = 0;
  shrink(queue);
}
