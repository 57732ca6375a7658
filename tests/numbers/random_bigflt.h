// Operands of the bigflt tests: half of them where rounding, range and form change.
#ifndef KIV_TESTS_NUMBERS_RANDOM_BIGFLT_H
#define KIV_TESTS_NUMBERS_RANDOM_BIGFLT_H

#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>

#include "kiv_bigflt.h"
#include "tests/support/random.h"

namespace kiv::test {

/// How many cases a random test tries: some thousands, or the environment variable KIV_TEST_CASES for an extended run.
inline uint64_t cases(uint64_t usual) {
  const char *wish = std::getenv("KIV_TEST_CASES");
  return wish != nullptr ? std::strtoull(wish, nullptr, 10) : usual;
}

inline bigflt small_bigflt(int32_t value) { return {1, {}, 0, value, 128, 4, {}}; }

inline bigflt extended_bigflt(uint32_t sign, int32_t exponent, uint64_t high, uint64_t low) {
  return {0,
          {},
          sign,
          exponent,
          128,
          4,
          {static_cast<uint32_t>(low), static_cast<uint32_t>(low >> 32), static_cast<uint32_t>(high),
           static_cast<uint32_t>(high >> 32)}};
}

/// A word with long runs of equal bits, so that sums carry far and remainders tie.
inline uint64_t random_word(std::mt19937_64 &random) {
  switch (below(random, 6)) {
    case 0:
      return 0;
    case 1:
      return UINT64_MAX;
    case 2:
      return uint64_t{1} << below(random, 64);
    case 3:
      return (uint64_t{1} << below(random, 64)) - 1;
    case 4:
      return UINT64_MAX << below(random, 64);
    default:
      return random();
  }
}

/// Any ordinary value in extended form, also an integer that would fit the small form.
inline bigflt random_ordinary(std::mt19937_64 &random) {
  int32_t exponent = 0;
  switch (below(random, 6)) {
    case 0:
      exponent = static_cast<int32_t>(below(random, 65535)) - 32767;
      break;
    case 1:
      exponent = 32767 - static_cast<int32_t>(below(random, 3));
      break;
    case 2:
      exponent = -32767 + static_cast<int32_t>(below(random, 3));
      break;
    default:
      exponent = static_cast<int32_t>(below(random, 320)) - 160;
      break;
  }
  const bool plain = below(random, 2) != 0;
  const uint64_t high = plain ? random() : random_word(random);
  const uint64_t low = plain ? random() : random_word(random);
  return extended_bigflt(below(random, 2), exponent, high | uint64_t{1} << 63, low);
}

/// Any value in canonical or nearly canonical form: ordinary, small, and now and then zero, infinity or NaN.
inline bigflt random_bigflt(std::mt19937_64 &random) {
  switch (below(random, 12)) {
    case 0:
      return small_bigflt(static_cast<int32_t>(random()));
    case 1:
      return small_bigflt(static_cast<int32_t>(below(random, 21)) - 10);
    case 2:
      return small_bigflt(below(random, 2) != 0 ? INT32_MIN : INT32_MAX);
    case 3:
      switch (below(random, 6)) {
        case 0:
          return small_bigflt(0);
        case 1:
          return extended_bigflt(0, INT32_MIN, 0, 0);
        case 2:
          return extended_bigflt(0, INT32_MAX, 0, 0);
        case 3:
          return extended_bigflt(1, INT32_MAX, 0, 0);
        case 4:
          return extended_bigflt(0, INT32_MAX, UINT64_MAX, UINT64_MAX);
        default:
          return extended_bigflt(below(random, 2), -32767, uint64_t{1} << 63, 0);
      }
    default:
      return random_ordinary(random);
  }
}

/// A partner for a: unrelated, or close to a in exponent and mantissa so that sums cancel and quotients tie.
inline bigflt random_partner(std::mt19937_64 &random, const bigflt &a) {
  if (a.small != 0 || a.exponent > 32767 || a.exponent < -32767 || below(random, 2) != 0) return random_bigflt(random);
  bigflt b = below(random, 2) != 0 ? a : random_ordinary(random);
  b.exponent = a.exponent + static_cast<int32_t>(below(random, 261)) - 130;
  if (below(random, 3) == 0) b.exponent = a.exponent;
  if (b.exponent > 32767) b.exponent = 32767;
  if (b.exponent < -32767) b.exponent = -32767;
  b.sign = below(random, 2);
  if (below(random, 2) != 0) b.mantissa[0] ^= 1U << below(random, 32);
  return b;
}

}  // namespace kiv::test

inline std::ostream &operator<<(std::ostream &out, const bigflt &a) {
  if (a.small != 0) return out << "small " << a.exponent;
  out << (a.sign != 0 ? '-' : '+') << std::hex;
  for (int i = 3; i >= 0; --i) out << a.mantissa[i] << (i > 0 ? "_" : "");
  return out << std::dec << " E" << a.exponent;
}

#endif
