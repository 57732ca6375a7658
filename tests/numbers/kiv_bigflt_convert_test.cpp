#include <bit>
#include <cmath>
#include <cstring>

#include "tests/numbers/bigflt_literals.h"

using namespace kiv::test;

namespace {

struct Format {
  uint32_t size, exponent_width, mantissa_width;
};
constexpr Format kBinary16 = {16, 5, 10}, kBfloat16 = {16, 8, 7}, kE5m2 = {8, 5, 2}, kBinary32 = {32, 8, 23},
                 kX87 = {80, 15, 64};

bigflt from_bytes(const void *image, const Format &format) {
  bigflt r;
  kiv_bigflt_ieee754_to_bigflt(&r, image, format.size, format.exponent_width, format.mantissa_width);
  return r;
}

void to_bytes(const bigflt &a, void *image, const Format &format) {
  kiv_bigflt_to_ieee754(&a, image, format.size, format.exponent_width, format.mantissa_width);
}

/// An image of up to 64 bits.
bigflt from_image(uint64_t image, const Format &format) { return from_bytes(&image, format); }
uint64_t to_image(const bigflt &a, const Format &format) {
  uint64_t image = 0;
  to_bytes(a, &image, format);
  return image;
}

// --- Integers --------------------------------------------------------------------------------------------------------

bigflt from_s128(int64_t high, uint64_t low) {
  const KIV_S128 value = {high, low};
  bigflt r;
  kiv_bigflt_KIV_S128_to_bigflt(&r, &value);
  return r;
}

bigflt from_u128(uint64_t high, uint64_t low) {
  const KIV_U128 value = {high, low};
  bigflt r;
  kiv_bigflt_KIV_U128_to_bigflt(&r, &value);
  return r;
}

TEST(BigfltIntegers, ThereAndBack) {
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 20000; ++i) {
    const uint64_t low = random_word(random), high = random_word(random);
    const auto signed_low = static_cast<int64_t>(low);
    const auto word = static_cast<uint32_t>(low >> 20);
    SCOPED_TRACE(testing::Message() << high << ", " << low);
    bigflt r;
    KIV_S128 s128;
    KIV_U128 u128;
    kiv_bigflt_KIV_U32_to_bigflt(&r, word);
    EXPECT_IDENTICAL(from_u128(0, word), r);
    kiv_bigflt_KIV_S64_to_bigflt(&r, signed_low);
    EXPECT_EQ(kiv_bigflt_to_KIV_S64(&r), signed_low);
    EXPECT_EQ(kiv_bigflt_to_KIV_U32(&r), static_cast<uint32_t>(low));
    EXPECT_EQ(r.small, signed_low == static_cast<int32_t>(signed_low) ? 1 : 0);
    EXPECT_IDENTICAL(from_s128(signed_low < 0 ? -1 : 0, low), r);
    kiv_bigflt_KIV_U64_to_bigflt(&r, low);
    EXPECT_EQ(r.small, low <= INT32_MAX ? 1 : 0);
    EXPECT_IDENTICAL(from_u128(0, low), r);
    r = from_s128(static_cast<int64_t>(high), low);
    kiv_bigflt_to_KIV_S128(&s128, &r);
    EXPECT_TRUE(s128.hi == static_cast<int64_t>(high) && s128.lo == low);
    EXPECT_EQ(kiv_bigflt_to_KIV_U64(&r), low);
    r = from_u128(high, low);
    kiv_bigflt_to_KIV_U128(&u128, &r);
    EXPECT_TRUE(u128.hi == high && u128.lo == low);
  }
}

TEST(BigfltIntegers, OtherValuesModuloTheSize) {
  const struct {
    bigflt a;
    int32_t s32;
    uint64_t high, low;  // modulo 2^128
  } rows[] = {
      {from_double(-5.7), -5, UINT64_MAX, UINT64_MAX - 4},
      // kiv_bigflt_to_KIV_S32 shifts the limb by 32 modulo 32, and by -69 modulo 32.
      {from_double(0.75), static_cast<int32_t>(0xC0000000), 0, 0},
      {from_double(-std::ldexp(1, 100)), -16, 0xFFFFFFF000000000, 0},
      {extended_bigflt(1, 158, kTop, 3), -0x40000000, UINT64_MAX, 0 - (uint64_t{3} << 31)},
      {extended_bigflt(0, 159, UINT64_MAX, UINT64_MAX), -1, 0, 0},
      {kNegativeZero, 0, 0, 0},
      {kNan, -1, 0, 0},
      {extended_bigflt(0, 5, 0, kTop >> 1), 0, 0, 0},  // leading zeros: a value below 1
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.a);
    EXPECT_EQ(kiv_bigflt_to_KIV_U32(&row.a), static_cast<uint32_t>(row.low));
    EXPECT_EQ(kiv_bigflt_to_KIV_U64(&row.a), row.low);
    EXPECT_EQ(kiv_bigflt_to_KIV_S64(&row.a), static_cast<int64_t>(row.low));
    KIV_U128 u128;
    KIV_S128 s128;
    kiv_bigflt_to_KIV_U128(&u128, &row.a);
    kiv_bigflt_to_KIV_S128(&s128, &row.a);
    EXPECT_TRUE(u128.hi == row.high && u128.lo == row.low) << std::hex << u128.hi << " " << u128.lo;
    EXPECT_TRUE(s128.hi == static_cast<int64_t>(row.high) && s128.lo == row.low);
    EXPECT_EQ(kiv_bigflt_to_KIV_S32(&row.a), row.s32);
  }
}

// --- IEEE 754 --------------------------------------------------------------------------------------------------------

/// What an image of at most 16 bits means.
double meaning(uint32_t image, const Format &format) {
  const int bias = (1 << (format.exponent_width - 1)) - 1;
  const auto field = static_cast<int>(image >> format.mantissa_width) & ((1 << format.exponent_width) - 1);
  const double fraction =
      std::ldexp(image & ((1U << format.mantissa_width) - 1), -static_cast<int>(format.mantissa_width));
  const double sign = (image >> (format.size - 1) & 1) != 0 ? -1 : 1;
  if (field == 2 * bias + 1) return fraction == 0 ? sign * INFINITY : NAN;
  return sign * std::ldexp(field == 0 ? fraction : 1 + fraction, std::max(field, 1) - bias);
}

TEST(BigfltIeee754, EveryShortImage) {
  for (const Format &format : {kBinary16, kBfloat16, kE5m2, Format{8, 2, 5}, Format{16, 14, 1}, Format{16, 2, 13}}) {
    const uint32_t sign = 1U << (format.size - 1);
    for (uint32_t image = 0; image < sign; ++image) {
      SCOPED_TRACE(testing::Message() << "image " << image << " of mantissa width " << format.mantissa_width);
      const bigflt a = from_image(image, format), minus = from_image(image | sign, format);
      if (format.exponent_width < 11) {
        const double value = meaning(image, format);
        EXPECT_IDENTICAL(a, from_double(value));
        EXPECT_IDENTICAL(minus, from_double(-value));
      }
      const uint32_t infinity = ((1U << format.exponent_width) - 1) << format.mantissa_width;
      if (image > infinity) {
        EXPECT_IDENTICAL(a, kNan);
        EXPECT_EQ(to_image(a, format), infinity | 1U << (format.mantissa_width - 1));
        continue;
      }
      EXPECT_EQ(to_image(a, format), image);
      if (image != 0) EXPECT_EQ(to_image(minus, format), image | sign);
    }
  }
}

TEST(BigfltIeee754, ZerosAndNan) {
  for (const bigflt &a : {kNegativeZero, kNegativeClosest}) {
    EXPECT_EQ(to_image(a, kBinary32), 0x80000000);
    EXPECT_EQ(std::bit_cast<uint64_t>(kiv_bigflt_to_double(&a)), kTop);
  }
  EXPECT_IDENTICAL(from_double(-0.0), kZero);
  EXPECT_IDENTICAL(from_image(0x80000000, kBinary32), kZero);
  EXPECT_IDENTICAL(from_double(std::bit_cast<double>(uint64_t{0xFFF0000000000001})), kNan);
}

TEST(BigfltIeee754, LongImages) {
  const struct {
    uint16_t top;
    uint64_t low;
    bigflt value;
    bool same_back;
  } rows[] = {
      {0xC000, 0xC90FDAA22168C235, extended_bigflt(1, 1, 0xC90FDAA22168C235, 0), true},
      {0x0000, 1, extended_bigflt(0, -16445, kTop, 0), true},
      {0x0000, kTop, extended_bigflt(0, -16382, kTop, 0), false},  // a pseudo-denormal: it comes back with exponent 1
      {0xFFFF, kTop, kNegativeInfinity, true},
      {0xFFFF, kTop | 1, kNan, false},
      {0x7FFF, 0, kNan, false},  // encodings that the processor refuses
      {0x3FFF, kTop >> 1, kNan, false},
  };
  for (const auto &row : rows) {
    uint8_t image[12], back[12];
    std::memset(image, 0xA5, sizeof image);
    std::memcpy(image, &row.low, 8);
    std::memcpy(image + 8, &row.top, 2);
    std::memcpy(back, image, sizeof back);
    EXPECT_IDENTICAL(from_bytes(image, kX87), row.value);
    to_bytes(row.value, back, kX87);
    EXPECT_EQ(std::memcmp(back, image, sizeof back) == 0, row.same_back) << row.value;
  }
}

TEST(BigfltIeee754, RefusesWhatIsNoFormat) {
  const Format formats[] = {{0, 0, 0},         {16, 5, 11},  {16, 6, 10},          {12, 5, 6},
                            {16, 1, 14},       {32, 16, 15}, {136, 15, 120},       {8, 7, 0},
                            {128, 127, 0},     {80, 15, 63}, {16, 0xFFFFFFFF, 16}, {8, 2, 0xFFFFFFFD},
                            {0, 3, 0xFFFFFFFC}};
  for (const Format &format : formats) {
    uint8_t image[17] = {1};
    EXPECT_IDENTICAL(from_bytes(image, format), kNan);
    to_bytes(small_bigflt(1), image, format);
    EXPECT_TRUE(image[0] == 1 && image[1] == 0);
  }
}

/// The same bits on every target.
TEST(BigfltIeee754, ImagesAreTheSameEverywhere) {
  std::mt19937_64 random(20240302);
  Digest digest;
  for (int i = 0; i < 5000; ++i) {
    bigflt a = random_bigflt(random);
    for (uint32_t exponent_width = 2; exponent_width <= 15; ++exponent_width) {
      const uint32_t size = (exponent_width + 1 + below(random, 128 - exponent_width)) / 8 * 8 + 8;
      if (size > 128 || size < exponent_width + 2) continue;
      const Format format = {size, exponent_width, size - 1 - exponent_width};
      uint8_t image[16] = {};
      to_bytes(a, image, format);
      digest.add(image);
      digest.add(from_bytes(image, format));
    }
  }
  EXPECT_EQ(digest.value(), 9730323004201226311U);
}

}  // namespace
