// Division and modulo of `bigflt` values, by two steps that give 64 bits of a quotient each.
// Source: Knuth, The Art of Computer Programming, 4.3.1, algorithm D, with digits of 64 bits.
#ifndef KIV_NUMBERS_BIGFLT_DIVIDE_H
#define KIV_NUMBERS_BIGFLT_DIVIDE_H

#include "numbers/bigflt_multiply.h"

namespace kiv::bigflt_engine {

// One digit: upper * 2^64 + next by divisor. REQUIRES: the divisor's top bit is set, upper < divisor.
[[gnu::always_inline]] inline uint64_t divide_step(UInt128 upper, uint64_t next, UInt128 divisor, UInt128 *rest) {
  const uint64_t top = high64(divisor);
  uint64_t digit = UINT64_MAX, over = 0;
  bool over_fits = true;  // what is left of `upper` has up to 64 bits
  if (high64(upper) < top) [[likely]] {
    digit = divide_128_by_64(high64(upper), low64(upper), top, &over);
  } else {
    over = low64(upper) + top;
    over_fits = over >= top;
  }
  // The digit takes no account of the divisor's lower half yet: it is up to two too great. The first correction has no
  // branch, as it is needed every third time or so.
  const UInt128 left = make_uint128(over, next), taken = multiply_64(digit, low64(divisor));
  const uint64_t too_great = (over_fits & (left < taken)) ? UINT64_MAX : 0;
  digit += too_great;
  UInt128 remainder = left - taken + (divisor & make_uint128(too_great, too_great));
  if (too_great != 0 && remainder >= divisor) [[unlikely]] {  // it has not wrapped to what is not negative
    --digit;
    remainder += divisor;
  }
  *rest = remainder;
  return digit;
}

// REQUIRES: the divisor's top bit is set, dividend.high < divisor.
[[gnu::always_inline]] inline UInt128 divide_256(const UInt256 &dividend, UInt128 divisor, UInt128 *rest) {
  const uint64_t high = divide_step(dividend.high, high64(dividend.low), divisor, rest);
  const uint64_t low = divide_step(*rest, low64(dividend.low), divisor, rest);
  return make_uint128(high, low);
}

inline Extended divide_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kNan;
  if (a.is_infinity()) return b.is_infinity() ? kNan : infinity(a.negative != b.negative);
  if (b.is_infinity()) return zero();
  if (!b.is_zero()) return zero();
  return a.is_zero() ? kNan : infinity(a.negative != b.negative);
}

[[gnu::always_inline]] inline Extended divide_ordinary(const Extended &a, const Extended &b) {
  // The dividend is placed so that the quotient has 128 bits, the top one set.
  const int shift = a.mantissa < b.mantissa ? 0 : 1;
  const uint64_t high = high64(a.mantissa), low = low64(a.mantissa);
  const UInt128 upper = make_uint128(high >> shift, low >> shift | high << 1 << 62 << (1 - shift));
  UInt128 rest = 0;
  const UInt128 quotient = divide_256({upper, make_uint128(low << 1 << 62 << (1 - shift), 0)}, b.mantissa, &rest);
  // There are no ties: a quotient of 129 bits times the divisor would have more bits than the dividend.
  const uint64_t below = rest > b.mantissa - rest ? kHalf + 1 : rest != UInt128(0) ? 1 : 0;
  return finish(a.negative != b.negative, int64_t{a.exponent} - b.exponent - 1 + shift, quotient, below);
}

inline Extended divide(const Extended &a, const Extended &b) {
  return a.is_ordinary() && b.is_ordinary() ? divide_ordinary(a, b) : divide_special(a, b);
}

inline UInt128 multiply_modulo(UInt128 a, UInt128 b, UInt128 divisor) {
  UInt128 rest = 0;
  divide_256(multiply_128(a, b), divisor, &rest);
  return rest;
}

// 2^n modulo divisor, by a squaring for each bit of n but the leading seven. REQUIRES: the divisor's top bit is set.
inline UInt128 power_of_two_modulo(uint32_t n, UInt128 divisor) {
  auto bits = static_cast<int>(std::bit_width(n >> 7));
  UInt128 power = UInt128(1) << static_cast<int>(n >> bits);
  if (power >= divisor) power -= divisor;
  while (bits-- > 0) {
    power = multiply_modulo(power, power, divisor);
    if ((n >> bits & 1) != 0) {
      const bool carry = power >= kTopBit;
      power = power << 1;
      if (carry || power >= divisor) power -= divisor;
    }
  }
  return power;
}

inline Extended modulo_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan() || a.is_infinity() || b.is_zero()) return kNan;
  return a.is_zero() ? zero() : a;  // a zero, or b infinite
}

// In units of b's last place: a's mantissa times 2^distance, modulo b's mantissa. The distance has up to 16 bits.
inline Extended modulo_ordinary(const Extended &a, const Extended &b) {
  if (a.exponent < b.exponent || (a.exponent == b.exponent && a.mantissa < b.mantissa)) return a;
  const auto distance = static_cast<uint32_t>(a.exponent - b.exponent);
  UInt128 rest = a.mantissa < b.mantissa ? a.mantissa : a.mantissa - b.mantissa;
  if (distance != 0) rest = multiply_modulo(rest, power_of_two_modulo(distance, b.mantissa), b.mantissa);
  if (rest == UInt128(0)) return zero();
  const int shift = leading_zeros(rest);
  return finish(a.negative, int64_t{b.exponent} - shift, rest << shift, 0);
}

inline Extended modulo(const Extended &a, const Extended &b) {
  return a.is_ordinary() && b.is_ordinary() ? modulo_ordinary(a, b) : modulo_special(a, b);
}

}  // namespace kiv::bigflt_engine

#endif
