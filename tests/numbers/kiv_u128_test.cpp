#include "kiv_u128.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "gtest/gtest.h"
#include "numbers/u128_record.h"
#include "tests/numbers/naive_integer.h"
#include "tests/numbers/u128_operands.h"

namespace {

using namespace kiv::test;

constexpr KIV_U128 kMark = {0x1234567812345678, 0x8765432187654321};

KIV_S128 as_signed(const KIV_U128 &a) { return {static_cast<int64_t>(a.hi), a.lo}; }
KIV_U128 as_unsigned(const KIV_S128 &a) { return {static_cast<uint64_t>(a.hi), a.lo}; }
KIV_U128 as_unsigned(const KIV_U128 &a) { return a; }

bool negative(const KIV_U128 &a) { return a.hi >> 63 != 0; }
Naive magnitude(const KIV_U128 &a) { return negative(a) ? cut(naive_negate(naive(a))) : naive(a); }
Naive negate_if(bool condition, const Naive &a) { return condition ? naive_negate(a) : a; }

/// What an operation in place leaves, and what it gives. Equal operands are one record.
struct Outcome {
  KIV_U128 value;
  int status;
  bool operator==(const Outcome &other) const { return value == other.value && status == other.status; }
};
std::ostream &operator<<(std::ostream &out, const Outcome &a) { return out << a.value << " status " << a.status; }

template <class Function, class Record>
Outcome run_on(Function function, Record a, const Record &b) {
  const Record *second = as_unsigned(a) == as_unsigned(b) ? &a : &b;
  int status = 0;
  if constexpr (std::is_void_v<decltype(function(&a, second))>) {
    function(&a, second);
  } else if constexpr (std::is_pointer_v<decltype(function(&a, second))>) {
    status = function(&a, second) == &a ? 0 : 2;
  } else {
    status = function(&a, second);
  }
  return {as_unsigned(a), status};
}

template <class Function>
Outcome run(Function function, const KIV_U128 &a, const KIV_U128 &b) {
  if constexpr (std::is_invocable_v<Function, KIV_S128 *, const KIV_S128 *>) {
    return run_on(function, as_signed(a), as_signed(b));
  } else {
    return run_on(function, a, b);
  }
}

/// With a second operand that is passed by value, or none.
template <class Function, class... Value>
Outcome run_value(Function function, const KIV_U128 &a, Value... value) {
  return run([&](auto *x, const auto *) -> decltype(function(x, value...)) { return function(x, value...); }, a, kMark);
}

Outcome outcome(const Naive &value, bool status = false) { return {to_u128(value), status ? 1 : 0}; }

TEST(U128, AddsAndSubtracts) {
  for_pairs(cases(3000), [](const KIV_U128 &a, const KIV_U128 &b) {
    const Naive m = naive(a), n = naive(b), narrow = naive(0, b.lo);
    const Naive sum = naive_add(m, n), sum_64 = naive_add(m, narrow);
    const Naive difference = naive_subtract(m, n), difference_64 = naive_subtract(m, narrow);
    EXPECT_EQ(run(kiv_u128_add, a, b), outcome(sum));
    EXPECT_EQ(run(kiv_s128_add, a, b), outcome(sum));
    EXPECT_EQ(run(kiv_u128_add_ov, a, b), outcome(sum, sum[128]));
    EXPECT_EQ(run_value(kiv_u128_add_u64, a, b.lo), outcome(sum_64));
    EXPECT_EQ(run_value(kiv_u128_add_u64_ov, a, b.lo), outcome(sum_64, sum_64[128]));
    EXPECT_EQ(run(kiv_u128_sub, a, b), outcome(difference));
    EXPECT_EQ(run(kiv_s128_sub, a, b), outcome(difference));
    EXPECT_EQ(run(kiv_u128_sub_un, a, b), outcome(difference, difference[128]));
    EXPECT_EQ(run(kiv_u128_sub_clipped, a, b), outcome(difference[128] ? Naive() : difference));
    EXPECT_EQ(run_value(kiv_u128_sub_u64, a, b.lo), outcome(difference_64));
    EXPECT_EQ(run_value(kiv_u128_sub_u64_un, a, b.lo), outcome(difference_64, difference_64[128]));
    EXPECT_EQ(run_value(kiv_u128_sub_u64_clipped, a, b.lo), outcome(difference_64[128] ? Naive() : difference_64));
  });
}

TEST(U128, Multiplies) {
  for_pairs(slow_cases(300), [](const KIV_U128 &a, const KIV_U128 &b) {
    const Naive product = naive_multiply(naive(a), naive(b)), product_64 = naive_multiply(naive(a), naive(0, b.lo));
    EXPECT_EQ(run(kiv_u128_mul, a, b), outcome(product));
    EXPECT_EQ(run(kiv_s128_mul, a, b), outcome(product));
    EXPECT_EQ(run(kiv_u128_mul_ov, a, b), outcome(product, (product >> 128).any()));
    EXPECT_EQ(run_value(kiv_u128_mul_u64, a, b.lo), outcome(product_64));
    EXPECT_EQ(run_value(kiv_u128_mul_ov_u64, a, b.lo), outcome(product_64, (product_64 >> 128).any()));
    const KIV_U128 extended = {b.lo >> 63 != 0 ? UINT64_MAX : 0, b.lo};
    const auto multiply = [&](KIV_S128 *x, const KIV_S128 *) { kiv_s128_mul_s64(x, static_cast<int64_t>(b.lo)); };
    EXPECT_EQ(run(multiply, a, kMark), outcome(naive_multiply(naive(a), naive(extended))));
  });
}

/// Runs with the remainder in a record of its own, and in that of the divisor and of the dividend.
template <class Record>
void check_div_mod(int (*divide)(Record *, const Record *, Record *), const Record &a, const Record &b,
                   const KIV_U128 &quotient, const KIV_U128 &rest) {
  Record x = a, y = b, remainder = {};
  EXPECT_EQ(divide(&x, &y, &remainder), 0);
  EXPECT_EQ(as_unsigned(x), quotient);
  EXPECT_EQ(as_unsigned(remainder), rest);
  x = a;
  EXPECT_EQ(divide(&x, &y, &y), 0);
  EXPECT_EQ(as_unsigned(x), quotient);
  EXPECT_EQ(as_unsigned(y), rest);
  x = a, y = b;
  EXPECT_EQ(divide(&x, &y, &x), 0);
  EXPECT_EQ(as_unsigned(x), rest) << "the quotient is written first";
}

TEST(U128, Divides) {
  for_pairs(slow_cases(300), [](const KIV_U128 &a, const KIV_U128 &b) {
    const Naive m = naive(a), n = naive(b);
    if (n.none()) return;
    Naive rest;
    const Naive quotient = naive_divide(m, n, &rest);
    EXPECT_EQ(run(kiv_u128_div, a, b), outcome(quotient));
    EXPECT_EQ(run(kiv_u128_mod, a, b), outcome(rest));
    check_div_mod(kiv_u128_div_mod, a, b, to_u128(quotient), to_u128(rest));
    // Truncated: the magnitudes divide, the remainder has the sign of the dividend.
    Naive rest_of_magnitudes;
    Naive truncated = naive_divide(magnitude(a), magnitude(b), &rest_of_magnitudes);
    truncated = negate_if(negative(a) != negative(b), truncated);
    rest_of_magnitudes = negate_if(negative(a), rest_of_magnitudes);
    EXPECT_EQ(run(kiv_s128_div, a, b), outcome(truncated));
    EXPECT_EQ(run(kiv_s128_mod, a, b), outcome(rest_of_magnitudes));
    check_div_mod(kiv_s128_div_mod, as_signed(a), as_signed(b), to_u128(truncated), to_u128(rest_of_magnitudes));
    const uint32_t narrow = static_cast<uint32_t>(b.lo);
    if (narrow != 0)
      EXPECT_EQ(run_value(kiv_u128_div_by_u32, a, narrow), outcome(naive_divide(m, naive(0, narrow), &rest)));
  });
}

TEST(U128, DivisionByZeroWritesNothing) {
  const KIV_U128 zero = {0, 0};
  const Outcome untouched = {kMark, 1};
  KIV_U128 rest = {5, 6};
  KIV_S128 signed_rest = {5, 6};
  for (const auto divide : {kiv_u128_div, kiv_u128_mod}) EXPECT_EQ(run(divide, kMark, zero), untouched);
  for (const auto divide : {kiv_s128_div, kiv_s128_mod}) EXPECT_EQ(run(divide, kMark, zero), untouched);
  EXPECT_EQ(run_value(kiv_u128_div_by_u32, kMark, uint32_t{0}), untouched);
  EXPECT_EQ(run([&](KIV_U128 *x, const KIV_U128 *y) { return kiv_u128_div_mod(x, y, &rest); }, kMark, zero), untouched);
  EXPECT_EQ(run([&](KIV_S128 *x, const KIV_S128 *y) { return kiv_s128_div_mod(x, y, &signed_rest); }, kMark, zero),
            untouched);
  EXPECT_TRUE(rest == as_unsigned(signed_rest) && rest == (KIV_U128{5, 6}));
}

TEST(U128, Compares) {
  for_pairs(cases(3000), [](const KIV_U128 &a, const KIV_U128 &b) {
    const auto order = [](const Naive &m, const Naive &n) { return naive_less(n, m) - naive_less(m, n); };
    const auto signed_order = [&](KIV_U128 x, KIV_U128 y) {
      return negative(x) != negative(y) ? (negative(x) ? -1 : 1) : order(naive(x), naive(y));
    };
    const KIV_S128 s = as_signed(a), t = as_signed(b);
    const int expected = order(naive(a), naive(b));
    EXPECT_EQ(kiv_u128_cmp(&a, &b), expected);
    EXPECT_EQ(kiv_s128_cmp(&s, &t), signed_order(a, b));
    EXPECT_EQ(kiv::compare_with_64(&a, b.lo), order(naive(a), naive(0, b.lo)));
    const KIV_U128 extended = {b.lo >> 63 != 0 ? UINT64_MAX : 0, b.lo};
    EXPECT_EQ(kiv::compare_with_64(&s, static_cast<int64_t>(b.lo)), signed_order(a, extended));
    EXPECT_EQ(kiv_s128_sign(&s), signed_order(a, {0, 0}));
    EXPECT_EQ(kiv_u128_is_zero(&a), naive(a).none());
    KIV_U128 x = a, y = b;
    EXPECT_EQ(kiv_u128_max(&x, &y, &x), &x);
    EXPECT_EQ(x, expected < 0 ? b : a);
    x = a;
    EXPECT_EQ(kiv_u128_min(&x, &y, &y), &y);
    EXPECT_EQ(y, expected > 0 ? b : a);
  });
}

TEST(U128, ChangesOneOperand) {
  for (const KIV_U128 &a : boundaries()) {
    const Naive m = naive(a), one(1);
    EXPECT_EQ(run_value(kiv_u128_inc, a), outcome(naive_add(m, one)));
    EXPECT_EQ(run([](KIV_S128 *x, const KIV_S128 *) { kiv_s128_inc(x); }, a, kMark), outcome(naive_add(m, one)));
    EXPECT_EQ(run_value(kiv_u128_dec_nonzero, a), outcome(m.any() ? naive_subtract(m, one) : m, m.any()));
    EXPECT_EQ(run_value(kiv_u128_neg, a), outcome(naive_negate(m)));
    EXPECT_EQ(run([](KIV_S128 *x, const KIV_S128 *) { kiv_s128_abs(x); }, a, kMark), outcome(magnitude(a)));
    const KIV_S128 s = as_signed(a);
    KIV_U128 out = kMark;
    kiv_s128_abs_u128(&s, &out);
    EXPECT_EQ(out, to_u128(magnitude(a)));
    int highest = 127;
    while (highest >= 0 && !m[static_cast<size_t>(highest)]) --highest;
    EXPECT_EQ(kiv_u128_highest_bit(&a), highest) << a;
  }
}

TEST(U128, ShiftsByEveryCount) {
  for (const KIV_U128 &a : boundaries()) {
    const Naive m = naive(a), sign = negative(a) ? ~Naive() << 128 : Naive();
    for (int n : {INT32_MIN, -65536, -32768, -256, 256, 32768, 65537, INT32_MAX}) {
      const Naive filled = n > 0 && negative(a) ? ~Naive() : Naive();
      EXPECT_EQ(run_value(kiv_u128_lsl, a, n), outcome(Naive())) << n;
      EXPECT_EQ(run_value(kiv_u128_lsr, a, n), outcome(Naive())) << n;
      EXPECT_EQ(run([&](KIV_S128 *x, const KIV_S128 *) { kiv_s128_asr(x, n); }, a, kMark), outcome(filled)) << n;
    }
    for (int n = -130; n <= 130; ++n) {
      const size_t count = static_cast<size_t>(n < 0 ? -n : n);
      const Naive left = m << count, right = m >> count;
      // 130 places are less than the sign bits above bit 128.
      const Naive right_signed = (m | sign) >> (count > 128 ? 128 : count);
      ASSERT_EQ(run_value(kiv_u128_lsl, a, n), outcome(n < 0 ? right : cut(left))) << a << " by " << n;
      ASSERT_EQ(run_value(kiv_u128_lsr, a, n), outcome(n < 0 ? cut(left) : right)) << a << " by " << n;
      ASSERT_EQ(run([&](KIV_S128 *x, const KIV_S128 *) { kiv_s128_asr(x, n); }, a, kMark),
                outcome(n < 0 ? cut(left) : cut(right_signed)))
          << a << " by " << n;
    }
  }
}

TEST(U128, CombinesSetsAndClearsBits) {
  for_pairs(0, [](const KIV_U128 &a, const KIV_U128 &b) {
    EXPECT_EQ(run(kiv_u128_and, a, b), outcome(naive(a) & naive(b)));
    EXPECT_EQ(run(kiv_s128_or, a, b), outcome(naive(a) | naive(b)));
    EXPECT_EQ(run(kiv_u128_xor, a, b), outcome(naive(a) ^ naive(b)));
  });
  for (int first = -140; first <= 130; ++first) {
    for (const int count : {INT32_MIN, -1, 0, 1, 2, 31, 32, 63, 64, 65, 100, 127, 128, 129, 200, INT32_MAX}) {
      Naive mask;
      for (int64_t bit = 0; bit < 128; ++bit)
        mask[static_cast<size_t>(bit)] = bit >= first && bit < int64_t{first} + count;
      ASSERT_EQ(run_value(kiv_u128_set_bits, kMark, first, count), outcome(naive(kMark) | mask))
          << first << ", " << count;
      ASSERT_EQ(run_value(kiv_u128_clear_bits, kMark, first, count), outcome(naive(kMark) & ~mask))
          << first << ", " << count;
    }
  }
}

TEST(U128, ExtendsNarrowsAndCopies) {
  KIV_U128 u = kMark;
  KIV_S128 s = as_signed(kMark);
  const auto check = [](auto convert, auto value, auto *out, uint64_t hi) {
    convert(value, out);
    EXPECT_EQ(as_unsigned(*out), (KIV_U128{hi, static_cast<uint64_t>(value)}));
  };
  check(kiv_s8_to_s128, int8_t{-3}, &s, UINT64_MAX);
  check(kiv_s16_to_s128, int16_t{-300}, &s, UINT64_MAX);
  check(kiv_s32_to_s128, INT32_MIN, &s, UINT64_MAX);
  check(kiv_s64_to_s128, INT64_MIN, &s, UINT64_MAX);
  check(kiv_u8_to_u128, uint8_t{UINT8_MAX}, &u, 0);
  check(kiv_u16_to_u128, uint16_t{UINT16_MAX}, &u, 0);
  check(kiv_u32_to_u128, UINT32_MAX, &u, 0);
  check(kiv_u64_to_u128, UINT64_MAX, &u, 0);

  kiv_s128_assign(&s, -2, 0xfedcba98f6d5c4b3);
  kiv_s128_to_u128(&s, &u);
  EXPECT_EQ(u, (KIV_U128{UINT64_MAX - 1, 0xfedcba98f6d5c4b3}));
  EXPECT_TRUE(kiv_u128_to_u8(&u) == 0xb3 && kiv_u128_to_u16(&u) == 0xc4b3 && kiv_u128_to_u32(&u) == 0xf6d5c4b3);
  EXPECT_TRUE(kiv_s128_to_s8(&s) == -0x4d && kiv_s128_to_s16(&s) == -0x3b4d && kiv_s128_to_s32(&s) == -0x92a3b4d);
  EXPECT_TRUE(kiv_u128_get_loword(&u) == u.lo && kiv_s128_to_s64(&s) == -0x1234567092a3b4d);
  EXPECT_EQ(kiv_s128_get_hiword(&s), -2);

  // The image that other programs share: the high half first.
  const uint8_t image[] = {8, 7, 6, 5, 4, 3, 2, 1, 16, 15, 14, 13, 12, 11, 10, 9};
  kiv_u128_assign(&u, 0x0102030405060708, 0x090a0b0c0d0e0f10);
  EXPECT_EQ(std::memcmp(&u, image, 16), 0);
}

TEST(U128, OverlapOfRanges) {
  // The same at the low end of the numbers and where ranges reach beyond the high one.
  for (const KIV_U128 &base : {KIV_U128{0, 0}, KIV_U128{UINT64_MAX, UINT64_MAX - 5}}) {
    for (uint32_t i = 0; i < 6 * 6 * 6 * 6; ++i) {
      const uint32_t start[] = {i % 6, i / 6 % 6}, length[] = {i / 36 % 6, i / 216};
      const uint32_t begin = std::max(start[0], start[1]);
      const uint32_t end = std::min(start[0] + length[0], start[1] + length[1]);
      const bool common = begin < end;
      KIV_U128 s1 = {base.hi, base.lo + start[0]}, s2 = {base.hi, base.lo + start[1]};
      KIV_U128 l1 = {0, length[0]}, l2 = {0, length[1]};
      KIV_U128 count = kMark, offset1 = kMark, offset2 = kMark;
      ASSERT_EQ(kiv_u128_calculate_overlap(&s1, &l1, &s2, &l2, &count, &offset1, &offset2), common) << i;
      ASSERT_EQ(kiv_u128_calculate_overlap(&s1, &l1, &s2, &l2, nullptr, nullptr, nullptr), common) << i;
      if (!common) {
        ASSERT_TRUE(count == kMark && offset1 == kMark && offset2 == kMark) << i;
        continue;
      }
      ASSERT_EQ(count, (KIV_U128{0, end - begin})) << i;
      ASSERT_EQ(offset1, (KIV_U128{0, begin - start[0]})) << i;
      ASSERT_EQ(offset2, (KIV_U128{0, begin - start[1]})) << i;
      // Outputs over the inputs.
      ASSERT_EQ(kiv_u128_calculate_overlap(&s1, &l1, &s2, &l2, &l2, &s1, &s2), 1);
      ASSERT_TRUE(s1 == offset1 && s2 == offset2 && l2 == count) << i;
    }
  }
}

}  // namespace
