// 128-bit integers out of two 64-bit words, for targets whose compiler has none. Also compiled and tested on the
// others.
#ifndef KIV_NUMBERS_UINT128_WORDS_H
#define KIV_NUMBERS_UINT128_WORDS_H

#include <bit>
#include <cstdint>

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

constexpr int leading_zeros(UInt128 x) { return x.high != 0 ? std::countl_zero(x.high) : 64 + std::countl_zero(x.low); }

// Knuth, The Art of Computer Programming, 4.3.1, algorithm D, with two 32-bit digits in the divisor.
constexpr uint64_t divide_128_by_64(uint64_t high, uint64_t low, uint64_t divisor, uint64_t *rest) {
  const int shift = std::countl_zero(divisor);
  divisor <<= shift;
  const UInt128 dividend = UInt128(high, low) << shift;
  const uint64_t d1 = divisor >> 32, d0 = static_cast<uint32_t>(divisor);
  // One digit: the quotient of two words and a digit by the divisor.
  const auto step = [&](uint64_t upper, uint32_t next) {
    uint64_t digit = upper / d1;
    uint64_t over = upper % d1;
    while (digit >> 32 != 0 || digit * d0 > (over << 32 | next)) {
      --digit;
      over += d1;
      if (over >> 32 != 0) break;
    }
    return digit;
  };
  uint64_t remainder = dividend.high;
  const uint64_t q1 = step(remainder, static_cast<uint32_t>(dividend.low >> 32));
  remainder = (remainder << 32 | dividend.low >> 32) - q1 * divisor;
  const uint64_t q0 = step(remainder, static_cast<uint32_t>(dividend.low));
  remainder = (remainder << 32 | static_cast<uint32_t>(dividend.low)) - q0 * divisor;
  *rest = remainder >> shift;
  return q1 << 32 | q0;
}

constexpr UInt128 divide(UInt128 dividend, UInt128 divisor, UInt128 *rest) {
  if (divisor.high == 0) {
    UInt128 quotient;
    quotient.high = dividend.high / divisor.low;
    uint64_t remainder = dividend.high % divisor.low;
    quotient.low = divide_128_by_64(remainder, dividend.low, divisor.low, &remainder);
    *rest = remainder;
    return quotient;
  }
  // The quotient has less than 64 bits. Dividing by the divisor's upper 64 bits gives it, or one too many.
  const int shift = std::countl_zero(divisor.high);
  const uint64_t upper = (divisor << shift).high;
  const UInt128 half = dividend >> 1;
  uint64_t ignored = 0;
  uint64_t quotient = divide_128_by_64(half.high, half.low, upper, &ignored);
  quotient = shift == 63 ? quotient : quotient >> (63 - shift);
  if (quotient != 0) --quotient;
  UInt128 remainder = dividend - divisor * UInt128(quotient);
  if (remainder >= divisor) {
    ++quotient;
    remainder -= divisor;
  }
  *rest = remainder;
  return quotient;
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
