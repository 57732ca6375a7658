// The debug heap: the C runtime's heap with guards around each block, and a registry of the live ones.
//
// Representation. The registry is an AVL tree whose values are the blocks' start addresses themselves, in the order of
// these addresses; its release callback checks and ends a block.
// Invariants. 1. A block is registered from its set-up to its release, unless its registration failed. 2. Only
// registered blocks are written to, resized or given back: of an unknown one it is not even known that it is a block.
// Cost. Linear in the number of live blocks for every operation: all of them are checked, in address order.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "foundation/debug_heap_block.h"
#include "foundation/debug_heap_report.h"
#include "kiv_avl.h"
#include "kiv_debug_heap.h"
#include "os/platform.h"

namespace os = kiv::os;

static_assert(offsetof(KIV_ALLOCATOR_STATE, debug_heap.mutex) == 0);
static_assert(offsetof(KIV_ALLOCATOR_STATE, debug_heap.blocks) == offsetof(KIV_ALLOCATOR_STATE, wrap.parent));
static_assert(offsetof(KIV_ALLOCATOR_STATE, debug_heap.magic) == 4 * sizeof(void *));
static_assert(offsetof(KIV_ALLOCATOR_STATE, debug_heap.caller_owned) == 11 * sizeof(void *));

namespace {

using namespace kiv::debug_heap;
using kiv::can_read;
using kiv::ReadableMemory;

constexpr int kNewByte = 0xAA;
constexpr uint32_t kLargestSize = UINT32_MAX - kOverhead;
constexpr char kNotADebugHeap[] = "sorry, not a debug heap allocator\n";
constexpr char kForFree[] = "free-ing block %s not allocated or already free-ed before\n";
constexpr char kForRealloc[] = "realloc-ing block %s not allocated before\n";

uint8_t *start_of(void *user) { return reinterpret_cast<uint8_t *>(reinterpret_cast<uintptr_t>(user) - kHeaderSize); }
void *user_of(uint8_t *start) { return start + kHeaderSize; }

int compare_addresses(const void *key, const void *value) {
  const auto a = reinterpret_cast<uintptr_t>(key);
  const auto b = reinterpret_cast<uintptr_t>(value);
  return (a > b) - (a < b);
}

// --- The record ------------------------------------------------------------------------------------------------------

bool can_read_record(const KIV_ALLOCATOR *allocator) { return can_read(allocator, sizeof *allocator); }

bool record_is_readable(const KIV_ALLOCATOR *allocator, Check check) {
  const bool readable = can_read_record(allocator);
  if (!readable) report(check);
  return readable;
}

bool has_magic(const KIV_ALLOCATOR *allocator) { return allocator->state.debug_heap.magic == KIV_DEBUG_HEAP_MAGIC; }

/// Null when there is none. A debug heap whose magic was overwritten is known by the order of its registry; in a record
/// of another kind the word means something else.
KIV_AVL_TREE *registry_of(const KIV_ALLOCATOR *allocator) {
  KIV_AVL_TREE *blocks = allocator->state.debug_heap.blocks;
  if (has_magic(allocator)) return blocks;
  return can_read(blocks, sizeof *blocks) && blocks->compare == compare_addresses ? blocks : nullptr;
}

/// Holds a locked record's mutex for the rest of the scope, and tells of failures. The operation goes on without it.
class HeldRecord {
 public:
  HeldRecord(KIV_ALLOCATOR *allocator, Check take_failed, Check give_failed)
      : mutex_(allocator->state.debug_heap.locked != 0 ? &allocator->state.debug_heap.mutex : nullptr),
        give_failed_(give_failed) {
    if (mutex_ != nullptr && kiv_mutex_take(mutex_) != 0) report(take_failed);
  }
  ~HeldRecord() {
    if (mutex_ != nullptr && kiv_mutex_give(mutex_) != 0) report(give_failed_);
  }
  HeldRecord(const HeldRecord &) = delete;
  HeldRecord &operator=(const HeldRecord &) = delete;

 private:
  kiv_mutex *mutex_;
  Check give_failed_;
};

// --- The registry ----------------------------------------------------------------------------------------------------

int check_registered(void *block, void *memory) {
  check_block(block, static_cast<ReadableMemory *>(memory));
  return 1;
}

void end_registered(void *block, void *) {
  ReadableMemory memory;
  check_block(block, &memory);
  release_block(block, &memory);
}

void check_all(KIV_ALLOCATOR *allocator) {
  if (!has_magic(allocator)) std::fputs(kNotADebugHeap, stderr);
  ReadableMemory memory;
  kiv_avl_sequential_walk(registry_of(allocator), check_registered, &memory);
}

void enroll(KIV_ALLOCATOR *allocator, void *block) {
  KIV_AVL_TREE *blocks = registry_of(allocator);
  if (kiv_avl_find(blocks, block) != nullptr) report(kAddedTwice);
  if (kiv_avl_insert(blocks, block) != 0) report(kNotAdded);
}

/// Whether the block was registered. The complaint is a format for its address.
bool strike_off(KIV_ALLOCATOR *allocator, void *block, const char *complaint) {
  if (!record_is_readable(allocator, kUnregisterRecord)) return false;
  if (kiv_avl_detach(registry_of(allocator), block) != nullptr) return true;
  char message[100];
  std::snprintf(message, sizeof message, complaint, os::address_text(block).text);
  std::fputs("\n***********************************************************\n", stderr);
  std::fputs(message, stderr);
  (void)std::fflush(stderr);
  (void)std::fflush(stdout);
  report({kUnknownBlockLine, message});
  return false;
}

// --- The operations --------------------------------------------------------------------------------------------------

void *hand_out(KIV_ALLOCATOR *allocator, uint8_t *block, uint32_t size) {
  set_up_block(block, size + kOverhead);
  enroll(allocator, block);
  check_all(allocator);
  return user_of(block);
}

void *debug_alloc(KIV_ALLOCATOR *allocator, uint32_t size) {
  if (!record_is_readable(allocator, kAllocRecord)) return nullptr;
  const HeldRecord held(allocator, kAllocTake, kAllocGive);
  void *block = size <= kLargestSize ? os::heap_alloc(size + kOverhead) : nullptr;
  if (block == nullptr) report(kAllocNull);
  if (!can_read(block, 1)) report(kAllocUnreadable);
  if (block == nullptr) return nullptr;
  std::memset(block, kNewByte, size + kOverhead);
  if (!can_read(block, 1)) report(kAllocUnreadableOnceFilled);
  return hand_out(allocator, static_cast<uint8_t *>(block), size);
}

void *debug_calloc(KIV_ALLOCATOR *allocator, uint32_t count, uint32_t size) {
  if (!record_is_readable(allocator, kCallocRecord)) return nullptr;
  const uint32_t bytes = count * size;
  void *block = allocator->alloc(allocator, bytes);
  if (bytes != 0) {
    // On purpose: the bytes are cleared before the result is looked at, and an end on the spot shows who wanted them.
    if (block == nullptr) os::crash();
    std::memset(block, 0, bytes);
  }
  if (block == nullptr) report(kCallocNull);
  if (!can_read(block, 1)) report(kCallocUnreadable);
  return block;
}

void *debug_realloc(KIV_ALLOCATOR *allocator, void *user, uint32_t size) {
  if (!record_is_readable(allocator, kReallocRecord)) return nullptr;
  const HeldRecord held(allocator, kReallocTake, kReallocGive);
  uint8_t *block = nullptr;
  uint32_t carried = 0;
  if (user != nullptr) {
    block = start_of(user);
    const bool known = strike_off(allocator, block, kForRealloc);
    ReadableMemory memory;
    check_block(block, &memory);
    if (!known) {
      // It stays where it is. What looks like a live block, as one that could not be registered, is copied.
      carried = std::min(user_size_of(block, &memory), size);
      block = nullptr;
    }
  }
  void *resized = size <= kLargestSize ? os::heap_realloc(block, size + kOverhead) : nullptr;
  if (resized == nullptr) report(kReallocNull);
  if (!can_read(resized, 1)) report(kReallocUnreadable);
  // On purpose: the old block is no longer registered, there is nothing to go back to.
  if (resized == nullptr) os::crash();
  if (carried != 0) std::memcpy(user_of(static_cast<uint8_t *>(resized)), user, carried);
  return hand_out(allocator, static_cast<uint8_t *>(resized), size);
}

void debug_free(KIV_ALLOCATOR *allocator, void *user) {
  if (user == nullptr || !record_is_readable(allocator, kFreeRecord)) return;
  const HeldRecord held(allocator, kFreeTake, kFreeGive);
  uint8_t *block = start_of(user);
  const bool known = strike_off(allocator, block, kForFree);
  ReadableMemory memory;
  check_block(block, &memory);
  if (known) release_block(block, &memory);
  check_all(allocator);
}

int print_registered(void *block, void *separator) {
  auto *before = static_cast<const char **>(separator);
  std::fprintf(stderr, "%s%s", *before, os::address_text(block).text);
  *before = ", ";
  return 1;
}

}  // namespace

KIV_ALLOCATOR *kiv_debug_heap_new(KIV_ALLOCATOR *storage, uint32_t locked) {
  KIV_ALLOCATOR *allocator = storage;
  if (allocator != nullptr) {
    if (!record_is_readable(allocator, kNewStorage)) return nullptr;
    std::memset(allocator, 0, sizeof *allocator);
  } else {
    allocator = static_cast<KIV_ALLOCATOR *>(os::heap_calloc(1, sizeof *allocator));
    if (allocator == nullptr) return nullptr;
  }
  *allocator = {debug_alloc, debug_calloc, debug_free, debug_realloc, debug_alloc, debug_calloc, debug_realloc, {}};
  auto &state = allocator->state.debug_heap;
  state.magic = KIV_DEBUG_HEAP_MAGIC;
  state.caller_owned = storage != nullptr;
  state.blocks = kiv_avl_new(compare_addresses, end_registered, nullptr);
  if (state.blocks == nullptr) report(kNewRegistry);
  if (locked != 0 && kiv_mutex_new(&state.mutex) != 0) {
    report(kNewMutex);
    // The record itself is not released: whether it is the caller's makes no difference then.
    (void)kiv_avl_destroy_tree(state.blocks);
    state.blocks = nullptr;
    return nullptr;
  }
  state.locked = locked;
  return allocator;
}

void kiv_debug_heap_destroy_allocator(KIV_ALLOCATOR *allocator) {
  const bool readable = can_read_record(allocator);
  const bool right = readable && has_magic(allocator);
  KIV_AVL_TREE *blocks = readable ? registry_of(allocator) : nullptr;
  if (!right && blocks == nullptr) {
    report(kDestroyMagic);
    return;
  }
  auto &state = allocator->state.debug_heap;
  const bool caller_owned = state.caller_owned != 0;
  const bool locked = state.locked != 0;
  if (locked && kiv_mutex_take(&state.mutex) != 0) report(kDestroyTake);
  if (!right) report(kDestroyMagic);
  allocator->alloc = nullptr;
  if (kiv_avl_get_tree_root(blocks) != nullptr) report(kDestroyLeaks);
  (void)kiv_avl_destroy_tree(blocks);
  if (locked && kiv_mutex_give(&state.mutex) != 0) report(kDestroyGive);
  if (locked && kiv_mutex_delete(&state.mutex) != 0) report(kDestroyMutex);
  std::memset(allocator, 0, sizeof *allocator);
  if (!caller_owned) os::heap_free(allocator);
}

void kiv_debug_heap_check_all_blocks(KIV_ALLOCATOR *allocator) {
  if (can_read_record(allocator)) return check_all(allocator);
  std::fputs(kNotADebugHeap, stderr);
}

void kiv_debug_heap_dump_heap_admin(KIV_ALLOCATOR *allocator) {
  const bool readable = can_read_record(allocator);
  if (!readable || !has_magic(allocator)) std::fputs(kNotADebugHeap, stderr);
  std::fputs("alloc list: ", stderr);
  const char *separator = "";
  if (readable) kiv_avl_sequential_walk(registry_of(allocator), print_registered, &separator);
  std::fputs("\n", stderr);
  (void)std::fflush(stderr);
}
