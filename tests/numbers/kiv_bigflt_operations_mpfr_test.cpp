// The operations beside MPFR and GMP, on random operands.
#include <gtest/gtest.h>

#include "tests/numbers/mpfr_value.h"
#include "tests/numbers/random_bigflt.h"

using namespace kiv::test;

namespace {

TEST(BigfltMpfr, Parts) {
  std::mt19937_64 random = make_random();
  MpfrValue x, y, z;
  for (uint64_t i = 0, count = cases(20000); i < count; ++i) {
    const bigflt a = random_bigflt(random);
    x.assign(a);
    ASSERT_EQ(kiv_bigflt_is_zero(&a), mpfr_zero_p(x) != 0) << a;
    ASSERT_EQ(kiv_bigflt_is_integer(&a), mpfr_integer_p(x) != 0) << a;
    ASSERT_EQ(kiv_bigflt_is_finite_as_bool(&a), mpfr_number_p(x) != 0) << a;
    ASSERT_EQ(kiv_bigflt_is_inf_as_bool(&a), mpfr_inf_p(x) != 0) << a;
    ASSERT_EQ(kiv_bigflt_is_nan_as_bool(&a), mpfr_nan_p(x) != 0) << a;
    if (mpfr_nan_p(x) == 0) ASSERT_EQ(kiv_bigflt_is_negative(&a), mpfr_sgn(static_cast<mpfr_ptr>(x)) < 0) << a;
    bigflt r, s;
    kiv_bigflt_ceil(&r, &a);
    mpfr_ceil(y, x);
    ASSERT_TRUE(same(r, y.canonical())) << "ceil of " << a << ": " << r;
    kiv_bigflt_floor(&r, &a);
    mpfr_floor(y, x);
    ASSERT_TRUE(same(r, y.canonical())) << "floor of " << a << ": " << r;
    kiv_bigflt_modf(&r, &s, &a);
    mpfr_modf(y, z, x, MPFR_RNDN);
    ASSERT_TRUE(same(r, y.canonical()) && same(s, z.canonical())) << "modf of " << a << ": " << r << " and " << s;
    kiv_bigflt_frexp(&s, &r, &a);
    mpfr_exp_t exponent = 0;
    mpfr_frexp(&exponent, z, x, MPFR_RNDN);
    if (mpfr_number_p(x) == 0) exponent = 0;
    ASSERT_TRUE(same(s, z.canonical()) && same(r, small_bigflt(static_cast<int32_t>(exponent)))) << "frexp of " << a;
    kiv_bigflt_trunc(&r, &a);
    ASSERT_TRUE(same(r, y.canonical())) << "trunc of " << a << ": " << r;
    const auto n = static_cast<int32_t>(below(random, 2) != 0 ? below(random, 400) - 200 : random());
    kiv_bigflt_shift_left(&r, &a, n);
    mpfr_mul_2si(y, x, n, MPFR_RNDN);
    if (n < 0) mpfr_set_emin(mpfr_get_emin_min());
    if (n < 0) mpfr_mul_2si(y, x, n, MPFR_RNDN);
    if (n < 0) mpfr_floor(y, y);
    mpfr_set_emin(-32766);
    ASSERT_TRUE(same(r, y.canonical())) << a << " shifted left by " << n << ": " << r << ", not " << y.canonical();
    // To the right is to the left by less, but for 0 and what has no opposite.
    if (n != 0 && n != INT32_MIN) {
      kiv_bigflt_shift_right(&s, &a, -n);
      ASSERT_TRUE(same(s, r)) << a << " by " << -n;
    }
    const bigflt e = small_bigflt(n);
    kiv_bigflt_ldexp(&r, &a, &e);
    mpfr_mul_2si(y, x, n, MPFR_RNDN);
    ASSERT_TRUE(same(r, y.canonical())) << "ldexp of " << a << " by " << n << ": " << r;
  }
}

/// Half of the operands are integers, with exponents whose distance is around the widths of mantissas.
bigflt random_integer(std::mt19937_64 &random, const bigflt &beside) {
  bigflt a = random_partner(random, beside);
  if (a.small != 0 || a.exponent > 32767 || a.exponent < -32767 || below(random, 4) == 0) return a;
  a.exponent = static_cast<int32_t>(below(random, 600));
  if (beside.small == 0 && beside.exponent >= 0 && beside.exponent < 30000 && below(random, 2) != 0) {
    a.exponent = beside.exponent + 120 + static_cast<int32_t>(below(random, 140));
  }
  return a;
}

TEST(BigfltMpfr, OrderAndBits) {
  using Ours = void (*)(bigflt *, const bigflt *, const bigflt *);
  using Gmp = void (*)(mpz_ptr, mpz_srcptr, mpz_srcptr);
  const Ours ours[] = {kiv_bigflt_binary_and, kiv_bigflt_binary_or, kiv_bigflt_binary_xor};
  const Gmp oracles[] = {mpz_and, mpz_ior, mpz_xor};
  std::mt19937_64 random = make_random();
  mpz_t i, j, k;
  mpz_inits(i, j, k, nullptr);
  MpfrValue x, y, z;
  for (uint64_t n = 0, count = cases(20000); n < count; ++n) {
    const bigflt a = random_integer(random, small_bigflt(0)), b = random_integer(random, a);
    x.assign(a);
    y.assign(b);
    if (mpfr_unordered_p(x, y) == 0) {
      const int sign = mpfr_cmp(x, y);
      ASSERT_EQ(kiv_bigflt_compare2integer(&a, &b), (sign > 0) - (sign < 0)) << a << " and " << b;
    }
    if (mpfr_number_p(x) == 0 || mpfr_number_p(y) == 0) continue;
    mpfr_get_z(i, x, MPFR_RNDZ);
    mpfr_get_z(j, y, MPFR_RNDZ);
    for (int operation = 0; operation < 3; ++operation) {
      bigflt r;
      ours[operation](&r, &a, &b);
      oracles[operation](k, i, j);
      mpfr_set_z(z, k, MPFR_RNDN);
      ASSERT_TRUE(same(r, z.canonical()))
          << "operation " << operation << " of " << a << " and " << b << ": " << r << ", not " << z.canonical();
    }
    bigflt r;
    kiv_bigflt_1s_complement(&r, &a);
    mpz_com(k, i);
    mpfr_set_z(z, k, MPFR_RNDN);
    ASSERT_TRUE(same(r, z.canonical())) << "complement of " << a << ": " << r << ", not " << z.canonical();
    // The least size of an integer: a bit for the sign, and those of it or of its complement.
    const mpz_srcptr positive = mpz_sgn(i) < 0 ? k : i;
    const auto least = 1 + static_cast<int32_t>(mpz_sgn(positive) != 0 ? mpz_sizeinbase(positive, 2) : 0);
    for (const int32_t bits : {INT32_MIN, 0, least - 1, least, least + 1, INT32_MAX}) {
      const bool fits = mpfr_integer_p(x) != 0 && bits >= least;
      ASSERT_EQ(kiv_bigflt_is_signed_integer_of_size(&a, bits), fits) << a << " in " << bits;
      if (bits == least) ASSERT_EQ(kiv_bigflt_is_signed_integral_and_fits_in_32_bits(&a), fits && least <= 32) << a;
    }
  }
  mpz_clears(i, j, k, nullptr);
}

}  // namespace
