// Rounding of `bigflt` values to fewer bits.
#ifndef KIV_NUMBERS_BIGFLT_ROUND_H
#define KIV_NUMBERS_BIGFLT_ROUND_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// The nearest value of `bits` significant bits, ties to even. Numbers of bits that no mantissa is rounded to leave the
// value as it is.
inline Extended round_to_mantissa_size(const Extended &a, int32_t bits) {
  if (!a.is_ordinary() || bits < 0 || bits >= 128) return a;
  const UInt128 dropped = a.mantissa << bits;  // as a fraction of the last place that is kept
  UInt128 kept = bits > 0 ? a.mantissa >> (128 - bits) : UInt128(0);
  if (dropped > kTopBit || (dropped == kTopBit && (low64(kept) & 1) != 0)) kept += UInt128(1);
  if (kept == UInt128(0)) return zero();
  const bool carried = kept >> bits != UInt128(0);
  return finish(a.negative, int64_t{a.exponent} + (carried ? 1 : 0), carried ? kTopBit : kept << (128 - bits), 0);
}

}  // namespace kiv::bigflt_engine

#endif
