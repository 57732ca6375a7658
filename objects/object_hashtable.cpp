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

/// The place of the equal key in a bucket, or -1.
int32_t find_key(const KIV_OBJ_VECTOR *bucket, const KIV_OBJ *key) {
  const uint32_t kind = key->type->type_id;
  for (int32_t i = 0; i < bucket->count; ++i) {
    const KIV_OBJ *stored = key_of(bucket->elements[i]);
    if (stored != nullptr && stored->type->type_id == kind && key->type->cmp(key, stored) == 0) return i;
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

/// Takes the tuple of the equal key, which has that hash, out of bucket and index, if there is one.
KIV_OBJ *take_from(KIV_OBJ_HASHTABLE *table, KIV_OBJ *bucket_object, const KIV_OBJ *key, uint32_t hash) {
  if (bucket_object == nullptr) return nullptr;
  KIV_OBJ_VECTOR *bucket = as_vector(bucket_object);
  KeyIndex &index = buckets_of(table)->index;
  if (index.covers(hash)) {
    const uint32_t place = index.find(key, hash);
    if (place == KeyIndex::kNone) return nullptr;
    const int32_t at = find_tuple(bucket, index.tuple_at(place));
    if (at < bucket->count) {
      index.erase(place);
      return detach(bucket, at);
    }
    // Somebody else has changed the buckets, and they are what counts.
    index.drop(table->header.allocator, KeyIndex::State::refused);
  }
  const int32_t at = find_key(bucket, key);
  if (at < 0) return nullptr;
  // A key that is not plain thinks that it equals one: the table goes on without an index.
  if (index.is_complete()) index.drop(table->header.allocator, KeyIndex::State::refused);
  return detach(bucket, at);
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
  index.start(allocator, index_room(table));
  (void)for_each_entry(table, [&](KIV_OBJ *tuple) {
    const KIV_OBJ *key = key_of(tuple);
    if (index.is_complete()) index.insert(allocator, tuple, key != nullptr ? KeyIndex::digest(key).hash : 0);
    return index.is_complete();
  });
}

KIV_OBJ *find_entry(const KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key) {
  const KeyIndex &index = buckets_of(table)->index;
  const KeyIndex::Digest digest = KeyIndex::digest(key);
  if (index.covers(digest.hash)) {
    const uint32_t place = index.find(key, digest.hash);
    return place != KeyIndex::kNone ? index.tuple_at(place) : nullptr;
  }
  const KIV_OBJ_VECTOR *bucket = as_vector(bucket_slot(table, digest.number));
  if (bucket == nullptr) return nullptr;
  const int32_t at = find_key(bucket, key);
  return at >= 0 ? bucket->elements[at] : nullptr;
}

KeyIndex::Digest expect_put(const KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key) {
  const KeyIndex::Digest digest = KeyIndex::digest(key);
  buckets_of(table)->index.prefetch(digest.hash);
  prefetch_vector(bucket_slot(table, digest.number));
  return digest;
}

Put put_entry(KIV_OBJ_HASHTABLE *table, KIV_OBJ *tuple, KeyIndex::Digest digest) {
  const KIV_OBJ *key = key_of(tuple);
  KIV_ALLOCATOR *allocator = table->header.allocator;
  KeyIndex &index = buckets_of(table)->index;
  KIV_OBJ *&slot = bucket_slot(table, digest.number);
  KIV_OBJ *old = take_from(table, slot, key, digest.hash);
  // Where a tuple was taken out there is room for one.
  if (!push_front(allocator, slot, tuple)) return Put::failed;
  if (index.is_complete()) {
    index.insert(allocator, tuple, digest.hash);
  } else if (index.is_absent() && (table->count >= kLargeTable || as_vector(slot)->count > kLongBucket)) {
    start_index(table);
  }
  // Only now: old and new entry may share key or value, and the old one's deletion may run foreign code, which finds a
  // table in order.
  if (old != nullptr) release_replaced(old, tuple);
  if (++table->count >= table->grow_threshold) rebuild(table);
  return old != nullptr ? Put::replaced : Put::added;
}

KIV_OBJ *take_entry(KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key) {
  const KeyIndex::Digest digest = KeyIndex::digest(key);
  KIV_OBJ *taken = take_from(table, bucket_slot(table, digest.number), key, digest.hash);
  if (taken != nullptr) --table->count;
  return taken;
}

}  // namespace kiv::object
