/** @file
 * Key-value sets: strings found by strings, ordered by their keys as kiv_string_compare() orders them.
 *
 * Keys and values are given as strings or as char strings: of two such arguments, the char string counts unless it is
 * null. For a char string a set stores a string of its own, with bytes 0x80 to 0xFF as the code points U+0080 to
 * U+00FF; for a string, a copy when the set was made with copy keys (copy values), else the caller's pointer. Changing
 * a key that a set points at may break the order.
 *
 * Ownership: a set owns the keys that it has made, and frees its values, replaced ones too, when it copies values. A
 * set that does not never frees a value, even one made of a char string: the caller has to, and finds it by
 * kiv_string_kvset_find(). A null string is an empty one, but for a value that is not copied.
 *
 * Char strings as search keys are widened differently by design, and callers rely on it. Up to 299 bytes they are
 * sign-extended, so that one with bytes 0x80 to 0xFF does not find the key that was added with it; longer ones find
 * theirs, but by a walk over all keys.
 *
 * Costs: O(log n) compares, but for that walk.
 *
 * Thread safety: one thread at a time per set; several may search a set that nobody changes. */
#ifndef KIV_STRING_KVSET_H
#define KIV_STRING_KVSET_H

#include "kiv_allocator.h"
#include "kiv_avl.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_STRING_KVSET {
  KIV_ALLOCATOR *allocator; /**< for record, tree, pairs, and the strings that the set makes */
  KIV_AVL_TREE *tree;       /**< of pairs */
  uint32_t copy_keys;
  uint32_t copy_values;
} KIV_STRING_KVSET;

/** A tree element. Read it; the set made it, in a larger block. The value may be null in a set that does not copy. */
typedef struct KIV_STRING_KVSET_PAIR {
  KIV_STRING key;
  KIV_STRING value;
} KIV_STRING_KVSET_PAIR;

/** An empty set; null without memory. */
KIV_API KIV_STRING_KVSET *kiv_string_kvset_new(KIV_ALLOCATOR *allocator, uint32_t copy_keys, uint32_t copy_values);

/** Ends the set and what it owns. Null is ignored. */
KIV_API void kiv_string_kvset_delete(KIV_STRING_KVSET *set);

/** Stores the value for the key. 0: a new pair; 1: the value of the pair that was there is replaced, and the pair keeps
 * its key; -1 without memory: the set is as it was, and of what was given nothing is taken.
 *
 * A key of less than 300 bytes, some of them 0x80 to 0xFF, is not found here either: when it is added again the stored
 * value stays, and the result is 0. */
KIV_API int kiv_string_kvset_add(KIV_STRING_KVSET *set, const char *key_chars, KIV_STRING key, const char *value_chars,
                                 KIV_STRING value);

/** The value stored for the key, which stays the set's; null when there is none. */
KIV_API KIV_STRING kiv_string_kvset_find(KIV_STRING_KVSET *set, const char *key_chars, const KIV_UNICHAR *key);

/** Stores in *element the pair with the least key that is not below the given one, or null. A char string is converted
 * as a stored key is, through allocator. 0; 1 without memory for that, with *element unchanged. The empty key gives the
 * first pair. */
KIV_API int kiv_string_kvset_find_least_greater_or_equal2(KIV_ALLOCATOR *allocator, KIV_STRING_KVSET *set,
                                                          const char *key_chars, const KIV_UNICHAR *key,
                                                          KIV_STRING_KVSET_PAIR **element);

/** The pair behind element in the order of the keys, or null. The element need not be of this set. */
KIV_API KIV_STRING_KVSET_PAIR *kiv_string_kvset_find_least_greater(KIV_STRING_KVSET *set,
                                                                   const KIV_STRING_KVSET_PAIR *element);

KIV_END_DECLARATIONS

#endif
