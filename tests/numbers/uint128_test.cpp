// The back ends of the library's own 128-bit arithmetic, each beside the naive one: that of the target, and the one
// that is made of words.
#include "numbers/uint128.h"

#include "gtest/gtest.h"
#include "numbers/uint128_words.h"
#include "tests/numbers/naive_integer.h"
#include "tests/numbers/u128_operands.h"

namespace {

using namespace kiv::test;

#define KIV_BACK_END(Name, space)                                                                                    \
  struct Name {                                                                                                      \
    using UInt128 = space::UInt128;                                                                                  \
    static UInt128 make(const KIV_U128 &a) { return space::make_uint128(a.hi, a.lo); }                               \
    static KIV_U128 record(UInt128 a) { return {space::high64(a), space::low64(a)}; }                                \
    static UInt128 multiply(uint64_t a, uint64_t b) { return space::multiply_64(a, b); }                             \
    static UInt128 divide(UInt128 a, UInt128 b, UInt128 *rest) { return space::divide(a, b, rest); }                 \
    static uint64_t divide_64(uint64_t high, uint64_t low, uint64_t divisor, uint64_t *rest) {                       \
      return space::divide_128_by_64(high, low, divisor, rest);                                                      \
    }                                                                                                                \
    static uint64_t divide_32(uint64_t a, uint32_t b, uint32_t *rest) { return space::divide_64_by_32(a, b, rest); } \
    static UInt128 shift_signed(UInt128 a, int n) { return space::shift_right_signed(a, n); }                        \
    static int zeros(UInt128 a) { return space::leading_zeros(a); }                                                  \
  }
KIV_BACK_END(OfTarget, kiv);
KIV_BACK_END(OfWords, kiv::words);

template <class BackEnd>
class UInt128Test : public testing::Test {};
using BackEnds = testing::Types<OfTarget, OfWords>;
TYPED_TEST_SUITE(UInt128Test, BackEnds, );

TYPED_TEST(UInt128Test, ArithmeticIsThatOfBits) {
  using U = typename TypeParam::UInt128;
  for_pairs(cases(300), [](const KIV_U128 &a, const KIV_U128 &b) {
    const U x = TypeParam::make(a), y = TypeParam::make(b);
    const Naive m = naive(a), n = naive(b);
    const auto record = [](U value) { return TypeParam::record(value); };
    EXPECT_EQ(record(x + y), to_u128(naive_add(m, n)));
    EXPECT_EQ(record(x - y), to_u128(naive_subtract(m, n)));
    EXPECT_EQ(record(-x), to_u128(naive_negate(m)));
    EXPECT_EQ(record(x * y), to_u128(naive_multiply(m, n)));
    EXPECT_EQ(record(TypeParam::multiply(a.lo, b.lo)), to_u128(naive_multiply(naive(0, a.lo), naive(0, b.lo))));
    EXPECT_EQ(record((x & y) | (~x ^ y)), to_u128((m & n) | (~m ^ n)));
    EXPECT_EQ(x < y, naive_less(m, n));
    EXPECT_EQ(x >= y, !naive_less(m, n));
    EXPECT_EQ(x == y, m == n);
    if (n.none()) return;
    Naive naive_rest;
    U rest = 0;
    EXPECT_EQ(record(TypeParam::divide(x, y, &rest)), to_u128(naive_divide(m, n, &naive_rest)));
    EXPECT_EQ(record(rest), to_u128(naive_rest));
  });
}

TYPED_TEST(UInt128Test, ShiftsAndLeadingZeros) {
  for (const KIV_U128 &a : boundaries()) {
    const auto x = TypeParam::make(a);
    const Naive m = naive(a), sign = a.hi >> 63 != 0 ? ~Naive() << 128 : Naive();
    for (int n = 0; n < 128; ++n) {
      const size_t count = static_cast<size_t>(n);
      ASSERT_EQ(TypeParam::record(x << n), to_u128(m << count)) << a << " << " << n;
      ASSERT_EQ(TypeParam::record(x >> n), to_u128(m >> count)) << a << " >> " << n;
      ASSERT_EQ(TypeParam::record(TypeParam::shift_signed(x, n)), to_u128((m | sign) >> count)) << a << " >> " << n;
      ASSERT_EQ(TypeParam::zeros((x | TypeParam::make({uint64_t{1} << 63, 0})) >> n), n);
    }
  }
  EXPECT_EQ(TypeParam::zeros(0), 128);
}

// Many more divisions than the naive one can do.
TYPED_TEST(UInt128Test, DivisionUndoesMultiplication) {
  using U = typename TypeParam::UInt128;
  for_pairs(cases(200000), [](const KIV_U128 &a, const KIV_U128 &b) {
    const U x = TypeParam::make(a), y = TypeParam::make(b);
    if (y == U(0)) return;
    U rest = 0;
    const U quotient = TypeParam::divide(x, y, &rest);
    EXPECT_TRUE(quotient * y + rest == x && rest < y && quotient <= x);
    if (a.hi < b.lo) {
      uint64_t rest_64 = 0;
      const uint64_t quotient_64 = TypeParam::divide_64(a.hi, a.lo, b.lo, &rest_64);
      EXPECT_TRUE(TypeParam::multiply(quotient_64, b.lo) + U(rest_64) == x && rest_64 < b.lo);
    }
    const uint32_t divisor = static_cast<uint32_t>(b.lo);
    if (divisor != 0) {
      uint32_t rest_32 = 0;
      EXPECT_EQ(TypeParam::divide_32(a.lo, divisor, &rest_32), a.lo / divisor);
      EXPECT_EQ(rest_32, a.lo % divisor);
    }
  });
}

}  // namespace
