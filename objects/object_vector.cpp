// The engine of object vectors: storage, and moving elements about.

#include "objects/object_vector.h"

#include "kiv_obj_tuple.h"

namespace kiv::object {

KIV_OBJ **allocate_slots(KIV_ALLOCATOR *allocator, int32_t n) {
  const uint64_t size = slots_size(roomy(n));
  return size <= UINT32_MAX ? static_cast<KIV_OBJ **>(allocate_zeroed(allocator, static_cast<uint32_t>(size)))
                            : nullptr;
}

KIV_OBJ_VECTOR *make_vector(KIV_ALLOCATOR *allocator, int32_t n) {
  const bool within = roomy(n) < kSlotsWithin;
  const uint64_t size = sizeof(KIV_OBJ_VECTOR) + (within ? slots_size(roomy(n)) : kSlotSize);
  auto *vector = static_cast<KIV_OBJ_VECTOR *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  if (vector == nullptr) return nullptr;
  KIV_OBJ **slots = slots_behind(vector);
  if (within) {
    std::fill_n(slots, roomy(n) + 1, nullptr);
  } else {
    slots = allocate_slots(allocator, n);
    if (slots == nullptr) {
      allocator->free(allocator, vector);
      return nullptr;
    }
  }
  build_vector(vector, allocator, 0, n, slots);
  return vector;
}

bool set_capacity(KIV_OBJ_VECTOR *vector, uint64_t capacity) {
  const uint64_t size = slots_size(capacity);
  if (size > UINT32_MAX) return false;
  KIV_ALLOCATOR *allocator = vector->header.allocator;
  const bool grows = capacity > vector->capacity;
  if (has_slots_within(vector)) {
    if (grows) {
      void *slots = allocator->alloc(allocator, static_cast<uint32_t>(size));
      if (slots == nullptr) return false;
      std::memcpy(slots, vector->elements, static_cast<uint32_t>(vector->count) * size_t{kSlotSize});
      vector->elements = static_cast<KIV_OBJ **>(slots);
    }
  } else {
    void *slots = allocator->realloc(allocator, vector->elements, static_cast<uint32_t>(size));
    if (slots == nullptr) return false;
    vector->elements = static_cast<KIV_OBJ **>(slots);
  }
  if (grows) std::fill(vector->elements + vector->count, vector->elements + capacity + 1, nullptr);
  vector->capacity = static_cast<uint32_t>(capacity);
  return true;
}

void discard(KIV_OBJ_VECTOR *vector) {
  KIV_ALLOCATOR *allocator = vector->header.allocator;
  if (!has_slots_within(vector)) allocator->free(allocator, vector->elements);
  // A tuple's block ends with its vector, which may have more owners than the tuple.
  KIV_OBJ *block = &vector->header;
  if (block->automatic == kPartOfTuple) {
    allocator->free(allocator, reinterpret_cast<KIV_OBJ_TUPLE *>(vector) - 1);
  } else {
    free_storage(block);
  }
}

bool open_gap(KIV_OBJ_VECTOR *vector, int32_t index, int64_t gap) {
  if (!make_room(vector, vector->count + gap)) return false;
  KIV_OBJ **from = vector->elements + index, **end = vector->elements + vector->count;
  std::copy_backward(from, end, end + gap);
  std::fill(from, from + gap, nullptr);
  vector->count += static_cast<int32_t>(gap);
  return true;
}

void close_gap(KIV_OBJ_VECTOR *vector, int32_t index, int32_t gap) {
  KIV_OBJ **at = vector->elements + index, **end = vector->elements + vector->count;
  std::fill(std::copy(at + gap, end, at), end, nullptr);
  vector->count -= gap;
}

KIV_OBJ *detach(KIV_OBJ_VECTOR *vector, int32_t index) {
  KIV_OBJ *element = vector->elements[index];
  close_gap(vector, index, 1);
  const uint32_t half = vector->capacity / 2;
  // Who cannot give room back keeps it.
  if (static_cast<uint32_t>(vector->count) < half) (void)set_capacity(vector, half);
  return element;
}

int32_t find(const KIV_OBJ_VECTOR *vector, const KIV_OBJ *key) {
  if (key == nullptr) return -1;
  const uint32_t kind = key->type->type_id;
  int32_t (*const cmp)(const KIV_OBJ *, const KIV_OBJ *) = key->type->cmp;
  for (int32_t i = 0; i < vector->count; ++i) {
    const KIV_OBJ *element = vector->elements[i];
    if (element != nullptr && element->type->type_id == kind && cmp(key, element) == 0) return i;
  }
  return -1;
}

bool copy_elements(KIV_OBJ_VECTOR *copy, const KIV_OBJ_VECTOR *vector) {
  for (int32_t i = 0; i < vector->count; ++i) {
    const KIV_OBJ *element = vector->elements[i];
    if (element == nullptr) continue;
    copy->elements[i] = element->type->copy(element);
    if (copy->elements[i] == nullptr) return false;
  }
  return true;
}

}  // namespace kiv::object
