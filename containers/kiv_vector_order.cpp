// Sorting vectors, and what rests on it.

#include "containers/sort_engine.h"
#include "kiv_vector.h"

namespace sort = kiv::sort;

void kiv_vector_qsort(KIV_VECTOR *vector) {
  if (vector->compare == nullptr) return;
  const sort::Pointers<KIV_VECTOR_COMPARE> access(vector->elements, vector->compare);
  sort::sort<sort::FirstPivot>(access, vector->count);
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
