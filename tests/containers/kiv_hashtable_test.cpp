#include "kiv_hashtable.h"

#include <set>

#include "containers/hashtable_sizes.h"
#include "gtest/gtest.h"
#include "tests/containers/naive_hashtable.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using kiv::test::NaiveHashtable;

enum class Keys { u32, u64, text, three_hashes };

constexpr int kKeys = 400;

/// A key of each kind, and the words whose exclusive or is its hash.
struct Key {
  uint32_t word;
  uint64_t wide;
  KIV_UNICHAR text[4];
  /// What is stored in element mode: its first word is the key's address, as in the pairs of pair mode.
  KIV_HASHTABLE_PAIR element;
};

struct Fixture {
  Fixture(Keys keys_kind, bool pairs, KIV_ALLOCATOR *from) : kind(keys_kind), allocator(from) {
    for (uint32_t i = 0; i < kKeys; ++i) {
      const uint32_t number = i * 0x9E3779B1;
      keys[i] = {number, uint64_t{number} << 32 | i, {0x10000 + number % 20, i + 1, number, 0}, {}};
      keys[i].element = {address_of(keys[i]), &keys[i]};
    }
    KIV_HASHTABLE *made = kind == Keys::u64    ? kiv_hashtable_KIV_U64_new_default(allocator)
                          : kind == Keys::text ? kiv_hashtable_KIV_UNICHAR_new_default(allocator)
                                               : kiv_hashtable_KIV_U32_new_default(allocator);
    table = made;
    if (made == nullptr || pairs) return;
    const auto three = [](const void *key) { return *static_cast<const uint32_t *>(key) % 3; };
    table = kind == Keys::u32    ? kiv_hashtable_KIV_U32_new(allocator, made->compare, made->key_of)
            : kind == Keys::u64  ? kiv_hashtable_KIV_U64_new(allocator, made->compare, made->key_of)
            : kind == Keys::text ? kiv_hashtable_KIV_UNICHAR_new(allocator, made->compare, made->key_of)
                                 : kiv_hashtable_new(allocator, 0, 0, three, made->compare, made->key_of);
    kiv_hashtable_delete(made);
  }
  void *address_of(Key &key) const {
    return kind == Keys::u64 ? &key.wide : kind == Keys::text ? static_cast<void *>(key.text) : &key.word;
  }
  uint32_t hash(int number) const {
    const Key &key = keys[number];
    return kind == Keys::u64    ? static_cast<uint32_t>(key.wide ^ key.wide >> 32)
           : kind == Keys::text ? key.text[0] ^ key.text[1] ^ key.text[2]
           : kind == Keys::u32  ? key.word
                                : key.word % 3;
  }
  void put(int number) {
    if (table->pair_mode != 0) {
      kiv_hashtable_put_key_elem(table, keys[number].element.key, &keys[number]);
    } else {
      kiv_hashtable_put(table, &keys[number].element);
    }
  }
  bool has(int number) {
    Key &key = keys[number];
    Key probe = key;
    void *found = kiv_hashtable_get(table, address_of(probe));
    void *found_key = kiv_hashtable_get_key(table, address_of(probe));
    if (found == nullptr) return found_key != nullptr;
    EXPECT_EQ(found, table->pair_mode != 0 ? static_cast<void *>(&key) : &key.element);
    EXPECT_EQ(found_key, table->pair_mode != 0 ? key.element.key : &key.element);
    return true;
  }
  bool remove(int number) {
    auto *entry = static_cast<KIV_HASHTABLE_PAIR *>(kiv_hashtable_take(table, keys[number].element.key));
    if (entry == nullptr) return false;
    EXPECT_EQ(entry->value, &keys[number]);
    if (table->pair_mode != 0) allocator->free(allocator, entry);
    return true;
  }

  Keys kind;
  KIV_ALLOCATOR *allocator;
  KIV_HASHTABLE *table;
  Key keys[kKeys];
};

int do_nothing(KIV_ALLOCATOR *, void *) { return 0; }

/// The table is the naive one, down to the room in its buckets.
void expect_same(const Fixture &fixture, const KIV_HASHTABLE *table, const NaiveHashtable &naive) {
  ASSERT_EQ(table->bucket_count, NaiveHashtable::kSizes[naive.size]);
  ASSERT_EQ(table->put_count, naive.put_count);
  EXPECT_EQ(table->size_entry[0], table->bucket_count);
  EXPECT_EQ(table->size_entry[-1], NaiveHashtable::kSizes[naive.size - 1]);
  EXPECT_EQ(table->grow_threshold, NaiveHashtable::kThresholds[naive.size]);
  ASSERT_EQ(table->buckets->count, table->bucket_count);
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    const auto *bucket = static_cast<const KIV_VECTOR *>(table->buckets->elements[i]);
    ASSERT_EQ(bucket != nullptr, naive.buckets[i].has_value()) << i;
    if (bucket == nullptr) continue;
    std::vector<int> numbers;
    for (uint32_t k = 0; k < bucket->count; ++k) {
      const void *key = static_cast<KIV_HASHTABLE_PAIR *>(bucket->elements[k])->value;
      numbers.push_back(static_cast<int>(static_cast<const Key *>(key) - fixture.keys));
    }
    ASSERT_EQ(numbers, naive.buckets[i]->entries) << i;
    ASSERT_EQ(bucket->capacity, naive.buckets[i]->capacity) << i;
    ASSERT_TRUE(bucket->allocator == table->allocator && bucket->compare == table->compare) << i;
  }
}

void run_beside_naive(Keys kind, bool pairs) {
  SCOPED_TRACE(testing::Message() << "keys " << static_cast<int>(kind) << ", pairs " << pairs);
  auto random = kiv::test::make_random();
  CountingAllocator allocator;
  Fixture fixture(kind, pairs, allocator.record());
  NaiveHashtable naive([&](int number) { return fixture.hash(number); });
  for (int operation = 0; operation < 5000 && !testing::Test::HasFailure(); ++operation) {
    allocator.clear_log();
    // By turns mostly puts and mostly removals, so that the table grows and shrinks.
    const int number = static_cast<int>(below(random, kKeys));
    if (below(random, 10) < (operation / 1250 % 2 == 0 ? 8u : 2u)) {
      fixture.put(number);
      naive.put(number);
    } else {
      EXPECT_EQ(fixture.remove(number), naive.remove(number));
    }
    expect_same(fixture, fixture.table, naive);
    const int other = static_cast<int>(below(random, kKeys));
    EXPECT_EQ(fixture.has(other), naive.has(other));
  }
  KIV_HASHTABLE *copy = kiv_hashtable_copy(fixture.table);
  NaiveHashtable naive_copy = naive;
  for (auto &bucket : naive_copy.buckets) {
    if (bucket) bucket->capacity = NaiveHashtable::capacity_of_new(bucket->entries.size());
  }
  expect_same(fixture, copy, naive_copy);
  kiv_hashtable_deep_delete(copy, do_nothing);  // the pairs are the other's, too
  kiv_hashtable_clear(fixture.table);
  expect_same(fixture, fixture.table, NaiveHashtable(naive.hash, naive.size));
  fixture.put(0);
  kiv_hashtable_delete(fixture.table);
}

TEST(Hashtable, IsTheNaiveOneAfterEveryOperation) {
  for (const Keys kind : {Keys::u32, Keys::u64, Keys::text}) {
    run_beside_naive(kind, true);
    run_beside_naive(kind, false);
  }
  run_beside_naive(Keys::three_hashes, false);  // long buckets
}

TEST(Hashtable, SizesAndRemainders) {
  using kiv::hashtable::kSizes, kiv::hashtable::remainder;
  auto random = kiv::test::make_random();
  for (const uint32_t *entry = kSizes + 1; *entry != 0; ++entry) {
    const uint32_t size = *entry, most = UINT32_MAX / size;
    // A wrong quotient shows next to a multiple, and the larger the multiple the sooner.
    for (uint32_t k = 0; k < 30000; ++k) {
      for (const uint32_t multiple : {k % (most + 1), most - k % (most + 1), below(random, most) + 1}) {
        for (const uint32_t hash : {multiple * size - 1, multiple * size, multiple * size + 1, UINT32_MAX - k}) {
          ASSERT_EQ(remainder(hash, entry), hash % size) << hash << " mod " << size;
        }
      }
    }
  }
  CountingAllocator allocator;
  const std::pair<uint32_t, uint32_t> sizes[] = {{0, 3},         {3, 3},          {4, 7},         {331, 331},
                                                 {10950, 21911}, {2874713498, 0}, {UINT32_MAX, 0}};
  for (const auto &[hint, size] : sizes) {
    KIV_HASHTABLE *table = kiv_hashtable_new(allocator.record(), hint, 0, nullptr, nullptr, nullptr);
    EXPECT_EQ(table != nullptr ? table->bucket_count : 0, size);
    kiv_hashtable_delete(table);
  }
}

TEST(Hashtable, PairsAndWalks) {
  CountingAllocator allocator;
  KIV_ALLOCATOR *from = allocator.record();
  Fixture fixture(Keys::u32, true, from);
  uint32_t keys[] = {1, 2, 5};
  for (uint32_t &key : keys) kiv_hashtable_put_key_elem(fixture.table, &key, nullptr);
  std::vector<uint32_t> seen;
  kiv_hashtable_foreach(fixture.table, &seen, [](void *context, void *pair) {
    const auto key = *static_cast<uint32_t *>(static_cast<KIV_HASHTABLE_PAIR *>(pair)->key);
    static_cast<std::vector<uint32_t> *>(context)->push_back(key);
    return key == 5 ? 1 : 0;
  });
  EXPECT_EQ(seen, (std::vector<uint32_t>{1, 5}));  // 2 stands behind 5, which stops its bucket
  // A pair that is put again is not freed for its own sake.
  void *pair = kiv_hashtable_take(fixture.table, &keys[1]);
  kiv_hashtable_put(fixture.table, pair);
  kiv_hashtable_put(fixture.table, pair);
  EXPECT_EQ(kiv_hashtable_take(fixture.table, &keys[1]), pair);
  from->free(from, pair);
  kiv_hashtable_deep_delete(fixture.table, [](KIV_ALLOCATOR *allocator_of_pair, void *each) {
    allocator_of_pair->free(allocator_of_pair, each);
    return 1;
  });
}

TEST(Hashtable, FailuresLeaveTheTableAsItWas) {
  for (const auto &[kind, pairs] : {std::pair{Keys::u64, true}, std::pair{Keys::three_hashes, false}}) {
    const uint32_t points = kiv::test::sweep_failures([kind = kind, pairs = pairs](CountingAllocator &allocator) {
      Fixture fixture(kind, pairs, allocator.record());
      if (fixture.table == nullptr) return;
      std::set<int> stored;
      const auto check = [&] {
        EXPECT_EQ(fixture.table->put_count, stored.size());
        for (int number = 0; number < 30; ++number) EXPECT_EQ(fixture.has(number), stored.count(number) == 1) << number;
      };
      for (int number = 0; number < 30; ++number) {
        fixture.put(number);
        if (fixture.has(number)) stored.insert(number);
        EXPECT_TRUE(allocator.has_failed() || stored.count(number) == 1);
        check();
      }
      KIV_HASHTABLE *copy = kiv_hashtable_copy(fixture.table);
      if (copy != nullptr) kiv_hashtable_deep_delete(copy, do_nothing);
      for (int number = 0; number < 29; ++number) {
        EXPECT_EQ(fixture.remove(number), stored.erase(number) == 1);
        check();
      }
      kiv_hashtable_delete(fixture.table);
    });
    EXPECT_GT(points, 30u);
  }
}

}  // namespace
