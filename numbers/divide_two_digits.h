// Division of integers of two digits each by way of divisions of two digits by one, whatever a digit is.
// Knuth, The Art of Computer Programming, 4.3.1, algorithm D.
#ifndef KIV_NUMBERS_DIVIDE_TWO_DIGITS_H
#define KIV_NUMBERS_DIVIDE_TWO_DIGITS_H

#include <bit>

namespace kiv {

// The quotient; *rest receives the remainder. REQUIRES: divisor != 0. Digits has
//   Digit, Pair                              unsigned types
//   kBits                                    of a digit
//   high(pair), low(pair), join(high, low)
//   multiply(digit, digit)                   the whole product
//   divide(high, low, digit, &rest)          REQUIRES: high < digit
//   divide_digit(digit, digit, &rest)
template <typename Digits>
constexpr typename Digits::Pair divide_two_digits(typename Digits::Pair dividend, typename Digits::Pair divisor,
                                                  typename Digits::Pair *rest) {
  using Digit = typename Digits::Digit;
  using Pair = typename Digits::Pair;
  Digit remainder = 0;
  if (Digits::high(divisor) == 0) {
    const Digit digit = Digits::low(divisor);
    Digit upper = Digits::high(dividend), high = 0;
    if (upper >= digit) high = Digits::divide_digit(upper, digit, &upper);
    const Digit low = Digits::divide(upper, Digits::low(dividend), digit, &remainder);
    *rest = remainder;
    return Digits::join(high, low);
  }
  // Shifted until the divisor's top bit is set, the dividend has up to three digits, and the quotient has one. Dividing
  // by the divisor's upper digit gives it or one too many: the error is less than 1 + quotient * lower / divisor, where
  // quotient < 2^(shift + 1), lower <= 2^kBits - 2^shift and divisor >= 2^(2 kBits - 1).
  const int shift = std::countl_zero(Digits::high(divisor));
  if (shift == 0) {
    const bool once = dividend >= divisor;
    *rest = once ? dividend - divisor : dividend;
    return Pair(once ? 1U : 0U);
  }
  const Pair scaled_divisor = divisor << shift, scaled_dividend = dividend << shift;
  const Digit first = Digits::high(dividend) >> 1 >> (Digits::kBits - 1 - shift);
  Digit quotient = Digits::divide(first, Digits::high(scaled_dividend), Digits::high(scaled_divisor), &remainder);
  const Pair above = Digits::join(remainder, Digits::low(scaled_dividend));
  Pair product = Digits::multiply(quotient, Digits::low(scaled_divisor));
  if (product > above) {
    --quotient;
    product -= scaled_divisor;
  }
  *rest = (above - product) >> shift;
  return quotient;
}

}  // namespace kiv

#endif
