// Addition and subtraction of `bigflt` values.
//
// The operand with the lower exponent is shifted right to the other's, into 64 bits more than a mantissa has. What is
// lost behind these only sets the last of them (a "sticky" bit): it decides on which side of a tie the result lies, and
// a difference in which leading bits cancel has lost nothing.
// Cost: constant. Source: Knuth, The Art of Computer Programming, 4.2.1.
#ifndef KIV_NUMBERS_BIGFLT_ADD_H
#define KIV_NUMBERS_BIGFLT_ADD_H

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

// A mantissa and the 64 bits below its last place.
struct UInt192 {
  uint64_t high, middle, low;
};

// mantissa * 2^-distance, with a sticky bit.
[[gnu::always_inline]] inline UInt192 shifted_right(UInt128 mantissa, uint32_t distance) {
  const uint64_t high = high64(mantissa), low = low64(mantissa);
  const int n = static_cast<int>(distance & 63);
  // Shifts by 64 - n in two steps, as n may be 0.
  const uint64_t high_out = high << 1 << (63 - n), low_out = low << 1 << (63 - n);
  if (distance < 64) [[likely]]
    return {high >> n, low >> n | high_out, low_out};
  if (distance < 128) return {0, high >> n, low >> n | high_out | (low_out != 0 ? 1 : 0)};
  if (distance < 192) return {0, 0, high >> n | ((high_out | low) != 0 ? 1 : 0)};
  return {0, 0, 1};
}

inline Extended add_special(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kNan;
  if (a.is_infinity()) return b.is_infinity() && a.negative != b.negative ? kNan : a;
  if (b.is_infinity()) return b;
  if (!a.is_zero()) return a;
  return b.is_zero() ? zero() : b;
}

// a + b + carry, for a carry of 0 or 1, modulo 2^192.
inline UInt192 add_192(UInt192 a, const UInt192 &b, uint64_t carry) {
#ifdef __x86_64__
  // The compiler does not keep a carry in the processor's flag through three words.
  __asm__("addq $-1, %3\n\tadcq %4, %0\n\tadcq %5, %1\n\tadcq %6, %2"
          : "+&r"(a.low), "+&r"(a.middle), "+&r"(a.high), "+&r"(carry)
          : "r"(b.low), "r"(b.middle), "r"(b.high)
          : "cc");
  return a;
#else
  const UInt128 low = UInt128(a.low) + UInt128(b.low) + UInt128(carry);
  const UInt128 rest = make_uint128(a.high, a.middle) + make_uint128(b.high, b.middle) + UInt128(high64(low));
  return {high64(rest), low64(rest), low64(low)};
#endif
}

// Signs, carry and order of the operands are as good as random: there is no branch on them. The sum is formed with a
// free bit at its top, of the operand with the greater exponent and the other or its two's complement. It is negative
// only if the exponents are equal.
[[gnu::always_inline]] inline Extended add_ordinary(const Extended &a, const Extended &b) {
  const int64_t difference = int64_t{a.exponent} - b.exponent;
  const auto swap = static_cast<uint64_t>(difference >> 63);  // all ones if b's exponent is the greater
  const uint64_t swapped_high = (high64(a.mantissa) ^ high64(b.mantissa)) & swap;
  const uint64_t swapped_low = (low64(a.mantissa) ^ low64(b.mantissa)) & swap;
  const uint64_t upper_high = high64(a.mantissa) ^ swapped_high, upper_low = low64(a.mantissa) ^ swapped_low;
  const UInt128 lower = make_uint128(high64(b.mantissa) ^ swapped_high, low64(b.mantissa) ^ swapped_low);
  const bool differ = a.negative != b.negative;
  bool negative = a.negative != (differ & (swap != 0));
  const auto distance = (static_cast<uint64_t>(difference) ^ swap) - swap;
  int64_t exponent = a.exponent - (difference & static_cast<int64_t>(swap)) + 1;

  const UInt192 addend = shifted_right(lower, static_cast<uint32_t>(distance) + 1);
  const uint64_t opposite = 0 - static_cast<uint64_t>(differ);
  UInt192 sum = add_192({addend.high ^ opposite, addend.middle ^ opposite, addend.low ^ opposite},
                        {upper_high >> 1, upper_high << 63 | upper_low >> 1, upper_low << 63}, differ ? 1 : 0);
  if ((sum.high & opposite) >> 63 != 0) [[unlikely]] {
    sum = add_192({~sum.high, ~sum.middle, ~sum.low}, {0, 0, 0}, 1);
    negative = !negative;
  }
  if (sum.high == 0) [[unlikely]] {  // much has cancelled
    if ((sum.middle | sum.low) == 0) return zero();
    do {
      sum = {sum.middle, sum.low, 0};
      exponent -= 64;
    } while (sum.high == 0);
  }
  const int shift = std::countl_zero(sum.high) & 63;  // the word is not 0
  const uint64_t high = sum.high << shift | sum.middle >> 1 >> (63 - shift);
  const uint64_t low = sum.middle << shift | sum.low >> 1 >> (63 - shift);
  return finish(negative, exponent - shift, make_uint128(high, low), sum.low << shift);
}

inline Extended add(const Extended &a, const Extended &b) {
  return a.is_ordinary() && b.is_ordinary() ? add_ordinary(a, b) : add_special(a, b);
}

[[gnu::always_inline]] inline Extended negated(Extended a) {
  a.negative = !a.negative && !a.is_nan();
  return a;
}

[[gnu::always_inline]] inline Extended subtract_ordinary(const Extended &a, const Extended &b) {
  return add_ordinary(a, negated(b));
}
inline Extended subtract(const Extended &a, const Extended &b) { return add(a, negated(b)); }

}  // namespace kiv::bigflt_engine

#endif
