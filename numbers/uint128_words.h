// 128-bit integers out of two 64-bit words, for targets whose compiler has none. Also compiled and tested on the
// others.
#ifndef KIV_NUMBERS_UINT128_WORDS_H
#define KIV_NUMBERS_UINT128_WORDS_H

#include <bit>
#include <cstdint>
#include <type_traits>

#include "numbers/divide_two_digits.h"

namespace kiv::words {

struct UInt128 {
  uint64_t low = 0;
  uint64_t high = 0;

  constexpr UInt128() = default;
  constexpr UInt128(uint64_t value) : low(value) {}  // NOLINT(google-explicit-constructor): as the built-in types
  constexpr UInt128(uint64_t high_half, uint64_t low_half) : low(low_half), high(high_half) {}

  constexpr explicit operator bool() const { return (low | high) != 0; }
  constexpr explicit operator uint64_t() const { return low; }
  constexpr explicit operator uint32_t() const { return static_cast<uint32_t>(low); }

  friend constexpr bool operator==(UInt128 a, UInt128 b) { return a.low == b.low && a.high == b.high; }
  friend constexpr bool operator!=(UInt128 a, UInt128 b) { return !(a == b); }
  friend constexpr bool operator<(UInt128 a, UInt128 b) {
    return a.high < b.high || (a.high == b.high && a.low < b.low);
  }
  friend constexpr bool operator>(UInt128 a, UInt128 b) { return b < a; }
  friend constexpr bool operator<=(UInt128 a, UInt128 b) { return !(b < a); }
  friend constexpr bool operator>=(UInt128 a, UInt128 b) { return !(a < b); }

  friend constexpr UInt128 operator~(UInt128 a) { return {~a.high, ~a.low}; }
  friend constexpr UInt128 operator&(UInt128 a, UInt128 b) { return {a.high & b.high, a.low & b.low}; }
  friend constexpr UInt128 operator|(UInt128 a, UInt128 b) { return {a.high | b.high, a.low | b.low}; }
  friend constexpr UInt128 operator^(UInt128 a, UInt128 b) { return {a.high ^ b.high, a.low ^ b.low}; }

  friend constexpr UInt128 operator<<(UInt128 a, int n) {
    if (n == 0) return a;
    if (n >= 64) return {a.low << (n - 64), 0};
    return {a.high << n | a.low >> (64 - n), a.low << n};
  }
  friend constexpr UInt128 operator>>(UInt128 a, int n) {
    if (n == 0) return a;
    if (n >= 64) return {0, a.high >> (n - 64)};
    return {a.high >> n, a.low >> n | a.high << (64 - n)};
  }

  friend constexpr UInt128 operator+(UInt128 a, UInt128 b) {
    const uint64_t low = a.low + b.low;
    return {a.high + b.high + (low < a.low), low};
  }
  friend constexpr UInt128 operator-(UInt128 a, UInt128 b) {
    return {a.high - b.high - (a.low < b.low), a.low - b.low};
  }
  friend constexpr UInt128 operator-(UInt128 a) { return UInt128(0) - a; }
  friend constexpr UInt128 operator*(UInt128 a, UInt128 b);

  constexpr UInt128 &operator+=(UInt128 b) { return *this = *this + b; }
  constexpr UInt128 &operator-=(UInt128 b) { return *this = *this - b; }
  constexpr UInt128 &operator*=(UInt128 b) { return *this = *this * b; }
  constexpr UInt128 &operator&=(UInt128 b) { return *this = *this & b; }
  constexpr UInt128 &operator|=(UInt128 b) { return *this = *this | b; }
  constexpr UInt128 &operator^=(UInt128 b) { return *this = *this ^ b; }
  constexpr UInt128 &operator<<=(int n) { return *this = *this << n; }
  constexpr UInt128 &operator>>=(int n) { return *this = *this >> n; }
  constexpr UInt128 &operator++() { return *this += 1; }
  constexpr UInt128 &operator--() { return *this -= 1; }
};

constexpr UInt128 make_uint128(uint64_t high, uint64_t low) { return {high, low}; }
constexpr uint64_t high64(UInt128 x) { return x.high; }
constexpr uint64_t low64(UInt128 x) { return x.low; }

constexpr UInt128 multiply_64(uint64_t a, uint64_t b) {
  const uint64_t a0 = static_cast<uint32_t>(a), a1 = a >> 32;
  const uint64_t b0 = static_cast<uint32_t>(b), b1 = b >> 32;
  const uint64_t low = a0 * b0;
  // Neither sum overflows: (2^32 - 1)^2 + 2 (2^32 - 1) = 2^64 - 1.
  const uint64_t middle1 = a1 * b0 + (low >> 32);
  const uint64_t middle2 = a0 * b1 + static_cast<uint32_t>(middle1);
  return {a1 * b1 + (middle1 >> 32) + (middle2 >> 32), middle2 << 32 | static_cast<uint32_t>(low)};
}

constexpr UInt128 operator*(UInt128 a, UInt128 b) {
  UInt128 product = multiply_64(a.low, b.low);
  product.high += a.high * b.low + a.low * b.high;
  return product;
}

constexpr UInt128 shift_right_signed(UInt128 x, int n) {
  const int64_t high = static_cast<int64_t>(x.high);
  if (n == 0) return x;
  if (n >= 64) return {static_cast<uint64_t>(high >> 63), static_cast<uint64_t>(high >> (n - 64))};
  return {static_cast<uint64_t>(high >> n), x.low >> n | x.high << (64 - n)};
}

constexpr int leading_zeros(UInt128 x) { return x.high != 0 ? std::countl_zero(x.high) : 64 + std::countl_zero(x.low); }

// Two digits of 32 bits by one. REQUIRES: high < divisor
constexpr uint32_t divide_digits(uint32_t high, uint32_t low, uint32_t divisor, uint32_t *rest) {
#ifdef __i386__
  // The compiler calls a function for dividends of 64 bits.
  if (!std::is_constant_evaluated()) {
    uint32_t quotient = 0, remainder = 0;
    __asm__("divl %4" : "=a"(quotient), "=d"(remainder) : "a"(low), "d"(high), "rm"(divisor) : "cc");
    *rest = remainder;
    return quotient;
  }
#endif
  const uint64_t dividend = uint64_t{high} << 32 | low;
  *rest = static_cast<uint32_t>(dividend % divisor);
  return static_cast<uint32_t>(dividend / divisor);
}

constexpr uint64_t divide_64_by_32(uint64_t dividend, uint32_t divisor, uint32_t *rest) {
  const uint32_t high = static_cast<uint32_t>(dividend >> 32);
  const uint32_t low = divide_digits(high % divisor, static_cast<uint32_t>(dividend), divisor, rest);
  return uint64_t{high / divisor} << 32 | low;
}

struct HalfWords {
  using Digit = uint32_t;
  using Pair = uint64_t;
  static constexpr int kBits = 32;
  static constexpr Digit high(Pair x) { return static_cast<uint32_t>(x >> 32); }
  static constexpr Digit low(Pair x) { return static_cast<uint32_t>(x); }
  static constexpr Pair join(Digit high, Digit low) { return uint64_t{high} << 32 | low; }
  static constexpr Pair multiply(Digit a, Digit b) { return uint64_t{a} * b; }
  static constexpr Digit divide(Digit high, Digit low, Digit divisor, Digit *rest) {
    return divide_digits(high, low, divisor, rest);
  }
  static constexpr Digit divide_digit(Digit dividend, Digit divisor, Digit *rest) {
    *rest = dividend % divisor;
    return dividend / divisor;
  }
};

constexpr uint64_t divide_64(uint64_t dividend, uint64_t divisor, uint64_t *rest) {
  return divide_two_digits<HalfWords>(dividend, divisor, rest);
}

// Knuth, The Art of Computer Programming, 4.3.1, algorithm D: four digits of 32 bits by two.
constexpr uint64_t divide_128_by_64(uint64_t high, uint64_t low, uint64_t divisor, uint64_t *rest) {
  if (divisor >> 32 == 0) {
    const uint32_t digit = static_cast<uint32_t>(divisor);
    uint32_t remainder = static_cast<uint32_t>(high);
    const uint32_t q1 = divide_digits(remainder, static_cast<uint32_t>(low >> 32), digit, &remainder);
    const uint32_t q0 = divide_digits(remainder, static_cast<uint32_t>(low), digit, &remainder);
    *rest = remainder;
    return uint64_t{q1} << 32 | q0;
  }
  const int shift = std::countl_zero(divisor);
  divisor <<= shift;
  const UInt128 dividend = UInt128(high, low) << shift;
  const uint32_t d1 = static_cast<uint32_t>(divisor >> 32), d0 = static_cast<uint32_t>(divisor);
  uint64_t remainder = dividend.high;
  // One digit of the quotient, from the remainder so far, which is less than the divisor, and the dividend's next
  // digit.
  const auto step = [&](uint32_t next) {
    const uint32_t upper = static_cast<uint32_t>(remainder >> 32), lower = static_cast<uint32_t>(remainder);
    uint32_t quotient = UINT32_MAX, rest_of_upper = 0;
    uint64_t over = 0;
    if (upper < d1) [[likely]] {
      quotient = divide_digits(upper, lower, d1, &rest_of_upper);
      over = rest_of_upper;
    } else {
      over = uint64_t{lower} + d1;  // upper == d1
    }
    // The estimate is too great by up to two.
    while (over >> 32 == 0 && uint64_t{quotient} * d0 > (over << 32 | next)) {
      --quotient;
      over += d1;
    }
    remainder = (over << 32 | next) - uint64_t{quotient} * d0;
    return quotient;
  };
  const uint32_t q1 = step(static_cast<uint32_t>(dividend.low >> 32));
  const uint32_t q0 = step(static_cast<uint32_t>(dividend.low));
  *rest = remainder >> shift;
  return uint64_t{q1} << 32 | q0;
}

struct Words {
  using Digit = uint64_t;
  using Pair = UInt128;
  static constexpr int kBits = 64;
  static constexpr Digit high(Pair x) { return x.high; }
  static constexpr Digit low(Pair x) { return x.low; }
  static constexpr Pair join(Digit high, Digit low) { return {high, low}; }
  static constexpr Pair multiply(Digit a, Digit b) { return multiply_64(a, b); }
  static constexpr Digit divide(Digit high, Digit low, Digit divisor, Digit *rest) {
    return divide_128_by_64(high, low, divisor, rest);
  }
  static constexpr Digit divide_digit(Digit dividend, Digit divisor, Digit *rest) {
    return divide_64(dividend, divisor, rest);
  }
};

constexpr UInt128 divide(UInt128 dividend, UInt128 divisor, UInt128 *rest) {
  if ((dividend.high | divisor.high) == 0) {
    uint64_t remainder = 0;
    const uint64_t quotient = divide_64(dividend.low, divisor.low, &remainder);
    *rest = remainder;
    return quotient;
  }
  return divide_two_digits<Words>(dividend, divisor, rest);
}

constexpr UInt128 operator/(UInt128 a, UInt128 b) {
  UInt128 rest;
  return divide(a, b, &rest);
}
constexpr UInt128 operator%(UInt128 a, UInt128 b) {
  UInt128 rest;
  divide(a, b, &rest);
  return rest;
}

}  // namespace kiv::words

#endif
