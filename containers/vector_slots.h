// The slots of a vector: how many there are, and how they grow and shrink.
//
// Representation: count <= capacity <= KIV_VECTOR_MAX_COUNT; the array has capacity + 1 slots. Slots at and behind the
// count are null or hold an element that was there before.
#ifndef KIV_CONTAINERS_VECTOR_SLOTS_H
#define KIV_CONTAINERS_VECTOR_SLOTS_H

#include <algorithm>

#include "kiv_vector.h"

namespace kiv::vector {

/// The capacity for a new count: one and a half times as much, rounded down. REQUIRES: 0 < count <= the greatest.
inline uint32_t capacity_for(uint32_t count) {
  return static_cast<uint32_t>(std::min<uint64_t>(uint64_t{count} + count / 2, KIV_VECTOR_MAX_COUNT));
}

/// Gives the array capacity + 1 slots; false, with everything as it was, without memory.
inline bool resize(KIV_VECTOR *vector, uint32_t capacity) {
  const uint32_t bytes = (capacity + 1) * static_cast<uint32_t>(sizeof(void *));
  void *slots = vector->allocator->realloc(vector->allocator, vector->elements, bytes);
  if (slots == nullptr) return false;
  vector->elements = static_cast<void **>(slots);
  vector->capacity = capacity;
  return true;
}

/// Room for so many elements, more than there is room for now; new slots are null. False without memory, or when there
/// cannot be so many.
[[gnu::noinline]] inline bool grow(KIV_VECTOR *vector, uint32_t count) {
  const uint32_t old_capacity = vector->capacity;
  if (count > KIV_VECTOR_MAX_COUNT || !resize(vector, capacity_for(count))) return false;
  std::fill(vector->elements + old_capacity + 1, vector->elements + vector->capacity + 1, nullptr);
  return true;
}

/// After the count has become less.
inline void shrink(KIV_VECTOR *vector) {
  const uint32_t half = vector->capacity / 2;
  // A vector that could not be made smaller stays as large as it was.
  if (vector->count < half) (void)resize(vector, half);
}

}  // namespace kiv::vector

#endif
