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
inline LongMantissa shifted_right(UInt128 mantissa, uint32_t distance) {
  const uint64_t high = high64(mantissa), low = low64(mantissa);
  const int n = static_cast<int>(distance & 63);
  // Shifts by 64 - n in two steps, as n may be 0.
  const uint64_t high_out = high << 1 << (63 - n), low_out = low << 1 << (63 - n);
  if (distance < 64) return {make_uint128(high >> n, low >> n | high_out), low_out};
  if (distance < 128) return {UInt128(high >> n), low >> n | high_out | (low_out != 0 ? 1 : 0)};
  if (distance < 192) return {UInt128(0), high >> n | ((high_out | low) != 0 ? 1 : 0)};
  return {UInt128(0), 1};
}

inline Extended add_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kNan;
  if (a.is_infinity()) return b.is_infinity() && a.negative != b.negative ? kNan : a;
  if (b.is_infinity()) return b;
  if (!a.is_zero()) return a;
  return b.is_zero() ? zero() : b;
}

inline Extended add(const Extended &a, const Extended &b) {
  if (!a.is_ordinary() || !b.is_ordinary()) [[unlikely]]
    return add_special(a, b);
  const bool swap = a.exponent < b.exponent;
  int64_t exponent = swap ? b.exponent : a.exponent;
  const UInt128 upper = swap ? b.mantissa : a.mantissa;
  const int32_t distance = a.exponent - b.exponent;
  const LongMantissa lower =
      shifted_right(swap ? a.mantissa : b.mantissa, static_cast<uint32_t>(distance < 0 ? -distance : distance));
  bool negative = swap ? b.negative : a.negative;

  if (a.negative == b.negative) {
    const UInt128 sum = upper + lower.mantissa;
    if (sum >= upper) return finish(negative, exponent, sum, lower.below);
    // One bit too many.
    const uint64_t below = low64(sum) << 63 | lower.below >> 1 | (lower.below & 1);
    return finish(negative, exponent + 1, sum >> 1 | kTopBit, below);
  }

  uint64_t below = 0 - lower.below;
  UInt128 difference = upper - lower.mantissa - UInt128(below != 0 ? 1 : 0);
  if (upper < lower.mantissa) {  // of equal exponents, hence with nothing below
    difference = UInt128(0) - difference;
    negative = !negative;
  }
  if (high64(difference) == 0) {
    if (difference == UInt128(0) && below == 0) return zero();
    do {
      difference = difference << 64 | UInt128(below);
      below = 0;
      exponent -= 64;
    } while (high64(difference) == 0);
  }
  const int shift = std::countl_zero(high64(difference));
  return finish(negative, exponent - shift, difference << shift | UInt128(below >> 1 >> (63 - shift)), below << shift);
}

inline Extended subtract(const Extended &a, const Extended &b) {
  Extended negated = b;
  negated.negative = !b.negative;
  return add(a, negated);
}

}  // namespace kiv::bigflt_engine

#endif
