/** @file
 * Strings of Unicode code points: making, joining, copying, comparing, searching, lines and tabs, arrays, printing.
 *
 * A KIV_STRING is an array of KIV_UNICHAR ended by 0. There is no header and no stored length: lengths are found by
 * scanning, and a string of length n occupies (n + 1) * 4 bytes. No code point is range-checked. A char string is an
 * ordinary one of bytes, ended by 0. Lengths and sizes are counted modulo 2^32.
 *
 * Conventions:
 *  1. Null counts as the empty string where a function makes, measures, joins, copies or releases strings. All others
 *     REQUIRE strings, unless the declaration says otherwise. Strings lie at addresses divisible by 4, except for
 *     kiv_string_length_byte_aligned().
 *  2. Bytes of char strings are widened in one of two ways, which each declaration names. Zero extension: the byte 0xE9
 *     is U+00E9. Sign extension: the byte 0xE9 is the unit 0xFFFFFFE9, which equals no Unicode character. Bytes below
 *     0x80 are the same in both.
 *  3. Comparisons order units as unsigned numbers and give -1, 0 or 1.
 *  4. What a function allocates comes from the allocator given to it, belongs to the caller, and is released through
 *     the same allocator (kiv_string_delete). Null says that the allocator failed, or that the result would need 2^32
 *     bytes or more; nothing has then been allocated or changed, unless the declaration says otherwise.
 *  5. A function that grows a string in place hands it to the allocator's realloc: use only its result afterwards. When
 *     the result is null, the old string is still valid and still the caller's.
 *
 * Thread safety: strings are not locked. */
#ifndef KIV_STRING_H
#define KIV_STRING_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- Making and releasing ---------------------------------------------------------------------------------------- */

/** An empty string, in a block of 4 bytes. */
KIV_API KIV_STRING kiv_string_new(KIV_ALLOCATOR *allocator);

/** An empty string with room for units units, the terminator among them; all of them are 0. */
KIV_API KIV_STRING kiv_string_new_empty_string(KIV_ALLOCATOR *allocator, uint32_t units);

/** Frees s; null is ignored. */
KIV_API void kiv_string_delete(KIV_ALLOCATOR *allocator, KIV_STRING s);

/** A copy of s. */
KIV_API KIV_STRING kiv_string_dup(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s);
KIV_API KIV_STRING kiv_string_strdup(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s);

/** A copy of at most the first n units of s, in a block of n + 1 units however short s is. */
KIV_API KIV_STRING kiv_string_ndup(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s, uint32_t n);

/* --- Measuring --------------------------------------------------------------------------------------------------- */

/** The number of units before the terminator; 0 for null. */
KIV_API uint32_t kiv_string_length(const KIV_UNICHAR *s);

/** The bytes that s occupies, terminator included; 4 for null. */
KIV_API uint32_t kiv_string_sizeof(const KIV_UNICHAR *s);

/** kiv_string_length of a string at any byte address; 0 for null. */
KIV_API uint32_t kiv_string_length_byte_aligned(const void *s);

/** 1 when a unit of s is above 127, else 0; 0 for null. */
KIV_API int kiv_string_contains_non_ascii(const KIV_UNICHAR *s);

/* --- Joining -----------------------------------------------------------------------------------------------------
 * The text that is joined to s may be s itself or a part of it. */

/** s, grown in place, with the unit c behind. */
KIV_API KIV_STRING kiv_string_append(KIV_ALLOCATOR *allocator, KIV_STRING s, KIV_UNICHAR c);

/** s, grown in place, with prefix in front. A null prefix gives s as it is, also null. */
KIV_API KIV_STRING kiv_string_prepend(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *prefix, KIV_STRING s);
/** The same; bytes are zero-extended. */
KIV_API KIV_STRING kiv_string_prepend_char_s(KIV_ALLOCATOR *allocator, const char *prefix, KIV_STRING s);

/** s, grown in place, with t behind; bytes are zero-extended. A null t gives s as it is, also null. */
KIV_API KIV_STRING kiv_string_cat_char_s(KIV_ALLOCATOR *allocator, KIV_STRING s, const char *t);

/** s with at most the first n units of t behind; n from 2^31 on is negative and appends nothing. With reuse s is grown
 * in place; without, the result is a new string and s is left alone. A null t gives s as it is, also null, or a copy of
 * s without reuse. */
KIV_API KIV_STRING kiv_string_strncat(KIV_ALLOCATOR *allocator, KIV_STRING s, const KIV_UNICHAR *t, uint32_t n,
                                      int reuse);
/** The same with an n of 1,000,000,000. */
KIV_API KIV_STRING kiv_string_cat(KIV_ALLOCATOR *allocator, KIV_STRING s, const KIV_UNICHAR *t, int reuse);

/* --- Copying in place --------------------------------------------------------------------------------------------
 * REQUIRES: the destination has room for the result and its terminator, and does not overlap the source. A null source
 * counts as empty. Bytes are sign-extended. */

/** Copies src with its terminator. */
KIV_API void kiv_string_strcpy(KIV_STRING destination, const KIV_UNICHAR *src);
/** Copies src behind the string in destination. */
KIV_API void kiv_string_strcat(KIV_STRING destination, const KIV_UNICHAR *src);
/** Copies as much of src as fits n units with the terminator, which is always written: at most n - 1 units of src are
 * kept. With n = 0 nothing is written. Gives destination. */
KIV_API KIV_STRING kiv_string_strncpy(KIV_STRING destination, const KIV_UNICHAR *src, uint32_t n);

/** kiv_string_strcpy from a char string. Gives destination. */
KIV_API KIV_STRING kiv_string_strcpy_char_s(KIV_STRING destination, const char *src);
/** kiv_string_strncpy from a char string. */
KIV_API KIV_STRING kiv_string_strncpy_char_s(KIV_STRING destination, const char *src, uint32_t n);
/** kiv_string_strcat from a char string. */
KIV_API void kiv_string_strcat_char_s(KIV_STRING destination, const char *src);

/* --- Comparing --------------------------------------------------------------------------------------------------- */

/** The order of s and t: -1 when t is greater, 1 when s is, 0 when they are equal. */
KIV_API int32_t kiv_string_compare(const KIV_UNICHAR *s, const KIV_UNICHAR *t);
KIV_API int32_t kiv_string_strcmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t);
/** The order of the first n units at most. */
KIV_API int32_t kiv_string_strncmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t, uint32_t n);

/** kiv_string_compare with a char string, zero-extended. */
KIV_API int32_t kiv_string_compare_with_char_s(const KIV_UNICHAR *s, const char *t);
/** kiv_string_strncmp with a char string, zero-extended. */
KIV_API int32_t kiv_string_ncompare_with_char_s(const KIV_UNICHAR *s, const char *t, uint32_t n);
/** kiv_string_compare_with_char_s of the first 4,294,967,295 units at most. */
KIV_API int32_t kiv_string_strcmp_with_char(const KIV_UNICHAR *s, const char *t);
/** kiv_string_ncompare_with_char_s. */
KIV_API int32_t kiv_string_strncmp_with_char(const KIV_UNICHAR *s, const char *t, uint32_t n);

/** The order of s and t without regard to case: of two units at the same place that are both letters to the C runtime's
 * iswalpha, each that iswlower knows is replaced by its towupper, cut to 16 bits. On systems whose wide characters have
 * 16 bits, units above 0xFFFF are no letters. */
KIV_API int32_t kiv_string_stricmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t);
/** kiv_string_stricmp of the whole strings: n is ignored. */
KIV_API int32_t kiv_string_strncasecmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t, uint32_t n);

/** 1 when s begins with prefix, else 0. With nocase both are compared through kiv_uni_tolower. */
KIV_API int kiv_string_begins_with(const KIV_UNICHAR *s, const KIV_UNICHAR *prefix, int nocase);
/** The same; bytes are sign-extended. */
KIV_API int kiv_string_begins_with_char_s(const KIV_UNICHAR *s, const char *prefix, int nocase);
/** 1 when s ends with suffix, else 0. With nocase both are compared through kiv_uni_tolower. Null counts as empty. */
KIV_API int kiv_string_ends_with(const KIV_UNICHAR *s, const KIV_UNICHAR *suffix, int nocase);
/** The same; bytes are sign-extended. */
KIV_API int kiv_string_ends_with_char_s(const KIV_UNICHAR *s, const char *suffix, int nocase);

/* --- Searching ---------------------------------------------------------------------------------------------------
 * A place that is found is a pointer into s. */

/** The first unit equal to c, the terminator when c is 0; null when there is none. */
KIV_API KIV_STRING kiv_string_strchr(const KIV_UNICHAR *s, KIV_UNICHAR c);
/** The last unit equal to c, the terminator when c is 0; null when there is none. */
KIV_API KIV_STRING kiv_string_strrchr(const KIV_UNICHAR *s, KIV_UNICHAR c);
/** The number of units at the start of s that are all in set. */
KIV_API uint32_t kiv_string_strspn(const KIV_UNICHAR *s, const KIV_UNICHAR *set);
/** The number of units at the start of s of which none is in set. */
KIV_API uint32_t kiv_string_strcspn(const KIV_UNICHAR *s, const KIV_UNICHAR *set);
/** The first unit of s that is in set; null when there is none. */
KIV_API KIV_STRING kiv_string_strpbrk(const KIV_UNICHAR *s, const KIV_UNICHAR *set);
/** The first place where t stands in s; null when there is none. A null or empty t gives s. Time is linear in the
 * lengths of s and t. */
KIV_API KIV_STRING kiv_string_strstr(const KIV_UNICHAR *s, const KIV_UNICHAR *t);
/** The index of an element equal to key, or 0xFFFFFFFF. REQUIRES: the n strings ascend by kiv_string_compare. */
KIV_API uint32_t kiv_string_to_index(uint32_t n, const KIV_STRING *sorted, const KIV_UNICHAR *key);

/* --- Lines and tabs ----------------------------------------------------------------------------------------------
 * A line terminator is LF, CR, CR LF or LF CR. The two functions on them read the char string (sign-extended) when it
 * is not null, else s; they look at no more than n units and stop at a terminator. */

/** Finds the first line terminator. 1 with its index in *position and its length, 1 or 2, in *length; 0 with both as
 * they were. A pair that n cuts has length 1. */
KIV_API int kiv_string_line_terminator_find(const char *char_s, const KIV_UNICHAR *s, uint32_t n, uint32_t *position,
                                            uint32_t *length);
/** The number of line terminators. */
KIV_API uint32_t kiv_string_line_terminators_count(const char *char_s, const KIV_UNICHAR *s, uint32_t n);

/** Removes every LF and CR at the end of s, in place; null is ignored. */
KIV_API void kiv_string_chop_nl(KIV_STRING s);

/** A new string of the first n units of s, all of s when n is 0xFFFFFFFF, with every tab replaced by spaces up to the
 * next multiple of 2^shift columns; shift counts modulo 32, every other unit is one column wide. When there is no tab
 * among these units and force is 0, the result is s itself, however long. REQUIRES: s has n units. */
KIV_API KIV_STRING kiv_string_tabs_expand(KIV_ALLOCATOR *allocator, KIV_STRING s, uint32_t n, uint32_t shift,
                                          int force);

/* --- Arrays of strings -------------------------------------------------------------------------------------------
 * An array of pointers ended by a null pointer, which owns its strings. (KIV_STRING_ARRAY is another type, a growable
 * text buffer.) A null array counts as empty unless stated otherwise. */

/** The array, grown in place, with s itself as last element. On null array and s are as they were. */
KIV_API KIV_STRING *kiv_string_no_copy_append_to_array(KIV_ALLOCATOR *allocator, KIV_STRING s, KIV_STRING *array);

/** The array, grown in place, with a copy of s as last element. A failure deletes the array and all its strings: null
 * says that there is nothing left to release. */
KIV_API KIV_STRING *kiv_string_append_to_array(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s, KIV_STRING *array);
/** The same with a char string, zero-extended. */
KIV_API KIV_STRING *kiv_string_append_char_s_to_array(KIV_ALLOCATOR *allocator, const char *s, KIV_STRING *array);

/** A new array of copies of the strings of both arrays. A copy that cannot be made ends the array there; null when the
 * array of pointers cannot be made. REQUIRES: neither array is null. */
KIV_API KIV_STRING *kiv_string_cat_arrays(KIV_ALLOCATOR *allocator, const KIV_STRING *array1, const KIV_STRING *array2);

/** Frees the strings and the array; null is ignored. */
KIV_API void kiv_string_delete_array(KIV_ALLOCATOR *allocator, KIV_STRING *array);

/* --- Printing ---------------------------------------------------------------------------------------------------- */

/** A function like the C runtime's fprintf: the destination is handed through to it, a negative result is a failure.
 * fprintf itself is given as (KIV_PRINTER)fprintf, with a FILE as destination. */
typedef int (*KIV_PRINTER)(void *destination, const char *format, ...);

/** Prints s by one call of printer with the format "%S" and the text as wide string: UTF-16 where wide characters have
 * 16 bits, code points where they have 32; surrogates and what lies beyond Unicode become "?". Null counts as empty. 0,
 * or errno when the printer fails. Below 1000 UTF-16 units with the terminator the wide string stands on the stack,
 * else on the C runtime's heap; when there is no memory there, "???" is printed and the result is 12. */
KIV_API int kiv_string_fputs(const KIV_UNICHAR *s, void *destination, KIV_PRINTER printer);
/** kiv_string_fputs of the string that is c; an empty one when c is 0. */
KIV_API int kiv_string_fputc(KIV_UNICHAR c, void *destination, KIV_PRINTER printer);
/** kiv_string_fputs to the C runtime's standard output. */
KIV_API int kiv_string_print(const KIV_UNICHAR *s);

/** Prints s unit by unit with control characters made visible: what the C runtime's iswprint accepts, asked for the low
 * 16 bits, as it is; other units from 32 on as "\x7F"; those below 32 as "^A". 0, or errno of the first print that
 * fails, which is the last one. */
KIV_API int kiv_string_print_verbose_control_chars(const KIV_UNICHAR *s, void *destination, KIV_PRINTER printer);
/** The same for a char string, by the C runtime's isprint. Bytes from 0x80 on are negative numbers here and thus below
 * 32: the byte 0xE9 is "^" and the byte 0x29. */
KIV_API int kiv_string_print_char_s_verbose_control_chars(const char *s, void *destination, KIV_PRINTER printer);

/** Writes s as visible bytes into buffer and gives their number. Code points above 127 are "?" here, printable bytes
 * stand for themselves, other bytes from 32 on are written as "\x7F". For a byte below 32 the byte that is in the
 * buffer at that place decides: over a tab, LF or CR the byte is written as it is, over a 0 "^@" is written, over
 * anything else
 * "^" and the byte + 0x40. Callers choose by how they fill the buffer. "\x7F" and "^@" are written with a 0 behind
 * them, so that a control character that follows at once is "^@"; nothing else terminates the buffer. REQUIRES: the
 * buffer has room for 4 bytes a code point and 1 more, 7 at least, and its bytes are initialised. When memory fails,
 * "<null>" is written, with its terminator, and the result is 0. */
KIV_API uint32_t kiv_string_sprint_as_8bit_chars(KIV_ALLOCATOR *allocator, char *buffer, const KIV_UNICHAR *s);

KIV_END_DECLARATIONS

#endif
