/** @file
 * Tuples: a fixed number of objects, themselves an object (kiv_obj.h) of kind 9. A tuple is known by its first element,
 * its key: two tuples are equal when their keys are. The entries of an object hashtable are tuples of key and value.
 *
 * Ownership, costs, nesting and thread safety are those of kiv_obj_vector.h. */
#ifndef KIV_OBJ_TUPLE_H
#define KIV_OBJ_TUPLE_H

#include "kiv_obj_vector.h"

KIV_BEGIN_DECLARATIONS

/** Read it; only the library writes it. */
typedef struct KIV_OBJ_TUPLE {
  KIV_OBJ header;
  KIV_OBJ_VECTOR *elements; /**< the tuple is one owner of it */
} KIV_OBJ_TUPLE;

/** A tuple of n elements, which follow as n arguments of type KIV_OBJ *, null for one that is to be empty (in C and C++
 * as (KIV_OBJ *)NULL). n of 0 or less: a tuple without elements. Null without memory: the elements stay the caller's.
 *
 * A tuple's operations: the text is that of the elements between "(" and ")"; the number is the address; a copy has
 * copies of the elements; cmp gives 0 when the first elements have the same kind and their cmp gives 0, or when neither
 * tuple has one, else 1. */
KIV_API KIV_OBJ *obj_tuple_new(KIV_ALLOCATOR *allocator, int32_t n, ...);

/** The same in the caller's storage, which is the result. Null without memory: the storage is as it was. */
KIV_API KIV_OBJ *obj_tuple_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_TUPLE *storage, int32_t n, ...);

/** Another name of obj_vector_del(): releases the tuple. */
KIV_API void obj_tuple_del(KIV_OBJ *tuple);

/** The element, still the tuple's; null when it is empty or there is none at that index. */
KIV_API KIV_OBJ *obj_tuple_get_elem(const KIV_OBJ *tuple, int32_t index);

KIV_END_DECLARATIONS

#endif
