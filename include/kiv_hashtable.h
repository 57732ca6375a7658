/** @file
 * Chained hash tables of untyped entries, with the caller's hash, compare and key functions or with ready-made ones for
 * 32-bit and 64-bit numbers and for strings.
 *
 * Two modes. In element mode an entry is an element of the caller's, and its key is what key_of finds in it. In pair
 * mode an entry is a KIV_HASHTABLE_PAIR of a key and a value that the table allocates (kiv_hashtable_put_key_elem) and
 * frees; keys and values stay the caller's. Keys are always passed by address, numbers too.
 *
 * Layout. The number of buckets is one of thirty primes from 3 to 2,874,713,497, about a factor of two apart. The
 * bucket of a key is its hash modulo that number. A bucket is a vector, made with the first entry put into it; an entry
 * put later comes first. put_count counts puts less removals, those that replaced an entry included. When a put raises
 * it to grow_threshold, four thirds of the number of buckets, the table is rebuilt with the next prime; when a removal
 * brings it below the previous prime, with that one. A rebuild puts the entries anew, in the order of a walk, and
 * counts them: replacements are then forgotten.
 *
 * REQUIRES: key_of, hash and compare give the same for an entry as long as it is stored; keys that compare as equal
 * have equal hashes; none of them changes the table. Then stored keys are different from each other, and a rebuild
 * calls key_of and hash once for each entry and compare never. Tables are not null where a declaration does not allow
 * it.
 *
 * Costs: put, get and remove take constant time on average, with up to four thirds of an entry in a bucket; foreach,
 * clear, copy and the deletions are linear in entries and buckets. A rebuild needs memory for the new buckets and,
 * while it lasts, for two words a counted put; it uses the vectors of the old buckets again.
 *
 * Without memory: a constructor and copy give null and have freed what they made; a put leaves the table as it was and
 * does not store its entry; a rebuild does not take place, the table works on with its buckets, and the next put or
 * remove past the threshold tries again. Puts report nothing: a caller who cannot look uses an allocator whose
 * operations do not fail. Limit: no more buckets than a vector has elements (kiv_vector.h).
 *
 * Thread safety: one thread at a time per table. get, get_key, foreach and copy write nothing, so several threads may
 * read a table that nobody changes. */
#ifndef KIV_HASHTABLE_H
#define KIV_HASHTABLE_H

#include "kiv_allocator.h"
#include "kiv_types.h"
#include "kiv_vector.h"

KIV_BEGIN_DECLARATIONS

typedef uint32_t (*KIV_HASHTABLE_HASH)(const void *key);
/** 0 when the entry (an element, or a pair in pair mode) has that key. The order of others is not used. */
typedef KIV_VECTOR_COMPARE KIV_HASHTABLE_COMPARE;
/** The address of an entry's key. */
typedef const void *(*KIV_HASHTABLE_KEY_OF)(const void *entry);

/** An entry of a table in pair mode. */
typedef struct KIV_HASHTABLE_PAIR {
  void *key;
  void *value;
} KIV_HASHTABLE_PAIR;

/** Read it in a debugger; never write it. */
typedef struct KIV_HASHTABLE {
  KIV_HASHTABLE_HASH hash;
  KIV_HASHTABLE_COMPARE compare; /**< called as compare(key, entry); also that of the buckets */
  KIV_HASHTABLE_KEY_OF key_of;
  KIV_ALLOCATOR *allocator;   /**< owns record, buckets and pairs */
  KIV_VECTOR *buckets;        /**< bucket_count elements: a KIV_VECTOR, or null for a bucket that was never used */
  uint32_t bucket_count;      /**< *size_entry */
  const uint32_t *size_entry; /**< into the list of primes; 0 stands before the first and behind the last of them */
  uint32_t grow_threshold;    /**< (float)bucket_count * 1.3333334f, truncated */
  uint32_t put_count;         /**< see above: not always the number of entries */
  uint32_t pair_mode;         /**< non-zero: entries are pairs of the table's own */
} KIV_HASHTABLE;

/* --- Making ------------------------------------------------------------------------------------------------------ */

/** An empty table with the smallest number of buckets that is at least size_hint, and never below 3. Null also when no
 * prime of the list is that large. */
KIV_API KIV_HASHTABLE *kiv_hashtable_new(KIV_ALLOCATOR *allocator, uint32_t size_hint, uint32_t pair_mode,
                                         KIV_HASHTABLE_HASH hash, KIV_HASHTABLE_COMPARE compare,
                                         KIV_HASHTABLE_KEY_OF key_of);

/** Pair-mode tables of 3 buckets: the key is the address of a uint32_t, of a uint64_t, or of a text ended by 0, which
 * are compared as unsigned numbers and by kiv_string_compare. The hash of a 64-bit number is the exclusive or of its
 * halves, that of a text of all its code points, 0 for none: cheap, and weak for texts. It gives texts of the same
 * letters the same hash, and names in ASCII only some hundred different ones. Use a hash of your own with
 * kiv_hashtable_new for more than a few hundred names. */
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_U32_new_default(KIV_ALLOCATOR *allocator);
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_U64_new_default(KIV_ALLOCATOR *allocator);
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_UNICHAR_new_default(KIV_ALLOCATOR *allocator);

/** Element-mode tables of 3 buckets with the same hashes. */
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_U32_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                                 KIV_HASHTABLE_KEY_OF key_of);
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_U64_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                                 KIV_HASHTABLE_KEY_OF key_of);
KIV_API KIV_HASHTABLE *kiv_hashtable_KIV_UNICHAR_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                                     KIV_HASHTABLE_KEY_OF key_of);

/** A table with the same entries, counts and order. In pair mode the two share the pairs: the one that replaces a pair,
 * is cleared or deleted frees what the other still holds. So only one of them may be changed; at the end delete that
 * one and, before it, free the others by kiv_hashtable_deep_delete with a function that does nothing. */
KIV_API KIV_HASHTABLE *kiv_hashtable_copy(const KIV_HASHTABLE *table);

/* --- Entries ----------------------------------------------------------------------------------------------------- */

/** Stores an entry in the place of the one with an equal key, if any. In pair mode the entry is a pair from the table's
 * allocator, which the table then owns, and the old pair is freed, not its key or value; an old element is not freed.
 */
KIV_API void kiv_hashtable_put(KIV_HASHTABLE *table, void *entry);

/** For tables in pair mode: puts a new pair of key and value, which stay the caller's. (In element mode the pair would
 * be an element, which key_of has to understand, and the caller's to free.) */
KIV_API void kiv_hashtable_put_key_elem(KIV_HASHTABLE *table, void *key, void *value);

/** The value of the pair with that key, or the element; null when there is none. */
KIV_API void *kiv_hashtable_get(const KIV_HASHTABLE *table, const void *key);

/** The stored key of that pair (not the argument), or the element; null when there is none. */
KIV_API void *kiv_hashtable_get_key(const KIV_HASHTABLE *table, const void *key);

/** Removes the entry with that key, if any. Nothing is freed: in pair mode the pair is then nobody's, so use
 * kiv_hashtable_take, which returns it, unless the allocator frees all its blocks at once. */
KIV_API void kiv_hashtable_remove(KIV_HASHTABLE *table, const void *key);

/** Removes the entry with that key and returns it; null when there is none. A pair is then the caller's, to be freed
 * through the table's allocator: table->allocator->free(table->allocator, pair). */
KIV_API void *kiv_hashtable_take(KIV_HASHTABLE *table, const void *key);

/** Calls function(context, entry) for the entries, pairs in pair mode, bucket by bucket and in each the newest first.
 * When it gives non-zero, the rest of that bucket is left out, and the walk goes on with the next one. function must
 * not put or remove: either may free the bucket that is being walked. Collect what to change first. */
KIV_API void kiv_hashtable_foreach(KIV_HASHTABLE *table, void *context, KIV_VECTOR_WALK function);

/* --- Emptying and freeing ---------------------------------------------------------------------------------------- */

/** Frees the buckets and, in pair mode, the pairs. The number of buckets stays. */
KIV_API void kiv_hashtable_clear(KIV_HASHTABLE *table);

/** Frees the table and, in pair mode, the pairs; not elements, keys and values. Null is ignored. */
KIV_API void kiv_hashtable_delete(KIV_HASHTABLE *table);

/** Calls delete_entry for the entries, in the order of foreach, leaving out the rest of a bucket when it gives
 * non-zero; then frees the table. Pairs are delete_entry's to free. Null is ignored. */
KIV_API void kiv_hashtable_deep_delete(KIV_HASHTABLE *table, KIV_VECTOR_DELETE_ELEMENT delete_entry);

KIV_END_DECLARATIONS

#endif
