#include "kiv_bigflt128.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/numbers/bigflt_literals.h"
#include "tests/numbers/bigflt_operations.h"

using namespace kiv::test;

namespace {

struct Raw {
  void (*plain)(bigflt *r, bigflt *a, bigflt *b);
  void (*implied)(bigflt *a, bigflt *b);
};
const Raw kRaw[] = {{kiv_bigflt128_add, kiv_bigflt128_add_implied},
                    {kiv_bigflt128_subtract, kiv_bigflt128_subtract_implied},
                    {kiv_bigflt128_multiply, kiv_bigflt128_multiply_implied}};

bigflt widened(bigflt a) {
  if (a.small != 0) kiv_bigflt128_KIV_S32_to_bigflt(&a, a.exponent);
  a.small = 0;
  return a;
}

TEST(Bigflt128, ComputesAsTheCanonicalOperations) {
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 3000; ++i) {
    bigflt a = widened(random_bigflt(random)), b = widened(random_operand(random, a));
    for (size_t k = 0; k < std::size(kRaw); ++k) {
      SCOPED_TRACE(testing::Message() << kOperations[k].name << " of " << a << " and " << b);
      bigflt canonical, expected, r;
      kOperations[k].plain(&canonical, &a, &b);
      expected = widened(canonical);
      expected.small = 0x5A;
      expected.unused[1] = 0x5A;
      std::memset(&r, 0x5A, sizeof r);
      std::memset(expected.unused, 0x5A, sizeof expected.unused);
      const bigflt old_a = a, old_b = b;
      a.limb_count = b.limb_count = 77;
      kRaw[k].plain(&r, &a, &b);
      EXPECT_TRUE(identical(r, expected)) << r;
      EXPECT_TRUE(identical(a, old_a) && identical(b, old_b));  // with a limb count of 4 again

      expected = widened(canonical);
      kRaw[k].implied(&(r = a), &b);
      EXPECT_TRUE(identical(r, expected)) << r;
      kRaw[k].plain(&(r = b), &a, &r);
      EXPECT_TRUE(identical(r, expected)) << r;
      kRaw[k].implied(&(r = a), &r);
      kOperations[k].plain(&canonical, &a, &a);
      EXPECT_TRUE(identical(r, widened(canonical))) << r;
    }
  }
}

TEST(Bigflt128, IntegersThereAndBack) {
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 3000; ++i) {
    const auto edge = static_cast<int64_t>(random_word(random));
    const auto value = static_cast<int32_t>(below(random, 2) != 0 ? edge : edge >> 32);
    bigflt a = small_bigflt(0), wide = a;
    kiv_bigflt128_KIV_S32_to_bigflt(&a, value);
    EXPECT_EQ(kiv_bigflt128_to_KIV_S32(&a), value);
    EXPECT_EQ(kiv_bigflt128_is_signed_integral_and_fits_in_32_bits(&a), 1);
    kiv_bigflt128_KIV_S64_to_bigflt(&wide, value);
    EXPECT_TRUE(identical(a, wide));
    const bigflt canonical = small_bigflt(value);  // the bits are those that other functions give
    EXPECT_EQ(kiv_bigflt_compare2integer(&(wide.small = 0, wide), &canonical), 0) << value;

    // (edge >> 32) * 2^32 + the lower half
    bigflt power = extended_bigflt(0, 32, uint64_t{1} << 63, 0), low = power;
    kiv_bigflt128_KIV_S32_to_bigflt(&a, static_cast<int32_t>(edge >> 32));
    kiv_bigflt128_KIV_S64_to_bigflt(&low, static_cast<uint32_t>(edge));
    kiv_bigflt128_multiply_implied(&a, &power);
    kiv_bigflt128_add_implied(&a, &low);
    kiv_bigflt128_KIV_S64_to_bigflt(&wide, edge);
    a.small = wide.small = 0;
    EXPECT_TRUE(identical(a, wide)) << a << ", not " << wide;
    EXPECT_EQ(kiv_bigflt128_is_signed_integral_and_fits_in_32_bits(&wide), edge == static_cast<int32_t>(edge) ? 1 : 0);
  }
  bigflt a;
  a = extended_bigflt(0, 31, uint64_t{1} << 63, 0);
  EXPECT_EQ(kiv_bigflt128_is_signed_integral_and_fits_in_32_bits(&a), 0);  // 2^31
  a = extended_bigflt(1, 33, 0xC000000000000000, 0);
  EXPECT_EQ(kiv_bigflt128_to_KIV_S32(&a), -3);  // (31 - 33) modulo 32 = 30
}

}  // namespace
