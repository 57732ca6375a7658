// Natural numbers of a fixed number of 64-bit words, least significant word first, and their division by 10^19, the
// greatest power of ten in a word: decimal text is made and read in chunks of 19 digits.
#ifndef KIV_NUMBERS_BIG_NATURAL_H
#define KIV_NUMBERS_BIG_NATURAL_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "numbers/uint128.h"

namespace kiv {

template <size_t N>
using Words = std::array<uint64_t, N>;

inline constexpr int kChunkDigits = 19;
inline constexpr uint64_t kChunkBase = 10000000000000000000U;

/// a * b + c + d, which never overflows.
constexpr UInt128 multiply_add(uint64_t a, uint64_t b, uint64_t c, uint64_t d) {
  return multiply_64(a, b) + UInt128(c) + UInt128(d);
}

template <size_t A, size_t B>
constexpr Words<A + B> multiply(const Words<A> &a, const Words<B> &b) {
  Words<A + B> product{};
  for (size_t i = 0; i < A; ++i) {
    uint64_t carry = 0;
    for (size_t j = 0; j < B; ++j) {
      const UInt128 sum = multiply_add(a[i], b[j], product[i + j], carry);
      product[i + j] = low64(sum);
      carry = high64(sum);
    }
    product[i + B] = carry;
  }
  return product;
}

/// REQUIRES: 0 <= shift < 64 N.
template <size_t N>
constexpr Words<N> shift_left(const Words<N> &a, int shift) {
  const size_t words = static_cast<size_t>(shift) / 64;
  const int bits = shift % 64;
  Words<N> result{};
  for (size_t i = words; i < N; ++i) {
    result[i] = a[i - words] << bits;
    if (bits != 0 && i > words) result[i] |= a[i - words - 1] >> (64 - bits);
  }
  return result;
}

/// REQUIRES: 0 <= shift < 64 N.
template <size_t N>
constexpr Words<N> shift_right(const Words<N> &a, int shift) {
  const size_t words = static_cast<size_t>(shift) / 64;
  const int bits = shift % 64;
  Words<N> result{};
  for (size_t i = 0; i + words < N; ++i) {
    result[i] = a[i + words] >> bits;
    if (bits != 0 && i + words + 1 < N) result[i] |= a[i + words + 1] << (64 - bits);
  }
  return result;
}

/// 64 N for zero.
template <size_t N>
constexpr int leading_zeros(const Words<N> &a) {
  for (size_t i = N; i-- > 0;) {
    if (a[i] != 0) return static_cast<int>(N - 1 - i) * 64 + std::countl_zero(a[i]);
  }
  return static_cast<int>(N) * 64;
}

/// floor((2^128 - 1) / 10^19) - 2^64.
inline constexpr uint64_t kChunkReciprocal = low64((~UInt128(0)) / UInt128(kChunkBase));

/// (high * 2^64 + low) / 10^19. REQUIRES: high < 10^19. N. Möller and T. Granlund, "Improved division by invariant
/// integers" (2011), algorithm 4; 10^19 has its top bit set, as that requires.
constexpr uint64_t divide_by_chunk_base(uint64_t high, uint64_t low, uint64_t *rest) {
  const UInt128 estimate = multiply_64(kChunkReciprocal, high) + make_uint128(high, low);
  uint64_t quotient = high64(estimate) + 1;
  uint64_t remainder = low - quotient * kChunkBase;
  if (remainder > low64(estimate)) {
    --quotient;
    remainder += kChunkBase;
  }
  if (remainder >= kChunkBase) [[unlikely]] {
    ++quotient;
    remainder -= kChunkBase;
  }
  *rest = remainder;
  return quotient;
}

/// Divides words[0 .. count) by 10^19 in place and gives the remainder.
inline uint64_t divide_in_place(uint64_t *words, size_t count) {
  uint64_t rest = 0;
  for (size_t i = count; i-- > 0;) words[i] = divide_by_chunk_base(rest, words[i], &rest);
  return rest;
}

/// Multiplies words[0 .. count) by 10^19 in place and gives what is carried out.
inline uint64_t multiply_in_place(uint64_t *words, size_t count) {
  uint64_t carry = 0;
  for (size_t i = 0; i < count; ++i) {
    const UInt128 sum = multiply_add(words[i], kChunkBase, carry, 0);
    words[i] = low64(sum);
    carry = high64(sum);
  }
  return carry;
}

}  // namespace kiv

#endif
