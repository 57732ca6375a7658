/** @file
 * Object hashtables: objects found by objects, themselves an object (kiv_obj.h) of kind 10. Hashing with separate
 * chaining: see D. E. Knuth, "The Art of Computer Programming", volume 3, section 6.4.
 *
 * An entry is a tuple of key and value. It is in the bucket whose index is the key's number, from to_number of its
 * descriptor, modulo the number of buckets, which is odd and has no divisor. Within the bucket keys are told apart by
 * kind and by cmp(key, stored key) of the key's descriptor. Hence objects whose number is their address, like chars,
 * code points and bigflts, are found for certain only by the same object: an equal one finds them when it comes to the
 * same bucket by chance. A key must not change while it is in a table: it may not be found then.
 *
 * Ownership, nesting and thread safety are those of kiv_obj_vector.h. A look-up raises the key's extra_refs for its
 * duration and takes nothing over.
 *
 * Three habits are old and kept, because callers rely on them:
 *  1. The count is one of puts, not of entries: a put that replaces an entry counts too, and obj_hashtable_clear() does
 *     not reset it. Only a deletion decreases it, and a rebuild (below) makes it the number of entries that it moves.
 *  2. obj_hashtable_is_empty() tells whether there are buckets, and every table has some.
 *  3. A rebuild overwrites the whole record, header included, with that of a new table.
 *
 * AFTER A REBUILD NO TABLE IS AUTOMATIC OR SHARED. When a put makes the count reach grow_threshold, the entries move to
 * at least twice as many buckets as that, about 2.7 times the old ones at a load factor of 0.75. It is as if each were
 * put into a new table, in the order of obj_hashtable_foreach_key_elem(): equal keys of different numbers may meet in a
 * bucket, and the later entry replaces the earlier, which is released. The third habit leaves automatic 0 and
 * extra_refs 0. A later obj_hashtable_del() would give storage that is the caller's, perhaps a local variable, to the
 * allocator; and the first of several owners to release the table would delete it. So whoever puts into such a table
 * either makes it so large that the count stays below grow_threshold, replacements included, or sets both words again
 * after each put:
 *
 *     obj_hashtable_put(table, key, value);
 *     table->automatic = 1;
 *     table->extra_refs = further_owners;
 *
 * Costs: put, look-up and deletion take constant time on average for keys whose numbers differ. Those of strings, sums
 * of code units, often do not. But a large table whose keys are all strings, ints, u32s, u64s or pointers of the
 * library's kinds has an index beside its buckets: look-ups take constant time then, a put or a deletion goes through
 * the pointers of one bucket, and the table takes up to 60 bytes more for each entry that it has room for before the
 * next rebuild. */
#ifndef KIV_OBJ_HASHTABLE_H
#define KIV_OBJ_HASHTABLE_H

#include "kiv_obj_tuple.h"

KIV_BEGIN_DECLARATIONS

/** Read it; only the library writes it, but for automatic and extra_refs of the header. */
typedef struct KIV_OBJ_HASHTABLE {
  KIV_OBJ header;
  KIV_OBJ_VECTOR *buckets; /**< a vector of tuples for each bucket; an empty slot for one that was never used */
  uint32_t bucket_count;
  float load_factor;       /**< between 0 and 1, both excluded */
  uint32_t grow_threshold; /**< bucket_count / load_factor, rounded down */
  uint32_t count;          /**< puts, see above */
} KIV_OBJ_HASHTABLE;

/* --- Making and deleting ----------------------------------------------------------------------------------------- */

/** An empty table. n (10 when 0 or less) is the least number of buckets: it is made odd and raised by 2 until no odd
 * number from 3 to its square root divides it (1 passes). A load_factor that is not between 0 and 1, both excluded, or
 * not a number counts as 0.75. So 10 and 1.5 give 11 buckets and a rebuild at a count of 14. Null without memory. */
KIV_API KIV_OBJ *obj_hashtable_new(KIV_ALLOCATOR *allocator, int32_t n, float load_factor);

/** The same in the caller's storage, which is the result: mind the rebuild, above. Null without memory: the storage is
 * as it was. */
KIV_API KIV_OBJ *obj_hashtable_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_HASHTABLE *storage, int32_t n,
                                             float load_factor);

/** Another name of obj_vector_del(): releases the table. */
KIV_API void obj_hashtable_del(KIV_OBJ *table);

/** Releases the table, but when that deletes it, neither its buckets nor the entries in them: they are the caller's. */
KIV_API void obj_hashtable_shallow_del(KIV_OBJ *table);

/** Another name of obj_vector_get_alloc(). */
KIV_API KIV_ALLOCATOR *obj_hashtable_get_alloc(const KIV_OBJ *table);

/* --- Entries ----------------------------------------------------------------------------------------------------- */

/** Stores the value for the key, and takes over both. An equal key's entry is replaced: its key and value are released.
 * Not 0 when that happened; 0 for a new entry.
 *
 * Without memory, and for a null key, the table is as it was, key and value have been released, and the result is 0.
 * A null value is stored. Storing with a key or a value that is in the replaced entry needs a further reference. */
KIV_API int obj_hashtable_put(KIV_OBJ *table, KIV_OBJ *key, KIV_OBJ *value);

/** The same for a tuple of key and value (elements 0 and 1). The tuple of an entry can be put again, as an element can
 * be stored again by obj_vector_set_elem(). */
KIV_API int obj_hashtable_put_pair(KIV_OBJ *table, KIV_OBJ *tuple);

/** The value stored for the key, still the table's; null when there is none. */
KIV_API KIV_OBJ *obj_hashtable_get_elem(const KIV_OBJ *table, KIV_OBJ *key);

/** The key that is stored, still the table's; null when there is none. */
KIV_API KIV_OBJ *obj_hashtable_find_key(const KIV_OBJ *table, KIV_OBJ *key);

/** Deletes the key's entry, if there is one. The key may be the stored one. The table does not shrink. */
KIV_API void obj_hashtable_del_elem(KIV_OBJ *table, KIV_OBJ *key);

/** The first stored value of the same kind for which cmp(value, stored value) of the value's descriptor is 0, or null.
 * Linear time. */
KIV_API KIV_OBJ *obj_hashtable_find_elem(const KIV_OBJ *table, const KIV_OBJ *value);

/** Calls function for the tuple of every entry, bucket by bucket, in each the newest first. It must not change the
 * table. */
KIV_API void obj_hashtable_foreach_key_elem(const KIV_OBJ *table, void *context, KIV_OBJ_VISIT function);

/** The count. On 32-bit targets one function with obj_tree_get_left(). */
KIV_API uint32_t obj_hashtable_size(const KIV_OBJ *table);

/** 1 when there are no buckets, else 0: never 1, see above. */
KIV_API int obj_hashtable_is_empty(const KIV_OBJ *table);

/** Releases all entries. The count does not change. */
KIV_API void obj_hashtable_clear(KIV_OBJ *table);

/* --- The operations of the kind; the number is the address ------------------------------------------------------- */

/** A table with copies of the entries, in the same places: keys whose number is their address are found in it by chance
 * only. Null without memory, or when something cannot be copied. */
KIV_API KIV_OBJ *obj_hashtable_copy(const KIV_OBJ *table);

/** The texts of the entries, joined in the order of obj_hashtable_foreach_key_elem(). Null as for a vector. */
KIV_API char *obj_hashtable_to_char_s(const KIV_OBJ *table);

/** 0 when both tables have the same keys at the same places, whatever their values: entries are tuples, and tuples are
 * known by their keys. Else 1, also when one of them is null. A bucket whose entries were deleted differs from one that
 * was never used. */
KIV_API int32_t obj_hashtable_cmp(const KIV_OBJ *a, const KIV_OBJ *b);

KIV_END_DECLARATIONS

#endif
