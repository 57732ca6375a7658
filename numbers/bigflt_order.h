// How two Extended values compare.
#ifndef KIV_NUMBERS_BIGFLT_ORDER_H
#define KIV_NUMBERS_BIGFLT_ORDER_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// -1, 0 or +1. REQUIRES: neither is NaN. The exponents of zero and infinity are beyond all others, so that magnitudes
// compare as pairs of exponent and mantissa.
constexpr int order(const Extended &a, const Extended &b) {
  const bool a_negative = a.negative && !a.is_zero();
  const bool b_negative = b.negative && !b.is_zero();
  if (a_negative != b_negative) return a_negative ? -1 : 1;
  if (a.exponent == b.exponent && a.mantissa == b.mantissa) return 0;
  const bool less = a.exponent < b.exponent || (a.exponent == b.exponent && a.mantissa < b.mantissa);
  return less != a_negative ? -1 : 1;
}

}  // namespace kiv::bigflt_engine

#endif
