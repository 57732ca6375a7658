// How two Extended values compare.
#ifndef KIV_NUMBERS_BIGFLT_ORDER_H
#define KIV_NUMBERS_BIGFLT_ORDER_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// The order of two numbers by that of their magnitudes; without branches, which would be a coin's toss.
constexpr int with_signs(int magnitudes, bool a_negative, bool b_negative) {
  const int negative = a_negative ? 1 : 0, signs_differ = negative ^ (b_negative ? 1 : 0);
  return (1 - 2 * negative) * ((magnitudes & (signs_differ - 1)) | signs_differ);
}

// -1, 0 or +1. REQUIRES: neither is NaN. The exponents of zero and infinity are beyond all others, so that magnitudes
// compare as pairs of exponent and mantissa.
constexpr int order(const Extended &a, const Extended &b) {
  int magnitudes = (a.exponent > b.exponent) - (a.exponent < b.exponent);
  if (magnitudes == 0) magnitudes = (a.mantissa > b.mantissa) - (a.mantissa < b.mantissa);
  return with_signs(magnitudes, a.negative && !a.is_zero(), b.negative && !b.is_zero());
}

// Whether both records hold ordinary values in the form that results have: small is 0, the exponent in range, the top
// bit set.
inline bool are_ordinary_records(const bigflt &a, const bigflt &b) {
  constexpr auto kBias = static_cast<uint32_t>(kMaxExponent);
  const uint32_t biased_a = static_cast<uint32_t>(a.exponent) + kBias;
  const uint32_t biased_b = static_cast<uint32_t>(b.exponent) + kBias;
  if ((a.small | b.small) != 0 || (a.mantissa[3] & b.mantissa[3]) >> 31 == 0) return false;
  return biased_a <= 2 * kBias && biased_b <= 2 * kBias;
}

// The same for such records: few of their words are looked at, mostly.
inline int order_ordinary(const bigflt &a, const bigflt &b) {
  int magnitudes = (a.exponent > b.exponent) - (a.exponent < b.exponent);
  if (magnitudes == 0) [[unlikely]] {
    const UInt128 x = load_mantissa(a), y = load_mantissa(b);
    magnitudes = (x > y) - (x < y);
  }
  return with_signs(magnitudes, a.sign != 0, b.sign != 0);
}

}  // namespace kiv::bigflt_engine

#endif
