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

constexpr int kKeys = 400;

/// Units that are a 32-bit number, a 64-bit one and a text.
struct Key {
  alignas(8) KIV_UNICHAR units[4];
  /// What is stored in element mode: its first word is the key's address, as in the pairs of pair mode.
  KIV_HASHTABLE_PAIR element;
};

uint32_t modulo_3(const void *key) { return *static_cast<const uint32_t *>(key) % 3; }

/// How tables are made, in pair mode and in element mode, and the hash that their keys have to have.
const struct Kind {
  const char *name;
  KIV_HASHTABLE *(*pairs)(KIV_ALLOCATOR *);
  KIV_HASHTABLE *(*elements)(KIV_ALLOCATOR *, KIV_HASHTABLE_COMPARE, KIV_HASHTABLE_KEY_OF);
  uint32_t (*hash)(const Key &);
} kinds[] = {
    {"u32", kiv_hashtable_KIV_U32_new_default, kiv_hashtable_KIV_U32_new, [](const Key &key) { return key.units[0]; }},
    {"u64", kiv_hashtable_KIV_U64_new_default, kiv_hashtable_KIV_U64_new,
     [](const Key &key) { return key.units[0] ^ key.units[1]; }},
    {"text", kiv_hashtable_KIV_UNICHAR_new_default, kiv_hashtable_KIV_UNICHAR_new,
     [](const Key &key) { return key.units[0] ^ key.units[1] ^ key.units[2]; }},
    {"long buckets", kiv_hashtable_KIV_U32_new_default,
     [](KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare, KIV_HASHTABLE_KEY_OF key_of) {
       return kiv_hashtable_new(allocator, 0, 0, modulo_3, compare, key_of);
     },
     [](const Key &key) { return modulo_3(key.units); }}};

struct Fixture {
  Fixture(const Kind &kind, bool pairs, KIV_ALLOCATOR *from) : allocator(from), table(kind.pairs(from)) {
    for (uint32_t i = 0; i < kKeys; ++i) {
      keys[i] = {{i * 0x9E3779B1 + 1, 0x10000 + i % 20, i + 1, 0}, {keys[i].units, &keys[i]}};
    }
    if (table == nullptr || pairs) return;
    KIV_HASHTABLE *like = table;
    table = kind.elements(allocator, like->compare, like->key_of);
    kiv_hashtable_delete(like);
  }
  void put(int number) {
    if (table->pair_mode != 0) {
      kiv_hashtable_put_key_elem(table, keys[number].units, &keys[number]);
    } else {
      kiv_hashtable_put(table, &keys[number].element);
    }
  }
  bool has(int number) {
    Key &key = keys[number];
    const Key probe = key;
    void *found = kiv_hashtable_get(table, probe.units), *found_key = kiv_hashtable_get_key(table, probe.units);
    if (found == nullptr) return found_key != nullptr;
    EXPECT_EQ(found, table->pair_mode != 0 ? static_cast<void *>(&key) : &key.element);
    EXPECT_EQ(found_key, table->pair_mode != 0 ? static_cast<void *>(key.units) : &key.element);
    return true;
  }
  bool remove(int number) {
    auto *entry = static_cast<KIV_HASHTABLE_PAIR *>(kiv_hashtable_take(table, keys[number].units));
    if (entry == nullptr) return false;
    EXPECT_EQ(entry->value, &keys[number]);
    if (table->pair_mode != 0) allocator->free(allocator, entry);
    return true;
  }

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

void run_beside_naive(const Kind &kind, bool pairs) {
  SCOPED_TRACE(testing::Message() << kind.name << ", pairs " << pairs);
  auto random = kiv::test::make_random();
  CountingAllocator allocator;
  Fixture fixture(kind, pairs, allocator.record());
  NaiveHashtable naive([&](int number) { return kind.hash(fixture.keys[number]); });
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
  for (const Kind &kind : kinds) {
    run_beside_naive(kind, false);
    if (&kind != &kinds[3]) run_beside_naive(kind, true);
  }
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
  Fixture fixture(kinds[0], true, from);
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
  for (const size_t kind : {1, 3}) {  // pairs, and elements in long buckets
    const uint32_t points = kiv::test::sweep_failures([kind](CountingAllocator &allocator) {
      Fixture fixture(kinds[kind], kind == 1, allocator.record());
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
