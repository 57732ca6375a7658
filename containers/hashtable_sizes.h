// The numbers of buckets that a hashtable can have, and what goes with each of them.
//
// A remainder takes no division. With m = floor(2^32 / d) and any 32-bit hash h, q = floor(h * m / 2^32) is the
// quotient floor(h / d) or one less: m <= 2^32 / d gives h * m / 2^32 <= h / d, and since m > 2^32 / d - 1, the
// difference of these two is below h / 2^32 < 1. So r = h - q * d is the remainder or the remainder plus d. It does not
// wrap, as q * d <= h, and since d is prime and above 2, m fits into 32 bits: one widening multiplication on every
// target.
#ifndef KIV_CONTAINERS_HASHTABLE_SIZES_H
#define KIV_CONTAINERS_HASHTABLE_SIZES_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

namespace kiv::hashtable {

/// Primes between two zeros that end a walk in either direction. A table's size_entry points to one of them.
inline constexpr uint32_t kSizes[] = {
    0,        3,        7,        17,       37,        79,        163,       331,        673,        1361,    2729,
    5471,     10949,    21911,    43853,    87719,     175447,    350899,    701819,     1403641,    2807303, 5614657,
    11229331, 22458671, 44917381, 89834777, 179669557, 359339171, 718678369, 1437356741, 2874713497, 0};

struct SizeTraits {
  uint32_t reciprocal;      // floor(2^32 / size)
  uint32_t grow_threshold;  // 4/3 of the size, in single precision and rounded down
};

/// By the index of a size.
inline constexpr auto kTraits = [] {
  std::array<SizeTraits, std::size(kSizes)> traits{};
  for (size_t i = 1; i + 1 < std::size(kSizes); ++i) {
    const float threshold = static_cast<float>(kSizes[i]) * 1.3333334f;
    traits[i] = {static_cast<uint32_t>((uint64_t{1} << 32) / kSizes[i]), static_cast<uint32_t>(threshold)};
  }
  return traits;
}();

// Rounded as on a machine with registers of single precision, whatever the compiler's have; the greatest still fits.
static_assert(kTraits[22].grow_threshold == 14972442 && kTraits[30].grow_threshold == 3832951552);

inline const SizeTraits &traits_of(const uint32_t *size_entry) { return kTraits[size_t(size_entry - kSizes)]; }

/// hash modulo *size_entry.
inline uint32_t remainder(uint32_t hash, const uint32_t *size_entry) {
  const uint32_t size = *size_entry;
  const auto quotient = static_cast<uint32_t>(uint64_t{hash} * traits_of(size_entry).reciprocal >> 32);
  const uint32_t rest = hash - quotient * size;
  return std::min(rest, rest - size);  // a difference below 0 wraps to more than rest
}

}  // namespace kiv::hashtable

#endif
