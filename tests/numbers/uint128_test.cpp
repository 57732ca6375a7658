// The 128-bit arithmetic that is made of words, beside the naive one. That of a target's own integers is under all
// other tests of numbers.
#include "numbers/uint128_words.h"

#include "gtest/gtest.h"
#include "tests/numbers/naive_integer.h"
#include "tests/numbers/u128_operands.h"

namespace {

using namespace kiv::test;

namespace words = kiv::words;
using U = words::UInt128;

U make(const KIV_U128 &a) { return words::make_uint128(a.hi, a.lo); }
KIV_U128 record(U a) { return {words::high64(a), words::low64(a)}; }

TEST(UInt128, ArithmeticIsThatOfBits) {
  for_pairs(slow_cases(300), [](const KIV_U128 &a, const KIV_U128 &b) {
    const U x = make(a), y = make(b);
    const Naive m = naive(a), n = naive(b);
    EXPECT_EQ(record(x + y), to_u128(naive_add(m, n)));
    EXPECT_EQ(record(x - y), to_u128(naive_subtract(m, n)));
    EXPECT_EQ(record(-x), to_u128(naive_negate(m)));
    EXPECT_EQ(record(x * y), to_u128(naive_multiply(m, n)));
    EXPECT_EQ(record(words::multiply_64(a.lo, b.lo)), to_u128(naive_multiply(naive(0, a.lo), naive(0, b.lo))));
    EXPECT_EQ(record((x & y) | (~x ^ y)), to_u128((m & n) | (~m ^ n)));
    EXPECT_EQ(x < y, naive_less(m, n));
    EXPECT_EQ(x >= y, !naive_less(m, n));
    EXPECT_EQ(x == y, m == n);
    if (n.none()) return;
    Naive naive_rest;
    U rest = 0;
    EXPECT_EQ(record(words::divide(x, y, &rest)), to_u128(naive_divide(m, n, &naive_rest)));
    EXPECT_EQ(record(rest), to_u128(naive_rest));
  });
}

TEST(UInt128, ShiftsAndLeadingZeros) {
  for (const KIV_U128 &a : boundaries()) {
    const auto x = make(a);
    const Naive m = naive(a), sign = a.hi >> 63 != 0 ? ~Naive() << 128 : Naive();
    for (int n = 0; n < 128; ++n) {
      const size_t count = static_cast<size_t>(n);
      ASSERT_EQ(record(x << n), to_u128(m << count)) << a << " << " << n;
      ASSERT_EQ(record(x >> n), to_u128(m >> count)) << a << " >> " << n;
      ASSERT_EQ(record(words::shift_right_signed(x, n)), to_u128((m | sign) >> count)) << a << " >> " << n;
      ASSERT_EQ(words::leading_zeros((x | make({uint64_t{1} << 63, 0})) >> n), n);
    }
  }
  EXPECT_EQ(words::leading_zeros(0), 128);
}

// Many more divisions than the naive one can do.
TEST(UInt128, DivisionUndoesMultiplication) {
  for_pairs(cases(200000), [](const KIV_U128 &a, const KIV_U128 &b) {
    const U x = make(a), y = make(b);
    if (y == U(0)) return;
    U rest = 0;
    const U quotient = words::divide(x, y, &rest);
    EXPECT_TRUE(quotient * y + rest == x && rest < y && quotient <= x);
    if (a.hi < b.lo) {
      uint64_t rest_64 = 0;
      const uint64_t quotient_64 = words::divide_128_by_64(a.hi, a.lo, b.lo, &rest_64);
      EXPECT_TRUE(words::multiply_64(quotient_64, b.lo) + U(rest_64) == x && rest_64 < b.lo);
    }
    const uint32_t divisor = static_cast<uint32_t>(b.lo);
    if (divisor != 0) {
      uint32_t rest_32 = 0;
      EXPECT_EQ(words::divide_64_by_32(a.lo, divisor, &rest_32), a.lo / divisor);
      EXPECT_EQ(rest_32, a.lo % divisor);
    }
  });
}

}  // namespace
