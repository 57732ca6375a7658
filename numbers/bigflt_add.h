// Addition and subtraction of `bigflt` values.
//
// The operand with the lower exponent is shifted right to the other's, into 64 bits more than a mantissa has. What is
// lost behind these only sets the last of them (a "sticky" bit): it decides on which side of a tie the result lies, and
// a difference in which leading bits cancel has lost nothing.
// Cost: constant. Source: Knuth, The Art of Computer Programming, 4.2.1.
#ifndef KIV_NUMBERS_BIGFLT_ADD_H
#define KIV_NUMBERS_BIGFLT_ADD_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// A mantissa and the 64 bits below its last place.
struct LongMantissa {
  UInt128 mantissa;
  uint64_t below;
};

// mantissa * 2^-distance, with a sticky bit.
[[gnu::always_inline]] inline LongMantissa shifted_right(UInt128 mantissa, uint32_t distance) {
  const int n = static_cast<int>(distance & 63);
  const UInt128 kept = mantissa >> n;
  const uint64_t out = low64(make_uint128(low64(mantissa), 0) >> n);
  if (distance < 64) [[likely]]
    return {kept, out};
  if (distance < 128) return {UInt128(high64(kept)), low64(kept) | (out != 0 ? 1 : 0)};
  if (distance < 192) return {UInt128(0), high64(kept) | ((low64(kept) | out) != 0 ? 1 : 0)};
  return {UInt128(0), 1};
}

inline Extended add_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kNan;
  if (a.is_infinity()) return b.is_infinity() && a.negative != b.negative ? kNan : a;
  if (b.is_infinity()) return b;
  if (!a.is_zero()) return a;
  return b.is_zero() ? zero() : b;
}

// Signs, carry and order of the operands are as good as random: there is no branch on them. The sum is formed with a
// free bit at its top, of the operand greater in magnitude and the other or its two's complement; it is never negative.
[[gnu::always_inline]] inline Extended add_ordinary(const Extended &a, const Extended &b) {
  const bool swap = (a.exponent < b.exponent) | ((a.exponent == b.exponent) & (a.mantissa < b.mantissa));
  const uint64_t swap_mask = 0 - static_cast<uint64_t>(swap);
  const uint64_t swapped_high = (high64(a.mantissa) ^ high64(b.mantissa)) & swap_mask;
  const uint64_t swapped_low = (low64(a.mantissa) ^ low64(b.mantissa)) & swap_mask;
  const UInt128 upper = make_uint128(high64(a.mantissa) ^ swapped_high, low64(a.mantissa) ^ swapped_low);
  const UInt128 lower = make_uint128(high64(b.mantissa) ^ swapped_high, low64(b.mantissa) ^ swapped_low);
  const bool negative = a.negative ^ (swap & (a.negative ^ b.negative));
  const int32_t difference = a.exponent - b.exponent;
  const int32_t difference_mask = difference >> 31;
  const auto distance = static_cast<uint32_t>((difference ^ difference_mask) - difference_mask);
  int64_t exponent = a.exponent - (difference & difference_mask) + 1;

  const LongMantissa addend = shifted_right(lower, distance + 1);
  const uint64_t opposite = 0 - static_cast<uint64_t>(a.negative ^ b.negative);
  const UInt128 tail = UInt128(low64(upper) << 63) + UInt128(addend.below ^ opposite) + UInt128(opposite & 1);
  UInt128 sum = (upper >> 1) + make_uint128(high64(addend.mantissa) ^ opposite, low64(addend.mantissa) ^ opposite) +
                UInt128(high64(tail));
  uint64_t below = low64(tail);

  if (high64(sum) == 0) [[unlikely]] {  // much has cancelled
    if (sum == UInt128(0) && below == 0) return zero();
    do {
      sum = make_uint128(low64(sum), below);
      below = 0;
      exponent -= 64;
    } while (high64(sum) == 0);
  }
  const int shift = std::countl_zero(high64(sum)) & 63;
  const UInt128 lower_part = make_uint128(low64(sum), below) << shift;
  return finish(negative, exponent - shift, make_uint128(high64(sum << shift), high64(lower_part)), low64(lower_part));
}

inline Extended add(const Extended &a, const Extended &b) {
  return a.is_ordinary() && b.is_ordinary() ? add_ordinary(a, b) : add_special(a, b);
}

[[gnu::always_inline]] inline Extended negated(Extended a) {
  a.negative = !a.negative && !a.is_nan();
  return a;
}

[[gnu::always_inline]] inline Extended subtract_ordinary(const Extended &a, const Extended &b) {
  return add_ordinary(a, negated(b));
}
inline Extended subtract(const Extended &a, const Extended &b) { return add(a, negated(b)); }

}  // namespace kiv::bigflt_engine

#endif
