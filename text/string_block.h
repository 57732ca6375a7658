// Blocks of units from an allocator record, whose sizes are 32-bit numbers of bytes.
#ifndef KIV_TEXT_STRING_BLOCK_H
#define KIV_TEXT_STRING_BLOCK_H

#include "kiv_allocator.h"
#include "kiv_types.h"
#include "text/text_source.h"

namespace kiv {

/// Whether a block of so many units has a size.
constexpr bool fits_block(uint64_t units) { return units <= UINT32_MAX / sizeof(KIV_UNICHAR); }

/// Null when the allocator fails or no block is that large.
inline KIV_STRING allocate_units(KIV_ALLOCATOR *allocator, uint64_t units) {
  if (!fits_block(units)) return nullptr;
  return static_cast<KIV_STRING>(allocator->alloc(allocator, static_cast<uint32_t>(units * sizeof(KIV_UNICHAR))));
}

/// As allocate_units, from the block s, which is left alone on failure.
inline KIV_STRING reallocate_units(KIV_ALLOCATOR *allocator, KIV_STRING s, uint64_t units) {
  if (!fits_block(units)) return nullptr;
  return static_cast<KIV_STRING>(allocator->realloc(allocator, s, static_cast<uint32_t>(units * sizeof(KIV_UNICHAR))));
}

/// A new string of all units of the source.
template <class Source>
KIV_STRING new_string(KIV_ALLOCATOR *allocator, Source source) {
  const size_t length = source.length();
  KIV_STRING s = allocate_units(allocator, uint64_t{length} + 1);
  if (s == nullptr) return nullptr;
  copy_units(s, source, length);
  s[length] = 0;
  return s;
}

}  // namespace kiv

#endif
