// The conversions to doubles and images beside MPFR, in random formats.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "kiv_bigflt_convert.h"
#include "tests/numbers/mpfr_value.h"
#include "tests/numbers/random_bigflt.h"

using namespace kiv::test;

namespace {

/// The value rounded as a format rounds, subnormal numbers included. REQUIRES: a finite value.
void round_to_format(mpfr_ptr x, mpfr_srcptr value, int32_t bias, int32_t precision) {
  mpfr_set_prec(x, precision);
  int ternary = mpfr_set(x, value, MPFR_RNDN);
  // MPFR's exponents are one above.
  const mpfr_exp_t emin = mpfr_get_emin(), emax = mpfr_get_emax();
  mpfr_set_emin(1 - bias - (precision - 1) + 1);
  mpfr_set_emax(bias + 1);
  ternary = mpfr_check_range(x, ternary, MPFR_RNDN);
  mpfr_subnormalize(x, ternary, MPFR_RNDN);
  mpfr_set_emin(emin);
  mpfr_set_emax(emax);
}

TEST(BigfltMpfr, RoundsToAnyFormat) {
  std::mt19937_64 random = make_random();
  MpfrValue value, rounded;
  for (uint64_t i = 0, count = cases(50000); i < count; ++i) {
    const uint32_t size = below(random, 8) == 0 ? 80 : 8 * (1 + below(random, 16));
    const uint32_t exponent_width = size > 16 && below(random, 2) == 0 ? 15 : 2 + below(random, size > 16 ? 13 : 5);
    const bool x87 = size == 80 && exponent_width == 15;
    const uint32_t mantissa_width = size - 1 - exponent_width;
    const int32_t bias = (1 << (exponent_width - 1)) - 1;
    const auto precision = static_cast<int32_t>(mantissa_width) + (x87 ? 0 : 1);
    bigflt a = random_ordinary(random);
    // Near the ends of the range, or within it.
    const int32_t least = 1 - bias - precision;
    const auto near = static_cast<int32_t>(below(random, 6)) - 3;
    const int32_t exponents[] = {least + near, 1 - bias + near, bias + near,
                                 least + static_cast<int32_t>(below(random, static_cast<uint32_t>(bias - least) + 1))};
    a.exponent = exponents[below(random, 4)];
    // A tie, or just beside one.
    const uint32_t bit = 127 - std::min(127U, static_cast<uint32_t>(precision) + below(random, 2));
    if (below(random, 2) != 0) {
      for (uint32_t limb = 0; limb < bit / 32; ++limb) a.mantissa[limb] = 0;
      a.mantissa[bit / 32] &= ~0U << bit % 32;
      a.mantissa[bit / 32] |= 1U << bit % 32;
      a.mantissa[0] |= below(random, 2);
    }
    uint8_t image[16];
    kiv_bigflt_to_ieee754(&a, image, size, exponent_width, mantissa_width);
    bigflt r;
    kiv_bigflt_ieee754_to_bigflt(&r, image, size, exponent_width, mantissa_width);
    value.assign(a);
    round_to_format(rounded, value, bias, precision);
    ASSERT_TRUE(same(r, rounded.canonical())) << a << " in " << size << " bits, " << exponent_width
                                              << " of exponent: " << r << ", not " << rounded.canonical();
    ASSERT_EQ(image[size / 8 - 1] >> 7, static_cast<int>(a.sign));
  }
}

TEST(BigfltMpfr, Doubles) {
  std::mt19937_64 random = make_random();
  MpfrValue value;
  for (uint64_t i = 0, count = cases(50000); i < count; ++i) {
    bigflt a = random_bigflt(random);
    if (a.small == 0 && a.exponent >= -32767 && a.exponent <= 32767 && below(random, 2) != 0) {
      a.exponent = static_cast<int32_t>(below(random, 2110)) - 1080;
    }
    value.assign(a);
    const double expected = mpfr_get_d(value, MPFR_RNDN), x = kiv_bigflt_to_double(&a);
    if (expected != expected) {
      ASSERT_TRUE(x != x);
    } else {
      ASSERT_EQ(std::bit_cast<uint64_t>(x), std::bit_cast<uint64_t>(expected))
          << a << ": " << x << ", not " << expected;
      mpfr_set_d(value, x, MPFR_RNDN);
      bigflt r;
      kiv_bigflt_double_to_bigflt(&r, x);
      if (x != 0) ASSERT_TRUE(same(r, value.canonical())) << x;
    }
  }
}

}  // namespace
