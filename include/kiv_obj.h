/** @file
 * Objects: values that know their kind, for an evaluator's results and for containers of mixed values. This header has
 * the object model and the scalar kinds; the kinds that hold other objects are in kiv_obj_vector.h, kiv_obj_tuple.h,
 * kiv_obj_hashtable.h and kiv_obj_tree.h.
 *
 * Every object starts with a KIV_OBJ, whose first word points to the descriptor of its kind: the size of an object and
 * the five operations that every kind has. Code that does not care about the kind goes through it:
 *
 *     char *text = object->type->to_char_s(object);
 *
 * Conventions:
 *  1. Constructors give a KIV_OBJ and operations take one, whatever the kind. A function named after a kind REQUIRES
 *     an object of that kind: there is no check. REQUIRES, throughout: objects are not null, unless stated otherwise.
 *  2. A new object has an owner, the caller. Whoever hands an object to a container hands over that ownership. A holder
 *     that shares an object with another raises extra_refs by 1; nothing in the library does. Each owner releases the
 *     object once, through obj_vector_del or one of its other names; the last one deletes it.
 *  3. `_new` takes the object from the allocator, which also serves its texts and copies and takes it back. Null says
 *     that the allocator failed.
 *  4. `_new_automatic` builds the object in storage of the caller's, a local variable for instance, and cannot fail.
 *     Deleting such an object frees what it owns, never the storage. Scalars among them have no allocator: their texts
 *     and copies are null. (A string object has one, because it owns its string.)
 *  5. Bytes of the payload's last word that the value does not use are 0, so that comparing bytes compares values.
 *  6. A 64-bit number or address that has to become a number of 32 bits becomes its lower half XOR its upper half.
 *
 * Thread safety: objects are not locked, nor are reference counts. The descriptors of scalars are constant. */
#ifndef KIV_OBJ_H
#define KIV_OBJ_H

#include "kiv_allocator.h"
#include "kiv_bigflt.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- The model --------------------------------------------------------------------------------------------------- */

/** The kinds of objects by their numbers. Kinds of a program's own take others. */
typedef enum KIV_OBJ_KIND {
  KIV_OBJ_KIND_INT = 1,
  KIV_OBJ_KIND_U32 = 2,
  KIV_OBJ_KIND_CHAR = 3,
  KIV_OBJ_KIND_UCHAR = 4,
  KIV_OBJ_KIND_PTR = 5,
  KIV_OBJ_KIND_BIGFLT = 6,
  KIV_OBJ_KIND_UNICHAR = 7,
  KIV_OBJ_KIND_UNICHAR_S = 8,
  KIV_OBJ_KIND_TUPLE = 9,
  KIV_OBJ_KIND_HASHTABLE = 10,
  KIV_OBJ_KIND_VECTOR = 11,
  KIV_OBJ_KIND_TREE = 12,
  KIV_OBJ_KIND_U64 = 13
} KIV_OBJ_KIND;

/** What every object starts with; the payload follows. */
typedef struct KIV_OBJ {
  const struct KIV_OBJ_TYPE *type; /**< The descriptor, shared by all objects of the kind. */
  KIV_ALLOCATOR *allocator;        /**< Where the object, its texts and its copies come from; null: there is none. */
  uint32_t automatic;              /**< 1: the storage is the caller's; 0: it is the allocator's. */
  uint32_t extra_refs;             /**< How many owners there are besides the first one. */
} KIV_OBJ;

/** A kind of objects. A program adds one by filling in such a record, with the default operations where they fit. */
typedef struct KIV_OBJ_TYPE {
  uint32_t type_id;     /**< A KIV_OBJ_KIND, or a number of the program's own. */
  uint32_t object_size; /**< Bytes of a whole object, header included. */
  /** A new text, terminated, from the object's allocator; the caller frees it there. Null when there is no memory. */
  char *(*to_char_s)(const KIV_OBJ *object);
  /** A number, which serves as hash value: equal objects of a kind that is used as key give equal numbers. */
  uint32_t (*to_number)(const KIV_OBJ *object);
  /** A new object of the same kind, not automatic, with one owner, from the object's allocator; null without memory. */
  KIV_OBJ *(*copy)(const KIV_OBJ *object);
  /** 0 when a and b are equal. */
  int32_t (*cmp)(const KIV_OBJ *a, const KIV_OBJ *b);
  /** Frees what the object owns, and the object unless it is automatic. Whoever may not be the last owner releases the
   * object instead. */
  void (*del)(KIV_OBJ *object);
} KIV_OBJ_TYPE;

/* --- Default operations ------------------------------------------------------------------------------------------ */

/** An empty text, in a block of as many zero bytes as the payload has and one more. */
KIV_API char *obj_to_char_s_default(const KIV_OBJ *object);

/** The object's address: the object is a key equal to none but itself. */
KIV_API uint32_t obj_to_number_default(const KIV_OBJ *object);

/** An object with the same payload bytes. */
KIV_API KIV_OBJ *obj_copy_default(const KIV_OBJ *object);

/** 0 when both have the same object_size and the same payload bytes, else 1. The kinds are not compared: an int 5 and a
 * u32 5 are equal. */
KIV_API int32_t obj_cmp_default(const KIV_OBJ *a, const KIV_OBJ *b);

/** Frees the object unless it is automatic. */
KIV_API void obj_del_default(KIV_OBJ *object);

/* --- Scalars -----------------------------------------------------------------------------------------------------
 *
 *     kind       value           text                                                          number
 *     int        int32_t         decimal                                                       the value
 *     u32        uint32_t        decimal, as if signed: 4294967295 is "-1"                     the value
 *     char       char            the character itself; "" for 0                                the address
 *     uchar      uint8_t         the same                                                      the address
 *     ptr        void *          the address, two upper-case hexadecimal digits a byte         the pointer
 *     bigflt     bigflt          kiv_bigflt_sprint with "f" and precision 6, cut after         the address
 *                                19 characters
 *     unichar    KIV_UNICHAR     the character itself up to 126, "" for 0; "?" from 127 on     the address
 *     unichar_s  KIV_STRING      kiv_string_convert_utf32_to_char_a: "?" from 128 on           the sum of the units
 *     u64        uint64_t        decimal                                                       halves XORed
 *
 * "The address" is that of the object: obj_to_number_default. Copying, comparing and deleting are the default
 * operations, except for unichar_s. A bigflt is compared by its bytes, too: NaN is equal to NaN. */

typedef struct KIV_OBJ_INT {
  KIV_OBJ header;
  int32_t value;
} KIV_OBJ_INT;

typedef struct KIV_OBJ_U32 {
  KIV_OBJ header;
  uint32_t value;
} KIV_OBJ_U32;

typedef struct KIV_OBJ_CHAR {
  KIV_OBJ header;
  char value;
  uint8_t zero[3];
} KIV_OBJ_CHAR;

typedef struct KIV_OBJ_UCHAR {
  KIV_OBJ header;
  uint8_t value;
  uint8_t zero[3];
} KIV_OBJ_UCHAR;

typedef struct KIV_OBJ_PTR {
  KIV_OBJ header;
  void *value;
} KIV_OBJ_PTR;

typedef struct KIV_OBJ_BIGFLT {
  KIV_OBJ header;
  bigflt value; /**< Its unused bytes are 0. */
} KIV_OBJ_BIGFLT;

typedef struct KIV_OBJ_UNICHAR {
  KIV_OBJ header;
  KIV_UNICHAR value;
} KIV_OBJ_UNICHAR;

typedef struct KIV_OBJ_UNICHAR_S {
  KIV_OBJ header;
  KIV_STRING value; /**< Owned; null counts as empty. */
} KIV_OBJ_UNICHAR_S;

typedef struct KIV_OBJ_U64 {
  KIV_OBJ header;
  uint64_t value;
} KIV_OBJ_U64;

/** An object of that value. */
KIV_API KIV_OBJ *obj_int_new(KIV_ALLOCATOR *allocator, int32_t value);
KIV_API KIV_OBJ *obj_u32_new(KIV_ALLOCATOR *allocator, uint32_t value);
KIV_API KIV_OBJ *obj_char_new(KIV_ALLOCATOR *allocator, char value);
KIV_API KIV_OBJ *obj_uchar_new(KIV_ALLOCATOR *allocator, uint8_t value);
KIV_API KIV_OBJ *obj_ptr_new(KIV_ALLOCATOR *allocator, void *value);
KIV_API KIV_OBJ *obj_bigflt_new(KIV_ALLOCATOR *allocator, bigflt value);
KIV_API KIV_OBJ *obj_unichar_new(KIV_ALLOCATOR *allocator, KIV_UNICHAR value);
KIV_API KIV_OBJ *obj_u64_new(KIV_ALLOCATOR *allocator, uint64_t value);

/** An object of that value in the caller's storage, which is the result. */
KIV_API KIV_OBJ *obj_int_new_automatic(KIV_OBJ_INT *storage, int32_t value);
KIV_API KIV_OBJ *obj_u32_new_automatic(KIV_OBJ_U32 *storage, uint32_t value);
KIV_API KIV_OBJ *obj_char_new_automatic(KIV_OBJ_CHAR *storage, char value);
KIV_API KIV_OBJ *obj_uchar_new_automatic(KIV_OBJ_UCHAR *storage, uint8_t value);
KIV_API KIV_OBJ *obj_ptr_new_automatic(KIV_OBJ_PTR *storage, void *value);
KIV_API KIV_OBJ *obj_bigflt_new_automatic(KIV_OBJ_BIGFLT *storage, bigflt value);
KIV_API KIV_OBJ *obj_unichar_new_automatic(KIV_OBJ_UNICHAR *storage, KIV_UNICHAR value);
KIV_API KIV_OBJ *obj_u64_new_automatic(KIV_OBJ_U64 *storage, uint64_t value);

/** The value. */
KIV_API int32_t obj_int_get(const KIV_OBJ *object);
KIV_API uint32_t obj_u32_get(const KIV_OBJ *object);
KIV_API char obj_char_get(const KIV_OBJ *object);
KIV_API uint8_t obj_uchar_get(const KIV_OBJ *object);
KIV_API void *obj_ptr_get(const KIV_OBJ *object);
KIV_API bigflt obj_bigflt_get(const KIV_OBJ *object);
KIV_API KIV_UNICHAR obj_unichar_get(const KIV_OBJ *object);
KIV_API uint64_t obj_u64_get(const KIV_OBJ *object);

/** Replaces the value. */
KIV_API void obj_int_set(KIV_OBJ *object, int32_t value);
KIV_API void obj_u32_set(KIV_OBJ *object, uint32_t value);
KIV_API void obj_char_set(KIV_OBJ *object, char value);
KIV_API void obj_uchar_set(KIV_OBJ *object, uint8_t value);
KIV_API void obj_ptr_set(KIV_OBJ *object, void *value);
KIV_API void obj_bigflt_set(KIV_OBJ *object, bigflt value);
KIV_API void obj_unichar_set(KIV_OBJ *object, KIV_UNICHAR value);
KIV_API void obj_u64_set(KIV_OBJ *object, uint64_t value);

/** The number of the kind, a KIV_OBJ_KIND: what object->type->type_id is for its objects. */
KIV_API uint32_t obj_int_get_type(void);
KIV_API uint32_t obj_u32_get_type(void);
KIV_API uint32_t obj_char_get_type(void);
KIV_API uint32_t obj_uchar_get_type(void);
KIV_API uint32_t obj_ptr_get_type(void);
KIV_API uint32_t obj_bigflt_get_type(void);
KIV_API uint32_t obj_unichar_get_type(void);
KIV_API uint32_t obj_unichar_s_get_type(void);
KIV_API uint32_t obj_u64_get_type(void);

/* --- Strings ----------------------------------------------------------------------------------------------------- */

/** An object that takes over the string, which comes from the same allocator. When the result is null, the string is
 * still the caller's. Copying copies the string with the object; comparing is kiv_string_compare, -1, 0 or 1; deleting
 * deletes the string. */
KIV_API KIV_OBJ *obj_unichar_s_new(KIV_ALLOCATOR *allocator, KIV_STRING value);

/** The same in the caller's storage, which is the result. */
KIV_API KIV_OBJ *obj_unichar_s_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_UNICHAR_S *storage, KIV_STRING value);

/** The string, which remains the object's. */
KIV_API KIV_STRING obj_unichar_s_get(const KIV_OBJ *object);

/** Takes over another string. The old one is not freed: it is the caller's now, who gets it before. */
KIV_API void obj_unichar_s_set(KIV_OBJ *object, KIV_STRING value);

KIV_END_DECLARATIONS

#endif
