// The engine of object hashtables.

#include "objects/object_hashtable.h"

#include <algorithm>

namespace kiv::object {

namespace {

/// From such a count on, or such a bucket, it is worth while to try to make an index.
constexpr uint32_t kLargeTable = 64;
constexpr int32_t kLongBucket = 8;

/// 1 and the odd primes. (A divisor above the square root has one below it.)
bool is_bucket_count(uint32_t n) {
  if (n % 2 == 0) return false;
  for (uint32_t d = 3; d <= n / d; d += 2) {
    if (n % d == 0) return false;
  }
  return true;
}

uint32_t bucket_count_for(int32_t n) {
  uint32_t count = n > 0 ? static_cast<uint32_t>(n) : 10;
  if (is_bucket_count(count)) return count;
  count |= 1;
  while (!is_bucket_count(count)) count += 2;
  return count;
}

uint32_t grow_threshold_for(uint32_t bucket_count, float load_factor) {
  const double threshold = bucket_count / double{load_factor};
  return threshold < UINT32_MAX ? static_cast<uint32_t>(threshold) : UINT32_MAX;
}

KIV_OBJ *&bucket_slot(const KIV_OBJ_HASHTABLE *table, uint32_t number) {
  return table->buckets->elements[number % table->bucket_count];
}

uint32_t number_of(const KIV_OBJ *key) { return key->type->to_number(key); }

/// The place of the equal key in a bucket, or -1.
int32_t find_key(const KIV_OBJ_VECTOR *bucket, const KIV_OBJ *key) {
  const uint32_t kind = key->type->type_id;
  for (int32_t i = 0; i < bucket->count; ++i) {
    const KIV_OBJ *stored = key_of(bucket->elements[i]);
    if (stored->type->type_id == kind && key->type->cmp(key, stored) == 0) return i;
  }
  return -1;
}

int32_t find_tuple(const KIV_OBJ_VECTOR *bucket, const KIV_OBJ *tuple) {
  const auto *found = std::find(bucket->elements, bucket->elements + bucket->count, tuple);
  return static_cast<int32_t>(found - bucket->elements);
}

/// Puts a tuple in front of the bucket of that slot. False without memory.
bool push_front(KIV_ALLOCATOR *allocator, KIV_OBJ *&slot, KIV_OBJ *tuple) {
  if (slot == nullptr) slot = reinterpret_cast<KIV_OBJ *>(make_vector(allocator, 0));
  if (slot == nullptr || !open_gap(as_vector(slot), 0, 1)) return false;
  as_vector(slot)->elements[0] = tuple;
  return true;
}

/// Takes the tuple of the equal key out of bucket and index, if there is one. The hash counts where the index covers
/// the key.
KIV_OBJ *take_from(KIV_OBJ_HASHTABLE *table, KIV_OBJ *bucket_object, const KIV_OBJ *key, uint32_t hash) {
  if (bucket_object == nullptr) return nullptr;
  KIV_OBJ_VECTOR *bucket = as_vector(bucket_object);
  KeyIndex &index = buckets_of(table)->index;
  if (!index.covers(key)) {
    const int32_t at = find_key(bucket, key);
    if (at < 0) return nullptr;
    // A key that is not plain thinks that it equals one: the table goes on without an index.
    if (index.state() == KeyIndex::State::complete) index.drop(table->header.allocator, KeyIndex::State::refused);
    return detach(bucket, at);
  }
  KeyIndex::Slot *slot = index.find(key, hash);
  if (slot == nullptr) return nullptr;
  const int32_t at = find_tuple(bucket, slot->tuple);
  index.erase(slot);
  return detach(bucket, at);
}

/// Ends the buckets, but not their tuples.
void discard_buckets(KIV_OBJ_HASHTABLE *table) {
  const auto shallow_del = [](KIV_OBJ *object) { discard(as_vector(object)); };
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    KIV_OBJ *bucket = table->buckets->elements[i];
    if (bucket != nullptr) release_as(bucket, &vector_type, shallow_del);
  }
  release_as(&table->buckets->header, &vector_type, shallow_del);
}

/// Moves all tuples into more buckets; keys are known to differ and are not compared. Without memory the table stays as
/// it is, and the next put tries again.
void rebuild(KIV_OBJ_HASHTABLE *table) {
  KIV_ALLOCATOR *allocator = table->header.allocator;
  KIV_OBJ_HASHTABLE larger;
  const auto n = static_cast<int32_t>(std::min<uint64_t>(uint64_t{table->grow_threshold} * 2, INT32_MAX));
  if (!build_table(&larger, allocator, 0, n, table->load_factor)) return;
  const bool done = for_each_entry(table, [&](KIV_OBJ *tuple) {
    ++larger.count;
    return push_front(allocator, bucket_slot(&larger, number_of(key_of(tuple))), tuple);
  });
  if (!done) {
    discard_buckets(&larger);
    return;
  }
  KeyIndex &index = buckets_of(table)->index;
  if (index.state() == KeyIndex::State::complete) buckets_of(&larger)->index = index;
  discard_buckets(table);
  // The header too: callers know that a rebuilt table is neither automatic nor shared.
  *table = larger;
}

}  // namespace

Buckets *make_buckets(KIV_ALLOCATOR *allocator, uint32_t count) {
  auto *buckets = static_cast<Buckets *>(allocate_zeroed(allocator, sizeof(Buckets)));
  if (buckets == nullptr) return nullptr;
  const auto n = static_cast<int32_t>(count);
  KIV_OBJ **slots = allocate_slots(allocator, n);
  if (slots == nullptr) {
    allocator->free(allocator, buckets);
    return nullptr;
  }
  build_vector(&buckets->vector, allocator, 0, n, slots);
  return buckets;
}

bool build_table(KIV_OBJ_HASHTABLE *table, KIV_ALLOCATOR *allocator, uint32_t automatic, int32_t n, float load_factor) {
  // No search for a bucket count that no block could hold.
  if (slots_size(roomy(n)) > UINT32_MAX) return false;
  const uint32_t bucket_count = bucket_count_for(n);
  Buckets *buckets = make_buckets(allocator, bucket_count);
  if (buckets == nullptr) return false;
  if (!(load_factor > 0 && load_factor < 1)) load_factor = 0.75F;
  *table = {{&hashtable_type, allocator, automatic, 0},
            &buckets->vector,
            bucket_count,
            load_factor,
            grow_threshold_for(bucket_count, load_factor),
            0};
  return true;
}

void start_index(KIV_OBJ_HASHTABLE *table) {
  KIV_ALLOCATOR *allocator = table->header.allocator;
  KeyIndex &index = buckets_of(table)->index;
  index.start(allocator);
  (void)for_each_entry(table, [&](KIV_OBJ *tuple) {
    const KIV_OBJ *key = key_of(tuple);
    if (index.state() == KeyIndex::State::complete) {
      index.insert(allocator, tuple, KeyIndex::is_plain(key) ? KeyIndex::hash(key) : 0);
    }
    return index.state() == KeyIndex::State::complete;
  });
}

KIV_OBJ *find_entry(const KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key) {
  const KeyIndex &index = buckets_of(table)->index;
  if (index.covers(key)) {
    const KeyIndex::Slot *slot = index.find(key, KeyIndex::hash(key));
    return slot != nullptr ? slot->tuple : nullptr;
  }
  const KIV_OBJ_VECTOR *bucket = as_vector(bucket_slot(table, number_of(key)));
  if (bucket == nullptr) return nullptr;
  const int32_t at = find_key(bucket, key);
  return at >= 0 ? bucket->elements[at] : nullptr;
}

Put put_entry(KIV_OBJ_HASHTABLE *table, KIV_OBJ *tuple) {
  const KIV_OBJ *key = key_of(tuple);
  if (key == nullptr) return Put::failed;
  KIV_ALLOCATOR *allocator = table->header.allocator;
  const uint32_t number = number_of(key);
  KeyIndex &index = buckets_of(table)->index;
  const uint32_t hash = index.covers(key) ? KeyIndex::hash(key, number) : 0;
  KIV_OBJ *&slot = bucket_slot(table, number);
  KIV_OBJ *old = take_from(table, slot, key, hash);
  // Where a tuple was taken out there is room for one.
  if (!push_front(allocator, slot, tuple)) return Put::failed;
  if (index.state() == KeyIndex::State::complete) {
    index.insert(allocator, tuple, hash);
  } else if (index.state() == KeyIndex::State::absent &&
             (table->count >= kLargeTable || as_vector(slot)->count > kLongBucket)) {
    start_index(table);
  }
  if (old != nullptr) release_replaced(old, tuple);
  if (++table->count >= table->grow_threshold) rebuild(table);
  return old != nullptr ? Put::replaced : Put::added;
}

KIV_OBJ *take_entry(KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key) {
  const uint32_t number = number_of(key);
  const uint32_t hash = buckets_of(table)->index.covers(key) ? KeyIndex::hash(key, number) : 0;
  KIV_OBJ *taken = take_from(table, bucket_slot(table, number), key, hash);
  if (taken != nullptr) --table->count;
  return taken;
}

}  // namespace kiv::object
