// Multiplication of `bigflt` values: four products of words, whose lowest 64 bits only tell whether the rest is exact.
#ifndef KIV_NUMBERS_BIGFLT_MULTIPLY_H
#define KIV_NUMBERS_BIGFLT_MULTIPLY_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// high * 2^128 + low.
struct UInt256 {
  UInt128 high;
  UInt128 low;
};

inline UInt256 multiply_128(UInt128 a, UInt128 b) {
  const UInt128 low = multiply_64(low64(a), low64(b));
  const UInt128 cross1 = multiply_64(low64(a), high64(b));
  const UInt128 cross2 = multiply_64(high64(a), low64(b));
  const UInt128 high = multiply_64(high64(a), high64(b));
  const UInt128 middle = UInt128(high64(low)) + UInt128(low64(cross1)) + UInt128(low64(cross2));
  return {high + UInt128(high64(cross1)) + UInt128(high64(cross2)) + UInt128(high64(middle)),
          make_uint128(low64(middle), low64(low))};
}

inline Extended multiply_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kNan;
  if (!a.is_infinity() && !b.is_infinity()) return zero();
  return a.is_zero() || b.is_zero() ? kNan : infinity(a.negative != b.negative);
}

[[gnu::always_inline]] inline Extended multiply_ordinary(const Extended &a, const Extended &b) {
  const UInt256 product = multiply_128(a.mantissa, b.mantissa);
  // The product of two numbers from 1 to below 2 is from 1 to below 4: its leading bit is the top one or the next.
  const int shift = static_cast<int>(~high64(product.high) >> 63);
  const uint64_t next = high64(product.low);
  const uint64_t high = high64(product.high) << shift | low64(product.high) >> 1 >> (63 - shift);
  const uint64_t low = low64(product.high) << shift | next >> 1 >> (63 - shift);
  const uint64_t below = next << shift | (low64(product.low) != 0 ? 1 : 0);
  return finish(a.negative != b.negative, int64_t{a.exponent} + b.exponent + 1 - shift, make_uint128(high, low), below);
}

inline Extended multiply(const Extended &a, const Extended &b) {
  return a.is_ordinary() && b.is_ordinary() ? multiply_ordinary(a, b) : multiply_special(a, b);
}

}  // namespace kiv::bigflt_engine

#endif
