// Sorting of arrays, and the test for equal elements.

#include "kiv_qsort.h"

#include "containers/sort_engine.h"

namespace sort = kiv::sort;

namespace {

/// Whether no two of the elements, compared by a callable, are equal; true also when there are none.
template <class Compare>
int are_unique(KIV_ALLOCATOR *allocator, const void *base, int32_t count, uint32_t element_size, Compare compare) {
  if (count <= 1) return 1;
  const auto elements = static_cast<uint32_t>(count);
  if (elements > UINT32_MAX / sizeof(void *)) return 0;
  const auto bytes = static_cast<uint32_t>(elements * sizeof(void *));
  auto **pointers = static_cast<void **>(allocator->alloc(allocator, bytes));
  if (pointers == nullptr) return 0;
  // Pointers to non-const for the sort, which moves them and does not write through them.
  auto *element = static_cast<uint8_t *>(const_cast<void *>(base));
  for (uint32_t i = 0; i < elements; ++i, element += element_size) pointers[i] = element;
  sort::sort<sort::MiddlePivot>(sort::Pointers<Compare>(pointers, compare), elements);
  uint32_t i = 1;
  while (i < elements && compare(pointers[i - 1], pointers[i]) != 0) ++i;
  allocator->free(allocator, pointers);
  return i == elements ? 1 : 0;
}

}  // namespace

int kiv_qsort(void *base, int32_t count, uint32_t element_size, KIV_QSORT_COMPARE compare, void *context) {
  if (count <= 0) return 0;
  const auto elements = static_cast<sort::Index>(count);
  const auto sorted = [&](const auto &access) {
    return static_cast<int>(sort::sort<sort::MiddlePivot>(access, elements));
  };
  switch (element_size) {
    case 4:
      return sorted(sort::Words<uint32_t, 1>(base, compare, context));
    case 8:
      return sorted(sort::Words<uint64_t, 1>(base, compare, context));
    case 16:
      return sorted(sort::Words<uint64_t, 2>(base, compare, context));
    default:
      return sorted(sort::Bytes(base, element_size, compare, context));
  }
}

void kiv_qsort_swap_context(void *base, int32_t count, uint32_t element_size, KIV_QSORT_COMPARE compare,
                            KIV_QSORT_SWAP swap, void *context) {
  if (count <= 0) return;
  const sort::Swapped access(base, element_size, compare, swap, context);
  sort::sort<sort::MiddlePivot>(access, static_cast<sort::Index>(count));
}

int kiv_array_elements_are_unique(KIV_ALLOCATOR *allocator, const void *base, int32_t count, uint32_t element_size,
                                  KIV_QSORT_COMPARE_PLAIN compare) {
  return are_unique(allocator, base, count, element_size, compare);
}

int kiv_array_elements_are_unique2(KIV_ALLOCATOR *allocator, const void *base, int32_t count, uint32_t element_size,
                                   KIV_QSORT_COMPARE compare, void *context) {
  const auto with_context = [compare, context](const void *a, const void *b) { return compare(a, b, context); };
  return are_unique(allocator, base, count, element_size, with_context);
}
