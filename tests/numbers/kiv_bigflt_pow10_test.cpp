// Multiplication by powers of ten: literals on every target. That the bits are right is told by MPFR, see
// kiv_bigflt_pow10_mpfr_test.cpp; that they are the same everywhere by the digest in kiv_bigflt_text_test.cpp.

#include <gtest/gtest.h>

#include "kiv_bigflt_text.h"
#include "tests/numbers/random_bigflt.h"

namespace {

using namespace kiv::test;

/// In place and with the result elsewhere; the exact hexadecimal text.
std::string product(const char *text, int32_t n) {
  bigflt a = {}, r = {};
  EXPECT_GT(kiv_bigflt_sscan(text, UINT32_MAX, &a), 0);
  kiv_bigflt_pow10(&r, &a, n);
  kiv_bigflt_pow10_implied(&a, n);
  char printed[2][60];
  kiv_bigflt_sprint(printed[0], 60, r.small != 0 ? "d" : "a", 0, &r);
  kiv_bigflt_sprint(printed[1], 60, a.small != 0 ? "d" : "a", 0, &a);
  EXPECT_STREQ(printed[0], printed[1]);
  return printed[0];
}

TEST(BigfltPow10, Literals) {
  const struct {
    const char *text;
    int32_t n;
    const char *expected;
  } rows[] = {
      {"0", INT32_MAX, "0"},
      {"35", -1, "+0x0.e0000000000000000000000000000000p+2"},
      {"1", INT32_MAX, "+INF"},
      {"1", INT32_MIN, "0"},
      {"-1", -19880, "0"},
      {"inf", -5, "+INF"},
      {"nan", 5, "+NaN"},
      // Half of the value closest to zero is rounded to zero; what is above it is not.
      {"0x5p-32767", -1, "0"},
      {"0x5.00000000000000000000000000001p-32767", -1, "+0x0.80000000000000000000000000000000p-32766"},
  };
  for (const auto &row : rows) EXPECT_EQ(product(row.text, row.n), row.expected) << row.text << " " << row.n;
}

}  // namespace
