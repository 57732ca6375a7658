// The oracle for ranges is a string of '0' and '1', bit 0 first.
//
// Every range lies against a guard, with nothing but the bytes that hold its bits: in turn the first and the last bytes
// of a page. The pointer that is passed points into the guard when the offset is above 7.

#include "kiv_bitops.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using Bytes = std::vector<uint8_t>;

std::string bits_of(const uint8_t *bytes, size_t size) {
  std::string bits(8 * size, '0');
  for (size_t i = 0; i < bits.size(); ++i) bits[i] = (bytes[i / 8] >> i % 8 & 1) != 0 ? '1' : '0';
  return bits;
}
std::string bits_of(const Bytes &bytes) { return bits_of(bytes.data(), bytes.size()); }
std::string bits_of(KIV_U128 value) {
  std::swap(value.hi, value.lo);  // every target is little-endian
  return bits_of(reinterpret_cast<const uint8_t *>(&value), sizeof value);
}

/// The bytes of a range at an offset, against one of the guards, with random contents.
class GuardedRange {
 public:
  void place(std::mt19937_64 &random, bool at_end, bool big_endian, int32_t bit, int32_t count) {
    big_endian_ = big_endian;
    size_ = count > 0 ? static_cast<size_t>(bit % 8 + count + 7) / 8 : 0;
    bytes_ = at_end ? page_.last<uint8_t>(size_) : page_.first<uint8_t>();
    for (size_t i = 0; i < size_; ++i) bytes_[i] = static_cast<uint8_t>(random());
    const auto offset = static_cast<uintptr_t>(bit / 8);
    const auto address = reinterpret_cast<uintptr_t>(bytes_);
    pointer_ = reinterpret_cast<void *>(big_endian ? address + size_ - 1 + offset : address - offset);
  }
  void *pointer() const { return pointer_; }
  uint8_t *bytes() const { return bytes_; }
  size_t size() const { return size_; }

  /// From the least significant byte on.
  std::string bits() const {
    Bytes bytes(bytes_, bytes_ + size_);
    if (big_endian_) std::reverse(bytes.begin(), bytes.end());
    return bits_of(bytes);
  }

 private:
  kiv::test::GuardedPage page_;
  bool big_endian_ = false;
  uint8_t *bytes_ = nullptr;
  size_t size_ = 0;
  void *pointer_ = nullptr;
};

char combined(char operation, char target, char source) {
  if (operation == '&') return std::min(target, source);
  if (operation == '|') return std::max(target, source);
  if (operation == '^') return target != source ? '1' : '0';
  return operation == '=' ? source : operation;
}

struct Function {
  const char *name;
  decltype(kiv_bitops_replace_bits) *call;
  char operation;  // '1' and '0' make all bits so
  bool big_target = false;
  bool big_source = false;
};

constexpr Function kFunctions[] = {
    {"replace", kiv_bitops_replace_bits, '='},
    {"big source", kiv_bitops_replace_bits_big_endian_source, '=', false, true},
    {"big target", kiv_bitops_replace_bits_big_endian_target, '=', true, false},
    {"big both", kiv_bitops_replace_bits_big_endian_source_and_target, '=', true, true},
    {"AND", kiv_bitops_AND_bits, '&'},
    {"OR", kiv_bitops_OR_bits, '|'},
    {"XOR", kiv_bitops_XOR_bits, '^'},
    {"set", [](void *to, int32_t bit, const void *, int32_t, int32_t n) { kiv_bitops_set_bits(to, bit, n); }, '1'},
    {"reset", [](void *to, int32_t bit, const void *, int32_t, int32_t n) { kiv_bitops_reset_bits(to, bit, n); }, '0'},
};

/// target with `count` bits from target_bit on combined with those of source from source_bit on.
std::string expected_bits(char operation, std::string target, int32_t target_bit, const std::string &source,
                          int32_t source_bit, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    char &bit = target[static_cast<size_t>(target_bit + i)];
    bit = combined(operation, bit, source[static_cast<size_t>(source_bit + i)]);
  }
  return target;
}

class RangeTest : public testing::Test {
 protected:
  void check(const Function &function, int32_t target_bit, int32_t source_bit, int32_t count) {
    const uint32_t guards = below(random_, 4);
    target_.place(random_, (guards & 1) != 0, function.big_target, target_bit, count);
    source_.place(random_, (guards & 2) != 0, function.big_source, source_bit, count);
    const std::string source = source_.bits();
    const std::string expected =
        expected_bits(function.operation, target_.bits(), target_bit % 8, source, source_bit % 8, count);
    function.call(target_.pointer(), target_bit, source_.pointer(), source_bit, count);
    ASSERT_EQ(target_.bits(), expected) << function.name << ' ' << target_bit << ' ' << source_bit << ' ' << count;
    ASSERT_EQ(source_.bits(), source) << function.name;
  }

  std::mt19937_64 random_ = kiv::test::make_random();
  GuardedRange target_, source_;
};

TEST_F(RangeTest, ShortRangesAtAllOffsets) {
  for (const Function &function : kFunctions) {
    for (int32_t i = 0; i < 18 * 18 * 42 && !HasFatalFailure(); ++i) check(function, i % 18, i / 18 % 18, i / 324 - 1);
  }
}

TEST_F(RangeTest, LongRangesAndFarOffsets) {
  for (const Function &function : kFunctions) {
    for (int i = 0; i < 1000 && !HasFatalFailure(); ++i) {
      const auto offset = [&] {
        const auto bit = static_cast<int32_t>(below(random_, 64));
        return below(random_, 8) == 0 ? INT_MAX - bit : bit;
      };
      const uint32_t longest = below(random_, 4) == 0 ? 8 * kiv::test::GuardedPage::kSize - 8 : 700;
      check(function, offset(), offset(), static_cast<int32_t>(below(random_, longest)));
    }
    check(function, INT_MAX, 3, INT_MIN);
  }
}

TEST_F(RangeTest, OverlappingSidesOfTheSameOrder) {
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    Bytes buffer(100);
    for (auto &byte : buffer) byte = static_cast<uint8_t>(random_());
    const Function &function = kFunctions[below(random_, std::size(kFunctions))];
    if (function.big_source != function.big_target) continue;
    const auto count = static_cast<int32_t>(below(random_, 600));
    const auto to = static_cast<int32_t>(below(random_, 200));
    const auto from = below(random_, 2) != 0 ? static_cast<int32_t>(below(random_, 200)) : (to + 8) % 200;
    const auto turn = [&](Bytes bytes) {
      if (function.big_target) std::reverse(bytes.begin(), bytes.end());
      return bits_of(bytes);
    };
    const std::string before = turn(buffer);
    uint8_t *pointer = function.big_target ? &buffer.back() : buffer.data();
    function.call(pointer, to, pointer, from, count);
    ASSERT_EQ(turn(buffer), expected_bits(function.operation, before, to, before, from, count))
        << function.name << ' ' << to << ' ' << from << ' ' << count;
  }
}

TEST_F(RangeTest, TestsOfEqualBits) {
  for (int32_t count = -2; count <= 700; ++count) {
    for (const int bit : {0, 1}) {
      const auto test = bit != 0 ? kiv_bitops_all_bits_are_one : kiv_bitops_all_bits_are_zero;
      source_.place(random_, count % 2 == 0, false, 0, count);
      std::memset(source_.bytes(), bit != 0 ? 0xFF : 0, source_.size());
      // What lies above the range does not count.
      if (count % 8 != 0 && count > 0) source_.bytes()[source_.size() - 1] ^= static_cast<uint8_t>(0xFF << count % 8);
      ASSERT_EQ(test(source_.pointer(), count), 1) << count;
      for (int32_t i = 0; i<count; i += count> 200 ? 7 : 1) {
        uint8_t &byte = source_.bytes()[i / 8];
        byte ^= static_cast<uint8_t>(1 << i % 8);
        ASSERT_EQ(test(source_.pointer(), count), 0) << count << ' ' << i;
        ASSERT_EQ(kiv_bitops_bit_is_set(source_.pointer(), i), 1 - bit) << i;
        byte ^= static_cast<uint8_t>(1 << i % 8);
      }
    }
  }
}

// These two tests are not exact, and callers know: the byte of first_bit is looked at as far as its end, for ones even
// below first_bit, and the count goes on behind it less first_bit % 8.
TEST(KivBitops, BytewiseTests) {
  const struct {
    std::vector<uint8_t> bytes;
    int32_t first_bit, count;
    int zero, one;
  } kCases[] = {
      {{0xCF}, 4, 2, 0, 0},        // bits 6 and 7 are tested though they are not in the range
      {{0xF1}, 4, 4, 0, 0},        // bit 0 is not in the range, but has to be zero
      {{0xFC, 0x3F}, 2, 8, 0, 1},  // 6 bits more, though 2 would do
      {{0xFC, 0x1F}, 2, 8, 0, 0},  // of which the last is bit 13
      {{0xC0, 0x03}, 6, 8, 0, 1},  // 2 bits more, though 6 were left
      {{0xAA, 0xFF, 0xFE}, 8, 8, 0, 1},
      {{0xFF}, 4, -3, 1, 1},  // an empty range
  };
  for (const auto &each : kCases) {
    SCOPED_TRACE(testing::Message() << bits_of(each.bytes) << ' ' << each.first_bit << ' ' << each.count);
    EXPECT_EQ(kiv_bitops_all_bits_are_zero2(each.bytes.data(), each.first_bit, each.count), each.zero);
    EXPECT_EQ(kiv_bitops_all_bits_are_one2(each.bytes.data(), each.first_bit, each.count), each.one);
  }
}

TEST_F(RangeTest, Integers) {
  for (int32_t count = -1; count <= 200; ++count) {
    for (const int32_t width : {32, 64, 128}) {
      const KIV_U128 wide = {width > 64 ? random_() : 0, width > 32 ? random_() : random_() >> 32};
      target_.place(random_, true, false, 0, count);
      if (width == 32) kiv_bitops_convert_from_U32(target_.pointer(), static_cast<uint32_t>(wide.lo), count);
      if (width == 64) kiv_bitops_convert_from_U64(target_.pointer(), wide.lo, count);
      if (width == 128) kiv_bitops_convert_from_U128(target_.pointer(), &wide, count);
      std::string expected = bits_of(wide).substr(0, static_cast<size_t>(std::clamp(count, 0, 128)));
      expected.resize(8 * target_.size(), '0');
      ASSERT_EQ(target_.bits(), expected) << width << ' ' << count;

      source_.place(random_, true, false, 0, std::min(count, width));
      KIV_U128 read = {0, 0};
      if (width == 32) read.lo = kiv_bitops_convert_to_U32(source_.pointer(), count);
      if (width == 64) read.lo = kiv_bitops_convert_to_U64(source_.pointer(), count);
      if (width == 128) kiv_bitops_convert_to_U128(&read, source_.pointer(), count);
      expected = source_.bits().substr(0, static_cast<size_t>(std::clamp(count, 0, width)));
      expected.resize(128, '0');
      ASSERT_EQ(bits_of(read), expected) << width << ' ' << count;
    }
  }
}

TEST(KivBitops, AllocatingFunctions) {
  CountingAllocator heap;
  KIV_ALLOCATOR *record = heap.record();
  uint8_t *buffer = nullptr, *field = nullptr;
  const KIV_U128 value = {0x1122, 0x8877665544332211};
  EXPECT_EQ(kiv_bitops_convert_from_U32_allocate(record, &buffer, 0xABCDEF12, 28), 4);
  EXPECT_EQ(kiv_bitops_convert_from_U64_allocate(record, &buffer, 0xABCDEF12, 40), 5);
  EXPECT_EQ(Bytes(buffer, buffer + 5), Bytes({0x12, 0xEF, 0xCD, 0xAB, 0}));
  EXPECT_EQ(kiv_bitops_convert_from_U128_allocate(record, &buffer, &value, 75), 10);
  EXPECT_EQ(Bytes(buffer + 7, buffer + 10), Bytes({0x88, 0x22, 0x01}));
  const uint8_t second[] = {0xFF, 0x5A, 0xFF};
  // A gap between the old end and the inserted bits is cleared; what lies inside is overwritten.
  EXPECT_EQ(kiv_bitops_bitwise_insert(record, &buffer, 10, 85, second, 12), 13);
  EXPECT_EQ(Bytes(buffer + 9, buffer + 13), Bytes({0x01, 0xE0, 0x5F, 0x01}));
  EXPECT_EQ(kiv_bitops_bitwise_insert(record, &buffer, 13, 4, second, 8), 13);
  EXPECT_EQ(kiv_bitops_bitwise_cat(record, &buffer, 12, second, 11), 3);
  EXPECT_EQ(Bytes(buffer, buffer + 3), Bytes({0xF1, 0xFF, 0x2F}));
  EXPECT_EQ(kiv_bitops_bitwise_extract(record, &field, second, 7, 9), 2);
  EXPECT_EQ(Bytes(field, field + 2), Bytes({0xB5, 0xA4}));  // the allocator's bits above the range
  record->free(record, field);
  EXPECT_EQ(kiv_bitops_bitwise_extract(record, &field, second, 7, 0), 0);
  EXPECT_EQ(field, nullptr);
  // Sizes of 0 go to the allocator, and counts below 0 are no huge sizes.
  heap.clear_log();
  EXPECT_EQ(kiv_bitops_convert_from_U32_allocate(record, &buffer, 1, -20), 0);
  EXPECT_EQ(buffer, nullptr);
  EXPECT_EQ(kiv_bitops_bitwise_insert(record, &buffer, -5, INT_MIN, second, INT_MIN), 0);
  EXPECT_EQ(kiv_bitops_bitwise_insert(record, &buffer, 0, 20, second, -5), 3);
  EXPECT_EQ(kiv_bitops_bitwise_cat(record, &buffer, -7, second, -1), 0);
  EXPECT_EQ(heap.log, std::vector<std::string>(
                          {"realloc 6 0 -> 0", "realloc 0 0 -> 8", "realloc 8 3 -> 9", "calloc 0 -> 10", "free 9"}));
  record->free(record, buffer);
}

// A lack of memory gives 0 and changes nothing: the old block, its contents included, is still the caller's.
TEST(KivBitops, LackOfMemory) {
  const KIV_U128 value = {~uint64_t{0}, ~uint64_t{0}};
  const auto points = kiv::test::sweep_failures([&](CountingAllocator &heap) {
    KIV_ALLOCATOR *record = heap.record();
    auto *buffer = static_cast<uint8_t *>(record->alloc(record, 2));
    if (buffer == nullptr) return;
    std::memset(buffer, 0x17, 2);
    const auto kept_or = [&](auto call) {
      uint8_t *const old = buffer;
      const Bytes contents(buffer, buffer + 2);
      if (call() != 0) return;
      EXPECT_TRUE(heap.has_failed());
      EXPECT_EQ(buffer, old);
      EXPECT_EQ(Bytes(buffer, buffer + 2), contents);
    };
    kept_or([&] { return kiv_bitops_convert_from_U32_allocate(record, &buffer, 1, 30); });
    kept_or([&] { return kiv_bitops_convert_from_U64_allocate(record, &buffer, 1, 70); });
    kept_or([&] { return kiv_bitops_convert_from_U128_allocate(record, &buffer, &value, 70); });
    kept_or([&] { return kiv_bitops_bitwise_insert(record, &buffer, 2, 40, &value, 70); });
    kept_or([&] { return kiv_bitops_bitwise_cat(record, &buffer, 10, buffer, 16); });
    uint8_t *field = buffer;
    const int32_t extracted = kiv_bitops_bitwise_extract(record, &field, buffer, 1, 15);
    EXPECT_EQ(extracted == 0, field == nullptr);
    uint8_t *const swapped = kiv_bitops_bitwise_swap_endianness(record, buffer, 2, 8, 2);
    for (uint8_t *block : {buffer, field, swapped}) record->free(record, block);
  });
  EXPECT_EQ(points, 8U);
}

/// Exchanges the units of whole groups, bit by bit.
std::string naively_swapped(const std::string &bits, size_t unit, size_t units) {
  std::string result = bits;
  for (size_t group = 0; group + unit * units <= bits.size(); group += unit * units) {
    for (size_t i = 0; i < unit * units; ++i) {
      result[group + i] = bits[group + (units - 1 - i / unit) * unit + i % unit];
    }
  }
  return result;
}

TEST(KivBitops, SwapsUnitsWithinGroups) {
  std::mt19937_64 random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  CountingAllocator heap;
  KIV_ALLOCATOR *record = heap.record();
  const auto swapped = [&](const uint8_t *source, int32_t size, int32_t unit_bits, int32_t units) {
    uint8_t *result = kiv_bitops_bitwise_swap_endianness(record, source, size, unit_bits, units);
    EXPECT_EQ(heap.size_of(result), static_cast<size_t>(size));
    const Bytes bytes(result, result + size);
    record->free(record, result);
    return bytes;
  };
  const uint8_t eight[] = {0, 1, 2, 3, 4, 5, 6, 7};
  for (int i = 0; i < 5000 && !testing::Test::HasFailure(); ++i) {
    const uint32_t size = below(random, 40);
    auto *source = page.last<uint8_t>(size);
    for (uint32_t j = 0; j < size; ++j) source[j] = static_cast<uint8_t>(random());
    const uint32_t unit = below(random, 3) == 0 ? 8 : 1 + below(random, 70);
    const uint32_t units = 2 + below(random, 8);
    EXPECT_EQ(
        bits_of(swapped(source, static_cast<int32_t>(size), static_cast<int32_t>(unit), static_cast<int32_t>(units))),
        naively_swapped(bits_of(source, size), unit, units))
        << size << ' ' << unit << ' ' << units;
  }
  for (const int32_t odd : {INT_MIN, -1, 0, 1, INT_MAX}) {
    EXPECT_EQ(swapped(eight, 8, 8, odd), Bytes(eight, eight + 8)) << odd;
    if (odd != 1) EXPECT_EQ(swapped(eight, 8, odd, INT_MAX), Bytes(eight, eight + 8)) << odd;
  }
  record->free(record, kiv_bitops_bitwise_swap_endianness(record, nullptr, -1, 8, 4));
  EXPECT_EQ(heap.log[heap.log.size() - 2].substr(0, 8), "alloc 0 ");
}

}  // namespace
