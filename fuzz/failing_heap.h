// An allocator over the C runtime's heap, of which one allocation fails.
#ifndef KIV_FUZZ_FAILING_HEAP_H
#define KIV_FUZZ_FAILING_HEAP_H

#include <cstdint>
#include <cstdlib>

#include "kiv_allocator.h"

namespace kiv::fuzz {

inline void require(bool holds) {
  if (!holds) std::abort();
}

/// The allocation that brings `countdown` to 0 fails, and so do blocks above a megabyte. All blocks have to come back.
struct FailingHeap {
  KIV_ALLOCATOR record;
  uint32_t countdown;
  bool failed = false;
  int live = 0;

  explicit FailingHeap(uint32_t failing_at) : countdown(failing_at) {
    kiv_allocator_default_new(&record);
    record.alloc = [](KIV_ALLOCATOR *self, uint32_t size) { return self->realloc(self, nullptr, size); };
    record.realloc = [](KIV_ALLOCATOR *self, void *block, uint32_t size) -> void * {
      auto *heap = reinterpret_cast<FailingHeap *>(self);
      if (size > 1 << 20 || (heap->countdown > 0 && --heap->countdown == 0)) return heap->failed = true, nullptr;
      if (block == nullptr) ++heap->live;
      return std::realloc(block, size);
    };
    record.free = [](KIV_ALLOCATOR *self, void *block) {
      if (block != nullptr) --reinterpret_cast<FailingHeap *>(self)->live;
      std::free(block);
    };
  }
  ~FailingHeap() { require(live == 0); }
};

}  // namespace kiv::fuzz

#endif
