// AND, OR and XOR of integers in two's complement of unlimited width.
//
// The operands are laid into windows of 256 bits, whose unit is a power of two of which both are multiples: below it
// all bits of both are clear, also in two's complement, and above it the sign repeats. The window is wide enough for
// operands whose mantissas touch or overlap. Otherwise no bits but signs meet:
//
//     and   small >= 0: 0               small < 0: large
//     or    small >= 0: large + small   small < 0: small
//     xor   small >= 0: large + small   small < 0: small - large
//
// and where this is a sum, the small one has a part in the rounding only: it may come closer and lose its lowest bits
// to a sticky one until it, too, fits into the window.
#ifndef KIV_NUMBERS_BIGFLT_BITWISE_H
#define KIV_NUMBERS_BIGFLT_BITWISE_H

#include <algorithm>
#include <utility>

#include "numbers/bigflt_integral.h"

namespace kiv::bigflt_engine {

enum class Bitwise { kAnd, kOr, kXor };

// 256 bits.
struct Window {
  UInt128 high = 0;
  UInt128 low = 0;

  constexpr Window negated() const {
    const UInt128 negative_low = UInt128(0) - low;
    return {low == UInt128(0) ? UInt128(0) - high : ~high, negative_low};
  }
};

template <Bitwise kOperation>
constexpr UInt128 apply(UInt128 a, UInt128 b) {
  if constexpr (kOperation == Bitwise::kAnd) return a & b;
  if constexpr (kOperation == Bitwise::kOr) return a | b;
  return a ^ b;
}

// a / 2^unit in two's complement. REQUIRES: it is an integer below 2^255 in magnitude.
constexpr Window to_window(const Extended &a, int32_t unit) {
  const int32_t shift = a.exponent - 127 - unit;
  Window window;
  if (shift <= 0) {
    window.low = a.mantissa >> -shift;
  } else {
    window.low = a.mantissa << shift;
    window.high = a.mantissa >> (128 - shift);
  }
  return a.negative ? window.negated() : window;
}

// window * 2^unit, rounded. REQUIRES: unit is not negative.
inline Extended from_window(Window window, int32_t unit) {
  const bool negative = high64(window.high) >> 63 != 0;
  if (negative) window = window.negated();
  int32_t exponent = unit + 255;
  if (window.high == UInt128(0)) {
    if (window.low == UInt128(0)) return zero();
    std::swap(window.high, window.low);
    exponent -= 128;
  }
  const int shift = leading_zeros(window.high);
  if (shift > 0) {
    window.high = window.high << shift | window.low >> (128 - shift);
    window.low = window.low << shift;
  }
  const uint64_t sticky = low64(window.low) != 0 ? 1 : 0;
  return finish(negative, exponent - shift, window.high, high64(window.low) | sticky);
}

// Of the integer parts; NaN for operands that have none.
template <Bitwise kOperation>
inline Extended bitwise(const Extended &a, const Extended &b) {
  if (a.is_special() || b.is_special()) return kNan;
  Extended large = truncate(a);
  Extended small = truncate(b);
  if (large.exponent < small.exponent) std::swap(large, small);
  if (small.is_zero()) return kOperation == Bitwise::kAnd ? small : large;
  int32_t unit = std::max(small.exponent - 127, 0);
  if (large.exponent - small.exponent > 127) {
    if constexpr (kOperation == Bitwise::kAnd) return small.negative ? large : zero();
    if (kOperation == Bitwise::kOr && small.negative) return small;
    const uint64_t sticky = low64(small.mantissa) != 0 ? 1 : 0;
    small.mantissa = make_uint128(high64(small.mantissa) | sticky, 0);
    small.exponent = std::max(small.exponent, large.exponent - 190);
    unit = std::max(small.exponent - 63, 0);
  }
  const Window x = to_window(large, unit), y = to_window(small, unit);
  return from_window({apply<kOperation>(x.high, y.high), apply<kOperation>(x.low, y.low)}, unit);
}

}  // namespace kiv::bigflt_engine

#endif
