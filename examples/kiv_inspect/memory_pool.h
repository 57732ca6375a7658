// Memory for a while: all of it is given back at once.
#ifndef KIV_INSPECT_MEMORY_POOL_H
#define KIV_INSPECT_MEMORY_POOL_H

#include <cstdint>

#include "kiv_allocator.h"

namespace kiv::inspect {

/// A wrapping allocator, whose end gives everything back, and a pool of small blocks on it.
class MemoryPool {
 public:
  /// REQUIRES: the parent outlives this.
  explicit MemoryPool(KIV_ALLOCATOR *parent)
      : memory_(kiv_allocator_wrap_new(&storage_, parent, 0)),
        ok_(memory_ != nullptr && kiv_allocator_fast_new(&pool_, memory_, 0, nullptr, 0, kChunkSize) == 0) {}
  ~MemoryPool() {
    if (memory_ != nullptr) kiv_allocator_wrap_delete(memory_);
  }
  MemoryPool(const MemoryPool &) = delete;
  MemoryPool &operator=(const MemoryPool &) = delete;

  /// Whether there was memory for this; the rest REQUIRES it.
  bool ok() const { return ok_; }

  /// For large blocks.
  KIV_ALLOCATOR *memory() { return memory_; }

  /// For small ones.
  KIV_ALLOCATOR *pool() { return &pool_; }

 private:
  static constexpr uint32_t kChunkSize = 1u << 16;

  KIV_ALLOCATOR storage_ = {}, pool_ = {};
  KIV_ALLOCATOR *memory_;
  bool ok_;
};

}  // namespace kiv::inspect

#endif
