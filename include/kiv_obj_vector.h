/** @file
 * Object vectors: growable arrays of objects, themselves objects (kiv_obj.h) of kind 11. The other containers of
 * objects are made of them.
 *
 * Ownership, here and in kiv_obj_tuple.h and kiv_obj_hashtable.h:
 *  1. A container takes over the reference that the caller hands in; it does not raise extra_refs. What it gives back
 *     from a search or a look-up stays its own: raise extra_refs to keep that longer.
 *  2. It releases an element once: when the element is replaced or deleted, or when the container is.
 *  3. An object that is put into two places, or twice into one, needs a reference for each.
 *  4. A function that can say that it failed leaves the object with its caller then. One that cannot has released it.
 *  5. Without memory a container stays as it was.
 *
 * A slot can be empty: it reads as null. Searches, texts and counts of equal elements pass over empty slots; copies
 * keep them; two vectors are equal only when the same slots are empty. A null object is never stored.
 *
 * Indices count from 0. A slot behind the last one, and a negative index, is empty, and there is nothing to delete.
 * A vector has at most as many slots as the allocator can give a block for: some hundred million.
 *
 * Containers can be elements, to any depth. Deleting, copying, comparing and printing go down by recursion, a few
 * hundred bytes of stack for each level: what bounds the depth is the thread's stack, some thousands of levels on the
 * usual one of a megabyte. A container must not contain itself, on whatever way.
 *
 * Costs: access by index and adding at the end take constant time, inserting and deleting elsewhere and searching
 * linear time, a text linear time in its length. Room grows to one and a half times the elements when it does not
 * suffice; a deletion that leaves less than half of it in use gives half of it back.
 *
 * Thread safety: one thread at a time for containers that share objects; and one at a time in the whole process for the
 * shallow deletions beside any deletion of a container, because they change the kind's descriptor for the duration of
 * the call. */
#ifndef KIV_OBJ_VECTOR_H
#define KIV_OBJ_VECTOR_H

#include "kiv_obj.h"

KIV_BEGIN_DECLARATIONS

/** Read it; only the library writes it. */
typedef struct KIV_OBJ_VECTOR {
  KIV_OBJ header;     /**< automatic is 2 in a tuple's vector whose block is the tuple's: its last owner frees both */
  int32_t count;      /**< slots in use, empty ones included */
  uint32_t capacity;  /**< slots before the array has to grow */
  KIV_OBJ **elements; /**< capacity + 1 slots; those from count on are null */
} KIV_OBJ_VECTOR;

/** Told the object, and the context of the call that it is a part of. The result is ignored. */
typedef int (*KIV_OBJ_VISIT)(void *context, KIV_OBJ *object);

/* --- Making and deleting ----------------------------------------------------------------------------------------- */

/** A vector of n empty slots and room for n and a half as many, or for 10 when n is 0 or less. Null without memory. */
KIV_API KIV_OBJ *obj_vector_new(KIV_ALLOCATOR *allocator, int32_t n);

/** The same in the caller's storage, which is the result. Null without memory: the storage is as it was. */
KIV_API KIV_OBJ *obj_vector_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_VECTOR *storage, int32_t n);

/** A vector of char objects, one for each byte of text. Null counts as "". Null without memory. */
KIV_API KIV_OBJ *obj_vector_new_from_char_s(KIV_ALLOCATOR *allocator, const char *text);

/** Releases any object, of whatever kind: with extra_refs 0 it is deleted, else extra_refs decreases by 1. Null is
 * ignored. obj_hashtable_del(), obj_tuple_del() and obj_tree_del() are other names of this function. */
KIV_API void obj_vector_del(KIV_OBJ *object);

/** Releases the vector, but when that deletes it, not its elements: they are the caller's again. */
KIV_API void obj_vector_shallow_del(KIV_OBJ *vector);

/** Where the object, of whatever kind, comes from: the allocator of its header. */
KIV_API KIV_ALLOCATOR *obj_vector_get_alloc(const KIV_OBJ *object);

/* --- Reading ----------------------------------------------------------------------------------------------------- */

/** The number of slots, empty ones included. One function with obj_int_get(). */
KIV_API int32_t obj_vector_size(const KIV_OBJ *vector);

KIV_API KIV_OBJ *obj_vector_get_elem(const KIV_OBJ *vector, int32_t index);
/** The element of the last slot. */
KIV_API KIV_OBJ *obj_vector_get_last_elem(const KIV_OBJ *vector);

/** The first element of the key's kind for which cmp(key, element) of the key's descriptor is 0; its index goes to
 * *index unless that is null. Null, and *index unchanged, when there is none or the key is null. */
KIV_API KIV_OBJ *obj_vector_find_elem(const KIV_OBJ *vector, int32_t *index, const KIV_OBJ *key);

/** Calls function for every slot from the first on, with null for an empty one. */
KIV_API void obj_vector_foreach_elem(const KIV_OBJ *vector, void *context, KIV_OBJ_VISIT function);

/* --- Storing ----------------------------------------------------------------------------------------------------- */

/** Stores the object, which is the result, and releases the one that it replaces. An index behind the last slot makes
 * empty slots up to it. Null, and nothing is changed, for a null object, a negative index, or without memory.
 *
 * The object that is there already can be stored again: when extra_refs counts a further owner, that one's reference is
 * the one handed in and is released; with extra_refs 0 there is none to release, and nothing happens. */
KIV_API KIV_OBJ *obj_vector_set_elem(KIV_OBJ *vector, int32_t index, KIV_OBJ *object);

/** Stores the object in a new slot at the end. */
KIV_API KIV_OBJ *obj_vector_add_elem(KIV_OBJ *vector, KIV_OBJ *object);

/** The same unless obj_vector_find_elem() finds an equal object: then, too, the result is null and the offered object
 * is still the caller's. */
KIV_API KIV_OBJ *obj_vector_add_uniq_elem(KIV_OBJ *vector, KIV_OBJ *object);

/** Inserts a slot with the object and moves up the elements from index on. The result is the element that was there, or
 * null. Behind the last slot the object is stored as by obj_vector_set_elem(). A null object and a negative index
 * change nothing, and the object is still the caller's; without memory it has been released. */
KIV_API KIV_OBJ *obj_vector_ins_elem(KIV_OBJ *vector, int32_t index, KIV_OBJ *object);

/** Inserts a new char object, which is the result; null, with nothing changed, without memory or for a negative index.
 */
KIV_API KIV_OBJ *obj_vector_ins_char(KIV_OBJ *vector, int32_t index, char byte);

/** Inserts a char object for each byte of text, so that the first one is at index, and gives the element that is now
 * there. Null, with nothing inserted, without memory or for a negative index. A text that is empty or null inserts
 * nothing. */
KIV_API KIV_OBJ *obj_vector_ins_char_s(KIV_OBJ *vector, int32_t index, const char *text);

/* --- Deleting elements ------------------------------------------------------------------------------------------- */

/** Releases the element, if the slot has one, and closes the slot. */
KIV_API void obj_vector_del_elem_at(KIV_OBJ *vector, int32_t index);

/** The same for the first element that obj_vector_find_elem() finds equal to the object, which may be that element. */
KIV_API void obj_vector_del_elem(KIV_OBJ *vector, const KIV_OBJ *object);

/** The same for the last slot. */
KIV_API void obj_vector_del_elem_last(KIV_OBJ *vector);

/** Releases every element and leaves its slot empty: the count does not change. */
KIV_API void obj_vector_clear(KIV_OBJ *vector);

/** Deletes slots from the end, but only half of those beyond n, rounded up: 10 slots cut to 4 leave 7. This is meant.
 * Who needs exactly n calls it until obj_vector_size() says so. A negative n deletes more, at most all. */
KIV_API void obj_vector_trunc(KIV_OBJ *vector, int32_t n);

/* --- The operations of the kind ---------------------------------------------------------------------------------- */

/** A vector with a copy of each element, from the vector's allocator. Null when there is no memory for one of them, or
 * an element cannot be copied. */
KIV_API KIV_OBJ *obj_vector_copy(const KIV_OBJ *vector);

/** The texts of the elements, joined, from the vector's allocator. Null when there is no memory for one of them, an
 * element has no text, or the whole needs 4 GiB. */
KIV_API char *obj_vector_to_char_s(const KIV_OBJ *vector);

/** 0 when the vectors have the same number of slots and element by element the same kind and a cmp(a's, b's) of 0;
 * else 1, also when one of them is null. */
KIV_API int32_t obj_vector_cmp(const KIV_OBJ *a, const KIV_OBJ *b);

KIV_END_DECLARATIONS

#endif
