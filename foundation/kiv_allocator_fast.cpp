// The fast kind: blocks are carved from chunks by moving a cursor, and released all together.
//
// Representation. A block is preceded by an 8-byte header with its size; every size is rounded up to 8, so that blocks
// are 8-aligned. Chunks are linked through chunk headers, blocks of the parent's of their own, newest first.
// Cost. One compare and a few stores for a block; one pair of parent calls for a chunk.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "base/record_layout.h"
#include "foundation/locked_scope.h"
#include "kiv_allocator.h"

static_assert(offsetof(KIV_ALLOCATOR_STATE, fast.minimum_chunk_size) == 4 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, fast.initial_buffer) == 9 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, fast.caller_owned) == 11 * sizeof(void *));

namespace {

struct BlockHeader {
  uint32_t size;
  uint32_t unused;  // keeps the block 8-aligned
};
static_assert(sizeof(BlockHeader) == 8);

struct ChunkHeader {
  void *chunk;
  ChunkHeader *older;
};
KIV_LAYOUT_32(sizeof(ChunkHeader) == 8);

constexpr uint32_t round_up_to_8(uint32_t size) { return (size + 7) & ~7u; }

BlockHeader *header_of(void *block) { return static_cast<BlockHeader *>(block) - 1; }

/// Starts a chunk for `need` bytes. What is left of the current one is abandoned.
bool open_chunk(KIV_ALLOCATOR *allocator, uint32_t need, bool nofail) {
  auto &state = allocator->state.fast;
  KIV_ALLOCATOR *parent = state.parent;
  const uint32_t size = std::max(static_cast<uint32_t>(state.minimum_chunk_size), need);
  auto *const alloc = nofail ? parent->alloc_nofail : parent->alloc;
  auto *header = static_cast<ChunkHeader *>(alloc(parent, sizeof(ChunkHeader)));
  void *chunk = alloc(parent, size);
  if (header == nullptr || chunk == nullptr) {
    parent->free(parent, header);
    parent->free(parent, chunk);
    return false;
  }
  *header = {chunk, static_cast<ChunkHeader *>(state.chunks)};
  state.chunks = header;
  state.cursor = static_cast<uint8_t *>(chunk);
  state.remaining = size;
  return true;
}

/// A block that fits into the current chunk.
inline void *carve_here(KIV_ALLOCATOR *allocator, uint32_t rounded, uint32_t need) {
  auto &state = allocator->state.fast;
  auto *header = reinterpret_cast<BlockHeader *>(state.cursor);
  state.cursor += need;
  state.remaining -= need;
  header->size = rounded;
  return header + 1;
}

/// Kept apart, so that the way of nearly all blocks needs no stack frame.
[[gnu::noinline]] void *carve_in_new_chunk(KIV_ALLOCATOR *allocator, uint32_t rounded, uint32_t need, bool nofail) {
  if (need == 0) return nullptr;  // a size just below 2^32 that has wrapped
  return open_chunk(allocator, need, nofail) ? carve_here(allocator, rounded, need) : nullptr;
}

[[gnu::always_inline]] inline void *carve(KIV_ALLOCATOR *allocator, uint32_t size, bool nofail) {
  const uint32_t rounded = round_up_to_8(size);
  const uint32_t need = rounded + static_cast<uint32_t>(sizeof(BlockHeader));
  if (allocator->state.fast.remaining <= need - 1) [[unlikely]]  // also when need is 0
    return carve_in_new_chunk(allocator, rounded, need, nofail);
  return carve_here(allocator, rounded, need);
}

void *carve_zeroed(KIV_ALLOCATOR *allocator, uint32_t size, bool nofail) {
  void *block = carve(allocator, size, nofail);
  if (block != nullptr) std::memset(block, 0, round_up_to_8(size));
  return block;
}

void *resize(KIV_ALLOCATOR *allocator, void *block, uint32_t size, bool nofail) {
  if (block == nullptr) return carve(allocator, size, nofail);
  const uint32_t old_size = header_of(block)->size;
  if (size <= old_size) {
    header_of(block)->size = size;
    return block;
  }
  void *larger = carve(allocator, size, nofail);
  if (larger != nullptr) std::memcpy(larger, block, std::min(old_size, header_of(larger)->size));
  return larger;
}

/// The seven operations, with or without the mutex around each.
template <bool kLocked>
struct Operations {
  static kiv::LockedScope hold(KIV_ALLOCATOR *allocator) { return {&allocator->state.fast.mutex, kLocked}; }

  template <bool kNofail>
  static void *alloc(KIV_ALLOCATOR *allocator, uint32_t size) {
    const auto held = hold(allocator);
    return carve(allocator, size, kNofail);
  }

  template <bool kNofail>
  static void *calloc(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size) {
    const auto held = hold(allocator);
    return carve_zeroed(allocator, count * size, kNofail);
  }

  template <bool kNofail>
  static void *realloc(KIV_ALLOCATOR *allocator, void *block, uint32_t size) {
    const auto held = hold(allocator);
    return resize(allocator, block, size, kNofail);
  }

  static void free(KIV_ALLOCATOR *allocator, void *) { const auto held = hold(allocator); }

  static constexpr KIV_ALLOCATOR record() {
    return {alloc<false>, calloc<false>, free, realloc<false>, alloc<true>, calloc<true>, realloc<true>, {}};
  }
};

void start_at_initial_buffer(KIV_ALLOCATOR *allocator) {
  auto &state = allocator->state.fast;
  state.cursor = state.initial_buffer;
  state.remaining = state.initial_size;
  state.chunks = nullptr;
}

}  // namespace

int kiv_allocator_fast_new(KIV_ALLOCATOR *storage, KIV_ALLOCATOR *parent, uint32_t locked, void *initial_buffer,
                           uint32_t initial_buffer_size, uint32_t minimum_chunk_size) {
  kiv_mutex mutex = nullptr;
  if (locked != 0 && kiv_mutex_new(&mutex) != 0) return 1;
  *storage = locked != 0 ? Operations<true>::record() : Operations<false>::record();
  auto &state = storage->state.fast;
  state.mutex = mutex;
  state.locked = locked;
  state.parent = parent;
  state.minimum_chunk_size = minimum_chunk_size;
  state.caller_owned = 1;
  if (initial_buffer != nullptr) {
    const auto address = reinterpret_cast<uintptr_t>(initial_buffer);
    state.initial_buffer = static_cast<uint8_t *>(initial_buffer) + (-address & 7u);
    // Less 7, the most that aligning can cost: the same room wherever the buffer lies.
    state.initial_size = initial_buffer_size - 7u;
  }
  start_at_initial_buffer(storage);
  return 0;
}

void kiv_allocator_fast_dealloc_all(KIV_ALLOCATOR *allocator) {
  auto &state = allocator->state.fast;
  const kiv::LockedScope held(&state.mutex, state.locked != 0);
  KIV_ALLOCATOR *parent = state.parent;
  for (auto *header = static_cast<ChunkHeader *>(state.chunks); header != nullptr;) {
    ChunkHeader *older = header->older;
    parent->free(parent, header->chunk);
    parent->free(parent, header);
    header = older;
  }
  start_at_initial_buffer(allocator);
}

void kiv_allocator_fast_delete(KIV_ALLOCATOR *allocator) {
  kiv_allocator_fast_dealloc_all(allocator);
  if (allocator->state.fast.locked != 0) (void)kiv_mutex_delete(&allocator->state.fast.mutex);
}
