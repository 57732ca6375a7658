// The wrapping kind: every block of the parent's that is alive has a cell, and the cells are in an AVL tree.
//
// Representation. A cell is a pointer-sized block of the parent's that holds one block's address. The tree orders cells
// by that address; its keys are cells too, often local variables.
// Invariant. A block is registered exactly while this allocator owns it.
// Cost. O(log n) for each operation, linear time to release all.

#include <cstddef>
#include <cstring>

#include "base/record_layout.h"
#include "foundation/locked_scope.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

static_assert(offsetof(KIV_ALLOCATOR_STATE, wrap.parent) == 3 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, wrap.blocks) == 5 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, wrap.caller_owned) == 11 * sizeof(void *));

namespace {

using Cell = void *;

int compare_cells(const void *key, const void *value) {
  const auto a = reinterpret_cast<uintptr_t>(*static_cast<const Cell *>(key));
  const auto b = reinterpret_cast<uintptr_t>(*static_cast<const Cell *>(value));
  return (a > b) - (a < b);
}

kiv::LockedScope hold(KIV_ALLOCATOR *allocator) {
  return {&allocator->state.wrap.mutex, allocator->state.wrap.locked != 0};
}

/// Resizes a registered block. When it has moved its cell moves in the tree, which cannot fail: the node that the
/// detached cell leaves behind takes it again.
void *resize(KIV_ALLOCATOR *allocator, Cell *cell, uint32_t size, bool nofail) {
  KIV_ALLOCATOR *parent = allocator->state.wrap.parent;
  KIV_AVL_TREE *blocks = allocator->state.wrap.blocks;
  void *block = (nofail ? parent->realloc_nofail : parent->realloc)(parent, *cell, size);
  if (block == *cell) return block;
  if (block != nullptr) {
    (void)kiv_avl_detach(blocks, cell);
    *cell = block;
    (void)kiv_avl_insert(blocks, cell);
  } else if (size == 0) {
    (void)kiv_avl_detach(blocks, cell);
    parent->free(parent, cell);
  }
  return block;
}

/// Takes a new block and registers it. The cell is asked for even when there is no block, and always in the failing
/// form: what a nofail caller cannot do without is the block.
void *create(KIV_ALLOCATOR *allocator, uint32_t size, bool nofail, bool zero) {
  KIV_ALLOCATOR *parent = allocator->state.wrap.parent;
  void *block = (nofail ? parent->alloc_nofail : parent->alloc)(parent, size);
  auto *cell = static_cast<Cell *>(parent->alloc(parent, sizeof(Cell)));
  if (cell != nullptr) *cell = block;
  if (block == nullptr || cell == nullptr || kiv_avl_insert(allocator->state.wrap.blocks, cell) != 0) {
    if (block != nullptr) parent->free(parent, block);
    if (cell != nullptr) parent->free(parent, cell);
    return nullptr;
  }
  if (zero) std::memset(block, 0, size);
  return block;
}

/// All operations but free. A block that is not registered is as good as none: it is neither copied nor touched.
void *acquire(KIV_ALLOCATOR *allocator, void *old_block, uint32_t size, bool nofail, bool zero) {
  const auto held = hold(allocator);
  if (old_block != nullptr) {
    auto *cell = static_cast<Cell *>(kiv_avl_find(allocator->state.wrap.blocks, &old_block));
    if (cell != nullptr) return resize(allocator, cell, size, nofail);
  }
  return size != 0 ? create(allocator, size, nofail, zero) : nullptr;
}

void *wrap_alloc(KIV_ALLOCATOR *allocator, uint32_t size) { return acquire(allocator, nullptr, size, false, false); }

void *wrap_calloc(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size) {
  return acquire(allocator, nullptr, count * size, false, true);
}

void *wrap_realloc(KIV_ALLOCATOR *allocator, void *block, uint32_t size) {
  return acquire(allocator, block, size, false, false);
}

void *wrap_alloc_nofail(KIV_ALLOCATOR *allocator, uint32_t size) {
  return acquire(allocator, nullptr, size, true, false);
}

void *wrap_calloc_nofail(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size) {
  return acquire(allocator, nullptr, count * size, true, true);
}

void *wrap_realloc_nofail(KIV_ALLOCATOR *allocator, void *block, uint32_t size) {
  return acquire(allocator, block, size, true, false);
}

void wrap_free(KIV_ALLOCATOR *allocator, void *block) {
  if (block == nullptr) return;
  const auto held = hold(allocator);
  KIV_ALLOCATOR *parent = allocator->state.wrap.parent;
  void *cell = kiv_avl_detach(allocator->state.wrap.blocks, &block);
  if (cell == nullptr) return;
  parent->free(parent, block);
  parent->free(parent, cell);
}

int free_block_and_cell(void *value, void *parent_pointer) {
  auto *parent = static_cast<KIV_ALLOCATOR *>(parent_pointer);
  auto *cell = static_cast<Cell *>(value);
  parent->free(parent, *cell);
  parent->free(parent, cell);
  return 1;
}

}  // namespace

KIV_ALLOCATOR *kiv_allocator_wrap_new(KIV_ALLOCATOR *storage, KIV_ALLOCATOR *parent, uint32_t locked) {
  auto *allocator = storage != nullptr ? storage : static_cast<KIV_ALLOCATOR *>(parent->alloc(parent, sizeof *storage));
  if (allocator == nullptr) return nullptr;
  *allocator = {wrap_alloc,        wrap_calloc,        wrap_free,           wrap_realloc,
                wrap_alloc_nofail, wrap_calloc_nofail, wrap_realloc_nofail, {}};
  auto &state = allocator->state.wrap;
  state.parent = parent;
  state.locked = locked;
  state.caller_owned = storage != nullptr;
  if (locked == 0 || kiv_mutex_new(&state.mutex) == 0) {
    state.blocks = kiv_avl_new(compare_cells, nullptr, nullptr);
    if (state.blocks != nullptr) return allocator;
    if (locked != 0) (void)kiv_mutex_delete(&state.mutex);
  }
  if (storage == nullptr) parent->free(parent, allocator);
  return nullptr;
}

void kiv_allocator_wrap_dealloc_all(KIV_ALLOCATOR *allocator) {
  const auto held = hold(allocator);
  KIV_AVL_TREE *blocks = allocator->state.wrap.blocks;
  // The walk leaves values behind that are gone; neither of the two ways to end the tree looks at them. A new tree is
  // the fast one: the old one's nodes go chunk by chunk.
  kiv_avl_sequential_walk(blocks, free_block_and_cell, allocator->state.wrap.parent);
  KIV_AVL_TREE *fresh = kiv_avl_new(compare_cells, nullptr, nullptr);
  if (fresh != nullptr) {
    (void)kiv_avl_destroy_tree(blocks);
    allocator->state.wrap.blocks = fresh;
  } else {
    kiv_avl_empty_tree(blocks);
  }
}

void kiv_allocator_wrap_delete(KIV_ALLOCATOR *allocator) {
  auto &state = allocator->state.wrap;
  kiv_allocator_wrap_dealloc_all(allocator);
  if (state.locked != 0) (void)kiv_mutex_delete(&state.mutex);
  (void)kiv_avl_destroy_tree(state.blocks);
  if (state.caller_owned == 0) state.parent->free(state.parent, allocator);
}
