// Hash tables: a vector of buckets, each a vector of entries.
//
// Invariants:
//  1. bucket_count == *size_entry == buckets->count; grow_threshold goes with it.
//  2. An entry stands in the bucket of its key's hash; no two entries have equal keys. The newest comes first.
//  3. put_count is at least the number of entries, unless 2^32 puts have been counted without a rebuild.
//  4. A bucket is null until its first entry comes, and may be empty after removals. All buckets have the table's
//     allocator and compare.

#include "kiv_hashtable.h"

#include "base/record_layout.h"
#include "containers/hashtable_rebuild.h"

using namespace kiv::hashtable;

KIV_LAYOUT_32(sizeof(KIV_HASHTABLE) == 40 && sizeof(KIV_HASHTABLE_PAIR) == 8);
KIV_LAYOUT_32(offsetof(KIV_HASHTABLE, hash) == 0 && offsetof(KIV_HASHTABLE, compare) == 4);
KIV_LAYOUT_32(offsetof(KIV_HASHTABLE, key_of) == 8 && offsetof(KIV_HASHTABLE, allocator) == 12);
KIV_LAYOUT_32(offsetof(KIV_HASHTABLE, buckets) == 16 && offsetof(KIV_HASHTABLE, bucket_count) == 20);
KIV_LAYOUT_32(offsetof(KIV_HASHTABLE, size_entry) == 24 && offsetof(KIV_HASHTABLE, grow_threshold) == 28);
KIV_LAYOUT_32(offsetof(KIV_HASHTABLE, put_count) == 32 && offsetof(KIV_HASHTABLE, pair_mode) == 36);

namespace {

[[gnu::always_inline]] inline void **slot_of(const KIV_HASHTABLE *table, const void *key) {
  return table->buckets->elements + bucket_of(table, key);
}

/// The index of the entry with that key; the bucket's count when there is none. What comes next is fetched while the
/// present step waits for memory: the elements while the record does, and then each next entry. Behind the last one
/// there is a slot, too.
inline uint32_t find_in(const KIV_HASHTABLE *table, const KIV_VECTOR *bucket, const void *key) {
  prefetch_elements(bucket);
  const KIV_HASHTABLE_COMPARE compare = table->compare;
  void *const *elements = bucket->elements;
  const uint32_t count = bucket->count;
  for (uint32_t i = 0; i < count; ++i) {
    __builtin_prefetch(elements[i + 1]);
    if (compare(key, elements[i]) == 0) return i;
  }
  return count;
}

/// Null when there is none.
inline void *find(const KIV_HASHTABLE *table, const void *key) {
  const auto *bucket = static_cast<const KIV_VECTOR *>(*slot_of(table, key));
  if (bucket == nullptr) return nullptr;
  const uint32_t index = find_in(table, bucket, key);
  return index < bucket->count ? bucket->elements[index] : nullptr;
}

/// Puts an entry into its bucket; false, with nothing changed, without memory.
bool store(KIV_HASHTABLE *table, void *entry) {
  const void *key = table->key_of(entry);
  void **slot = slot_of(table, key);
  auto *bucket = static_cast<KIV_VECTOR *>(*slot);
  if (bucket == nullptr) {
    bucket = kiv_vector_new(table->allocator, 1, table->compare);
    if (bucket == nullptr) return false;
    bucket->elements[0] = entry;
    *slot = bucket;
    return true;
  }
  const uint32_t count = bucket->count;
  const uint32_t index = find_in(table, bucket, key);
  if (index < count) {
    void *old = bucket->elements[index];
    // A pair that is put again stays.
    if (table->pair_mode != 0 && old != entry) table->allocator->free(table->allocator, old);
    kiv_vector_remove(bucket, index);
    // There is room: also a vector that has just shrunk has a slot for the entry that was removed.
    kiv_vector_insert(bucket, 0, entry);
    return true;
  }
  kiv_vector_insert(bucket, 0, entry);
  return bucket->count != count;
}

bool put(KIV_HASHTABLE *table, void *entry) {
  if (!store(table, entry)) return false;
  // Replacements are counted too. They have always been, and when a table grows depends on it.
  if (table->put_count != UINT32_MAX) ++table->put_count;
  if (table->put_count >= table->grow_threshold && table->size_entry[1] != 0) rebuild(table, table->size_entry + 1);
  return true;
}

void free_buckets(KIV_HASHTABLE *table) {
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    auto *bucket = static_cast<KIV_VECTOR *>(table->buckets->elements[i]);
    if (bucket == nullptr) continue;
    if (table->pair_mode != 0) {
      for (uint32_t k = 0; k < bucket->count; ++k) bucket->allocator->free(bucket->allocator, bucket->elements[k]);
    }
    kiv_vector_delete(bucket);
  }
}

void free_table(KIV_HASHTABLE *table) {
  kiv_vector_delete(table->buckets);
  table->allocator->free(table->allocator, table);
}

}  // namespace

KIV_HASHTABLE *kiv_hashtable_new(KIV_ALLOCATOR *allocator, uint32_t size_hint, uint32_t pair_mode,
                                 KIV_HASHTABLE_HASH hash, KIV_HASHTABLE_COMPARE compare, KIV_HASHTABLE_KEY_OF key_of) {
  const uint32_t *size_entry = kSizes + 1;
  while (*size_entry != 0 && *size_entry < size_hint) ++size_entry;
  if (*size_entry == 0) return nullptr;
  auto *table = static_cast<KIV_HASHTABLE *>(allocator->calloc(allocator, 1, sizeof(KIV_HASHTABLE)));
  if (table == nullptr) return nullptr;
  *table = {hash, compare,  key_of, allocator, nullptr, *size_entry, size_entry, traits_of(size_entry).grow_threshold,
            0,    pair_mode};
  table->buckets = kiv_vector_new(allocator, *size_entry, compare);
  if (table->buckets != nullptr) return table;
  allocator->free(allocator, table);
  return nullptr;
}

KIV_HASHTABLE *kiv_hashtable_copy(const KIV_HASHTABLE *table) {
  KIV_ALLOCATOR *allocator = table->allocator;
  auto *copy = static_cast<KIV_HASHTABLE *>(allocator->alloc(allocator, sizeof(KIV_HASHTABLE)));
  if (copy == nullptr) return nullptr;
  *copy = *table;
  copy->buckets = kiv_vector_new(allocator, table->bucket_count, table->compare);
  bool complete = copy->buckets != nullptr;
  for (uint32_t i = 0; complete && i < table->bucket_count; ++i) {
    const auto *bucket = static_cast<const KIV_VECTOR *>(table->buckets->elements[i]);
    if (bucket == nullptr) continue;
    copy->buckets->elements[i] = kiv_vector_copy(allocator, bucket);
    complete = copy->buckets->elements[i] != nullptr;
  }
  if (complete) return copy;
  copy->pair_mode = 0;  // the pairs stay
  if (copy->buckets != nullptr) free_buckets(copy);
  free_table(copy);
  return nullptr;
}

void kiv_hashtable_put(KIV_HASHTABLE *table, void *entry) { (void)put(table, entry); }

void kiv_hashtable_put_key_elem(KIV_HASHTABLE *table, void *key, void *value) {
  KIV_ALLOCATOR *allocator = table->allocator;
  auto *pair = static_cast<KIV_HASHTABLE_PAIR *>(allocator->alloc(allocator, sizeof(KIV_HASHTABLE_PAIR)));
  if (pair == nullptr) return;
  *pair = {key, value};
  if (!put(table, pair)) allocator->free(allocator, pair);
}

void *kiv_hashtable_get(const KIV_HASHTABLE *table, const void *key) {
  void *entry = find(table, key);
  return table->pair_mode != 0 && entry != nullptr ? static_cast<KIV_HASHTABLE_PAIR *>(entry)->value : entry;
}

void *kiv_hashtable_get_key(const KIV_HASHTABLE *table, const void *key) {
  void *entry = find(table, key);
  return table->pair_mode != 0 && entry != nullptr ? static_cast<KIV_HASHTABLE_PAIR *>(entry)->key : entry;
}

void *kiv_hashtable_take(KIV_HASHTABLE *table, const void *key) {
  auto *bucket = static_cast<KIV_VECTOR *>(*slot_of(table, key));
  if (bucket == nullptr) return nullptr;
  const uint32_t index = find_in(table, bucket, key);
  if (index == bucket->count) return nullptr;
  void *entry = bucket->elements[index];
  kiv_vector_remove(bucket, index);
  --table->put_count;
  // Before the first size stands 0, below which no count falls.
  if (table->put_count < table->size_entry[-1]) rebuild(table, table->size_entry - 1);
  return entry;
}

void kiv_hashtable_remove(KIV_HASHTABLE *table, const void *key) { (void)kiv_hashtable_take(table, key); }

void kiv_hashtable_foreach(KIV_HASHTABLE *table, void *context, KIV_VECTOR_WALK function) {
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    auto *bucket = static_cast<KIV_VECTOR *>(table->buckets->elements[i]);
    if (bucket != nullptr) kiv_vector_foreach(bucket, context, function);
  }
}

void kiv_hashtable_clear(KIV_HASHTABLE *table) {
  free_buckets(table);
  // Emptied in place of being made anew: that could fail when it is too late.
  kiv_vector_clear(table->buckets);
  table->put_count = 0;
}

void kiv_hashtable_delete(KIV_HASHTABLE *table) {
  if (table == nullptr) return;
  free_buckets(table);
  free_table(table);
}

void kiv_hashtable_deep_delete(KIV_HASHTABLE *table, KIV_VECTOR_DELETE_ELEMENT delete_entry) {
  if (table == nullptr) return;
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    kiv_vector_deep_delete(static_cast<KIV_VECTOR *>(table->buckets->elements[i]), delete_entry);
  }
  free_table(table);
}
