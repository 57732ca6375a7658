#include "kiv_string_kvset.h"

#include <map>
#include <string>
#include <vector>

#include "containers/avl_check.h"
#include "gtest/gtest.h"
#include "kiv_string.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using kiv::test::text_of;

using Model = std::map<std::u32string, std::u32string>;

KIV_UNICHAR *units(std::u32string &text) { return reinterpret_cast<KIV_UNICHAR *>(text.data()); }

std::u32string widened(const std::string &bytes, bool sign_extended = false) {
  std::u32string text;
  for (const char byte : bytes) {
    text += sign_extended ? static_cast<char32_t>(static_cast<signed char>(byte)) : static_cast<unsigned char>(byte);
  }
  return text;
}

/// Walks the set by its own means.
Model contents(KIV_STRING_KVSET *set) {
  CountingAllocator allocator;
  Model model;
  std::u32string last;
  KIV_STRING_KVSET_PAIR *pair = nullptr;
  EXPECT_EQ(kiv_string_kvset_find_least_greater_or_equal2(allocator.record(), set, "", nullptr, &pair), 0);
  for (; pair != nullptr; pair = kiv_string_kvset_find_least_greater(set, pair)) {
    const std::u32string key = text_of(pair->key);
    EXPECT_TRUE(model.empty() || last < key);
    last = key;
    model[key] = text_of(pair->value);
  }
  return model;
}

/// A set and its allocator.
struct Set {
  Set(uint32_t copy_keys, uint32_t copy_values) : set(kiv_string_kvset_new(a, copy_keys, copy_values)) {}
  ~Set() { kiv_string_kvset_delete(set); }

  int add(const char *key, const char *value) { return kiv_string_kvset_add(set, key, nullptr, value, nullptr); }
  std::u32string find(const char *key) { return text_of(kiv_string_kvset_find(set, key, nullptr)); }
  std::u32string find(std::u32string key) { return text_of(kiv_string_kvset_find(set, nullptr, units(key))); }

  CountingAllocator allocator;
  KIV_ALLOCATOR *a = allocator.record();
  KIV_STRING_KVSET *set;
};

// Against std::map, with all ways to give keys and values.
TEST(StringKvset, IsAnOrderedMap) {
  auto random = kiv::test::make_random();
  for (uint32_t flags = 0; flags < 4; ++flags) {
    Set it(flags & 1, flags >> 1);
    EXPECT_EQ(it.set->copy_keys, flags & 1);
    EXPECT_EQ(it.set->copy_values, flags >> 1);
    Model model;
    std::vector<std::u32string> given(4000);  // what a set that does not copy points at
    std::vector<KIV_STRING> left_to_us;       // values that it makes and does not free
    for (auto text = given.begin(); text != given.end(); text += 2) {
      std::string key_chars, value_chars(below(random, 3), 'v');
      for (uint32_t length = below(random, 4); length > 0; --length)
        key_chars += static_cast<char>('a' + below(random, 5));
      text[0] = widened(key_chars);
      text[1] = widened(value_chars);
      const bool key_as_chars = below(random, 2) == 0, value_as_chars = below(random, 2) == 0;
      const bool is_new = model.find(text[0]) == model.end();
      ASSERT_EQ(kiv_string_kvset_add(it.set, key_as_chars ? key_chars.c_str() : nullptr, units(text[0]),
                                     value_as_chars ? value_chars.c_str() : nullptr, units(text[1])),
                is_new ? 0 : 1);
      model[text[0]] = text[1];
      KIV_STRING stored = kiv_string_kvset_find(it.set, key_chars.c_str(), nullptr);
      ASSERT_EQ(stored == units(text[1]), !value_as_chars && it.set->copy_values == 0);
      if (value_as_chars && it.set->copy_values == 0) left_to_us.push_back(stored);
      ASSERT_EQ(it.find(text[0]), text[1]);
      ASSERT_EQ(kiv::avl::Checker(it.set->tree).check(it.set->tree->root), nullptr);
      // The nearest key, given either way.
      std::string near_chars(1 + below(random, 2), static_cast<char>('a' + below(random, 6)));
      std::u32string near = widened(near_chars);
      const auto expected = model.lower_bound(near);
      KIV_STRING_KVSET_PAIR *pair = nullptr;
      ASSERT_EQ(kiv_string_kvset_find_least_greater_or_equal2(it.a, it.set, key_as_chars ? near_chars.c_str() : nullptr,
                                                              units(near), &pair),
                0);
      ASSERT_EQ(pair != nullptr ? text_of(pair->key) : U"none", expected != model.end() ? expected->first : U"none");
    }
    EXPECT_EQ(contents(it.set), model);
    for (KIV_STRING value : left_to_us) kiv_string_delete(it.a, value);
  }
}

// The widening that each operation uses, for the bytes at which it shows.
TEST(StringKvset, WidensBytesInItsWays) {
  for (const char byte : {'\x7F', '\x80', '\xE9', '\xFF'}) {
    const std::string key(1, byte);
    const bool plain = byte == '\x7F';
    Set it(0, 1);
    EXPECT_EQ(it.add(key.c_str(), key.c_str()), 0);
    EXPECT_EQ(contents(it.set), (Model{{widened(key), widened(key)}}));
    EXPECT_EQ(it.find(key.c_str()), plain ? widened(key) : U"(null)");
    KIV_STRING_KVSET_PAIR *pair = nullptr;
    EXPECT_EQ(kiv_string_kvset_find_least_greater_or_equal2(it.a, it.set, key.c_str(), nullptr, &pair), 0);
    EXPECT_NE(pair, nullptr);
    // Not found, and yet there: what is stored stays.
    EXPECT_EQ(it.add(key.c_str(), "new"), plain ? 1 : 0);
    EXPECT_EQ(it.find(widened(key)), plain ? U"new" : widened(key));
    // The sign-extended key is another one.
    std::u32string sign_extended = widened(key, true), value = U"sign";
    EXPECT_EQ(kiv_string_kvset_add(it.set, nullptr, units(sign_extended), nullptr, units(value)), plain ? 1 : 0);
    EXPECT_EQ(it.find(key.c_str()), U"sign");
    EXPECT_EQ(it.add(key.c_str(), "again"), 1);
    EXPECT_EQ(it.find(key.c_str()), U"again");
    EXPECT_EQ(contents(it.set).size(), plain ? 1u : 2u);
  }
}

// From 300 bytes on the search for a char string is a walk that zero-extends.
TEST(StringKvset, WalksForLongKeys) {
  for (const uint32_t copy_keys : {0u, 1u}) {
    for (const size_t length : {299, 300, 1000}) {
      const std::string ascii(length, 'x'), latin = ascii.substr(1) + '\xE9', other = ascii.substr(1) + '\xEA';
      Set it(copy_keys, 1);
      EXPECT_EQ(it.add("a", "first"), 0);
      EXPECT_EQ(it.add(ascii.c_str(), "ascii"), 0);
      EXPECT_EQ(it.add(latin.c_str(), "latin"), 0);
      EXPECT_EQ(it.add("z", "last"), 0);
      const bool walks = length >= 300;
      EXPECT_EQ(it.find(ascii.c_str()), U"ascii");
      EXPECT_EQ(it.find(latin.c_str()), walks ? U"latin" : U"(null)");
      EXPECT_EQ(it.find(other.c_str()), U"(null)");
      EXPECT_EQ(it.add(latin.c_str(), "new"), walks ? 1 : 0);
      EXPECT_EQ(it.find(widened(latin)), walks ? U"new" : U"latin");
      EXPECT_EQ(contents(it.set).size(), 4u);
    }
  }
}

TEST(StringKvset, PointsAtOrCopiesWhatItIsGiven) {
  for (uint32_t flags = 0; flags < 4; ++flags) {
    Set it(flags & 1, flags >> 1);
    std::u32string key = U"key", value = U"value";
    EXPECT_EQ(kiv_string_kvset_add(it.set, nullptr, units(key), nullptr, units(value)), 0);
    EXPECT_EQ(contents(it.set), (Model{{U"key", U"value"}}));
    key[0] = U'K', value[0] = U'V';
    EXPECT_EQ(contents(it.set), (Model{{flags & 1 ? U"key" : U"Key", flags >> 1 ? U"value" : U"Value"}}));
    const char *const key_found = flags & 1 ? "key" : "Key";
    // A null value replaces, too; a copy of it is empty.
    EXPECT_EQ(kiv_string_kvset_add(it.set, key_found, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(it.find(key_found), flags >> 1 ? U"" : U"(null)");
    EXPECT_EQ(it.find(U"nobody"), U"(null)");
    // A null key is the empty one.
    EXPECT_EQ(kiv_string_kvset_add(it.set, nullptr, nullptr, nullptr, units(value)), 0);
    EXPECT_EQ(kiv_string_kvset_add(it.set, "", nullptr, nullptr, units(value)), 1);
    EXPECT_EQ(text_of(kiv_string_kvset_find(it.set, nullptr, nullptr)), U"Value");
  }
}

TEST(StringKvset, TakesNullForAnEmptySetWithoutMemory) {
  CountingAllocator allocator;
  KIV_STRING_KVSET_PAIR pair = {}, *found = &pair;
  kiv_string_kvset_delete(nullptr);
  EXPECT_EQ(kiv_string_kvset_add(nullptr, "k", nullptr, "v", nullptr), -1);
  EXPECT_EQ(kiv_string_kvset_find(nullptr, "k", nullptr), nullptr);
  EXPECT_EQ(kiv_string_kvset_find_least_greater_or_equal2(allocator.record(), nullptr, "k", nullptr, &found), 0);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(kiv_string_kvset_find_least_greater(nullptr, &pair), nullptr);
  Set it(1, 1);
  EXPECT_EQ(kiv_string_kvset_find_least_greater(it.set, nullptr), nullptr);
}

TEST(StringKvset, SurvivesEveryFailure) {
  for (uint32_t flags = 0; flags < 4; ++flags) {
    const uint32_t points = kiv::test::sweep_failures([flags](CountingAllocator &allocator) {
      KIV_ALLOCATOR *a = allocator.record();
      KIV_STRING_KVSET *set = kiv_string_kvset_new(a, flags & 1, flags >> 1);
      if (set == nullptr) return;
      Model model;
      std::vector<KIV_STRING> left_to_us;
      std::u32string key = U"key", value = U"value";
      for (const char *key_chars : {"a", "\xE9", static_cast<const char *>(nullptr), "a", "\xE9"}) {
        for (const char *value_chars : {static_cast<const char *>(nullptr), "of bytes"}) {
          std::u32string stored = key_chars != nullptr ? widened(key_chars) : key;
          const bool is_new = model.find(stored) == model.end();
          const int result = kiv_string_kvset_add(set, key_chars, units(key), value_chars, units(value));
          EXPECT_TRUE(result >= 0 || allocator.has_failed());
          const bool taken = result == 1 || (result == 0 && is_new);
          if (taken) model[stored] = value_chars != nullptr ? widened(value_chars) : value;
          EXPECT_EQ(contents(set), model);
          if (taken && value_chars != nullptr && set->copy_values == 0) {
            left_to_us.push_back(kiv_string_kvset_find(set, nullptr, units(stored)));
          }
        }
      }
      EXPECT_TRUE(allocator.has_failed() || model.size() == 3);
      KIV_STRING_KVSET_PAIR none = {}, *pair = &none;
      const int failed = kiv_string_kvset_find_least_greater_or_equal2(a, set, "a", nullptr, &pair);
      EXPECT_EQ(failed == 0, pair != &none);
      kiv_string_kvset_delete(set);
      for (KIV_STRING string : left_to_us) kiv_string_delete(a, string);
    });
    EXPECT_GT(points, 10u);
  }
}

}  // namespace
