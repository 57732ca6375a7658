/** @file
 * Message formatting: English messages with numbered, typed placeholders become texts of code points.
 *
 * A message is written once, as a byte string, and ends with the mark "[|]":
 *
 *     "cannot open \"[0_S]\": [1_s32] of [2_u64d8] bytes read[|]"
 *
 * Syntax:
 *
 *     x               itself, for any character but "["; a byte is the code point of its value (bytes from 0x80 on are
 *                     zero-extended; messages are meant to be ASCII)
 *     [[   ]]         one "[", one "]"; a single "]" is itself, too
 *     [&41]           the code point with this value, in lower-case hexadecimal digits; any one character may stand in
 *                     the place of the "]"
 *     [0_S]           a placeholder: argument number, "_", type, format
 *     [NAME(a, b)]    a plural word, below
 *     [|              the end; what follows is ignored
 *
 * Types. The argument word of a string is the string's address, that of any other type the address of the value. What
 * is read at that address depends on whether the message is a byte string or a KIV_STRING:
 *
 *     | type            | value, byte-string message            | value, KIV_STRING message  |
 *     |-----------------|---------------------------------------|----------------------------|
 *     | s8, s16         | int32_t                               | int8_t, int16_t            |
 *     | u8, u16         | uint32_t                              | uint8_t, uint16_t          |
 *     | s32, s64        | int32_t, int64_t                      | the same                   |
 *     | u32, u64        | uint32_t, uint64_t                    | the same                   |
 *     | s128, u128      | KIV_S128, KIV_U128                    | the same                   |
 *     | b               | uint32_t: "false" for 0, or "true"    | the same                   |
 *     | c               | one byte, the character of its value  | the same                   |
 *     | C               | KIV_UNICHAR                           | the same                   |
 *     | d               | double                                | the same                   |
 *     | s               | a byte string, zero-extended          | the same                   |
 *     | S               | KIV_STRING                            | the same                   |
 *     | any other letter| bigflt                                | the same                   |
 *
 * In byte-string messages the values of 8- and 16-bit types have 32 bits, so that a plain int can stand for all of the
 * smaller integers; kiv_message.h sees to that. A "u" has a width. Widths other than those are taken as 128 bits when
 * they begin with 1, as 32 and 8 when they begin with 3 and 8, and as 64 otherwise. An "m" may follow a width and
 * changes nothing. One argument may be used any number of times, always with the same type.
 *
 * Format, each part optional, in this order:
 *
 *     x               hexadecimal, lower-case, of integers, "b", "c", "C" and bigflt
 *     e f g           the form of a double or bigflt (g without one, which rounds a double to precision + 0 significant
 *                     digits: see below)
 *     d u             integers as signed and unsigned; "b", "c" and "C" as numbers; the integer part of a bigflt
 *     -               padding on the right
 *     12              the least number of characters; blanks fill up, on the left without "-"
 *     .3              the precision
 *
 * "[0_u32d8]" is an unsigned number in 8 characters; so is "[0_u328]", for digits behind a known width begin a format.
 * A width behind "s" is an integer's: a byte string in at least 20 characters is "[0_s-20]", a KIV_STRING "[0_S20]".
 * The precision is the number of digits behind the point of e and f, the number of significant digits of a double with
 * g, the least number of digits of an integer, and the greatest number of characters of a string, where 0 means all.
 * Without one it is 0, also for doubles: "[0_d]" rounds to one significant digit, "[0_dg.17]" tells all doubles apart.
 * Widths and precisions above KIV_I18N_MOST_WIDTH are failures.
 *
 * Integers have no grouping and "-" before negative ones; in hexadecimal these are in two's complement of the type's
 * width. Doubles are printed as by C's printf, with exponents of two digits at least and "inf", "-inf", "nan" on
 * every system; bigflt as by kiv_bigflt_sprint(). A letter that does not fit the type is ignored. The character 0 is
 * empty. A null word prints "(null)", whatever the type.
 *
 * Plural words choose the form of a word by a number n: an integer, double or bigflt placeholder. The word is another
 * placeholder, or text between two of any character but "[" and blanks: 'file'. Blanks may stand before an argument.
 *
 *     | word                      | when n is 1    | otherwise      |
 *     |---------------------------|----------------|----------------|
 *     | SING_S(n, 'file')         | files          | file           |
 *     | PLURAL_S(n, 'file')       | file           | files          |
 *     | SING_ES(n, 'go')          | goes           | go             |
 *     | PLURAL_ES(n, 'match')     | match          | matches        |
 *     | SING_Y_IES(n, 'fly')      | flies          | fly            |
 *     | PLURAL_Y_IES(n, 'entry')  | entry          | entries        |
 *     | PLURAL_IRR(n, 'is','are') | is             | are            |
 *
 * A word for Y_IES that does not end in "y" stays as it is. "[0_u32] [PLURAL_S([0_u32], 'file')][|]" is "2 files".
 *
 * Failures: a "[" that begins nothing of the above; an escape of the value 0 or above 2^32 - 1; an unknown name; an
 * argument number for which there is no word; one argument with two types; a width out of bounds; no memory; a full
 * buffer. Messages come from outside at times (translations): no message can read outside of itself. A terminating 0
 * within a placeholder or plural word is a failure as well. Elsewhere it ends the text as the mark would: a message
 * without the mark is an error of its author that is not reported, so that its reader still gets the text.
 *
 * Thread safety: any number of threads may use one handle. The lookup of a known message takes no lock. */
#ifndef KIV_I18N_H
#define KIV_I18N_H

#include "kiv_allocator.h"
#include "kiv_mutex.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** The greatest width and precision. */
#define KIV_I18N_MOST_WIDTH 1000000

/** The greatest number of arguments of kiv_i18n_prn_do. */
#define KIV_I18N_MOST_ARGUMENTS 64

/* --- The handle and its texts ------------------------------------------------------------------------------------ */

/** A message and its text, both owned by the handle. */
typedef struct KIV_I18N_PAIR {
  char *key;
  KIV_STRING text;
} KIV_I18N_PAIR;

/** Made by kiv_i18n_prn_init only. Read it in a debugger; never write it. */
typedef struct KIV_I18N {
  KIV_ALLOCATOR *allocator;
  kiv_mutex mutex;      /**< held while a message is added */
  KIV_I18N_PAIR *table; /**< in the order in which they came */
  uint32_t capacity;    /**< pairs */
  uint32_t count;       /**< pairs in use */
} KIV_I18N;

/** A handle that takes its memory from allocator, which must be usable by every thread that looks messages up. Null
 * when there is not enough; nothing is left allocated then. */
KIV_API KIV_I18N *kiv_i18n_prn_init(KIV_ALLOCATOR *allocator);

/** Frees the handle and all of its texts; null is ignored. REQUIRES: no thread uses either any more. */
KIV_API void kiv_i18n_prn_exit(KIV_I18N *handle);

/** The text of a message without arguments. It belongs to the handle and stays until kiv_i18n_prn_exit; the same
 * message, byte for byte, also behind the end mark, always gives the same pointer. A placeholder or plural word is not
 * replaced, it stands in the text as in the message. Null for a null message, a bad escape, or when there is no memory;
 * a later call tries again.
 *
 * The cost of a known message is that of its length, however many there are, and no lock is taken. A new one costs a
 * copy of the message and the text, 4 bytes for each byte, from the handle's allocator; the table grows to
 * 2 * capacity + 10 pairs. The index is on the C runtime's heap, some 130 bytes a message, and at first a few
 * hundred. Escapes and the end mark count inside of plural words, too, also between quotes. */
KIV_API KIV_STRING kiv_i18n_get(KIV_I18N *handle, const char *message);

/** The English text: the same text, there is no other language. */
KIV_API KIV_STRING kiv_i18n_get_en(KIV_I18N *handle, const char *message);

/* --- Formatting into a new text ----------------------------------------------------------------------------------
 * The handle may be null where an allocator is given. Words that the message does not use may be anything.
 *
 * The text belongs to the caller, who frees it through the same allocator (kiv_string_delete). Its block has room for
 * 128 code points at first and grows by half and 50. Null on failure, with nothing left allocated. A message that fails
 * by itself, or for lack of words, fails before anything is allocated. */

KIV_API KIV_STRING kiv_i18n_prna2(KIV_I18N *handle, KIV_ALLOCATOR *allocator, const char *message, const void *a0,
                                  const void *a1);

KIV_API KIV_STRING kiv_i18n_prna8(KIV_I18N *handle, KIV_ALLOCATOR *allocator, const char *message, const void *a0,
                                  const void *a1, const void *a2, const void *a3, const void *a4, const void *a5,
                                  const void *a6, const void *a7);
KIV_API KIV_STRING kiv_i18n_prna8_en(KIV_I18N *handle, KIV_ALLOCATOR *allocator, const char *message, const void *a0,
                                     const void *a1, const void *a2, const void *a3, const void *a4, const void *a5,
                                     const void *a6, const void *a7);

/** kiv_i18n_prna8 with the handle's allocator. */
KIV_API KIV_STRING kiv_i18n_prnd8(KIV_I18N *handle, const char *message, const void *a0, const void *a1, const void *a2,
                                  const void *a3, const void *a4, const void *a5, const void *a6, const void *a7);
KIV_API KIV_STRING kiv_i18n_prnd8_en(KIV_I18N *handle, const char *message, const void *a0, const void *a1,
                                     const void *a2, const void *a3, const void *a4, const void *a5, const void *a6,
                                     const void *a7);

/* --- Formatting into a buffer ------------------------------------------------------------------------------------ */

/** Writes the text, terminated, to a buffer with room for capacity code points; *count, unless count is null, receives
 * its length without the terminator. 0 for success. 1 on failure: the buffer then has as much of the text as it had
 * room for, terminated, and *count its length; none of it when the message itself fails. Nothing is written to a null
 * buffer or one of no capacity. Nothing is allocated. The handle is not used and may be null. REQUIRES: the buffer
 * overlaps neither the message nor an argument. */
KIV_API int kiv_i18n_prn2(KIV_I18N *handle, KIV_STRING buffer, uint32_t capacity, uint32_t *count, const char *message,
                          const void *a0, const void *a1);

KIV_API int kiv_i18n_prn8(KIV_I18N *handle, KIV_STRING buffer, uint32_t capacity, uint32_t *count, const char *message,
                          const void *a0, const void *a1, const void *a2, const void *a3, const void *a4,
                          const void *a5, const void *a6, const void *a7);
KIV_API int kiv_i18n_prn8_en(KIV_I18N *handle, KIV_STRING buffer, uint32_t capacity, uint32_t *count,
                             const char *message, const void *a0, const void *a1, const void *a2, const void *a3,
                             const void *a4, const void *a5, const void *a6, const void *a7);

/* --- The general form -------------------------------------------------------------------------------------------- */

/** Where kiv_i18n_prn_do writes. */
typedef struct KIV_I18N_OUTPUT {
  KIV_ALLOCATOR *allocator; /**< The new text comes from here; null: write to the caller's buffer. */
  KIV_STRING buffer;        /**< The caller's buffer, or receives the new text, null on failure. */
  uint32_t capacity;        /**< Code points of the caller's buffer, or receives those of the new text. */
  uint32_t count;           /**< Receives the length of what was written, without the terminator. */
} KIV_I18N_OUTPUT;

/** Formats message or, when that is null, string_message, with argument_count words. 0, or 1 on failure.
 * *arguments_needed, unless null, receives what the message says, also when there are not so many words: the greatest
 * argument number + 1, at most INT32_MAX, or -1 when the message is malformed. The handle may be null. A null output is
 * a failure, null arguments count as none. REQUIRES: the buffer overlaps neither the message nor an argument.
 *
 * The same syntax holds for both kinds of messages, but mind the values of 8- and 16-bit types, above. */
KIV_API int kiv_i18n_prn_do(KIV_I18N *handle, const char *message, const KIV_UNICHAR *string_message,
                            uint32_t argument_count, const void *const *arguments, KIV_I18N_OUTPUT *output,
                            int32_t *arguments_needed);

KIV_END_DECLARATIONS

#endif
