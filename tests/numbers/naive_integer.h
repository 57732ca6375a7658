// Integers as rows of bits: a second implementation of wide arithmetic, as plain as can be.
#ifndef KIV_TESTS_NUMBERS_NAIVE_INTEGER_H
#define KIV_TESTS_NUMBERS_NAIVE_INTEGER_H

#include <bitset>
#include <cstdint>
#include <string>

#include "kiv_u128.h"

namespace kiv::test {

/// Room for the product of two integers of 128 bits; negative ones in two's complement.
using Naive = std::bitset<256>;

inline Naive naive(uint64_t high, uint64_t low) { return Naive(high) << 64 | Naive(low); }
inline Naive naive(const KIV_U128 &a) { return naive(a.hi, a.lo); }
/// The low 128 bits.
inline Naive cut(const Naive &a) { return a << 128 >> 128; }

inline KIV_U128 to_u128(const Naive &a) {
  const Naive word(UINT64_MAX);
  return {(a >> 64 & word).to_ullong(), (a & word).to_ullong()};
}

inline Naive naive_add(const Naive &a, const Naive &b) {
  Naive sum;
  bool carry = false;
  for (size_t i = 0; i < sum.size(); ++i) {
    sum[i] = a[i] ^ b[i] ^ carry;
    carry = (a[i] && b[i]) || (carry && (a[i] || b[i]));
  }
  return sum;
}

inline Naive naive_negate(const Naive &a) { return naive_add(~a, Naive(1)); }
inline Naive naive_subtract(const Naive &a, const Naive &b) { return naive_add(a, naive_negate(b)); }

/// REQUIRES: both below 2^255
inline bool naive_less(const Naive &a, const Naive &b) {
  size_t i = a.size();
  while (--i > 0 && a[i] == b[i]) {
  }
  return !a[i] && b[i];
}

inline Naive naive_multiply(const Naive &a, const Naive &b) {
  Naive product;
  for (size_t i = 0; i < 128; ++i) {
    if (b[i]) product = naive_add(product, a << i);
  }
  return product;
}

/// REQUIRES: below 2^128, divisor != 0
inline Naive naive_divide(const Naive &dividend, const Naive &divisor, Naive *rest) {
  Naive quotient, remainder;
  for (size_t i = 128; i-- > 0;) {
    remainder = remainder << 1;
    remainder[0] = dividend[i];
    if (!naive_less(remainder, divisor)) {
      remainder = naive_subtract(remainder, divisor);
      quotient[i] = true;
    }
  }
  *rest = remainder;
  return quotient;
}

/// Doubles a decimal text once for each bit.
inline std::string naive_decimal(const Naive &a) {
  std::string digits = "0";
  for (size_t i = 128; i-- > 0;) {
    int carry = a[i] ? 1 : 0;
    for (size_t k = digits.size(); k-- > 0;) {
      const int twice = 2 * (digits[k] - '0') + carry;
      digits[k] = static_cast<char>('0' + twice % 10);
      carry = twice / 10;
    }
    if (carry != 0) digits.insert(0, "1");
  }
  return digits;
}

}  // namespace kiv::test

#endif
