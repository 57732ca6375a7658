// Multiplication by powers of ten beside MPFR's with an exact power.

#include <gtest/gtest.h>

#include "kiv_bigflt.h"
#include "tests/numbers/mpfr_value.h"
#include "tests/numbers/random_bigflt.h"

namespace {

using namespace kiv::test;

void check(const bigflt &a, int32_t n) {
  // 5^19800 has less than 46,000 bits.
  MpfrValue power(46000), expected;
  mpfr_set_emax(100000);
  mpfr_ui_pow_ui(power, 5, static_cast<unsigned long>(std::abs(n)), MPFR_RNDN);
  mpfr_mul_2ui(power, power, static_cast<unsigned long>(std::abs(n)), MPFR_RNDN);
  const MpfrValue value(a);
  // The operands may be out of the results' range of exponents.
  n < 0 ? mpfr_div(expected, value, power, MPFR_RNDN) : mpfr_mul(expected, value, power, MPFR_RNDN);
  bigflt r = {};
  kiv_bigflt_pow10(&r, &a, n);
  ASSERT_TRUE(same(r, expected.canonical())) << a << " * 10^" << n << "\n" << r << "\n" << expected.canonical();
}

TEST(BigfltPow10Mpfr, RandomNumbers) {
  auto random = make_random();
  for (uint64_t i = cases(4000); i-- > 0;) {
    const bigflt a = random_bigflt(random);
    const int32_t most = i % 2 != 0 ? 19800 : 120;
    check(a, static_cast<int32_t>(below(random, static_cast<uint32_t>(2 * most + 1))) - most);
    if (HasFatalFailure()) return;
  }
}

/// For a power 10^n, integers M below 2^128 whose product with it lies closer to a tie than an estimate of 192 bits can
/// tell. With x = 2 * 10^n / 2^k the convergents p/q of its continued fraction have |q x - p| < 1 / q; where p is odd,
/// q times 10^n / 2^k is that close to p / 2.
TEST(BigfltPow10Mpfr, NearTies) {
  auto random = make_random();
  mpz_t values[8];
  for (auto &value : values) mpz_init(value);
  auto &[a, b, p0, q0, p1, q1, step, rest] = values;
  int found = 0;
  for (uint64_t i = std::min<uint64_t>(cases(300), 20000); i-- > 0;) {
    const auto n = 56 + below(random, 700);
    mpz_ui_pow_ui(a, 10, n);
    mpz_set_ui(b, 1);
    mpz_mul_2exp(b, b, mpz_sizeinbase(a, 2) - 1);  // x is between 2 and 4
    mpz_mul_2exp(a, a, 1);
    const bool inverse = below(random, 2) != 0;
    if (inverse) mpz_mul_2exp(b, b, 1), mpz_swap(a, b), mpz_mul_2exp(a, a, 1);
    mpz_set_ui(p0, 0), mpz_set_ui(q0, 1), mpz_set_ui(p1, 1), mpz_set_ui(q1, 0);
    while (mpz_sgn(b) != 0) {
      mpz_fdiv_qr(step, rest, a, b);
      mpz_set(a, b), mpz_set(b, rest);
      // An intermediate fraction p0 + t p1, q0 + t q1 whose denominator has 128 bits.
      mpz_addmul(p0, p1, step), mpz_addmul(q0, q1, step);
      mpz_swap(p0, p1), mpz_swap(q0, q1);
      if (mpz_sizeinbase(q1, 2) < 120) continue;
      for (uint64_t t = below(random, 256), last = t + 64; t < last; ++t) {
        mpz_set(step, q0), mpz_addmul_ui(step, q1, t);
        mpz_set(rest, p0), mpz_addmul_ui(rest, p1, t);
        if (mpz_sizeinbase(step, 2) != 128 || mpz_sizeinbase(rest, 2) != 129 || mpz_odd_p(rest) == 0) continue;
        uint64_t words[2] = {};
        mpz_export(words, nullptr, -1, 8, 0, 0, step);
        const auto exponent = static_cast<int32_t>(below(random, 2000)) - 1000;
        check(extended_bigflt(below(random, 2), exponent, words[1], words[0]), static_cast<int32_t>(inverse ? -n : n));
        ++found;
        break;
      }
      break;
    }
    if (HasFatalFailure()) break;
  }
  EXPECT_GT(found, 20);
  for (auto &value : values) mpz_clear(value);
}

}  // namespace
