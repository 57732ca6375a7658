// Integer parts and fractions of Extended values, all exact. Values that are not ordinary are their own integer parts.
#ifndef KIV_NUMBERS_BIGFLT_INTEGRAL_H
#define KIV_NUMBERS_BIGFLT_INTEGRAL_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// The bits of the mantissa that are worth less than 1. REQUIRES: an ordinary value, or one whose exponent is too low.
constexpr UInt128 fraction_bits(int32_t exponent) {
  if (exponent < 0) return kAllOnes;
  return exponent >= 127 ? UInt128(0) : kAllOnes >> (exponent + 1);
}

constexpr bool is_integer(const Extended &a) {
  return a.is_zero() || (a.is_ordinary() && (a.mantissa & fraction_bits(a.exponent)) == UInt128(0));
}

constexpr Extended truncate(const Extended &a) {
  if (!a.is_ordinary()) return a;
  if (a.exponent < 0) return zero(a.negative);
  return {a.mantissa & ~fraction_bits(a.exponent), a.exponent, a.negative};
}

// The integer next to a value on the side away from zero, or the value itself.
constexpr Extended round_away(const Extended &a) {
  if (!a.is_ordinary() || is_integer(a)) return a;
  if (a.exponent < 0) return {kTopBit, 0, a.negative};
  const UInt128 mantissa = (a.mantissa | fraction_bits(a.exponent)) + UInt128(1);
  if (mantissa == UInt128(0)) return {kTopBit, a.exponent + 1, a.negative};
  return {mantissa, a.exponent, a.negative};
}

constexpr Extended floor(const Extended &a) { return a.negative ? round_away(a) : truncate(a); }
constexpr Extended ceil(const Extended &a) { return a.negative ? truncate(a) : round_away(a); }

// What truncate() takes away. REQUIRES: neither infinity nor NaN.
constexpr Extended fraction(const Extended &a) {
  if (a.is_zero()) return a;
  const UInt128 rest = a.mantissa & fraction_bits(a.exponent);
  if (rest == UInt128(0)) return zero();
  const int shift = leading_zeros(rest);
  return {rest << shift, a.exponent - shift, a.negative};
}

// a * 2^n.
inline Extended scale(const Extended &a, int64_t n) {
  return a.is_ordinary() ? finish(a.negative, a.exponent + n, a.mantissa, 0) : a;
}

// The integer part modulo 2^128, in two's complement. Zero from 2^159 on: such integers have no bit among the
// lowest 32.
constexpr UInt128 to_integer(const Extended &a) {
  if (a.exponent < 0 || a.exponent >= 159) return UInt128(0);  // zero, infinity and NaN among them
  const UInt128 magnitude = a.exponent <= 127 ? a.mantissa >> (127 - a.exponent) : a.mantissa << (a.exponent - 127);
  return a.negative ? UInt128(0) - magnitude : magnitude;
}

}  // namespace kiv::bigflt_engine

#endif
