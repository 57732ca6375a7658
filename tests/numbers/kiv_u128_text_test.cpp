// 128-bit integers to and from text and doubles.
#include <bit>
#include <cfloat>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "gtest/gtest.h"
#include "kiv_u128.h"
#include "tests/numbers/naive_integer.h"
#include "tests/numbers/u128_operands.h"
#include "tests/support/guarded_page.h"

namespace {

using namespace kiv::test;

std::string hexadecimal(const KIV_U128 &a, bool upper_case) {
  char text[40];
  std::snprintf(text, sizeof text, upper_case ? "%016" PRIX64 "%016" PRIX64 : "%016" PRIx64 "%016" PRIx64, a.hi, a.lo);
  return text;
}

std::string without_zeros(const std::string &digits) {
  const size_t first = digits.find_first_not_of('0');
  return first == std::string::npos ? "0" : digits.substr(first);
}

/// Text in a buffer that just has room for it.
template <class Write>
std::string text_of(size_t size, Write write) {
  static GuardedPage page;
  char *buffer = page.last<char>(size + 1);
  std::memset(buffer, '?', size + 1);
  write(buffer);
  return buffer;
}

std::string bis(const KIV_U128 &a, int base, const char *prefix, char pad, size_t size) {
  return text_of(size, [&](char *buffer) { kiv_u128_to_str_bis(&a, base, prefix, pad, buffer); });
}
std::string bis(const KIV_S128 &a, int base, const char *prefix, char pad, size_t size) {
  return text_of(size, [&](char *buffer) { kiv_s128_to_str_bis(&a, base, prefix, pad, buffer); });
}

void check_texts(const KIV_U128 &a) {
  const std::string lower = hexadecimal(a, false), upper = hexadecimal(a, true);
  EXPECT_EQ(text_of(32, [&](char *buffer) { kiv_u128_to_str(&a, buffer); }), lower);
  for (const bool upper_case : {false, true}) {
    EXPECT_EQ(text_of(32, [&](char *buffer) { kiv_u128_to_str_no_leading_zeros(&a, buffer, upper_case ? 2 : 0); }),
              without_zeros(upper_case ? upper : lower));
  }
  struct Base {
    int base;
    size_t width;
    std::string digits;
  };
  const std::string decimal = naive_decimal(naive(a)), binary = (naive(a)).to_string();
  const bool negative = a.hi >> 63 != 0;
  const KIV_S128 s = {static_cast<int64_t>(a.hi), a.lo};
  KIV_U128 magnitude = a;
  if (negative) kiv_u128_neg(&magnitude);
  for (const Base &base : {Base{2, 128, without_zeros(binary)},
                           {10, 39, decimal},
                           {16, 32, without_zeros(upper)},
                           {1, 32, without_zeros(upper)},
                           {0, 32, without_zeros(lower)},
                           {-16, 32, without_zeros(lower)},
                           {-2, 32, without_zeros(lower)}}) {
    const std::string padded = std::string(base.width - base.digits.size(), '.') + base.digits;
    EXPECT_EQ(bis(a, base.base, nullptr, 0, base.digits.size()), base.digits);
    EXPECT_EQ(bis(a, base.base, "0x", '.', base.width + 2), "0x" + padded);
    // The sign stands before prefix and padding.
    const std::string signless = bis(magnitude, base.base, "&", ' ', base.width + 1);
    EXPECT_EQ(bis(s, base.base, "&", ' ', base.width + 1 + (negative ? 1 : 0)), (negative ? "-" : "") + signless);
  }
  KIV_U128 back = {1, 1};
  kiv_str_to_u128(lower.c_str(), &back);
  EXPECT_EQ(back, a);
  kiv_str_to_u128(upper.c_str(), &back);
  EXPECT_EQ(back, a);
}

TEST(U128Text, EveryBaseWidthAndSign) {
  for_pairs(slow_cases(300), [](const KIV_U128 &a, const KIV_U128 &b) {
    if (b == KIV_U128{0, 10} || b.hi != 0) check_texts(a);
  });
}

TEST(U128Text, DecimalChunks) {
  // All groups of four digits, in both places where eight are made at once.
  for (uint32_t i = 0; i < 10000; ++i) {
    char expected[17];
    std::snprintf(expected, sizeof expected, "%04u%04u%04u%04u", i, 9999 - i, 9999 - i, i);
    const uint64_t eight = uint64_t{i} * 10000 + 9999 - i, other = uint64_t{9999 - i} * 10000 + i;
    ASSERT_EQ(bis(KIV_U128{0, eight * 100000000 + other}, 10, nullptr, 0, 16), without_zeros(expected));
  }
}

// One character at a time, as the header has it.
uint32_t read_group(const char *text) {
  uint32_t value = 0;
  for (int i = 0; i < 8; ++i) {
    const int c = static_cast<signed char>(text[i]);
    const uint8_t digit = static_cast<uint8_t>(c < 'A' ? c - '0' : c < 'a' ? c - 55 : c - 87);
    value = value << 4 | digit;
  }
  return value;
}

TEST(U128Text, ReadsWhateverTheCharactersAre) {
  std::mt19937_64 random = make_random();
  GuardedPage page;
  char *text = page.last<char>(32);
  for (uint32_t i = 0; i < cases(256 * 32); ++i) {
    const bool wild = i % 64 == 0;
    for (int k = 0; k < 32; ++k)
      text[k] = wild ? static_cast<char>(random()) : "0123456789abcdefABCDEF"[below(random, 22)];
    text[i % 32] = static_cast<char>(i / 32);
    KIV_U128 value = {};
    kiv_str_to_u128(text, &value);
    const uint64_t high = uint64_t{read_group(text)} << 32 | read_group(text + 8);
    const uint64_t low = uint64_t{read_group(text + 16)} << 32 | read_group(text + 24);
    ASSERT_EQ(value, (KIV_U128{high, low})) << std::string(text, 32) << ", seed " << seed();
  }
}

TEST(U128Double, FromInteger) {
  constexpr uint64_t kTop = uint64_t{1} << 63;
  const std::pair<KIV_U128, double> table[] = {
      {{0, UINT64_MAX}, 0x1p64},
      {{kTop | 0x400, 0}, 0x1p127},            // half a unit: to even
      {{kTop | 0x400, UINT64_MAX}, 0x1p127},   // above half, but only below the leading 64 bits
      {{1, 0x8000000000000400}, 0x1.8p64},     // the same 64 bits further down: below half
      {{0, (uint64_t{1} << 53) + 1}, 0x1p53},  // half
  };
  for (const auto &[value, expected] : table) EXPECT_EQ(kiv_u128_to_double(&value), expected) << value;
#if LDBL_MANT_DIG == 64
  // The 64 leading bits are exact in extended precision: only the last conversion rounds.
  std::mt19937_64 random = make_random();
  for (uint64_t i = 0; i < cases(20000); ++i) {
    KIV_U128 a = random_u128(random);
    a.lo |= 1;
    const int highest = kiv_u128_highest_bit(&a);
    KIV_U128 leading = a;
    kiv_u128_lsl(&leading, 127 - highest);
    const double expected = static_cast<double>(std::ldexp(static_cast<long double>(leading.hi), highest - 63));
    ASSERT_EQ(kiv_u128_to_double(&a), expected) << a << ", seed " << seed();
  }
#endif
}

TEST(U128Double, ToInteger) {
  const auto convert = [](double x) {
    KIV_U128 out = {7, 7};
    kiv_double_to_u128(x, &out);
    return out;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const double x : {0.0, -0.0, 0.99999999999999989, DBL_MIN, DBL_MAX, -1.0, -0.5, -1e30, kInfinity, -kInfinity,
                         std::nan(""), -std::nan(""), 0x1p128, 0x1p187, 0x1p188}) {
    EXPECT_EQ(convert(x), (KIV_U128{0, 0})) << x;
  }
  std::mt19937_64 random = make_random();
  for (int e = -1074; e < 1024; ++e) {
    for (int i = 0; i < 20; ++i) {
      const double x = std::ldexp(1.0 + static_cast<double>(random() >> 12) * 0x1p-52, e);
      if (x == kInfinity) continue;
      // Through 60 bits of a fraction.
      int exponent = 0;
      const auto significand = static_cast<uint64_t>(std::frexp(x, &exponent) * 0x1p60);
      Naive expected(significand);
      expected = exponent < 60 ? expected >> static_cast<size_t>(60 - exponent)
                               : cut(expected << static_cast<size_t>(exponent - 60));
      ASSERT_EQ(convert(x), to_u128(expected)) << x;
    }
  }
}

}  // namespace
