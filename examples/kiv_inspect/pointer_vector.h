// A vector of the library's, of pointers of one type.
#ifndef KIV_INSPECT_POINTER_VECTOR_H
#define KIV_INSPECT_POINTER_VECTOR_H

#include <cstdint>

#include "kiv_allocator.h"
#include "kiv_vector.h"

namespace kiv::inspect {

template <class T>
class PointerVector {
 public:
  /// compare is for sort() and gets pointers to T.
  explicit PointerVector(KIV_ALLOCATOR *allocator, KIV_VECTOR_COMPARE compare = nullptr)
      : vector_(kiv_vector_new(allocator, 0, compare)) {}
  ~PointerVector() { kiv_vector_delete(vector_); }
  PointerVector(const PointerVector &) = delete;
  PointerVector &operator=(const PointerVector &) = delete;

  /// False without memory: it is unchanged.
  [[nodiscard]] bool append(const T &element) {
    if (vector_ == nullptr) return false;
    const uint32_t before = vector_->count;
    kiv_vector_append(vector_, const_cast<T *>(&element));
    return vector_->count != before;
  }

  void sort() {
    if (vector_ != nullptr) kiv_vector_qsort(vector_);
  }

  uint32_t count() const { return vector_ != nullptr ? vector_->count : 0; }
  const T &operator[](uint32_t index) const { return *static_cast<const T *>(kiv_vector_get(vector_, index)); }

 private:
  KIV_VECTOR *vector_;  // null: without memory
};

}  // namespace kiv::inspect

#endif
