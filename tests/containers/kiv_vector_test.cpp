#include "kiv_vector.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;

// Elements are the characters of an alphabet; texts of them are names for vectors.
char alphabet[] = "abcdefghijklmnopqrstuvwxyz";
void *element(uint32_t i) { return &alphabet[i]; }
int compare(const void *a, const void *b) { return a < b ? -1 : a > b; }

std::string text_of(const KIV_VECTOR *vector) {
  std::string text;
  for (uint32_t i = 0; i < vector->count; ++i) {
    text += vector->elements[i] != nullptr ? *static_cast<char *>(vector->elements[i]) : '-';
  }
  return text;
}

KIV_VECTOR *vector_of(KIV_ALLOCATOR *allocator, const std::string &text) {
  KIV_VECTOR *vector = kiv_vector_new(allocator, 0, compare);
  for (const char letter : text) kiv_vector_append(vector, element(static_cast<uint32_t>(letter - 'a')));
  return vector;
}

int delete_vector(KIV_ALLOCATOR *, void *vector) {
  kiv_vector_delete(static_cast<KIV_VECTOR *>(vector));
  return 0;
}

/// A vector written down once more, with every slot. Without memory nothing grows, and then nothing is stored.
struct NaiveVector {
  uint32_t count = 0;
  bool memory = true;
  std::vector<void *> slots = std::vector<void *>(11);

  uint32_t capacity() const { return static_cast<uint32_t>(slots.size()) - 1; }
  bool raise(uint32_t new_count) {
    if (new_count > capacity() && !memory) return false;
    if (new_count > capacity()) slots.resize(static_cast<size_t>(static_cast<double>(new_count) * 1.5) + 1);
    count = new_count;
    return true;
  }
  void lower(uint32_t new_count) {
    if (new_count >= count) return;
    count = new_count;
    if (memory && count < capacity() / 2) slots.resize(capacity() / 2 + 1);
  }
  void set(uint32_t index, void *value) {
    if (index < count || raise(index + 1)) slots[index] = value;
  }
  void insert(uint32_t index, void *value) {
    if (index >= count) return set(index, value);
    if (!raise(count + 1)) return;
    for (uint32_t i = count - 1; i > index; --i) slots[i] = slots[i - 1];
    slots[index] = value;
  }
  void remove(uint32_t index) {
    if (index >= count) return;
    if (index == count - 1) slots[index] = nullptr;
    for (uint32_t i = index; i + 1 < count; ++i) slots[i] = slots[i + 1];
    lower(count - 1);
  }
};

TEST(Vector, KeepsEverySlotAsTheModelDoes) {
  auto random = kiv::test::make_random();
  for (int round = 0; round < 60; ++round) {
    CountingAllocator allocator;
    NaiveVector naive;
    KIV_VECTOR *vector = kiv_vector_new(allocator.record(), 0, compare);
    const uint32_t operations = 6 + below(random, 6);
    for (int step = 0; step < 400; ++step) {
      naive.memory = below(random, 8) != 0;
      allocator.fail_at(naive.memory ? 0 : 1, CountingAllocator::Failing::from_then_on);
      void *value = element(below(random, 26));
      const uint32_t index = below(random, naive.count + 3);
      const uint32_t operation = below(random, operations);
      const bool rarely = below(random, 10) == 0;
      if (operation == 0) naive.remove(index), kiv_vector_remove(vector, index);
      if (operation == 1) naive.remove(naive.count - 1), kiv_vector_remove_last(vector);
      if (operation == 2) naive.set(index, value), kiv_vector_set(vector, index, value);
      if (operation == 3) naive.insert(index, value), kiv_vector_insert(vector, index, value);
      if (operation == 4 && rarely) naive.lower(index), kiv_vector_truncate(vector, index);
      if (operation == 5 && rarely) std::fill_n(naive.slots.begin(), naive.count, nullptr), kiv_vector_clear(vector);
      if (operation > 5) naive.set(naive.count, value), kiv_vector_append(vector, value);
      allocator.fail_at(0);
      ASSERT_EQ(vector->count, naive.count);
      ASSERT_EQ(std::vector<void *>(vector->elements, vector->elements + vector->capacity + 1), naive.slots);
      const auto end = naive.slots.begin() + naive.count;
      const auto found = std::find(naive.slots.begin(), end, value);
      uint32_t place = 12345;
      ASSERT_EQ(kiv_vector_find(vector, &place, value), found != end ? value : nullptr);
      ASSERT_EQ(place, found != end ? static_cast<uint32_t>(found - naive.slots.begin()) : 12345);
      ASSERT_EQ(kiv_vector_get(vector, index), index < naive.count ? naive.slots[index] : nullptr);
      ASSERT_EQ(kiv_vector_get_last(vector), naive.count != 0 ? naive.slots[naive.count - 1] : nullptr);
    }
    kiv_vector_delete(vector);
  }
}

TEST(Vector, HasNoMoreElementsThanAnAllocatorHasBytes) {
  CountingAllocator allocator;
  KIV_VECTOR *vector = kiv_vector_new(allocator.record(), 2, nullptr);
  kiv_vector_set(vector, UINT32_MAX, element(0));
  kiv_vector_insert(vector, KIV_VECTOR_MAX_COUNT, element(0));
  EXPECT_TRUE(text_of(vector) == "--" && vector->capacity == 3);
  EXPECT_TRUE(kiv_vector_find(vector, nullptr, nullptr) == nullptr && kiv_vector_unique(vector) == nullptr);
  kiv_vector_delete(vector);
  EXPECT_EQ(kiv_vector_new(allocator.record(), KIV_VECTOR_MAX_COUNT + 1, nullptr), nullptr);
}

TEST(Vector, CopiesAndCallsBackInOrder) {
  CountingAllocator allocator;
  KIV_VECTOR *vector = vector_of(allocator.record(), "dabce");
  static std::string seen;
  const KIV_VECTOR_DELETE_ELEMENT free_up_to_c = [](KIV_ALLOCATOR *, void *value) -> int {
    return (seen += *static_cast<char *>(value)).back() == 'c' ? 7 : 0;
  };
  kiv_vector_deep_remove(vector, 1, free_up_to_c);
  kiv_vector_deep_remove(vector, 4, free_up_to_c);
  kiv_vector_foreach(vector, nullptr,
                     [](void *, void *value) { return (seen += *static_cast<char *>(value)) == "adbc" ? -1 : 0; });
  EXPECT_EQ(seen, "adbc");
  const auto raise = [](KIV_ALLOCATOR *, void *value) -> void * { return static_cast<char *>(value) + 10; };
  KIV_VECTOR *copies[] = {kiv_vector_deep_copy(allocator.record(), vector, raise),
                          kiv_vector_deep_copy(allocator.record(), vector, nullptr),
                          kiv_vector_slice(vector, 1, 2),
                          kiv_vector_slice(vector, 2, 0),
                          kiv_vector_slice(vector, 1, UINT32_MAX),
                          kiv_vector_slice(vector, UINT32_MAX, 2)};
  std::string texts;
  for (KIV_VECTOR *copy : copies) {
    EXPECT_TRUE(copy->compare == compare && copy->capacity == (copy->count != 0 ? copy->count * 3 / 2 : 10));
    texts += text_of(copy) + " ";
    kiv_vector_delete(copy);
  }
  EXPECT_EQ(texts, "nlmo dbce bc ce bce  ");
  seen.clear();
  kiv_vector_deep_delete(vector, free_up_to_c);
  EXPECT_EQ(seen, "dbc");
}

TEST(Vector, IsSortedAndPermutedOrNullWithoutMemory) {
  CountingAllocator steady;
  for (const auto &[text, sorted, once, orderings] :
       {std::array{"", "", "", " "},
        {"a", "a", "a", "a "},
        {"ba", "ab", "ab", "ba ab "},
        {"cabc", "abcc", "abc", nullptr},
        {"abc", "abc", "abc", "abc acb bac cab bca cba "},
        {"dbcdaabqcrsdtuvw", "aabbccdddqrstuvw", "abcdqrstuvw", nullptr}}) {
    KIV_VECTOR *vector = vector_of(steady.record(), text);
    kiv::test::sweep_failures([&, text = text, orderings = orderings](CountingAllocator &allocator) {
      vector->allocator = allocator.record();  // of what is made from it
      KIV_VECTOR *all = kiv_vector_permutations(vector);
      EXPECT_EQ(all == nullptr, allocator.has_failed() || vector->count > 12);
      std::string found;
      for (uint32_t i = 0; all != nullptr && i < all->count; ++i) {
        found += text_of(static_cast<KIV_VECTOR *>(all->elements[i])) + " ";
      }
      if (all != nullptr && orderings != nullptr) EXPECT_EQ(found, orderings) << text;
      kiv_vector_deep_delete(all, delete_vector);
    });
    kiv::test::sweep_failures([&, once = once](CountingAllocator &allocator) {
      vector->allocator = allocator.record();
      KIV_VECTOR *unique = kiv_vector_unique(vector);
      EXPECT_EQ(unique == nullptr, allocator.has_failed());
      if (unique != nullptr) EXPECT_EQ(text_of(unique), once);
      kiv_vector_delete(unique);
    });
    EXPECT_EQ(text_of(vector), sorted);
    vector->allocator = steady.record();
    kiv_vector_delete(vector);
  }
  EXPECT_EQ(kiv_vector_permutations(nullptr), nullptr);
}

}  // namespace
