// All orderings of a vector's elements.
//
// The orderings of all elements but the first come first; then, for each place that the first one can have, each of
// these gets it there. With n elements that makes n! + (n-1)! + ... + 1! vectors, of which those of n! remain. The
// recursion is as deep as the vector has elements, and these are few.

#include "kiv_vector.h"

namespace {

/// 12! vectors fit into a vector on every target, 13! on none.
constexpr uint32_t kMostElements = 12;
static_assert(479001600 <= KIV_VECTOR_MAX_COUNT && uint64_t{479001600} * 13 > KIV_VECTOR_MAX_COUNT);

int delete_vector(KIV_ALLOCATOR *, void *vector) {
  kiv_vector_delete(static_cast<KIV_VECTOR *>(vector));
  return 0;
}

/// Appends an ordering, which may be null; false, with the ordering freed, when there is none or no memory.
bool keep(KIV_VECTOR *orderings, KIV_VECTOR *ordering) {
  if (ordering == nullptr) return false;
  const uint32_t count = orderings->count;
  kiv_vector_append(orderings, ordering);
  if (orderings->count != count) return true;
  kiv_vector_delete(ordering);
  return false;
}

/// A copy of an ordering with one more element at place; null without memory.
KIV_VECTOR *with_element(KIV_ALLOCATOR *allocator, const KIV_VECTOR *ordering, uint32_t place, void *element) {
  KIV_VECTOR *longer = kiv_vector_copy(allocator, ordering);
  if (longer == nullptr) return nullptr;
  kiv_vector_insert(longer, place, element);
  if (longer->count != ordering->count) return longer;
  kiv_vector_delete(longer);
  return nullptr;
}

/// Fills orderings with the orderings of vector, which has at least two elements; false, perhaps half done, without
/// memory.
bool add_orderings(KIV_VECTOR *orderings, const KIV_VECTOR *vector) {
  KIV_VECTOR *rest = kiv_vector_slice(vector, 1, 0);
  KIV_VECTOR *shorter = kiv_vector_permutations(rest);
  bool complete = shorter != nullptr;
  for (uint32_t place = 0; complete && place < vector->count; ++place) {
    for (uint32_t i = 0; complete && i < shorter->count; ++i) {
      const auto *ordering = static_cast<const KIV_VECTOR *>(shorter->elements[i]);
      complete = keep(orderings, with_element(vector->allocator, ordering, place, vector->elements[0]));
    }
  }
  if (shorter != nullptr)
    kiv_vector_foreach(shorter, nullptr, [](void *, void *ordering) { return delete_vector(nullptr, ordering); });
  kiv_vector_delete(rest);
  kiv_vector_delete(shorter);
  return complete;
}

}  // namespace

// NOLINTNEXTLINE(misc-no-recursion): no deeper than kMostElements
KIV_VECTOR *kiv_vector_permutations(const KIV_VECTOR *vector) {
  if (vector == nullptr || vector->count > kMostElements) return nullptr;
  KIV_VECTOR *orderings = kiv_vector_new(vector->allocator, 0, nullptr);
  if (orderings == nullptr) return nullptr;
  const bool complete = vector->count > 1 ? add_orderings(orderings, vector)
                                          : keep(orderings, kiv_vector_copy(vector->allocator, vector));
  if (complete) return orderings;
  kiv_vector_deep_delete(orderings, delete_vector);
  return nullptr;
}
