// Moving the entries of a hashtable to another number of buckets.
#ifndef KIV_CONTAINERS_HASHTABLE_REBUILD_H
#define KIV_CONTAINERS_HASHTABLE_REBUILD_H

#include "containers/hashtable_sizes.h"
#include "kiv_hashtable.h"

namespace kiv::hashtable {

inline uint32_t bucket_of(const KIV_HASHTABLE *table, const void *key) {
  return remainder(table->hash(key), table->size_entry);
}

/// Fetches a bucket's elements, which mostly lie right behind its record, as they were allocated.
inline void prefetch_elements(const KIV_VECTOR *bucket) {
  __builtin_prefetch(reinterpret_cast<const char *>(bucket) + sizeof(KIV_VECTOR) + 2 * sizeof(void *));
}

/// The table is then as if its entries had been put, in the order of a walk, into a new one of *size_entry buckets; or
/// as it was, when there is no memory for that.
void rebuild(KIV_HASHTABLE *table, const uint32_t *size_entry);

}  // namespace kiv::hashtable

#endif
