/** @file
 * Conversions between texts of code points (UTF-32) and UTF-8, UTF-16 and 8-bit characters.
 *
 * Shapes: every text is an array of units ended by a unit 0: bytes in UTF-8 and 8-bit texts, 16-bit units in UTF-16
 * texts, KIV_UNICHARs in texts of code points. An 8-bit text that is read is Latin-1 (its bytes are the code points
 * 0x01 to 0xFF); one that is written is 7-bit ASCII.
 *
 * Conventions:
 *  1. Conversions are lenient: what has no counterpart becomes "?" (U+003F), and nobody is told. Surrogate values and
 *     overlong forms pass between UTF-8 and UTF-32 as they are.
 *  2. A size counts units of the destination, the room for its terminator included. With size 0 nothing is written.
 *  3. A bounded conversion (source, destination, size) gives 1 when the whole source was converted and terminated, and
 * 0 when the destination ran out: it then holds the converted prefix, terminated. Exceptions say so. No unit behind the
 * terminator is written.
 *  4. A name that ends in _a allocates its result from the allocator; the caller frees it there. Null when the
 * allocator has no memory, or when the result has more bytes than an allocator's 32-bit size can tell.
 *  5. REQUIRES, throughout: pointers are not null, units are aligned, and source and destination do not overlap.
 *  6. No source makes a conversion read behind the source's terminator. (Aligned blocks are read whole.)
 *
 * Cost: one pass over the text, two for the allocating forms. Runs of one kind of character go through vector
 * registers.
 *
 * Thread safety: the functions have no state. */
#ifndef KIV_STRING_CONVERT_H
#define KIV_STRING_CONVERT_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- UTF-8 ------------------------------------------------------------------------------------------------------- */

/** A code point at or above 0x110000 becomes "?". Such a one may take the last byte of the destination, in place of the
 * terminator: the result is then 0, even at the end of the source, and the destination is not terminated. */
KIV_API int kiv_string_convert_utf32_to_utf8(const KIV_UNICHAR *string, char *utf8, uint32_t size);
KIV_API char *kiv_string_convert_utf32_to_utf8_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string);

/** The first byte of a sequence decides how many follow; those that do give their low six bits, whatever their high
 * bits are. A byte that begins no sequence (0x80 to 0xBF, 0xF8 to 0xFF) becomes "?". So does a sequence that the
 * terminator cuts short, as a whole: the text ends there. */
KIV_API int kiv_string_convert_utf8_to_utf32(const char *utf8, KIV_UNICHAR *string, uint32_t size);

/** The result has room for kiv_string_nr_of_wide_chars_in_utf8_string() code points: when stray bytes 0x80 to 0xBF,
 * which that function does not count, make more of them, the text is cut there. */
KIV_API KIV_STRING kiv_string_convert_utf8_to_utf32_a(KIV_ALLOCATOR *allocator, const char *utf8);

/* --- UTF-16 ------------------------------------------------------------------------------------------------------ */

/** Surrogate values and code points at or above 0x110000 become "?". When the destination ends right behind a pair, the
 * terminator takes the place of the pair's second unit: the first one then ends the text. */
KIV_API int kiv_string_convert_utf32_to_utf16(const KIV_UNICHAR *string, uint16_t *utf16, uint32_t size);
KIV_API uint16_t *kiv_string_convert_utf32_to_utf16_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string);

/** A surrogate that is not part of a pair ends the text: the result is what stands before it, and counts as whole. */
KIV_API int kiv_string_convert_utf16_to_utf32(const uint16_t *utf16, KIV_UNICHAR *string, uint32_t size);
KIV_API KIV_STRING kiv_string_convert_utf16_to_utf32_a(KIV_ALLOCATOR *allocator, const uint16_t *utf16);

/** Like kiv_string_convert_utf16_to_utf32() followed by kiv_string_convert_utf32_to_char(), through a buffer on the C
 * runtime's heap. When there is no memory for that, the result is 0 and the destination an empty text. */
KIV_API int kiv_string_convert_utf16_to_char(const uint16_t *utf16, char *chars, uint32_t size);

/** Null also when there is no memory for the buffer. */
KIV_API char *kiv_string_convert_utf16_to_char_a(KIV_ALLOCATOR *allocator, const uint16_t *utf16);

/** The order of two UTF-16 texts by code points (-1, 0 or 1): surrogates sort behind all other units, where a
 * comparison by units has them before U+E000. */
KIV_API int kiv_string_utf16_strcmp(const uint16_t *utf16_1, const uint16_t *utf16_2);

/* --- 8-bit characters -------------------------------------------------------------------------------------------- */

/** Code points above 0x7F become "?". */
KIV_API int kiv_string_convert_utf32_to_char(const KIV_UNICHAR *string, char *chars, uint32_t size);
KIV_API char *kiv_string_convert_utf32_to_char_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string);

/** The strict form; mind its result: 0 for success, 1 for failure. It fails at the first code point above 0x7F, and
 * when the destination runs out (with size 0 always): the characters before that are written, a terminator is not. */
KIV_API int kiv_string_convert_utf32_to_char_checked(const KIV_UNICHAR *string, char *chars, uint32_t size);

/** Null also for a text with a code point above 0x7F. */
KIV_API char *kiv_string_convert_utf32_to_char_checked_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string);

KIV_API int kiv_string_convert_char_to_utf32(const char *chars, KIV_UNICHAR *string, uint32_t size);
KIV_API KIV_STRING kiv_string_convert_char_to_utf32_a(KIV_ALLOCATOR *allocator, const char *chars);

/** Widens exactly count bytes and terminates. Bytes 0 among them are copied like others: whoever reads the result as a
 * text sees what stands before the first one. A negative count is 0. */
KIV_API int kiv_string_convert_n_char_to_utf32(const char *chars, int32_t count, KIV_UNICHAR *string, uint32_t size);

/** The same, with a result of count + 1 units. */
KIV_API KIV_STRING kiv_string_convert_limited_char_to_utf32_a(KIV_ALLOCATOR *allocator, const char *chars,
                                                              int32_t count);

KIV_API int kiv_string_convert_char_to_utf16(const char *chars, uint16_t *utf16, uint32_t size);

/* --- Counting ----------------------------------------------------------------------------------------------------
 * How much the conversions need, the terminator not included; 0xFFFFFFFF stands for anything above. */

/** The bytes that do not continue a sequence, that is, outside 0x80 to 0xBF. */
KIV_API uint32_t kiv_string_nr_of_wide_chars_in_utf8_string(const char *utf8);

/** 1 to 4 for each code point; 4 also at and above 0x110000, where a single "?" will be written. */
KIV_API uint32_t kiv_string_nr_of_utf8_bytes_for_wide_char_string_representation(const KIV_UNICHAR *string);

/** Any surrogate counts as a character together with the unit behind it, whatever that is (but for the terminator). */
KIV_API uint32_t kiv_string_nr_of_wide_chars_in_utf16_string(const uint16_t *utf16);

/** 2 for each surrogate value and each code point at or above 0x10000, else 1: also where a single "?" will be written.
 */
KIV_API uint32_t kiv_string_nr_of_utf16_words_for_wide_char_string_representation(const KIV_UNICHAR *string);

KIV_END_DECLARATIONS

#endif
