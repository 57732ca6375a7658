// Between decimal and binary: a number times a power of ten, with 192 bits and a bound of the error, and its rounding
// to a bigflt.
//
// The bound decides nearly always: of random numbers one in 2^55 lies so close to a tie that it does not. What does not
// is compared exactly with the tie, see bigflt_decimal_exact.h. W. D. Clinger, "How to Read Floating Point Numbers
// Accurately" (1990), shows why an estimate needs such a way out.
#ifndef KIV_NUMBERS_BIGFLT_DECIMAL_H
#define KIV_NUMBERS_BIGFLT_DECIMAL_H

#include "numbers/bigflt_value.h"
#include "numbers/powers_of_ten.h"

namespace kiv::bigflt_engine {

/// A natural number times 2^exponent.
struct Binary {
  Words<3> number;
  int32_t exponent;
};

inline Words<3> words_of(UInt128 x) { return {low64(x), high64(x), 0}; }

inline Binary binary_of(const Extended &value) { return {words_of(value.mantissa), value.exponent - 127}; }

/// (mantissa + (below + d) / 2^64) * 2^(exponent - 127) with |d| <= error, the mantissa's top bit set. An error of 0
/// means that `below` is 0 only if the number is exact.
struct Estimate {
  UInt128 mantissa;
  uint64_t below;
  int64_t exponent;
  uint64_t error;
};

/// (number + d) * 2^exponent * 10^n, where 0 <= d <= `excess` and an excess of 0 means exact. REQUIRES: number is not
/// 0, excess <= 1, |n| <= kMaxPowerOfTen.
inline Estimate times_power_of_ten(const Binary &value, uint32_t excess, int32_t n) {
  const PowerOfTen power = power_of_ten(n);
  const int shift = leading_zeros(value.number);
  const Words<6> product = multiply(shift_left(value.number, shift), power.mantissa);
  const int more = product[5] >> 63 != 0 ? 0 : 1;
  const Words<4> upper = shift_left(Words<4>{product[2], product[3], product[4], product[5]}, more);
  Estimate result = {make_uint128(upper[3], upper[2]), upper[1],
                     int64_t{value.exponent} + 191 - shift + power.exponent + 1 - more, 0};
  if (power.error == 0 && excess == 0) {
    if ((upper[0] | product[1] | product[0]) != 0) result.below |= 1;
    return result;
  }
  // In units of the product's upper 192 bits: the power's error, that of the number, the truncation, and less than one
  // for the product of both errors; twice that behind a shift. The callers' numbers have 186 bits or no excess.
  result.error = 2 * (power.error + (excess == 0 ? 0 : uint64_t{excess} << shift) + 2);
  return result;
}

/// Rounds an estimate. compare (boundary) is asked when the error leaves the result open: the sign of the true number
/// less the boundary.
template <class Compare>
Extended settle(const Estimate &estimate, bool negative, Compare compare) {
  uint64_t below = estimate.below;
  if (estimate.exponent < kMinExponent) [[unlikely]] {
    // Half of the closest value to zero is a tie, too; it is a power of two, and the estimate may be above or below it.
    const bool at_tie = estimate.exponent == kMinExponent - 1 && estimate.mantissa == kTopBit;
    const bool under_tie = estimate.exponent == kMinExponent - 2 && estimate.mantissa == kAllOnes;
    if (estimate.error != 0 && ((at_tie && below <= estimate.error) || (under_tie && 0 - below <= estimate.error))) {
      const Binary tie = {{1, 0, 0}, kMinExponent - 1};
      return finish(negative, kMinExponent - 1, kTopBit, compare(tie) > 0 ? 1 : 0);
    }
  } else if (estimate.error != 0 && below - (kHalf - estimate.error) <= 2 * estimate.error) [[unlikely]] {
    const UInt128 m = estimate.mantissa;
    const Words<3> twice = {low64(m) << 1 | 1, high64(m) << 1 | low64(m) >> 63, high64(m) >> 63};
    const Binary tie = {twice, static_cast<int32_t>(estimate.exponent) - 128};
    const int order = estimate.exponent > kMaxExponent ? 1 : compare(tie);
    below = order > 0 ? kHalf + 1 : order < 0 ? kHalf - 1 : kHalf;
  }
  return finish(negative, estimate.exponent, estimate.mantissa, below);
}

}  // namespace kiv::bigflt_engine

#endif
