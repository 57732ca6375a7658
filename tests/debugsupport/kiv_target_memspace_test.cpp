#include "kiv_target_memspace.h"

#include <gtest/gtest.h>

#include "tests/debugsupport/tell_target_address.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace kiv::test {
namespace {

constexpr uint32_t kCallerData[] = {1, 2, 3, 4};

const KIV_UNICHAR *units(const std::u32string &text) { return reinterpret_cast<const KIV_UNICHAR *>(text.c_str()); }

int add(KIV_TARGET_MEMSPACE_LIST *list, const NaiveMemspace &space) {
  return kiv_target_memspace_add(list, static_cast<uint32_t>(space.number), static_cast<uint32_t>(space.number >> 32),
                                 units(space.name), units(space.as_name), space.bits_per_unit, kCallerData);
}

/// The list has these spaces in this order, and finds each in its three trees.
void expect_spaces(const KIV_TARGET_MEMSPACE_LIST *list, const std::vector<NaiveMemspace> &spaces) {
  ASSERT_EQ(list->count, spaces.size());
  const KIV_TARGET_MEMSPACE *default_name = nullptr, *default_as_name = nullptr;
  for (size_t i = 0; i < spaces.size(); ++i) {
    const KIV_TARGET_MEMSPACE *record = list->memspaces[i];
    EXPECT_EQ(uint64_t{record->number_high} << 32 | record->number_low, spaces[i].number);
    EXPECT_EQ(text_of(record->name), spaces[i].name);
    EXPECT_EQ(text_of(record->as_name), spaces[i].as_name);
    EXPECT_EQ(record->bits_per_unit, spaces[i].bits_per_unit);
    EXPECT_TRUE(std::equal(record->caller_data, record->caller_data + 4, kCallerData));
    EXPECT_EQ(kiv_target_memspace_find_by_number(list, record->number_low, record->number_high), record);
    EXPECT_EQ(kiv_target_memspace_find_by_name(list, record->name), record);
    EXPECT_EQ(kiv_target_memspace_find_by_as_name(list, record->as_name), record);
    if (record->name[0] == 0) default_name = record;
    if (record->as_name[0] == 0) default_as_name = record;
  }
  EXPECT_EQ(list->default_name, default_name);
  EXPECT_EQ(list->default_as_name, default_as_name);
  for (KIV_AVL_TREE *tree : {list->by_number, list->by_name, list->by_as_name}) {
    EXPECT_EQ(kiv_avl_count_nodes(tree), spaces.size());
  }
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
    std::vector<NaiveMemspace> spaces;
    for (int step = 0; step < 25; ++step) {
      const NaiveMemspace space{uint64_t{below(random, 8)} << (32 * below(random, 2)), text(of_names, 2),
                                text(of_names, 2), below(random, 20)};
      const bool is_new = std::none_of(spaces.begin(), spaces.end(), [&space](const NaiveMemspace &other) {
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
        const std::u32string address =
            text(U" \t", below(random, 2)) + text(of_names + U":", 3) + text(U":0xX19afgF", 4);
        const uint32_t flags = below(random, 16);
        const auto *naive_list = below(random, 8) != 0 ? &spaces : nullptr;
        const auto *real_list = naive_list != nullptr ? list : nullptr;
        const std::string told = naive_target_address(naive_list, address, flags);
        EXPECT_EQ(tell_target_address(real_list, nullptr, units(address), flags), told);
        if (address.find(U'\u0416') != address.npos) continue;
        const std::string chars(address.begin(), address.end());
        EXPECT_EQ(tell_target_address(real_list, chars.c_str(), nullptr, flags), told) << chars << ' ' << flags;
      }
    }
    kiv_target_memspace_list_delete(list);
  }
}

TEST(TargetMemspace, TellsWholeNamesAndDefaults) {
  CountingAllocator allocator;
  KIV_TARGET_MEMSPACE_LIST *list = kiv_target_memspace_list_new(allocator.record());
  for (const NaiveMemspace &space : {NaiveMemspace{0, U"", U"all", 8}, {1, U"P", U"P", 16}, {2, U"PP", U"", 4}}) {
    ASSERT_EQ(add(list, space), 0);
  }
  const auto find = [list](const char *text, uint32_t length) {
    const KIV_TARGET_MEMSPACE *space = kiv_target_memspace_find_by_name2(list, text, nullptr, length);
    return space != nullptr ? static_cast<int>(space->number_low) : -1;
  };
  EXPECT_EQ(find("PPx", 0), 0);
  EXPECT_EQ(find("PPx", 1), 1);
  EXPECT_EQ(find("PPx", 2), 2);
  EXPECT_EQ(find("PPx", 3), -1);
  EXPECT_EQ(find("PP", 3), -1);
  EXPECT_EQ(find(nullptr, 0), 0);
  EXPECT_EQ(find(nullptr, 1), -1);

  const std::string ones(32, 'f');
  const struct {
    std::string text;
    uint32_t flags;
    std::string told;
  } cases[] = {
      {"10", 1, "0 10 80 2"},  {"P:10", 1, "1 10 100 4"},
      {"X:10", 3, ""},         {" 10", 1, ""},
      {" 10", 5, "0 10 80 3"}, {"10 junk", 1, ""},
      {":10", 1, "0 10 80 3"}, {"10 junk", 9, "0 10 80 2"},
      {"10", 2, "2 10 40 2"},  {":10", 2, "2 10 40 3"},
      {"10", 3, "0 10 80 2"},  {"10", 0, ""},
      {"P:10", 0, ""},         {"all:0X1f", 3, "0 1f f8 8"},
      {"10 a:b", 9, ""},       {"P: 10", 5, ""},
      {"P:0x", 1, ""},         {"P:0" + ones.substr(2), 1, "1 " + ones.substr(2) + " " + ones.substr(2) + "0 33"},
      {"P:" + ones, 1, ""},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(tell_target_address(list, c.text.c_str(), nullptr, c.flags), c.told) << c.text << ' ' << c.flags;
  }
  // A bit address that is not wanted may be too large.
  EXPECT_EQ(tell_target_address(list, ("P:" + ones).c_str(), nullptr, 1, false), "1 " + ones + " - 34");
  EXPECT_EQ(tell_target_address(list, ("P:1" + ones).c_str(), nullptr, 1, false), "");
  EXPECT_EQ(tell_target_address(nullptr, nullptr, nullptr, 0), "");
  kiv_target_memspace_list_delete(list);
}

TEST(TargetMemspace, SurvivesFailures) {
  const auto operations = [](CountingAllocator &allocator) {
    std::string first_words;
    for (const std::string &line : allocator.log) first_words += line.substr(0, line.find(' ') + 1);
    allocator.clear_log();
    return first_words;
  };
  const uint32_t points = sweep_failures([&operations](CountingAllocator &allocator) {
    KIV_TARGET_MEMSPACE_LIST *list = kiv_target_memspace_list_new(allocator.record());
    if (!allocator.has_failed()) EXPECT_EQ(operations(allocator), "calloc alloc alloc alloc ");
    if (list == nullptr) return;
    std::vector<NaiveMemspace> spaces;
    for (const NaiveMemspace &space : {NaiveMemspace{1, U"P", U"", 8}, {2, U"", U"p", 16}}) {
      if (add(list, space) == 0) spaces.push_back(space);
      if (!allocator.has_failed()) EXPECT_EQ(operations(allocator), "realloc alloc alloc alloc alloc alloc alloc ");
      expect_spaces(list, spaces);
    }
    kiv_target_memspace_list_delete(list);
  });
  EXPECT_EQ(points, 4U + 7 + 7);
}

}  // namespace
}  // namespace kiv::test
