// The engine of object hashtables.
//
// Representation: the public record, a vector of buckets, each a vector of tuples, the newest first. Behind the record
// of the bucket vector, in its block, is an index of the entries, which is made when it would help.
//
// Invariants:
//  1. The bucket vector has bucket_count slots; a bucket is a vector or null. bucket_count is not 0.
//  2. Every tuple is in the bucket of its key's number modulo bucket_count. (A caller who empties or changes a key in
//     its tuple breaks this: then entries are not found, but everything stays within bounds.)
//  3. No two keys in a bucket are of one kind and equal, as far as the newer one says.
//  4. count is at least the number of tuples.
#ifndef KIV_OBJECTS_OBJECT_HASHTABLE_H
#define KIV_OBJECTS_OBJECT_HASHTABLE_H

#include "kiv_obj_hashtable.h"
#include "objects/key_index.h"
#include "objects/object_tuple.h"

namespace kiv::object {

/// The descriptor. Not constant: see release_as.
extern KIV_OBJ_TYPE hashtable_type;

inline KIV_OBJ_HASHTABLE *as_hashtable(KIV_OBJ *object) { return reinterpret_cast<KIV_OBJ_HASHTABLE *>(object); }
inline const KIV_OBJ_HASHTABLE *as_hashtable(const KIV_OBJ *object) {
  return reinterpret_cast<const KIV_OBJ_HASHTABLE *>(object);
}

// --- Storage ---------------------------------------------------------------------------------------------------------

struct Buckets {
  KIV_OBJ_VECTOR vector;
  KeyIndex index;
};

inline Buckets *buckets_of(const KIV_OBJ_HASHTABLE *table) { return reinterpret_cast<Buckets *>(table->buckets); }

/// So many empty slots for buckets; null without memory.
Buckets *make_buckets(KIV_ALLOCATOR *allocator, uint32_t count);

/// Fills in the record of an empty table. False, and nothing is changed, without memory.
bool build_table(KIV_OBJ_HASHTABLE *table, KIV_ALLOCATOR *allocator, uint32_t automatic, int32_t n, float load_factor);

// --- Entries ---------------------------------------------------------------------------------------------------------

/// Calls function(tuple) for each entry, bucket by bucket, each from the front, until it gives false: the result.
template <class Function>
bool for_each_entry(const KIV_OBJ_HASHTABLE *table, Function function) {
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    const KIV_OBJ_VECTOR *bucket = as_vector(table->buckets->elements[i]);
    if (bucket == nullptr) continue;
    for (int32_t k = 0; k < bucket->count; ++k) {
      if (!function(bucket->elements[k])) return false;
    }
  }
  return true;
}

/// The slot of the bucket for keys of a number.
inline KIV_OBJ *&bucket_slot(const KIV_OBJ_HASHTABLE *table, uint32_t number) {
  return table->buckets->elements[number % table->bucket_count];
}

/// Fetches the lines of a bucket that a put needs, or of a small tuple. Null does no harm.
inline void prefetch_vector(const KIV_OBJ *object) {
  __builtin_prefetch(object);
  __builtin_prefetch(reinterpret_cast<const char *>(object) + 64);
}

/// The tuple of the equal key, or null.
KIV_OBJ *find_entry(const KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key);

/// Makes an index when all keys are plain.
void start_index(KIV_OBJ_HASHTABLE *table);

/// The entries for which an index has room at once: those that fit until the next rebuild, unless the load factor puts
/// that off.
inline uint32_t index_room(const KIV_OBJ_HASHTABLE *table) {
  return static_cast<uint32_t>(std::min(uint64_t{table->grow_threshold}, uint64_t{table->bucket_count} * 2));
}

/// Puts all entries into more buckets, where equal keys whose numbers differ may meet, and the later entry replaces the
/// earlier. Without memory the table stays as it is, and the next put tries again.
void rebuild(KIV_OBJ_HASHTABLE *table);

enum class Put { added, replaced, failed };

/// The digest of a key; what putting it needs is on its way from then on.
KeyIndex::Digest expect_put(const KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key);

/// Puts a tuple, which has a key of that digest, in its place, in front, and releases the one with an equal key. Counts
/// it, and rebuilds the table when it is time. Failed, with nothing changed, without memory.
Put put_entry(KIV_OBJ_HASHTABLE *table, KIV_OBJ *tuple, KeyIndex::Digest digest);

/// Takes out the tuple of the equal key, if there is one, for the caller to release.
KIV_OBJ *take_entry(KIV_OBJ_HASHTABLE *table, const KIV_OBJ *key);

}  // namespace kiv::object

#endif
