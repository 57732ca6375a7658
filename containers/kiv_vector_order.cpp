// Sorting vectors, and what rests on it.

#include <utility>

#include "kiv_vector.h"

namespace {

int64_t partition(KIV_VECTOR *vector, int64_t low, int64_t high) {
  void **slots = vector->elements;
  void *pivot = slots[low];
  std::swap(slots[low], slots[high]);
  int64_t i = low;
  for (int64_t j = low; j < high; ++j) {
    if (vector->compare(slots[j], pivot) <= 0) std::swap(slots[i++], slots[j]);
  }
  std::swap(slots[i], slots[high]);
  return i;
}

void sort(KIV_VECTOR *vector, int64_t low, int64_t high) {
  while (high > low) {
    const int64_t middle = partition(vector, low, high);
    sort(vector, low, middle - 1);
    low = middle + 1;
  }
}

}  // namespace

void kiv_vector_qsort(KIV_VECTOR *vector) {
  if (vector->compare != nullptr) sort(vector, 0, int64_t{vector->count} - 1);
}

KIV_VECTOR *kiv_vector_unique(KIV_VECTOR *vector) {
  const KIV_VECTOR_COMPARE compare = vector->compare;
  if (compare == nullptr) return nullptr;
  KIV_VECTOR *unique = kiv_vector_new(vector->allocator, 0, compare);
  if (unique == nullptr) return nullptr;
  kiv_vector_qsort(vector);
  for (uint32_t i = 0; i < vector->count; ++i) {
    if (i != 0 && compare(vector->elements[i], vector->elements[i - 1]) == 0) continue;
    const uint32_t count = unique->count;
    kiv_vector_append(unique, vector->elements[i]);
    if (unique->count == count) {
      kiv_vector_delete(unique);
      return nullptr;
    }
  }
  return unique;
}
