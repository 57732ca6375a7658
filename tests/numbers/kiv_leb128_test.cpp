#include "kiv_leb128.h"

#include <algorithm>
#include <vector>

#include "gtest/gtest.h"
#include "numbers/uint128.h"
#include "tests/numbers/naive_leb128.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

using kiv::test::Leb128Value;
using Bytes = std::vector<uint8_t>;
constexpr uint32_t kUnknown = 0xFFFFFFFF;

/// What the decoders with a count give; a failure must leave the record alone.
Leb128Value decode(bool is_signed, uint32_t available, const uint8_t *bytes) {
  KIV_U128 u{0xA5A5A5A5A5A5A5A5, 0x5A5A5A5A5A5A5A5A};
  KIV_S128 s{static_cast<int64_t>(u.hi), u.lo};
  const int length = is_signed ? kiv_sleb128_array_to_s128_bis(available, bytes, &s)
                               : kiv_uleb128_array_to_u128_bis(available, bytes, &u);
  const uint64_t hi = is_signed ? static_cast<uint64_t>(s.hi) : u.hi;
  const uint64_t lo = is_signed ? s.lo : u.lo;
  if (length != 0) return {length, hi, lo};
  if (hi != 0xA5A5A5A5A5A5A5A5 || lo != 0x5A5A5A5A5A5A5A5A) ADD_FAILURE() << "written on failure";
  return {};
}

/// Decodes at the end of a page, with counts of all kinds; what may not be read is not there.
void compare_decoders(kiv::test::GuardedPage &page, const Bytes &encoding) {
  const auto size = static_cast<uint32_t>(encoding.size());
  uint8_t *bytes = page.last<uint8_t>(size);
  std::copy(encoding.begin(), encoding.end(), bytes);
  for (const bool is_signed : {false, true}) {
    const Leb128Value told = kiv::test::naive_leb128_decode(is_signed, size, bytes);
    EXPECT_EQ(decode(is_signed, size, bytes), told) << ::testing::PrintToString(encoding);
    if (told.length == 0 && size < KIV_LEB128_MAX_BYTES) continue;
    // It ends, or is too long: nobody needs to know how many bytes there are.
    EXPECT_EQ(decode(is_signed, kUnknown, bytes), told) << ::testing::PrintToString(encoding);
    KIV_U128 u{1, 2};
    KIV_S128 s{1, 2};
    const int result = is_signed ? kiv_sleb128_to_s128(bytes, &s) : kiv_uleb128_to_u128(bytes, &u);
    EXPECT_EQ(result, told.length != 0 ? 1 : 0);
    const uint64_t hi = is_signed ? static_cast<uint64_t>(s.hi) : u.hi;
    EXPECT_EQ(is_signed ? s.lo : u.lo, result == 1 ? told.lo : 2);
    EXPECT_EQ(hi, result == 1 ? told.hi : 1);
  }
}

TEST(Leb128, EveryEncodingOfUpToTwoBytes) {
  kiv::test::GuardedPage page;
  compare_decoders(page, {});
  for (uint32_t byte = 0; byte < 0x100; ++byte) compare_decoders(page, {static_cast<uint8_t>(byte)});
  for (uint32_t all = 0; all < 0x10000; ++all) {
    compare_decoders(page, {static_cast<uint8_t>(all >> 8), static_cast<uint8_t>(all)});
  }
}

/// Every length at every distance from the end of what may be read, also across the end of a page.
TEST(Leb128, EveryLength) {
  auto random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  for (uint32_t size = 1; size <= 40; ++size) {
    for (uint32_t length = 1; length <= std::min(size, 20u); ++length) {
      for (int round = 0; round < 12; ++round) {
        Bytes bytes(size);
        for (uint8_t &byte : bytes) byte = static_cast<uint8_t>(random());
        for (uint32_t i = 0; i < length; ++i) bytes[i] |= 0x80;
        if (round % 4 == 0) std::fill_n(bytes.begin(), length, round % 8 == 0 ? uint8_t{0xFF} : uint8_t{0x80});
        if (round != 0) bytes[length - 1] &= 0x7F;
        compare_decoders(page, bytes);
        if (HasFailure()) return;
      }
    }
  }
  // A page that ends within the bytes, and goes on.
  Bytes two_pages(3 * 4096, 0x81);
  uint8_t *end = two_pages.data() + 8192 - reinterpret_cast<uintptr_t>(two_pages.data()) % 4096;
  for (uint8_t *bytes = end - 20; bytes <= end; ++bytes) {
    for (uint32_t length = 1; length <= 20; ++length) {
      bytes[length - 1] = 0x42;
      for (const uint32_t available : {length - 1, length, kUnknown - 1, kUnknown}) {
        EXPECT_EQ(decode(true, available, bytes), kiv::test::naive_leb128_decode(true, available, bytes));
      }
      bytes[length - 1] = 0x81;
    }
  }
}

/// Encodes at the end of a page that has no byte too many, and in place.
void compare_encoders(kiv::test::GuardedPage &page, uint64_t hi, uint64_t lo) {
  for (const bool is_signed : {false, true}) {
    const Bytes told = kiv::test::naive_leb128_encode(is_signed, hi, lo);
    KIV_U128 u[2]{{hi, lo}, {~uint64_t{0}, ~uint64_t{0}}};
    KIV_S128 s[2]{{static_cast<int64_t>(hi), lo}, {-1, ~uint64_t{0}}};
    uint8_t *bytes = page.last<uint8_t>(told.size());
    uint8_t *in_place = is_signed ? reinterpret_cast<uint8_t *>(s) : reinterpret_cast<uint8_t *>(u);
    const int length = is_signed ? kiv_s128_to_sleb128(s, bytes) : kiv_u128_to_uleb128(u, bytes);
    ASSERT_EQ(length, static_cast<int>(told.size())) << std::hex << is_signed << ' ' << hi << ' ' << lo;
    EXPECT_EQ(Bytes(bytes, bytes + length), told) << std::hex << is_signed << ' ' << hi << ' ' << lo;
    const Bytes behind(in_place + length, in_place + sizeof u);
    EXPECT_EQ(is_signed ? kiv_s128_to_sleb128(s, in_place) : kiv_u128_to_uleb128(u, in_place), length);
    EXPECT_EQ(Bytes(in_place, in_place + length), told);
    EXPECT_EQ(Bytes(in_place + length, in_place + sizeof u), behind) << "written behind the encoding";
    EXPECT_EQ(decode(is_signed, kUnknown, in_place), (Leb128Value{length, hi, lo}));
  }
}

TEST(Leb128, Encoding) {
  auto random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  for (uint64_t lo = 0; lo <= 0x4080; ++lo) compare_encoders(page, 0, lo), compare_encoders(page, ~uint64_t{0}, ~lo);
  // Powers of two and their neighbours, and random numbers of each width, of both signs.
  for (uint32_t width = 0; width < 128; ++width) {
    const kiv::UInt128 power = kiv::UInt128(1) << static_cast<int>(width);
    for (int round = 0; round < 10 && !HasFailure(); ++round) {
      const kiv::UInt128 any = kiv::make_uint128(random(), random());
      const kiv::UInt128 below = round == 0 ? 0 : (round == 1 ? ~kiv::UInt128(0) : any) & (power - 1);
      for (const kiv::UInt128 value : {power | below, ~(power | below)}) {
        compare_encoders(page, kiv::high64(value), kiv::low64(value));
      }
    }
  }
}

TEST(Leb128, Limits) {
  Bytes ones(18, 0xFF);
  for (const uint8_t last : {uint8_t{0x03}, uint8_t{0x7F}}) {  // bits above 127 are lost
    ones.push_back(last);
    EXPECT_EQ(decode(false, kUnknown, ones.data()), (Leb128Value{19, ~uint64_t{0}, ~uint64_t{0}}));
    ones.pop_back();
  }
  ones.insert(ones.end(), {0xFF, 0x00});
  EXPECT_EQ(decode(false, kUnknown, ones.data()), Leb128Value{});
  EXPECT_EQ(kiv_uleb128_array_to_u128, kiv_uleb128_to_u128);
  EXPECT_EQ(kiv_sleb128_array_to_s128, kiv_sleb128_to_s128);
}

}  // namespace
