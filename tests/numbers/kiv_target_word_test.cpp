#include "kiv_target_word.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

/// The value of a big-endian image's last `size` bytes, one after the other.
uint64_t naive_value(std::vector<uint8_t> image, int big_endian, size_t size) {
  if (!big_endian) std::reverse(image.begin(), image.end());
  uint64_t value = 0;
  for (size_t i = image.size() > size ? image.size() - size : 0; i < image.size(); ++i) value = value << 8 | image[i];
  return value;
}

TEST(TargetWord, ImagesOfWords) {
  auto random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  for (uint32_t length = 0; length <= 20; ++length) {
    for (const int big_endian : {0, 1, 2}) {
      uint8_t *bytes = page.last<uint8_t>(length);
      std::generate_n(bytes, length, [&] { return static_cast<uint8_t>(random()); });
      const std::vector<uint8_t> image(bytes, bytes + length);
      const uint32_t u32 = kiv_u8_array_to_u32m(length, bytes, big_endian);
      const uint64_t u64 = kiv_u8_array_to_u64m(length, bytes, big_endian);
      EXPECT_EQ(u32, naive_value(image, big_endian, 4)) << length;
      EXPECT_EQ(u64, naive_value(image, big_endian, 8)) << length;
      // Written back, it is the image with zeros above the word.
      const auto expect_written = [&](size_t size) {
        std::vector<uint8_t> told = image;
        if (big_endian) std::reverse(told.begin(), told.end());
        if (told.size() > size) std::fill(told.begin() + static_cast<ptrdiff_t>(size), told.end(), uint8_t{0});
        if (big_endian) std::reverse(told.begin(), told.end());
        EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + length), told) << size;
        std::fill_n(bytes, length, uint8_t{0xA5});
      };
      kiv_u64m_to_u8_array(u64, big_endian, length, bytes);
      expect_written(8);
      kiv_u32m_to_u8_array(u32, big_endian, length, bytes);
      expect_written(4);
    }
  }
}

TEST(TargetWord, ImagesOf128Bits) {
  uint8_t bytes[17];
  for (uint8_t i = 0; i < 17; ++i) bytes[i] = static_cast<uint8_t>(0xF0 + i);
  const uint8_t *image = bytes + 1;  // not aligned
  for (const int big_endian : {0, 1}) {
    KIV_U128 u;
    KIV_S128 s;
    kiv_u8_array_to_u128(big_endian, image, &u);
    kiv_u8_array_to_s128(big_endian, image, &s);
    EXPECT_EQ(u.hi, big_endian ? 0xF1F2F3F4F5F6F7F8 : 0x00FFFEFDFCFBFAF9);
    EXPECT_EQ(u.lo, big_endian ? 0xF9FAFBFCFDFEFF00 : 0xF8F7F6F5F4F3F2F1);
    EXPECT_TRUE(static_cast<uint64_t>(s.hi) == u.hi && s.lo == u.lo);
    // In place.
    kiv_u128_to_u8_array(&u, big_endian, reinterpret_cast<uint8_t *>(&u));
    kiv_s128_to_u8_array(&s, big_endian, reinterpret_cast<uint8_t *>(&s));
    EXPECT_TRUE(std::memcmp(&u, image, 16) == 0 && std::memcmp(&s, image, 16) == 0);
  }
}

TEST(TargetWord, Saturation) {
  EXPECT_TRUE(kiv_u32m_add_sat(0xFFFFFFF0, 0x20) == 0xFFFFFFFF && kiv_u32m_add_sat(0xFFFFFFF0, 0x0E) == 0xFFFFFFFE);
  EXPECT_TRUE(kiv_u32m_sub_sat(5, 6) == 0 && kiv_u32m_sub_sat(6, 5) == 1);
  EXPECT_EQ(kiv_u64m_add_sat(UINT64_MAX, UINT64_MAX), UINT64_MAX);
  EXPECT_TRUE(kiv_u64m_sub_sat(1, 2) == 0 && kiv_u64m_sub_sat(uint64_t{1} << 32, 1) == 0xFFFFFFFF);
}

TEST(TargetWord, SignExtension) {
  auto random = kiv::test::make_random();
  for (uint32_t bit = 0; bit < 64; ++bit) {
    const uint64_t value = random();
    const int above = static_cast<int>(63 - bit);
    const auto told = static_cast<uint64_t>(static_cast<int64_t>(value << above) >> above);
    EXPECT_EQ(kiv_u64m_sign_extend(value, bit), told) << bit;
    if (bit < 32) EXPECT_EQ(kiv_u32m_sign_extend(static_cast<uint32_t>(value), bit), static_cast<uint32_t>(told));
  }
  for (const uint32_t bit : {32u, 63u, 64u, 0xFFFFFFFFu}) {
    EXPECT_EQ(kiv_u32m_sign_extend(0x12345678, bit), 0x12345678u);
    if (bit > 63) EXPECT_EQ(kiv_u64m_sign_extend(0x9234567812345678, bit), 0x9234567812345678);
  }
}

TEST(TargetWord, Division) {
  const int64_t least = INT64_MIN, greatest = INT64_MAX;
  const struct {
    int64_t a, b;
    int result;
    int64_t towards_zero, floor;
  } cases[] = {{-7, 2, 0, -3, -4},   {7, -2, 0, -3, -4},     {-7, -2, 0, 3, 3},
               {1, least, 0, 0, -1}, {-1, least, 0, 0, 0},   {least, greatest, 0, -1, -2},
               {-8, 2, 0, -4, -4},   {least, -1, 1, 42, 42}, {5, 0, 1, 42, 42}};
  for (const auto &[a, b, result, towards_zero, floor] : cases) {
    int64_t out = 42;
    EXPECT_EQ(kiv_s64m_div_towards_zero(a, b, &out), result);
    EXPECT_EQ(out, towards_zero) << a << " / " << b;
    out = 42;
    EXPECT_EQ(kiv_s64m_div_floor(a, b, &out), result);
    EXPECT_EQ(out, floor) << a << " / " << b;
  }
}

}  // namespace
