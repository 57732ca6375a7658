// One block of the debug heap: its guards, how they are checked, and its end. See kiv_debug_heap.h for the layout.
#ifndef KIV_FOUNDATION_DEBUG_HEAP_BLOCK_H
#define KIV_FOUNDATION_DEBUG_HEAP_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "foundation/readable_memory.h"

namespace kiv::debug_heap {

/// The first bytes of a block. What is taken for one may lie at any address.
struct [[gnu::packed, gnu::may_alias]] BlockHeader {
  uint32_t filler;
  uint32_t total_size;
  uint32_t state;
  uint32_t front_guard;
};
static_assert(sizeof(BlockHeader) == 16);

inline constexpr uint32_t kHeaderSize = sizeof(BlockHeader);
inline constexpr uint32_t kOverhead = kHeaderSize + sizeof(uint32_t);  // a back guard

/// Writes size, state and guards of a block of total_size bytes.
void set_up_block(void *block, uint32_t total_size);

/// Reports what is wrong with what should be a block, and reads no byte of it that cannot be read.
void check_block(const void *block, ReadableMemory *memory);

/// How many bytes the user of a live and undamaged block has; 0 for everything else.
uint32_t user_size_of(const void *block, ReadableMemory *memory);

/// Fills a block of the C runtime's heap and gives it back.
void release_block(void *block, ReadableMemory *memory);

}  // namespace kiv::debug_heap

#endif
