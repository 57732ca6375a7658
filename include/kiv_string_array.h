/** @file
 * Growable stacks of strings, and a print context that collects formatted 8-bit output in one, a line an element.
 *
 * Conventions: an operation that allocates takes the allocator first; it has to be the same one for all operations on
 * an array. A status is 0, or 1 without memory: the array is then as it was. A null array counts as an empty one that
 * cannot grow, a null char string as an empty one. Bytes are zero-extended: 0xE9 becomes U+00E9.
 *
 * Ownership: an array owns its strings. Pushing hands one over, popping hands it back.
 *
 * Costs: push and pop take amortised constant time, appending to the top takes time linear in the result.
 *
 * Thread safety: one thread at a time per array. */
#ifndef KIV_STRING_ARRAY_H
#define KIV_STRING_ARRAY_H

#include <stdarg.h>

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_STRING_ARRAY {
  uint32_t count;       /**< elements in use */
  uint32_t capacity;    /**< slots; 6 in a new array */
  KIV_STRING *elements; /**< an element may be null when a null string was pushed */
} KIV_STRING_ARRAY;

/* --- Arrays ------------------------------------------------------------------------------------------------------ */

/** An empty array with room for 6 strings; null without memory. */
KIV_API KIV_STRING_ARRAY *kiv_string_new_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator);

/** Frees the strings, the slots and the record. Null is ignored. Always null, for storing in the caller's variable. */
KIV_API KIV_STRING_ARRAY *kiv_string_destroy_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array);

/** Appends string, which may be null. 0; 1 when the array cannot grow: the string is still the caller's then.
 *
 * A full array grows from c to (3c + 2) / 2 slots, and prints the line "ALLOC" to standard output each time it tries.
 */
KIV_API int kiv_string_push_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array, KIV_STRING string);

/** Removes the last element and hands it to the caller; null when there is none. An array of c >= 7 slots of which less
 * than half are still in use shrinks to 2c / 3 slots, or stays as it is when that fails. */
KIV_API KIV_STRING kiv_string_pop_from_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array);

/** The number of elements; 0 for null. */
KIV_API uint32_t kiv_string_n_elems_in_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array);

/** 1 for a null or empty array, else 0. */
KIV_API int kiv_string_is_empty_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array);

/** An element, which stays the array's; null when there is none with this index. */
KIV_API KIV_STRING kiv_string_get_elem_from_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array, uint32_t index);

/** The last element, which stays the array's, and the address of its slot, which is valid until the next push or pop;
 * null when there is none. */
KIV_API KIV_STRING kiv_string_top_of_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array);
KIV_API KIV_STRING *kiv_string_address_of_top_of_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array);

/** Pushes a new string of the bytes of text, or of exactly count bytes. 0, or 1 with the array unchanged. A 0 among
 * count bytes is copied, and ends the string for everyone who looks at it. */
KIV_API int kiv_string_push_char_string_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                            const char *text);
KIV_API int kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                                    const char *text, uint32_t count);

/** Replaces the last element by a new string with text behind it; a null element by text alone. 0; 1 without an element
 * or without memory, with the array unchanged. A 0 among count bytes ends what is appended. */
KIV_API int kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                                  const char *text);
KIV_API int kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(KIV_ALLOCATOR *allocator,
                                                                          KIV_STRING_ARRAY *array, const char *text,
                                                                          uint32_t count);

/** Calls function for every element, first to last. */
KIV_API void kiv_string_iterate_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array,
                                                 void (*function)(uint32_t index, KIV_STRING element, void *context),
                                                 void *context);

/* --- Printing into an array -------------------------------------------------------------------------------------- */

/** Collects text. Without memory, text is lost and nothing is reported. */
typedef struct KIV_STRING_ARRAY_PRINT_CONTEXT {
  KIV_ALLOCATOR *allocator; /**< for the array and its strings */
  KIV_STRING_ARRAY *array;  /**< the lines so far, without their line feeds; null after destruction or failure */
  uint32_t line_complete;   /**< 0: the last element is a line that the next text continues */
} KIV_STRING_ARRAY_PRINT_CONTEXT;

/** Makes the caller's record ready, with a new array. 0; 1 without memory: text is then taken and lost. */
KIV_API int kiv_string_array_init_KIV_STRING_ARRAY_PRINT_CONTEXT(KIV_STRING_ARRAY_PRINT_CONTEXT *context,
                                                                 KIV_ALLOCATOR *allocator);

/** Destroys the array and stores null in its place; the record is the caller's. */
KIV_API void kiv_string_array_destroy_contents_KIV_STRING_ARRAY_PRINT_CONTEXT(KIV_STRING_ARRAY_PRINT_CONTEXT *context);

/** Adds text. Every line feed ends an element; what comes behind the last one is an unfinished element, which the next
 * text continues. When a line's beginning was lost for lack of memory, its rest joins the element before. */
KIV_API void kiv_string_array_add_char_string(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *text);

/** Formats as the C runtime does and adds the text, cut to 2047 bytes. The result is the C runtime's: how many bytes
 * there were before cutting, or negative for what cannot be formatted, which adds nothing. */
KIV_API int kiv_string_array_printf(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *format, ...);
KIV_API int kiv_string_array_vprintf(KIV_STRING_ARRAY_PRINT_CONTEXT *context, const char *format, va_list arguments);

KIV_END_DECLARATIONS

#endif
