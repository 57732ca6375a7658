// The 128-bit integers of 64-bit compilers, under the names of uint128.h.
#ifndef KIV_NUMBERS_UINT128_NATIVE_H
#define KIV_NUMBERS_UINT128_NATIVE_H

#include <bit>
#include <cstdint>

#include "numbers/divide_two_digits.h"

namespace kiv::native {

__extension__ using UInt128 = unsigned __int128;

constexpr UInt128 make_uint128(uint64_t high, uint64_t low) { return static_cast<UInt128>(high) << 64 | low; }
constexpr uint64_t high64(UInt128 x) { return static_cast<uint64_t>(x >> 64); }
constexpr uint64_t low64(UInt128 x) { return static_cast<uint64_t>(x); }

constexpr UInt128 multiply_64(uint64_t a, uint64_t b) { return static_cast<UInt128>(a) * b; }

constexpr UInt128 shift_right_signed(UInt128 x, int n) {
  __extension__ using Int128 = __int128;
  return static_cast<UInt128>(static_cast<Int128>(x) >> n);
}

constexpr int leading_zeros(UInt128 x) {
  return high64(x) != 0 ? std::countl_zero(high64(x)) : 64 + std::countl_zero(low64(x));
}

inline uint64_t divide_128_by_64(uint64_t high, uint64_t low, uint64_t divisor, uint64_t *rest) {
#ifdef __x86_64__
  // The compiler calls a function that tests for divisors of more than 64 bits first.
  uint64_t quotient = 0;
  __asm__("divq %4" : "=a"(quotient), "=d"(*rest) : "a"(low), "d"(high), "rm"(divisor) : "cc");
  return quotient;
#else
  const UInt128 dividend = make_uint128(high, low);
  *rest = static_cast<uint64_t>(dividend % divisor);
  return static_cast<uint64_t>(dividend / divisor);
#endif
}

inline uint64_t divide_64_by_32(uint64_t dividend, uint32_t divisor, uint32_t *rest) {
  *rest = static_cast<uint32_t>(dividend % divisor);
  return dividend / divisor;
}

struct Words {
  using Digit = uint64_t;
  using Pair = UInt128;
  static constexpr int kBits = 64;
  static constexpr Digit high(Pair x) { return high64(x); }
  static constexpr Digit low(Pair x) { return low64(x); }
  static constexpr Pair join(Digit high, Digit low) { return make_uint128(high, low); }
  static constexpr Pair multiply(Digit a, Digit b) { return multiply_64(a, b); }
  static Digit divide(Digit high, Digit low, Digit divisor, Digit *rest) {
    return divide_128_by_64(high, low, divisor, rest);
  }
  static constexpr Digit divide_digit(Digit dividend, Digit divisor, Digit *rest) {
    *rest = dividend % divisor;
    return dividend / divisor;
  }
};

// The compiler's own operators call one function for the quotient and another one for the remainder.
inline UInt128 divide(UInt128 dividend, UInt128 divisor, UInt128 *rest) {
  return divide_two_digits<Words>(dividend, divisor, rest);
}

}  // namespace kiv::native

#endif
