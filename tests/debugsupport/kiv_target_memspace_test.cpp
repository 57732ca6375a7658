#include "kiv_target_memspace.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace kiv::test {
namespace {

struct Space {
  uint64_t number;
  std::u32string name, as_name;
  uint32_t bits_per_unit;
};
using Spaces = std::vector<Space>;

const KIV_UNICHAR *units(const std::u32string &text) { return reinterpret_cast<const KIV_UNICHAR *>(text.c_str()); }

int add(KIV_TARGET_MEMSPACE_LIST *list, const Space &space) {
  const uint32_t data[4] = {space.bits_per_unit, 1, 2, 3};
  return kiv_target_memspace_add(list, static_cast<uint32_t>(space.number), static_cast<uint32_t>(space.number >> 32),
                                 units(space.name), units(space.as_name), space.bits_per_unit,
                                 space.bits_per_unit != 0 ? data : nullptr);
}

/// The list has these spaces in this order, and finds each in its three trees.
void expect_spaces(const KIV_TARGET_MEMSPACE_LIST *list, const Spaces &spaces) {
  ASSERT_EQ(list->count, spaces.size());
  for (size_t i = 0; i < spaces.size(); ++i) {
    const KIV_TARGET_MEMSPACE *record = list->memspaces[i];
    EXPECT_EQ(uint64_t{record->number_high} << 32 | record->number_low, spaces[i].number);
    EXPECT_TRUE(text_of(record->name) == spaces[i].name && text_of(record->as_name) == spaces[i].as_name);
    EXPECT_TRUE(record->bits_per_unit == spaces[i].bits_per_unit && record->caller_data[0] == record->bits_per_unit);
    EXPECT_EQ(kiv_target_memspace_find_by_number(list, record->number_low, record->number_high), record);
    EXPECT_EQ(kiv_target_memspace_find_by_name(list, record->name), record);
    EXPECT_EQ(kiv_target_memspace_find_by_as_name(list, record->as_name), record);
  }
  EXPECT_EQ(list->default_name, kiv_target_memspace_find_by_name(list, nullptr));
  EXPECT_EQ(list->default_as_name, kiv_target_memspace_find_by_as_name(list, nullptr));
  for (auto *tree : {list->by_number, list->by_name, list->by_as_name}) {
    EXPECT_EQ(kiv_avl_count_nodes(tree), spaces.size());
  }
}

// Target addresses as "SPACE UNITS BITS END": the index of the space or -1, two hexadecimal numbers, the end. A failure
// is the empty text. The flags are those of kiv_string_to_target_address, from bit 0 on.

std::string told(long long space, uint64_t units, const KIV_U128 &bits, uint32_t end) {
  char text[100];
  std::snprintf(text, sizeof text, "%lld %" PRIx64 " %.0" PRIx64 "%" PRIx64 " %" PRIu32, space, units, bits.hi, bits.lo,
                end);
  return text;
}

/// Numbers of up to 60 bits.
std::string naive_address(const Spaces *spaces, const std::u32string &text, uint32_t flags) {
  const size_t first = std::min(text.find_first_not_of(U" \t"), text.size());
  if (first > 0 && (flags & 4) == 0) return "";
  const size_t colon = text.find(U':', first);
  const std::u32string prefix = colon != text.npos ? text.substr(first, colon - first) : U"";
  long long found = -1;
  for (const uint32_t flag : {1U, 2U}) {
    for (size_t i = 0; spaces != nullptr && i < spaces->size() && found < 0 && (flags & flag) != 0; ++i) {
      if ((flag == 1 ? (*spaces)[i].name : (*spaces)[i].as_name) == prefix) found = static_cast<long long>(i);
    }
  }
  if (spaces != nullptr ? found < 0 : colon != text.npos) return "";
  const std::u32string number = text.substr(colon != text.npos ? colon + 1 : first);
  const size_t start = number.starts_with(U"0x") || number.starts_with(U"0X") ? 2 : 0;
  const size_t end = std::min(number.find_first_not_of(U"0123456789abcdefABCDEF", start), number.size());
  if (end == start || (end < number.size() && (flags & 8) == 0)) return "";
  const uint64_t value = std::stoull(std::string(number.begin(), number.begin() + static_cast<int>(end)), nullptr, 16);
  const uint32_t factor = found < 0 ? 8 : (*spaces)[static_cast<size_t>(found)].bits_per_unit;
  return told(found, value, {0, value * factor}, static_cast<uint32_t>(text.size() - number.size() + end));
}

/// A failure that writes a result is "touched".
std::string address(const KIV_TARGET_MEMSPACE_LIST *list, const char *chars, const KIV_UNICHAR *text, uint32_t flags) {
  KIV_TARGET_MEMSPACE *space = nullptr;
  KIV_U128 number = {9, 9}, bits = number;
  uint32_t end = 9;
  if (kiv_string_to_target_address(list, chars, text, flags & 1, flags & 2, flags & 4, flags & 8, &space, &number,
                                   &bits, &end) != 0) {
    return space == nullptr && number.hi == 9 && number.lo == 9 && bits.hi == 9 && end == 9 ? "" : "touched";
  }
  long long index = -1;
  for (uint32_t i = 0; list != nullptr && i < list->count; ++i) {
    if (list->memspaces[i] == space) index = i;
  }
  return told(index, number.lo, bits, end);
}

TEST(TargetMemspace, AgreesWithAVectorOfSpaces) {
  std::mt19937_64 random = make_random();
  const auto text = [&random](const std::u32string &alphabet, uint32_t most) {
    std::u32string result(below(random, most + 1), 0);
    for (char32_t &c : result) c = alphabet[below(random, static_cast<uint32_t>(alphabet.size()))];
    return result;
  };
  const std::u32string of_names = std::u32string(U"aP\u0416") + static_cast<char32_t>(0xFFFFFFE9);
  GuardedPage page;
  for (int round = 0; round < 60; ++round) {
    CountingAllocator allocator;
    KIV_TARGET_MEMSPACE_LIST *list = kiv_target_memspace_list_new(allocator.record());
    Spaces spaces;
    for (int step = 0; step < 25; ++step) {
      const Space space{uint64_t{below(random, 8)} << (32 * below(random, 2)), text(of_names, 2), text(of_names, 2),
                        below(random, 20)};
      const bool is_new = std::none_of(spaces.begin(), spaces.end(), [&space](const Space &other) {
        return other.number == space.number || other.name == space.name || other.as_name == space.as_name;
      });
      ASSERT_EQ(add(list, space), is_new ? 0 : 1);
      if (is_new) spaces.push_back(space);
      expect_spaces(list, spaces);
      // The name of a space lies before memory that must not be read.
      const auto length = static_cast<uint32_t>(space.name.size());
      KIV_UNICHAR *part = page.last<KIV_UNICHAR>(length);
      std::copy_n(units(space.name), length, part);
      EXPECT_EQ(kiv_target_memspace_find_by_name2(list, nullptr, part, length),
                kiv_target_memspace_find_by_name(list, units(space.name)));
      for (int i = 0; i < 40; ++i) {
        const std::u32string asked = text(U" \t", below(random, 2)) + text(of_names + U":", 3) + text(U":0xX19afgF", 4);
        const uint32_t flags = below(random, 16);
        const Spaces *naive_list = below(random, 8) != 0 ? &spaces : nullptr;
        const auto *real_list = naive_list != nullptr ? list : nullptr;
        const std::string expected = naive_address(naive_list, asked, flags);
        EXPECT_EQ(address(real_list, nullptr, units(asked), flags), expected);
        if (asked.find(U'\u0416') != asked.npos) continue;
        const std::string chars(asked.begin(), asked.end());
        EXPECT_EQ(address(real_list, chars.c_str(), nullptr, flags), expected) << chars << ' ' << flags;
      }
    }
    kiv_target_memspace_list_delete(list);
  }
}

TEST(TargetMemspace, ReadsAddresses) {
  CountingAllocator allocator;
  KIV_TARGET_MEMSPACE_LIST *list = kiv_target_memspace_list_new(allocator.record());
  for (const Space &space : Spaces{{0, U"", U"all", 8}, {1, U"P", U"P", 16}, {2, U"PP", U"", 4}}) add(list, space);
  EXPECT_EQ(kiv_target_memspace_find_by_name2(list, "PP", nullptr, 1), list->memspaces[1]);
  EXPECT_EQ(kiv_target_memspace_find_by_name2(list, "PP", nullptr, 3), nullptr);
  EXPECT_EQ(kiv_target_memspace_find_by_name2(list, nullptr, nullptr, 0), list->memspaces[0]);
  EXPECT_EQ(kiv_target_memspace_find_by_name2(list, nullptr, nullptr, 1), nullptr);
  const std::string most(31, 'f');
  const struct {
    std::string text;
    uint32_t flags;
    std::string told;
  } cases[] = {{"10", 1, "0 10 80 2"},
               {"P:10", 1, "1 10 100 4"},
               {"X:10", 3, ""},
               {" 10", 1, ""},
               {" 10", 5, "0 10 80 3"},
               {"10 x", 9, "0 10 80 2"},
               {"10 x", 1, ""},
               {":10", 1, "0 10 80 3"},
               {"10", 2, "2 10 40 2"},
               {":10", 2, "2 10 40 3"},
               {"10", 3, "0 10 80 2"},
               {"10", 0, ""},
               {"P:10", 0, ""},
               {"all:0X1f", 3, "0 1f f8 8"},
               {"1 a:b", 9, ""},
               {"P: 10", 5, ""},
               {"P:0x", 1, ""},
               {"P:f" + most, 1, ""},
               {"", 1, ""},
               {"P:" + most, 1, "1 ffffffffffffffff " + most + "0 33"}};
  for (const auto &c : cases) EXPECT_EQ(address(list, c.text.c_str(), nullptr, c.flags), c.told) << c.text << c.flags;
  // A bit address that is not wanted may be too large. No text is an empty one.
  EXPECT_EQ(kiv_string_to_target_address(list, ("P:f" + most).c_str(), nullptr, 1, 0, 0, 0, nullptr, nullptr, nullptr,
                                         nullptr),
            0);
  EXPECT_EQ(address(list, nullptr, nullptr, 15), "");
  kiv_target_memspace_list_delete(list);
}

TEST(TargetMemspace, SurvivesFailures) {
  const uint32_t points = sweep_failures([](CountingAllocator &allocator) {
    KIV_TARGET_MEMSPACE_LIST *list = kiv_target_memspace_list_new(allocator.record());
    if (list == nullptr) return;
    Spaces spaces;
    for (const Space &space : Spaces{{1, U"P", U"", 8}, {2, U"", U"p", 16}}) {
      if (add(list, space) == 0) spaces.push_back(space);
      expect_spaces(list, spaces);
    }
    kiv_target_memspace_list_delete(list);
  });
  EXPECT_EQ(points, 4U + 7 + 7);
}

}  // namespace
}  // namespace kiv::test
