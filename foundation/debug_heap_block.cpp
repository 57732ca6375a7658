#include "foundation/debug_heap_block.h"

#include <cstring>

#include "base/reads_around.h"
#include "foundation/debug_heap_report.h"
#include "kiv_debug_heap.h"
#include "os/platform.h"

namespace kiv::debug_heap {
namespace {

constexpr uint32_t kGuard = 0xCDCDCDCD;
constexpr uint32_t kGuardBytes = sizeof kGuard;
constexpr int kReleasedByte = 0xBB;

struct [[gnu::packed, gnu::may_alias]] BackGuard {
  uint32_t bytes;
};

const BlockHeader *header_of(const void *block) { return static_cast<const BlockHeader *>(block); }

/// REQUIRES: total_size >= kOverhead.
BackGuard *back_guard_of(const void *block, uint32_t total_size) {
  const uintptr_t guard = reinterpret_cast<uintptr_t>(block) + total_size - kGuardBytes;
  return reinterpret_cast<BackGuard *>(guard);
}

bool is_state(uint32_t state) { return state == KIV_DEBUG_HEAP_ALLOCATED || state == KIV_DEBUG_HEAP_RELEASED; }

/// Every bad byte is a report: their number tells how far the write went.
void report_bad_bytes(uint32_t guard, Check check) {
  for (uint32_t wrong = guard ^ kGuard; wrong != 0; wrong >>= 8) {
    if ((wrong & 0xFF) != 0) report(check);
  }
}

KIV_READS_AROUND bool is_sound(const void *block, ReadableMemory *memory) {
  if (!memory->holds(block, kHeaderSize)) return false;
  const BlockHeader *header = header_of(block);
  return is_state(header->state) && header->front_guard == kGuard && header->total_size >= kOverhead &&
         memory->holds(block, header->total_size) && back_guard_of(block, header->total_size)->bytes == kGuard;
}

KIV_READS_AROUND void report_defects(const void *block, ReadableMemory *memory) {
  const BlockHeader *header = memory->holds(block, kHeaderSize) ? header_of(block) : nullptr;
  if (header == nullptr || !is_state(header->state)) report(kBadState);
  const bool whole = header != nullptr && memory->holds(block, header->total_size);
  if (whole) {
    const uint32_t total_size = header->total_size;
    report_bad_bytes(total_size >= kOverhead ? back_guard_of(block, total_size)->bytes : ~kGuard, kBadBackGuard);
  }
  if (!memory->holds(block, 1)) report(kUnreadableStart);
  if (!whole) report(kUnreadableBlock);
  if (header != nullptr) report_bad_bytes(header->front_guard, kBadFrontGuard);
}

}  // namespace

void set_up_block(void *block, uint32_t total_size) {
  auto *header = static_cast<BlockHeader *>(block);
  header->total_size = total_size;
  header->state = KIV_DEBUG_HEAP_ALLOCATED;
  header->front_guard = kGuard;
  back_guard_of(block, total_size)->bytes = kGuard;
}

void check_block(const void *block, ReadableMemory *memory) {
  if (!is_sound(block, memory)) report_defects(block, memory);
}

KIV_READS_AROUND uint32_t user_size_of(const void *block, ReadableMemory *memory) {
  const bool live = is_sound(block, memory) && header_of(block)->state == KIV_DEBUG_HEAP_ALLOCATED;
  return live ? header_of(block)->total_size - kOverhead : 0;
}

void release_block(void *block, ReadableMemory *memory) {
  auto *header = static_cast<BlockHeader *>(block);
  uint32_t filled = header->total_size;
  // A size that was overwritten must not carry the fill into what others own.
  if (filled < kOverhead || !memory->holds(block, filled) || filled > os::heap_block_size(block)) filled = kOverhead;
  std::memset(block, kReleasedByte, filled);
  header->state = KIV_DEBUG_HEAP_RELEASED;
  // The compiler knows that nobody reads a block after free, and would leave the fill out.
  asm volatile("" : : "r"(block) : "memory");
  os::heap_free(block);
}

}  // namespace kiv::debug_heap
