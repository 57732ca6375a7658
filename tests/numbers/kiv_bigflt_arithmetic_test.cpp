#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "kiv_bigflt128.h"
#include "tests/numbers/bigflt_operations.h"

using namespace kiv::test;

namespace {

constexpr uint64_t kTop = uint64_t{1} << 63;
const bigflt kInfinity = extended_bigflt(0, INT32_MAX, 0, 0);
const bigflt kNegativeInfinity = extended_bigflt(1, INT32_MAX, 0, 0);
const bigflt kNan = extended_bigflt(0, INT32_MAX, UINT64_MAX, UINT64_MAX);
const bigflt kMax = extended_bigflt(0, 32767, UINT64_MAX, UINT64_MAX);
const bigflt kClosest = extended_bigflt(0, -32767, kTop, 0);
const bigflt kZero = small_bigflt(0);

bigflt power_of_two(int32_t n) { return extended_bigflt(0, n, kTop, 0); }

/// All bytes of the records, also those without a meaning.
bool identical(const bigflt &a, const bigflt &b) { return std::memcmp(&a, &b, sizeof a) == 0; }
#define EXPECT_IDENTICAL(a, b) EXPECT_TRUE(identical(a, b)) << (a) << ", not " << (b)

/// The canonical record of an integer.
bigflt from_integer(int64_t value) {
  if (value >= INT32_MIN && value <= INT32_MAX) return small_bigflt(static_cast<int32_t>(value));
  uint64_t magnitude = value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
  int32_t exponent = 63;
  for (; magnitude >> 63 == 0; magnitude <<= 1) --exponent;
  return extended_bigflt(value < 0 ? 1 : 0, exponent, magnitude, 0);
}

TEST(BigfltArithmetic, SmallOperands) {
  const int32_t values[] = {INT32_MIN, INT32_MIN + 1, -65536, -46341,        -46340,   -7, -3, -2, -1, 0, 1, 2, 3, 6, 7,
                            46340,     46341,         65536,  INT32_MAX - 1, INT32_MAX};
  for (const int64_t i : values) {
    for (const int64_t j : values) {
      const bigflt a = small_bigflt(static_cast<int32_t>(i)), b = small_bigflt(static_cast<int32_t>(j));
      SCOPED_TRACE(testing::Message() << i << " and " << j);
      bigflt r;
      kiv_bigflt_add(&r, &a, &b);
      EXPECT_IDENTICAL(r, from_integer(i + j));
      kiv_bigflt_subtract(&r, &a, &b);
      EXPECT_IDENTICAL(r, from_integer(i - j));
      kiv_bigflt_multiply(&r, &a, &b);
      EXPECT_IDENTICAL(r, from_integer(i * j));
      const int is_small = kiv_bigflt_divide(&r, &a, &b);
      EXPECT_EQ(is_small, r.small);
      if (j != 0 && i % j == 0) {
        EXPECT_IDENTICAL(r, from_integer(i / j));
      } else {
        EXPECT_EQ(is_small, 0);
      }
      kiv_bigflt_modulo(&r, &a, &b);
      EXPECT_IDENTICAL(r, j == 0 ? kNan : from_integer(i % j));
      kiv_bigflt_copysign(&r, &a, &b);
      EXPECT_IDENTICAL(r, from_integer(j < 0 ? -std::llabs(i) : std::llabs(i)));
    }
    const bigflt a = small_bigflt(static_cast<int32_t>(i));
    bigflt r;
    kiv_bigflt_negate(&r, &a);
    EXPECT_IDENTICAL(r, from_integer(-i));
    kiv_bigflt_abs(&r, &a);
    EXPECT_IDENTICAL(r, from_integer(std::llabs(i)));
  }
}

TEST(BigfltArithmetic, AtTheLimits) {
  const bigflt half_place = power_of_two(32767 - 128);
  const bigflt below_half_place = extended_bigflt(0, 32767 - 129, UINT64_MAX, UINT64_MAX);
  const struct {
    int operation;
    bigflt a, b, result;
  } rows[] = {
      {0, kMax, half_place, kInfinity},  // a tie, and the greatest value is odd
      {0, kMax, below_half_place, kMax},
      {2, kMax, kMax, kInfinity},
      {2, kMax, small_bigflt(-2), kNegativeInfinity},
      {3, kMax, kClosest, kInfinity},
      {3, kClosest, small_bigflt(2), kZero},  // half of it
      {3, kClosest, small_bigflt(-3), kZero},
      {2, kClosest, extended_bigflt(0, -1, kTop, 1), kClosest},
      // (1 + 2^-65) (1 - 2^-65) = 1 - 2^-130: less than half of the closest value, but not in 128 bits.
      {2, extended_bigflt(0, -16384, kTop, uint64_t{1} << 62), extended_bigflt(0, -16385, UINT64_MAX, kTop), kZero},
      {2, extended_bigflt(0, -16384, kTop, uint64_t{1} << 62), power_of_two(-16384), kClosest},
      {1, extended_bigflt(1, -32767, kTop | kTop >> 1, 0), extended_bigflt(1, -32767, kTop, 0), kZero},
      {1, power_of_two(0), power_of_two(-129), small_bigflt(1)},  // a tie
      {1, power_of_two(0), extended_bigflt(0, -129, kTop, 1), extended_bigflt(0, -1, UINT64_MAX, UINT64_MAX)},
      {3, small_bigflt(7), small_bigflt(2), extended_bigflt(0, 1, 0xE000000000000000, 0)},
      {4, small_bigflt(-7), small_bigflt(2), small_bigflt(-1)},
      {4, small_bigflt(7), small_bigflt(-2), small_bigflt(1)},
      {4, power_of_two(32767), small_bigflt(-1000003), small_bigflt(250263)},  // pow(2, 32767, 1000003)
      {4, power_of_two(32767), kClosest, kZero},
  };
  for (const auto &row : rows) {
    bigflt r;
    kOperations[row.operation].plain(&r, &row.a, &row.b);
    EXPECT_TRUE(identical(r, row.result))
        << kOperations[row.operation].name << " of " << row.a << " and " << row.b << ": " << r;
  }
}

/// Doubles follow IEEE 754, so they know what special operands give.
TEST(BigfltArithmetic, SpecialOperandsAsDoubles) {
  const struct {
    double number;
    bigflt record;
  } values[] = {{NAN, kNan},
                {NAN, extended_bigflt(1, INT32_MAX, 0, 1)},
                {INFINITY, kInfinity},
                {-INFINITY, kNegativeInfinity},
                {0.0, kZero},
                {0.0, extended_bigflt(0, INT32_MIN, 0, 0)},
                {-0.0, extended_bigflt(1, INT32_MIN, 0, 0)},
                {3.0, small_bigflt(3)},
                {-2.0, extended_bigflt(1, 1, kTop, 0)},
                {0.75, extended_bigflt(0, -1, kTop | kTop >> 1, 0)}};
  using Exact = double (*)(double, double);
  const Exact exact[] = {[](double x, double y) { return x + y; }, [](double x, double y) { return x - y; },
                         [](double x, double y) { return x * y; }, [](double x, double y) { return x / y; },
                         [](double x, double y) { return std::fmod(x, y); }};
  const auto check = [](const bigflt &r, double expected) {
    if (std::isnan(expected)) {
      EXPECT_IDENTICAL(r, kNan);
    } else if (std::isinf(expected)) {
      EXPECT_IDENTICAL(r, expected < 0 ? kNegativeInfinity : kInfinity);
    } else {
      const double upper = std::ldexp(r.mantissa[3], r.exponent - 31) + std::ldexp(r.mantissa[2], r.exponent - 63);
      EXPECT_NEAR(r.small != 0 ? r.exponent : r.sign != 0 ? -upper : upper, expected, 1e-14);
    }
  };
  for (const auto &x : values) {
    for (const auto &y : values) {
      bigflt r;
      for (size_t k = 0; k < std::size(kOperations); ++k) {
        SCOPED_TRACE(testing::Message() << kOperations[k].name << " of " << x.record << " and " << y.record);
        kOperations[k].plain(&r, &x.record, &y.record);
        check(r, exact[k](x.number, y.number));
      }
      SCOPED_TRACE(testing::Message() << "copysign of " << x.record << " and " << y.record);
      if (std::isnan(y.number)) continue;  // its sign is the record's
      kiv_bigflt_copysign(&r, &x.record, &y.record);
      check(r, std::copysign(x.number, y.number));
    }
    SCOPED_TRACE(testing::Message() << x.record);
    bigflt r;
    kiv_bigflt_negate(&r, &x.record);
    check(r, -x.number);
    kiv_bigflt_abs(&r, &x.record);
    check(r, std::fabs(x.number));
  }
}

TEST(BigfltArithmetic, AnyResultMayBeAnyOperand) {
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 2000; ++i) {
    bigflt a = random_bigflt(random), b = random_operand(random, a);
    // What has no meaning does no harm.
    a.limb_count = a.mantissa_bits = static_cast<uint32_t>(random());
    if (b.small != 0) b.sign = b.mantissa[3] = b.limb_count = static_cast<uint32_t>(random());
    for (const Operation &operation : kOperations) {
      SCOPED_TRACE(testing::Message() << operation.name << " of " << a << " and " << b);
      const bigflt old_a = a, old_b = b;
      bigflt expected, r, expected_same;
      operation.plain(&expected, &a, &b);
      ASSERT_TRUE(identical(a, old_a) && identical(b, old_b));
      operation.plain(&(r = a), &r, &b);
      EXPECT_IDENTICAL(r, expected);
      operation.plain(&(r = b), &a, &r);
      EXPECT_IDENTICAL(r, expected);
      operation.implied(&(r = a), &b);
      EXPECT_IDENTICAL(r, expected);
      operation.plain(&expected_same, &a, &old_a);
      operation.plain(&(r = a), &r, &r);
      EXPECT_IDENTICAL(r, expected_same);
      operation.implied(&(r = a), &r);
      EXPECT_IDENTICAL(r, expected_same);
    }
    bigflt r, expected;
    kiv_bigflt_copysign(&expected, &a, &b);
    kiv_bigflt_copysign(&(r = b), &a, &r);
    EXPECT_IDENTICAL(r, expected);
    kiv_bigflt_negate(&expected, &a);
    kiv_bigflt_negate_implied(&(r = a));
    EXPECT_IDENTICAL(r, expected);
    kiv_bigflt_round_to_mantissa_size(&expected, &a, 20);
    kiv_bigflt_round_to_mantissa_size_implied(&(r = a), 20);
    EXPECT_IDENTICAL(r, expected);
  }
}

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
              {INT32_MAX - 1, kTop, kInfinity},
              {-32769, kTop, kZero},
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
}

TEST(BigfltArithmetic, RoundsToAMantissaSize) {
  const struct {
    bigflt a;
    int32_t bits;
    bigflt result;
  } rows[] = {
      {extended_bigflt(0, 0, kTop, 1), 64, small_bigflt(1)},
      {extended_bigflt(0, 70, kTop, kTop), 64, power_of_two(70)},  // a tie: to even, down
      {extended_bigflt(0, 70, kTop + 1, kTop), 64, extended_bigflt(0, 70, kTop + 2, 0)},
      {extended_bigflt(1, 70, UINT64_MAX, kTop), 64, extended_bigflt(1, 71, kTop, 0)},
      {kMax, 127, kInfinity},
      {kMax, 0, kInfinity},
      {kMax, 128, kMax},
      {kMax, 129, kMax},
      {kMax, -1, kMax},
      {small_bigflt(7), 2, small_bigflt(8)},
      {small_bigflt(-5), 2, small_bigflt(-4)},
      {small_bigflt(INT32_MAX), 30, power_of_two(31)},
      {small_bigflt(4), 0, kZero},
      {small_bigflt(-5), 0, small_bigflt(-8)},
      {kZero, 0, kZero},
      {kNegativeInfinity, 3, kNegativeInfinity},
      {kNan, 3, kNan},
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
  uint64_t digest = 14695981039346656037U;  // FNV-1a
  for (int i = 0; i < 5000; ++i) {
    const bigflt a = random_bigflt(random), b = random_operand(random, a);
    for (const Operation &operation : kOperations) {
      bigflt r;
      operation.plain(&r, &a, &b);
      unsigned char bytes[sizeof r];
      std::memcpy(bytes, &r, sizeof r);
      for (const unsigned char byte : bytes) digest = (digest ^ byte) * 1099511628211U;
    }
  }
  EXPECT_EQ(digest, 11766729396873362297U);
}

}  // namespace
