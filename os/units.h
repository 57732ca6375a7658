// Scans of terminated arrays of 32-bit units, at the speed of the machine's registers.
//
// Where the C library's wide characters have 32 bits its functions do the work: they choose the widest registers of
// the processor at hand. Elsewhere the 16-byte registers do, which every target has. What the C library has no function
// for is written once, below.
//
// Safety: blocks of 64 bytes are read at addresses divisible by 64, hence from pages on which the string has a unit;
// or, comparing two strings, in pieces of 16 bytes after a test that none leaves its page. Units around the string are
// read with it and not looked at, which sanitizers must not count as an error.
#ifndef KIV_OS_UNITS_H
#define KIV_OS_UNITS_H

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "base/reads_around.h"

namespace kiv::os {

using Unit = uint32_t;
inline constexpr unsigned kBlockUnits = 16;

/// One bit a unit of an aligned block, set where test(four units) has all ones.
template <class Test>
KIV_READS_AROUND inline uint32_t block_mask(const __m128i *block, Test test) {
  const __m128i low = _mm_packs_epi32(test(block[0]), test(block[1]));
  const __m128i high = _mm_packs_epi32(test(block[2]), test(block[3]));
  return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(low, high)));
}

/// The block that s lies in, and the number of units before s there.
struct BlockPosition {
  const __m128i *block;
  unsigned skipped;
};
inline BlockPosition block_of(const Unit *s) {
  const auto address = reinterpret_cast<uintptr_t>(s);
  const uintptr_t in_block = address & 63u;
  return {reinterpret_cast<const __m128i *>(address - in_block), static_cast<unsigned>(in_block / sizeof(Unit))};
}

inline __m128i four(Unit c) { return _mm_set1_epi32(static_cast<int32_t>(c)); }
inline __m128i equal(__m128i a, __m128i b) { return _mm_cmpeq_epi32(a, b); }
inline __m128i is_end(__m128i units) { return equal(units, _mm_setzero_si128()); }

/// The bits below the lowest of `ends`: the units before the first terminator of a block; all bits when it has none.
inline uint32_t before_first(uint32_t ends) { return (ends & (0 - ends)) - 1; }

/// The first unit for which stop(four units) has all ones. stop accepts the terminator.
template <class Stop>
const Unit *scan(const Unit *s, Stop stop) {
  auto [block, skipped] = block_of(s);
  uint32_t found = block_mask(block, stop) >> skipped << skipped;
  while (found == 0) found = block_mask(block += 4, stop);
  return reinterpret_cast<const Unit *>(block) + __builtin_ctz(found);
}

/// All ones for each of four units that s and t have in common and that is no terminator.
KIV_READS_AROUND inline __m128i common(const Unit *s, const Unit *t) {
  const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s));
  return _mm_andnot_si128(is_end(units), equal(units, _mm_loadu_si128(reinterpret_cast<const __m128i *>(t))));
}

inline bool all_ones(__m128i mask) { return _mm_movemask_epi8(mask) == 0xFFFF; }

/// Whether a block at this place, which need not be aligned, may lie on two pages.
inline bool near_page_end(const Unit *s) {
  return (reinterpret_cast<uintptr_t>(s) & 4095u) > 4096u - kBlockUnits * sizeof(Unit);
}

/// Moves s and t on, together, to a place from which the next four units have a difference or the end of both.
inline void skip_equal(const Unit *&s, const Unit *&t) {
  for (;; s += kBlockUnits, t += kBlockUnits) {
    if (near_page_end(s) || near_page_end(t)) {
      // A block read here might lie on a page that neither string is on.
      unsigned i = 0;
      while (i < kBlockUnits && s[i] == t[i] && s[i] != 0) ++i;
      if (i == kBlockUnits) continue;
      s += i;
      t += i;
      return;
    }
    const __m128i first = common(s, t), second = common(s + 4, t + 4);
    const __m128i third = common(s + 8, t + 8), fourth = common(s + 12, t + 12);
    if (all_ones(_mm_and_si128(_mm_and_si128(first, second), _mm_and_si128(third, fourth)))) continue;
    const size_t step = !all_ones(first) ? 0 : !all_ones(second) ? 4 : !all_ones(third) ? 8 : 12;
    s += step;
    t += step;
    return;
  }
}

/// The order of s and t, which differ or both end a few units further on.
inline int compare_here(const Unit *s, const Unit *t) {
  while (*s == *t && *s != 0) ++s, ++t;
  return *s == *t ? 0 : *s < *t ? -1 : 1;
}

}  // namespace kiv::os

// Each half has
//   const Unit *find_end(const Unit *s);              the terminator
//   const Unit *find(const Unit *s, Unit c);          the first c, also 0; null when there is none
//   const Unit *find_last(const Unit *s, Unit c);     the last c, also 0; null when there is none
//   int compare_long(const Unit *s, const Unit *t);   compare(), below, for strings that are alike at first
#if defined(_WIN32)
#include "os/win32/units.h"
#else
#include "os/posix/units.h"
#endif

namespace kiv::os {

/// The order of s and t as unsigned numbers. Most strings differ early, and few are long: the first units are compared
/// here, without a call.
inline int compare(const Unit *s, const Unit *t) {
  const uintptr_t either = reinterpret_cast<uintptr_t>(s) | reinterpret_cast<uintptr_t>(t);
  if ((either & 4095u) <= 4096u - 8 * sizeof(Unit)) {  // neither is near the end of its page
    if (!all_ones(common(s, t))) return compare_here(s, t);
    if (!all_ones(common(s + 4, t + 4))) return compare_here(s + 4, t + 4);
  }
  return compare_long(s, t);
}

}  // namespace kiv::os

#endif
