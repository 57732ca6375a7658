#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "kiv_bigflt128.h"
#include "tests/numbers/bigflt_literals.h"
#include "tests/numbers/bigflt_operations.h"

using namespace kiv::test;

namespace {

TEST(BigfltArithmetic, RecordsOfOtherForms) {
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 2000; ++i) {
    // The same value, its lower half free, with leading zeros.
    const int zeros = static_cast<int>(below(random, 64));
    const uint64_t high = random() | kTop;
    const auto exponent = static_cast<int32_t>(below(random, 300)) - 150;
    const bigflt a = extended_bigflt(1, exponent, high, 0);
    const uint64_t rest = zeros == 0 ? 0 : high << (64 - zeros);
    const bigflt shifted = extended_bigflt(7, exponent + zeros, high >> zeros, rest);
    const bigflt b = random_operand(random, a);
    for (const Operation &operation : kOperations) {
      bigflt r, expected;
      operation.plain(&expected, &a, &b);
      operation.plain(&r, &shifted, &b);
      EXPECT_IDENTICAL(r, expected);
      operation.plain(&expected, &b, &a);
      operation.plain(&r, &b, &shifted);
      EXPECT_IDENTICAL(r, expected);
    }
  }
  const struct {
    int32_t exponent;
    uint64_t high;
    bigflt as;
  } rows[] = {{32768, kTop, kInfinity},
              {INT32_MIN + 1, 1, kZero},
              {5, 0, kZero},
              {32770, kTop >> 3, power_of_two(32767)},
              {-32768, kTop, kZero},
              {-32768, kTop + 1, kClosest},
              {INT32_MIN, kTop, kZero}};
  for (const auto &row : rows) {
    const bigflt a = extended_bigflt(0, row.exponent, row.high, 0);
    bigflt r;
    kiv_bigflt_abs(&r, &a);
    EXPECT_IDENTICAL(r, row.as);
  }
  // What is too close to zero keeps its sign until an operation has given a zero.
  const bigflt tiny = extended_bigflt(1, -40000, kTop, 0), one = small_bigflt(1);
  bigflt r;
  kiv_bigflt_divide(&r, &one, &tiny);
  EXPECT_IDENTICAL(r, kNegativeInfinity);
  kiv_bigflt_divide(&r, &one, &kNegativeZero);
  EXPECT_IDENTICAL(r, kNegativeInfinity);
  EXPECT_TRUE(std::signbit(kiv_bigflt_to_double(&tiny)));
}

TEST(BigfltArithmetic, RoundsToAMantissaSize) {
  const struct {
    bigflt a;
    int32_t bits;
    bigflt result;
  } rows[] = {
      {kMax, 127, kInfinity}, {kMax, 0, kInfinity},        {kMax, 129, kMax},
      {kMax, -1, kMax},       {small_bigflt(4), 0, kZero}, {small_bigflt(-5), 0, small_bigflt(-8)},
  };
  for (const auto &row : rows) {
    bigflt r;
    kiv_bigflt_round_to_mantissa_size(&r, &row.a, row.bits);
    EXPECT_TRUE(identical(r, row.result)) << row.a << " to " << row.bits << " bits: " << r;
  }
}

TEST(BigfltArithmetic, AssignsConstants) {
  const auto assigned = [](void (*assign)(bigflt *)) {
    bigflt r;
    std::memset(&r, 0xA5, sizeof r);
    assign(&r);
    return r;
  };
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_zero), kZero);
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_one), small_bigflt(1));
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_minus_one), small_bigflt(-1));
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_inf), kInfinity);
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_nan), kNan);
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_MAX_BIGFLT), kMax);
  EXPECT_IDENTICAL(assigned(kiv_bigflt_assign_MIN_BIGFLT), extended_bigflt(1, 32767, UINT64_MAX, UINT64_MAX));
  EXPECT_IDENTICAL(assigned([](bigflt *r) { kiv_bigflt_assign_closest_to_zero(r, 0); }), kClosest);
  EXPECT_IDENTICAL(assigned([](bigflt *r) { kiv_bigflt_assign_closest_to_zero(r, 1); }),
                   extended_bigflt(1, -32767, kTop, 0));
}

/// The same bits on every target: a digest of all bytes of many results.
TEST(BigfltArithmetic, ResultsAreTheSameEverywhere) {
  std::mt19937_64 random(20240229);
  Digest digest;
  for (int i = 0; i < 5000; ++i) {
    const bigflt a = random_bigflt(random), b = random_operand(random, a);
    for (const Operation &operation : kOperations) {
      bigflt r;
      operation.plain(&r, &a, &b);
      digest.add(r);
    }
  }
  EXPECT_EQ(digest.value(), 11766729396873362297U);
}

}  // namespace
