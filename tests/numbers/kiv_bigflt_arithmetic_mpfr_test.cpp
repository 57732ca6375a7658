// The operations beside MPFR, on random operands.
#include <gtest/gtest.h>

#include "tests/numbers/bigflt_operations.h"
#include "tests/numbers/mpfr_value.h"

using namespace kiv::test;

namespace {

using Mpfr = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

TEST(BigfltMpfr, OperationsOfTwoOperands) {
  const Mpfr oracles[] = {mpfr_add, mpfr_sub, mpfr_mul, mpfr_div, mpfr_fmod};
  bigflt r;
  std::mt19937_64 random = make_random();
  MpfrValue x, y, z;
  for (uint64_t i = 0, count = cases(20000); i < count; ++i) {
    const bigflt a = random_bigflt(random), b = random_operand(random, a);
    x.assign(a);
    y.assign(b);
    for (size_t k = 0; k < std::size(kOperations); ++k) {
      kOperations[k].plain(&r, &a, &b);
      oracles[k](z, x, y, MPFR_RNDN);
      ASSERT_TRUE(same(r, z.canonical()))
          << kOperations[k].name << " of " << a << " and " << b << ": " << r << ", not " << z.canonical();
    }
    ASSERT_EQ(kiv_bigflt_divide(&r, &a, &b), r.small) << a << " and " << b;
    kiv_bigflt_negate(&r, &a);
    mpfr_neg(z, x, MPFR_RNDN);
    ASSERT_TRUE(same(r, z.canonical())) << "minus " << a << ": " << r;
    kiv_bigflt_abs(&r, &a);
    mpfr_abs(z, x, MPFR_RNDN);
    ASSERT_TRUE(same(r, z.canonical())) << "abs of " << a << ": " << r;
    if (mpfr_nan_p(y) != 0) continue;  // its sign is the record's
    kiv_bigflt_copysign(&r, &a, &b);
    mpfr_copysign(z, x, y, MPFR_RNDN);
    ASSERT_TRUE(same(r, z.canonical())) << "copysign of " << a << " and " << b << ": " << r;
  }
}

TEST(BigfltMpfr, RoundsToFewerBits) {
  std::mt19937_64 random = make_random();
  MpfrValue x;
  for (uint64_t i = 0, count = cases(20000); i < count; ++i) {
    bigflt a = random_bigflt(random);
    const auto bits = static_cast<int32_t>(1 + below(random, 128));
    if (a.small == 0 && a.exponent > -32768 && a.exponent < 32768 && below(random, 2) != 0) {
      // A tie, or just beside one.
      for (int j = 127 - bits; j >= 0; --j) a.mantissa[j / 32] &= ~(1U << j % 32);
      if (bits < 128) a.mantissa[(127 - bits) / 32] |= 1U << (127 - bits) % 32;
      a.mantissa[0] |= below(random, 2);
    }
    bigflt r;
    kiv_bigflt_round_to_mantissa_size(&r, &a, bits);
    x.assign(a);
    mpfr_prec_round(x, bits, MPFR_RNDN);
    ASSERT_TRUE(same(r, x.canonical())) << a << " to " << bits << " bits: " << r << ", not " << x.canonical();
    mpfr_set_prec(x, 128);
  }
}

}  // namespace
