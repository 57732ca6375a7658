// Vectors, tuples and hashtables of objects: who owns what, beside a model in standard containers; oddities; failures.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "kiv_obj_hashtable.h"
#include "tests/objects/counting_kind.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

namespace kiv::test {
namespace {

const KIV_OBJ_VECTOR *vector_of(const KIV_OBJ *object) { return reinterpret_cast<const KIV_OBJ_VECTOR *>(object); }
KIV_OBJ_HASHTABLE *table_of(KIV_OBJ *object) { return reinterpret_cast<KIV_OBJ_HASHTABLE *>(object); }

/// An operation's new text, freed.
std::string taken(KIV_ALLOCATOR *allocator, char *text) {
  const std::string result = text != nullptr ? text : "(null)";
  allocator->free(allocator, text);
  return result;
}

/// The objects in the order of a walk.
int collect(void *context, KIV_OBJ *object) {
  static_cast<std::vector<KIV_OBJ *> *>(context)->push_back(object);
  return 1;
}

std::vector<KIV_OBJ *> elements_of(const KIV_OBJ *vector) {
  std::vector<KIV_OBJ *> elements;
  obj_vector_foreach_elem(vector, &elements, collect);
  return elements;
}

// --- Model -----------------------------------------------------------------------------------------------------------

/// Containers that share objects, and what they should hold. Equal objects have equal labels. The kinds are a letter
/// each: k counting, s string, c char, i int, l u64; a table of plain ones only starts so large that it has an index.
class World {
 public:
  World(std::mt19937_64 &random, std::string kinds) : random_(random), kinds_(std::move(kinds)) {
    vector_ = obj_vector_new(memory_.record(), static_cast<int32_t>(below(random, 4)));
    slots_.resize(static_cast<size_t>(obj_vector_size(vector_)));
    table_ =
        obj_hashtable_new_automatic(memory_.record(), &table_storage_, static_cast<int32_t>(below(random, 20)), 0.75F);
    buckets_.resize(table_storage_.bucket_count);
    threshold_ = table_storage_.grow_threshold;
    for (int i = 0; kinds_ == "sil" && i < 100; ++i) put(any(), any());
  }
  ~World() {
    obj_vector_del(vector_);
    table_->automatic = 1;
    obj_hashtable_del(table_);
  }
  World(const World &) = delete;
  World &operator=(const World &) = delete;

  void step() {
    const auto index = static_cast<int32_t>(below(random_, static_cast<uint32_t>(slots_.size()) + 3));
    switch (below(random_, 13)) {
      case 0:
        return set(index, any());
      case 1:
        return set(static_cast<int32_t>(slots_.size()), any(), obj_vector_add_elem);
      case 2:
        return add_unique(any());
      case 3:
        return insert(index, any());
      case 4:
        return erase(index, [&] { obj_vector_del_elem_at(vector_, index); });
      case 5:
        return erase(static_cast<int32_t>(slots_.size()) - 1, [&] { obj_vector_del_elem_last(vector_); });
      case 6:
        return erase_equal(any());
      case 7:
        return below(random_, 10) == 0 ? clear() : copy_all();
      case 8:
        return store_again(index);
      case 9:
      case 10:
        return put(any(), any());
      case 11:
        return put_again();
      default:
        return below(random_, 40) == 0 ? clear_table() : look_up_and_delete(any());
    }
  }

  /// That every object has as many owners as the model says, and every container its contents.
  void check() {
    size_t counted = 0;
    for (const auto &[object, known] : known_) {
      ASSERT_EQ(object->extra_refs, known.owners - 1) << known.label;
      counted += object->type == kind_.type() ? 1 : 0;
    }
    ASSERT_EQ(kind_.alive.size(), counted);
    ASSERT_EQ(elements_of(vector_), slots_);
    std::vector<KIV_OBJ *> vectors = elements_of(&table_of(table_)->buckets->header);
    vectors.push_back(vector_);
    for (const KIV_OBJ *object : vectors) {
      const KIV_OBJ_VECTOR *vector = vector_of(object != nullptr ? object : vector_);
      for (auto i = static_cast<uint32_t>(vector->count); i <= vector->capacity; ++i)
        ASSERT_EQ(vector->elements[i], nullptr);
    }
    std::vector<KIV_OBJ *> tuples;
    std::vector<Entry> entries;
    obj_hashtable_foreach_key_elem(table_, &tuples, collect);
    for (const KIV_OBJ *tuple : tuples) entries.push_back({obj_tuple_get_elem(tuple, 0), obj_tuple_get_elem(tuple, 1)});
    std::vector<Entry> expected;
    for (const auto &bucket : buckets_) expected.insert(expected.end(), bucket.begin(), bucket.end());
    ASSERT_EQ(entries, expected);
    ASSERT_EQ(obj_hashtable_size(table_), count_);
  }

 private:
  using Entry = std::pair<KIV_OBJ *, KIV_OBJ *>;
  struct Known {
    std::string label;
    uint32_t owners, number;
  };

  /// A new object, or a further reference to one that is somewhere.
  KIV_OBJ *any() {
    const auto &bucket = buckets_[below(random_, static_cast<uint32_t>(buckets_.size()))];
    KIV_OBJ *shared = below(random_, 2) == 0 && !bucket.empty() ? bucket.back().first
                      : !slots_.empty() ? slots_[below(random_, static_cast<uint32_t>(slots_.size()))]
                                        : nullptr;
    if (shared != nullptr && below(random_, 3) == 0) {
      ++known_.at(shared).owners;
      ++shared->extra_refs;
      return shared;
    }
    // Strings of few letters: many anagrams, whose numbers are equal.
    std::u32string text;
    for (uint32_t i = below(random_, 6); i > 0; --i) text += static_cast<char32_t>('a' + below(random_, 3));
    const char kind = below(random_, 2000) == 0 ? 'c' : kinds_[below(random_, static_cast<uint32_t>(kinds_.size()))];
    const uint32_t value = below(random_, kind == 'c' ? 5 : 60);
    KIV_ALLOCATOR *allocator = memory_.record();
    KIV_OBJ *object = kind == 's'   ? obj_unichar_s_new(allocator, new_string(allocator, text))
                      : kind == 'c' ? obj_char_new(allocator, static_cast<char>(value))
                      : kind == 'i' ? obj_int_new(allocator, static_cast<int32_t>(value))
                      : kind == 'l' ? obj_u64_new(allocator, uint64_t{value} << 32)
                                    : kind_.make(allocator, value);
    const std::string name = kind + (kind == 's' ? std::string(text.begin(), text.end()) : std::to_string(value));
    known_[object] = {name, 1, object->type->to_number(object)};
    return object;
  }
  const std::string &label(KIV_OBJ *object) { return known_.at(object).label; }
  void forget(KIV_OBJ *object) {
    if (object != nullptr && --known_.at(object).owners == 0) known_.erase(object);
  }
  void drop(KIV_OBJ *object) {
    forget(object);
    obj_vector_del(object);
  }
  std::vector<KIV_OBJ *>::iterator equal_slot(KIV_OBJ *object) {
    return std::find_if(slots_.begin(), slots_.end(),
                        [&](KIV_OBJ *slot) { return slot != nullptr && label(slot) == label(object); });
  }

  template <class... Store>
  void set(int32_t index, KIV_OBJ *object, Store... add) {
    if (static_cast<size_t>(index) >= slots_.size()) slots_.resize(static_cast<size_t>(index) + 1);
    KIV_OBJ *old = std::exchange(slots_[static_cast<size_t>(index)], object);
    forget(old);
    if constexpr (sizeof...(add) == 0) {
      EXPECT_EQ(obj_vector_set_elem(vector_, index, object), object);
    } else {
      EXPECT_EQ((add(vector_, object), ...), object);
    }
  }
  void store_again(int32_t index) {
    KIV_OBJ *object = obj_vector_get_elem(vector_, index);
    // The one reference that there is; of two, one would end.
    if (object != nullptr && object->extra_refs == 0) EXPECT_EQ(obj_vector_set_elem(vector_, index, object), object);
  }
  void add_unique(KIV_OBJ *object) {
    const bool present = equal_slot(object) != slots_.end();
    EXPECT_EQ(obj_vector_add_uniq_elem(vector_, object), present ? nullptr : object);
    if (present) return drop(object);
    slots_.push_back(object);
  }
  void insert(int32_t index, KIV_OBJ *object) {
    const auto place = static_cast<size_t>(index);
    EXPECT_EQ(obj_vector_ins_elem(vector_, index, object), place < slots_.size() ? slots_[place] : nullptr);
    slots_.resize(std::max(place, slots_.size()));
    slots_.insert(slots_.begin() + index, object);
  }
  template <class Delete>
  void erase(int32_t index, Delete del) {
    if (index >= 0 && static_cast<size_t>(index) < slots_.size()) {
      forget(slots_[static_cast<size_t>(index)]);
      slots_.erase(slots_.begin() + index);
    }
    del();
  }
  void erase_equal(KIV_OBJ *object) {
    const auto found = equal_slot(object);
    const auto expected = static_cast<int32_t>(found - slots_.begin());
    int32_t index = -5;
    const bool present = found != slots_.end();
    EXPECT_EQ(obj_vector_find_elem(vector_, &index, object), present ? *found : nullptr);
    EXPECT_EQ(index, present ? expected : -5);
    erase(present ? expected : -1, [&] { obj_vector_del_elem(vector_, object); });
    drop(object);
  }
  void clear() {
    for (KIV_OBJ *&slot : slots_) forget(std::exchange(slot, nullptr));
    obj_vector_clear(vector_);
  }
  /// Copies of everything, which live and die alone.
  void copy_all() {
    for (KIV_OBJ *container : {vector_, table_}) {
      KIV_OBJ *copy = container->type->copy(container);
      EXPECT_EQ(container->type->cmp(container, copy), 0);
      EXPECT_EQ(taken(memory_.record(), copy->type->to_char_s(copy)),
                taken(memory_.record(), container->type->to_char_s(container)));
      if (container == table_) {
        for (const auto &bucket : buckets_)
          for (const Entry &entry : bucket) EXPECT_NE(obj_hashtable_find_key(copy, entry.first), nullptr);
      }
      EXPECT_EQ(copy->automatic + copy->extra_refs, 0U);
      obj_vector_del(copy);
    }
  }

  std::vector<Entry> &bucket_of(KIV_OBJ *key) { return buckets_[known_.at(key).number % buckets_.size()]; }
  std::vector<Entry>::iterator entry_of(KIV_OBJ *key) {
    auto &bucket = bucket_of(key);
    return std::find_if(bucket.begin(), bucket.end(), [&](Entry &entry) { return label(entry.first) == label(key); });
  }
  bool erase_entry(KIV_OBJ *key) {
    const auto found = entry_of(key);
    if (found == bucket_of(key).end()) return false;
    const Entry entry = *found;
    bucket_of(key).erase(found);
    forget(entry.second);
    forget(entry.first);
    return true;
  }
  void count_put(KIV_OBJ *key, KIV_OBJ *value) {
    bucket_of(key).insert(bucket_of(key).begin(), {key, value});
    if (++count_ < threshold_) return;
    const auto old = std::exchange(buckets_, {});
    buckets_.resize(table_of(table_)->bucket_count);
    count_ = 0;
    for (const auto &bucket : old)
      for (const Entry &entry : bucket) {
        ++count_;
        erase_entry(entry.first);
        bucket_of(entry.first).insert(bucket_of(entry.first).begin(), entry);
      }
    EXPECT_GE(buckets_.size(), 2 * threshold_);
    EXPECT_EQ(table_->automatic, 0U) << "a rebuilt table is not automatic";
    threshold_ = table_of(table_)->grow_threshold;
    table_->automatic = 1;
  }
  void put(KIV_OBJ *key, KIV_OBJ *value) {
    const bool replaces = entry_of(key) != bucket_of(key).end();
    EXPECT_EQ(obj_hashtable_put(table_, key, value) != 0, replaces);
    // Forgotten late: the new entry may have objects of the old one.
    if (replaces) erase_entry(key);
    count_put(key, value);
  }
  /// The tuple of an entry, once with a further reference, once with the one that there is.
  void put_again() {
    std::vector<KIV_OBJ *> tuples;
    obj_hashtable_foreach_key_elem(table_, &tuples, collect);
    if (tuples.empty()) return;
    KIV_OBJ *tuple = tuples[below(random_, static_cast<uint32_t>(tuples.size()))];
    const Entry entry = {obj_tuple_get_elem(tuple, 0), obj_tuple_get_elem(tuple, 1)};
    if (below(random_, 2) == 0) ++tuple->extra_refs;
    EXPECT_NE(obj_hashtable_put_pair(table_, tuple), 0);
    EXPECT_EQ(tuple->extra_refs, 0U);
    bucket_of(entry.first).erase(entry_of(entry.first));
    count_put(entry.first, entry.second);
  }
  void look_up_and_delete(KIV_OBJ *key) {
    const auto found = entry_of(key);
    const bool present = found != bucket_of(key).end();
    KIV_OBJ *stored = present ? found->first : nullptr;
    EXPECT_EQ(obj_hashtable_find_key(table_, key), stored);
    EXPECT_EQ(obj_hashtable_get_elem(table_, key), present ? found->second : nullptr);
    KIV_OBJ *value = obj_hashtable_find_elem(table_, key);
    EXPECT_TRUE(value == nullptr || label(value) == label(key));
    if (present && below(random_, 2) == 0) {
      obj_hashtable_del_elem(table_, below(random_, 2) == 0 ? key : stored);
      erase_entry(key);
      --count_;
    }
    drop(key);
  }
  void clear_table() {
    for (auto &bucket : buckets_) {
      for (const Entry &entry : bucket) forget(entry.first), forget(entry.second);
      bucket.clear();
    }
    obj_hashtable_clear(table_);
  }

  std::mt19937_64 &random_;
  std::string kinds_;
  CountingAllocator memory_;
  CountingKind kind_{1000, 7};
  KIV_OBJ_HASHTABLE table_storage_;
  KIV_OBJ *vector_, *table_;
  std::map<KIV_OBJ *, Known> known_;
  std::vector<KIV_OBJ *> slots_;
  std::vector<std::vector<Entry>> buckets_;
  uint32_t count_ = 0, threshold_;
};

TEST(ObjContainers, OwnTheirObjectsAsTheModelSays) {
  auto random = make_random();
  for (uint32_t world = 0; world < 30; ++world) {
    World it(random, std::vector<std::string>{"kkkc", "sssssssssk", "sil"}[world % 3]);
    for (int i = 0; i < (world % 20 == 2 ? 3000 : 300); ++i) {
      it.step();
      it.check();
      if (testing::Test::HasFailure()) GTEST_FAIL() << "world " << world << ", step " << i << ", seed " << seed();
    }
  }
}

// --- Tables ----------------------------------------------------------------------------------------------------------

TEST(ObjContainers, KeepTheirHabits) {
  CountingAllocator memory;
  KIV_ALLOCATOR *a = memory.record();
  const int32_t cuts[][3] = {{10, 4, 7}, {10, 11, 10}, {3, 0, 1}, {5, INT32_MIN, 0}};
  for (const auto &[count, n, left] : cuts) {
    KIV_OBJ *vector = obj_vector_new(a, count);
    obj_vector_trunc(vector, n);
    EXPECT_EQ(obj_vector_size(vector), left) << count << " to " << n;
    obj_vector_del(vector);
  }
  const std::tuple<int32_t, float, uint32_t, float, uint32_t> tables[] = {
      {-1, NAN, 11, .75F, 14}, {1, 1.F, 1, .75F, 1}, {121, .5F, 127, .5F, 254}, {7, 1e-45F, 7, 1e-45F, UINT32_MAX}};
  for (const auto &[n, load_factor, buckets, kept, threshold] : tables) {
    KIV_OBJ *table = obj_hashtable_new(a, n, load_factor);
    const KIV_OBJ_HASHTABLE &it = *table_of(table);
    EXPECT_EQ(std::tuple(it.bucket_count, it.load_factor, it.grow_threshold), std::tuple(buckets, kept, threshold))
        << n;
    EXPECT_EQ(obj_hashtable_is_empty(table), 0);
    obj_hashtable_del(table);
  }
  for (const int32_t n : {INT32_MAX, INT32_MAX - 1}) {
    EXPECT_TRUE(obj_hashtable_new(a, n, .5F) == nullptr && obj_vector_new(a, n) == nullptr);
    EXPECT_EQ(obj_tuple_new(a, n), nullptr);
  }
  // Kinds matter to containers, though not to the objects' own comparison; empty slots are passed over, and kept.
  KIV_OBJ *vector = obj_vector_new(a, 1), *key = obj_u32_new(a, 5), *two = obj_u32_new(a, 2);
  obj_vector_set_elem(vector, 3, obj_int_new(a, 5));
  EXPECT_EQ(obj_vector_find_elem(vector, nullptr, key), nullptr);
  EXPECT_EQ(obj_vector_add_uniq_elem(vector, key), key);
  KIV_OBJ *const nothing = nullptr;
  obj_vector_set_elem(vector, 1, obj_tuple_new(a, 3, two, nothing, obj_vector_new_from_char_s(a, "xy")));
  KIV_OBJ *first = obj_vector_ins_char_s(vector, 4, "abcdefghijkl");
  EXPECT_EQ(first, obj_vector_get_elem(vector, 4));
  obj_vector_ins_char(vector, 17, '!');
  EXPECT_EQ(taken(a, obj_vector_to_char_s(vector)), "(2xy)5abcdefghijkl5!");
  EXPECT_EQ(vector_of(vector)->capacity, 25U);
  EXPECT_EQ(obj_vector_set_elem(vector, 0, nullptr), nullptr);
  EXPECT_EQ(obj_vector_set_elem(vector, INT32_MAX, key), nullptr);
  EXPECT_EQ(obj_vector_ins_char_s(vector, INT32_MAX, "z"), nullptr);
  // Only a key tells tuples apart.
  KIV_OBJ_TUPLE storage;
  ++two->extra_refs;
  KIV_OBJ *tuple = obj_tuple_new_automatic(a, &storage, 1, two);
  EXPECT_EQ(tuple->type->cmp(tuple, obj_vector_get_elem(vector, 1)), 0);
  obj_tuple_del(tuple);
  obj_vector_del(vector);
}

TEST(ObjContainers, EndWithoutTheirElements) {
  CountingAllocator memory;
  CountingKind kind;
  KIV_OBJ *table = obj_hashtable_new(memory.record(), 10, .5F), *key = kind.make(memory.record(), 1);
  obj_hashtable_put(table, key, nullptr);
  std::vector<KIV_OBJ *> buckets = elements_of(&table_of(table)->buckets->header);
  std::erase(buckets, nullptr);
  ASSERT_EQ(buckets.size(), 1U);
  KIV_OBJ *tuple = obj_vector_get_elem(buckets[0], 0);
  ++table->extra_refs;
  obj_hashtable_shallow_del(table);
  EXPECT_EQ(table->extra_refs, 0U);
  obj_hashtable_shallow_del(table);
  obj_vector_shallow_del(buckets[0]);
  EXPECT_EQ(obj_tuple_get_elem(tuple, 0), key);
  obj_tuple_del(tuple);
}

TEST(ObjContainers, EqualKeysThatMeetInARebuildBecomeOne) {
  CountingAllocator memory;
  // Equal keys whose numbers are equal modulo the 29 buckets to come, not modulo the 11 at first.
  const KIV_OBJ_TYPE twins = {2000,
                              sizeof(KIV_OBJ_U32),
                              nullptr,
                              [](const KIV_OBJ *key) { return reinterpret_cast<const KIV_OBJ_U32 *>(key)->value; },
                              nullptr,
                              [](const KIV_OBJ *, const KIV_OBJ *) { return 0; },
                              [](KIV_OBJ *) {}};
  KIV_OBJ_U32 first = {{&twins, nullptr, 1, 0}, 0}, second = {{&twins, nullptr, 1, 0}, 29};
  KIV_OBJ *table = obj_hashtable_new(memory.record(), 10, .75F);
  for (KIV_OBJ_U32 *twin : {&first, &second}) obj_hashtable_put(table, &twin->header, obj_int_new(memory.record(), 1));
  for (int32_t i = 1; i <= 12; ++i) {
    EXPECT_EQ(obj_hashtable_find_key(table, &first.header), &first.header) << i;
    obj_hashtable_put(table, obj_int_new(memory.record(), i), obj_int_new(memory.record(), i));
  }
  EXPECT_EQ(table_of(table)->bucket_count, 29U);
  EXPECT_EQ(obj_hashtable_size(table), 14) << "puts are counted";
  EXPECT_EQ(obj_hashtable_find_key(table, &first.header), &second.header);
  obj_hashtable_del_elem(table, &first.header);
  EXPECT_EQ(obj_hashtable_find_key(table, &first.header), nullptr);
  obj_hashtable_del(table);
}

TEST(ObjContainers, StayAsTheyWereWithoutMemory) {
  sweep_failures([](CountingAllocator &memory) {
    CountingKind kind;
    KIV_ALLOCATOR *allocator = memory.record();
    KIV_OBJ *vector = obj_vector_new(allocator, 0), *table = obj_hashtable_new(allocator, 1, .9F);
    if (vector == nullptr || table == nullptr) return obj_vector_del(vector), obj_hashtable_del(table);
    for (uint32_t i = 0; i < 12; ++i) {
      KIV_OBJ *object = kind.make(allocator, i);
      if (object != nullptr && obj_vector_add_elem(vector, object) == nullptr) obj_vector_del(object);
      object = kind.make(allocator, i);
      const std::vector<KIV_OBJ *> before = elements_of(vector);
      if (object != nullptr) (void)obj_vector_ins_elem(vector, 1, object);
      EXPECT_TRUE(obj_vector_get_elem(vector, 1) == object || elements_of(vector) == before);
      KIV_STRING string = new_string(allocator, std::u32string(i, U'a') + U'b' + std::u32string(12 - i, U'a'));
      KIV_OBJ *key = string != nullptr ? obj_unichar_s_new(allocator, string) : nullptr;
      if (key == nullptr) allocator->free(allocator, string);
      (void)obj_hashtable_put(table, key, kind.make(allocator, i));
    }
    std::vector<KIV_OBJ *> tuples, before = elements_of(vector);
    obj_hashtable_foreach_key_elem(table, &tuples, collect);
    EXPECT_EQ(tuples.size(), obj_hashtable_size(table));
    for (const KIV_OBJ *tuple : tuples) {
      KIV_OBJ *key = obj_tuple_get_elem(tuple, 0);
      EXPECT_EQ(obj_hashtable_find_key(table, key), key);
    }
    if (obj_vector_ins_char_s(vector, 2, "text") == nullptr) EXPECT_EQ(elements_of(vector), before);
    obj_vector_del(obj_vector_new_from_char_s(allocator, "other"));
    KIV_OBJ_VECTOR storage;
    obj_vector_del(obj_vector_new_automatic(allocator, &storage, 3));
    for (KIV_OBJ *container : {vector, table}) {
      allocator->free(allocator, container->type->to_char_s(container));
      obj_vector_del(container->type->copy(container));
      obj_vector_del(container);
    }
  });
}

}  // namespace
}  // namespace kiv::test
