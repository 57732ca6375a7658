// Vectors: making, copying and freeing them, and their elements.

#include "kiv_vector.h"

#include <cstring>

#include "base/record_layout.h"
#include "containers/vector_slots.h"

namespace vector = kiv::vector;

KIV_LAYOUT_32(sizeof(KIV_VECTOR) == 20);
KIV_LAYOUT_32(offsetof(KIV_VECTOR, compare) == 4 && offsetof(KIV_VECTOR, count) == 8);
KIV_LAYOUT_32(offsetof(KIV_VECTOR, capacity) == 12 && offsetof(KIV_VECTOR, elements) == 16);

namespace {

/// Capacity of a vector that is made without elements.
constexpr uint32_t kEmptyCapacity = 10;

void move_slots(void **to, void *const *from, uint32_t count) { std::memmove(to, from, count * sizeof(void *)); }

/// A vector with elements start to start + count - 1 of another one, and its compare.
KIV_VECTOR *copy_range(KIV_ALLOCATOR *allocator, const KIV_VECTOR *source, uint32_t start, uint32_t count) {
  KIV_VECTOR *copy = kiv_vector_new(allocator, count, source->compare);
  if (copy != nullptr) move_slots(copy->elements, source->elements + start, count);
  return copy;
}

}  // namespace

KIV_VECTOR *kiv_vector_new(KIV_ALLOCATOR *allocator, uint32_t count, KIV_VECTOR_COMPARE compare) {
  if (count > KIV_VECTOR_MAX_COUNT) return nullptr;
  auto *created = static_cast<KIV_VECTOR *>(allocator->calloc(allocator, 1, sizeof(KIV_VECTOR)));
  if (created == nullptr) return nullptr;
  created->allocator = allocator;
  created->compare = compare;
  created->count = count;
  created->capacity = count != 0 ? vector::capacity_for(count) : kEmptyCapacity;
  created->elements = static_cast<void **>(allocator->calloc(allocator, created->capacity + 1, sizeof(void *)));
  if (created->elements != nullptr) return created;
  allocator->free(allocator, created);
  return nullptr;
}

void kiv_vector_delete(KIV_VECTOR *vector) {
  if (vector == nullptr) return;
  KIV_ALLOCATOR *allocator = vector->allocator;
  allocator->free(allocator, vector->elements);
  allocator->free(allocator, vector);
}

void kiv_vector_deep_delete(KIV_VECTOR *vector, KIV_VECTOR_DELETE_ELEMENT delete_element) {
  if (vector == nullptr) return;
  for (uint32_t i = 0; i < vector->count; ++i) {
    if (delete_element(vector->allocator, vector->elements[i]) != 0) break;
  }
  kiv_vector_delete(vector);
}

KIV_VECTOR *kiv_vector_copy(KIV_ALLOCATOR *allocator, const KIV_VECTOR *vector) {
  return copy_range(allocator, vector, 0, vector->count);
}

KIV_VECTOR *kiv_vector_deep_copy(KIV_ALLOCATOR *allocator, const KIV_VECTOR *vector,
                                 KIV_VECTOR_COPY_ELEMENT copy_element) {
  if (copy_element == nullptr) return kiv_vector_copy(allocator, vector);
  KIV_VECTOR *copy = kiv_vector_new(allocator, vector->count, vector->compare);
  if (copy == nullptr) return nullptr;
  for (uint32_t i = 0; i < copy->count; ++i) copy->elements[i] = copy_element(allocator, vector->elements[i]);
  return copy;
}

KIV_VECTOR *kiv_vector_slice(const KIV_VECTOR *vector, uint32_t start, uint32_t length) {
  const uint32_t rest = start < vector->count ? vector->count - start : 0;
  return copy_range(vector->allocator, vector, rest != 0 ? start : 0, length == 0 || length > rest ? rest : length);
}

void *kiv_vector_get(const KIV_VECTOR *vector, uint32_t index) {
  return index < vector->count ? vector->elements[index] : nullptr;
}

void *kiv_vector_get_last(const KIV_VECTOR *vector) {
  return vector->count != 0 ? vector->elements[vector->count - 1] : nullptr;
}

void kiv_vector_set(KIV_VECTOR *vector, uint32_t index, void *element) {
  if (index >= vector->count) {
    if (index >= KIV_VECTOR_MAX_COUNT) return;
    if (index >= vector->capacity && !vector::grow(vector, index + 1)) return;
    vector->count = index + 1;
  }
  vector->elements[index] = element;
}

void kiv_vector_append(KIV_VECTOR *vector, void *element) {
  const uint32_t count = vector->count;
  if (count >= vector->capacity && !vector::grow(vector, count + 1)) return;
  vector->elements[count] = element;
  vector->count = count + 1;
}

void kiv_vector_insert(KIV_VECTOR *vector, uint32_t index, void *element) {
  const uint32_t count = vector->count;
  if (index >= count) {
    kiv_vector_set(vector, index, element);
    return;
  }
  if (count >= vector->capacity && !vector::grow(vector, count + 1)) return;
  move_slots(vector->elements + index + 1, vector->elements + index, count - index);
  vector->elements[index] = element;
  vector->count = count + 1;
}

void *kiv_vector_find(const KIV_VECTOR *vector, uint32_t *index, const void *key) {
  const KIV_VECTOR_COMPARE compare = vector->compare;
  if (compare == nullptr) return nullptr;
  for (uint32_t i = 0; i < vector->count; ++i) {
    void *element = vector->elements[i];
    if (compare(key, element) != 0) continue;
    if (index != nullptr) *index = i;
    return element;
  }
  return nullptr;
}

void kiv_vector_remove(KIV_VECTOR *vector, uint32_t index) {
  if (index >= vector->count) return;
  const uint32_t last = vector->count - 1;
  if (index == last) {
    vector->elements[last] = nullptr;
  } else {
    move_slots(vector->elements + index, vector->elements + index + 1, last - index);
  }
  vector->count = last;
  vector::shrink(vector);
}

void kiv_vector_deep_remove(KIV_VECTOR *vector, uint32_t index, KIV_VECTOR_DELETE_ELEMENT delete_element) {
  if (index >= vector->count) return;
  (void)delete_element(vector->allocator, vector->elements[index]);
  kiv_vector_remove(vector, index);
}

void kiv_vector_remove_last(KIV_VECTOR *vector) {
  if (vector->count != 0) kiv_vector_remove(vector, vector->count - 1);
}

void kiv_vector_foreach(KIV_VECTOR *vector, void *context, KIV_VECTOR_WALK function) {
  for (uint32_t i = 0; i < vector->count; ++i) {
    if (function(context, vector->elements[i]) != 0) return;
  }
}

void kiv_vector_clear(KIV_VECTOR *vector) { std::fill_n(vector->elements, vector->count, nullptr); }

void kiv_vector_truncate(KIV_VECTOR *vector, uint32_t count) {
  if (count >= vector->count) return;
  vector->count = count;
  vector::shrink(vector);
}
