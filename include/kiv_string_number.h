/** @file
 * Integers out of text, and 32-bit integers as decimal text.
 *
 * The parsing functions have one shape: (text, base, skip_white_space, allow_trailing, value, start, length). They come
 * in two kinds: kiv_string_convert_to_X() reads a KIV_STRING, kiv_string_char_s_convert_to_X() a char string; and for
 * six types X: u32m and u64m (unsigned, 32 and 64 bits), s32m and s64m (signed, two's complement), u128 and s128.
 *
 * What is read: white space, when skip_white_space is not 0; for the signed types a "-" or "+"; for the bases 0 and 16
 * a prefix "0x" or "0X"; at least one digit; then the end of the text or, when allow_trailing is not 0, anything that
 * is no digit. There may be any number of leading zeros.
 *
 *     base     digits
 *     0        as 16 behind a prefix, else as 10: a leading "0" does not stand for octal
 *     1        "0" only
 *     2 to 10  "0" to the digit below the base
 *     above    "0" to "9", "a" to "f", "A" to "F", each step times 16: every base above 10 is 16. Only 16 itself has
 *              the prefix
 *     below 0  none: nothing can be read
 *
 * A prefix needs a digit of its own: "0x" alone is a failure, never the number 0 before an "x". White space is what
 * isspace() accepts among the code points up to 127; characters from 0x80 on, which are sign-extended in char strings,
 * are neither white space nor digits.
 *
 * The result is 0 for success, and 1 when there is no digit, something follows that may not, or the number is outside
 * the type's range; value is written on success only. start and length may be null. *start receives the index behind
 * the skipped white space, always. *length receives the number of characters from there: sign, prefix and digits; after
 * a failure it is as it was, unless all that fails is that a signed type has +2^31 (2^63, 2^127) but not its positive.
 *
 * A null text counts as empty. REQUIRES: value is not null.
 * Cost: one pass, no division.
 * Thread safety: the functions have no state. */
#ifndef KIV_STRING_NUMBER_H
#define KIV_STRING_NUMBER_H

#include "kiv_allocator.h"
#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/* --- Parsing a string --------------------------------------------------------------------------------------------- */

KIV_API int kiv_string_convert_to_u32m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       uint32_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_convert_to_s32m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       int32_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_convert_to_u64m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       uint64_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_convert_to_s64m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       int64_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_convert_to_u128(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       KIV_U128 *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_convert_to_s128(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                                       KIV_S128 *value, uint32_t *start, uint32_t *length);

/* --- Parsing a char string ---------------------------------------------------------------------------------------- */

KIV_API int kiv_string_char_s_convert_to_u32m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              uint32_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_char_s_convert_to_s32m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              int32_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_char_s_convert_to_u64m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              uint64_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_char_s_convert_to_s64m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              int64_t *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_char_s_convert_to_u128(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              KIV_U128 *value, uint32_t *start, uint32_t *length);
KIV_API int kiv_string_char_s_convert_to_s128(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                              KIV_S128 *value, uint32_t *start, uint32_t *length);

/* --- Decimal text ------------------------------------------------------------------------------------------------- */

/** Write value in decimal into destination, which has room for `size` code points, the terminator included. 1 when it
 * fitted; 0 when it was cut short, terminated all the same. With size 0 nothing is written, and the result is 0. */
KIV_API int kiv_string_decimal_from_kiv_s32(int32_t value, KIV_STRING destination, uint32_t size);
KIV_API int kiv_string_decimal_from_kiv_u32(uint32_t value, KIV_STRING destination, uint32_t size);

/** The same as a new string of just that size, which the caller frees through the allocator; null without memory. */
KIV_API KIV_STRING kiv_string_decimal_from_kiv_s32_a(KIV_ALLOCATOR *allocator, int32_t value);
KIV_API KIV_STRING kiv_string_decimal_from_kiv_u32_a(KIV_ALLOCATOR *allocator, uint32_t value);

/** The value of an optional "+" or "-" and the decimal digits behind it, modulo 2^32: there is no failure, and without
 * digits it is 0. No white space is skipped. *consumed, when consumed is not null, receives the number of characters
 * used: sign and digits; 1 for a sign alone. */
KIV_API int32_t kiv_string_s32_from_decimal(const KIV_UNICHAR *text, uint32_t *consumed);

/** The value of the decimal digits behind any white space. *count, when count is not null, receives their number, white
 * space not included. Without a digit and with a value of 2^32 or more, the result is 0xDEADBEEF and the count 0; the
 * count tells that from the number 3735928559. */
KIV_API uint32_t kiv_string_u32_from_decimal(const KIV_UNICHAR *text, uint32_t *count);

/* --- Joining ------------------------------------------------------------------------------------------------------ */

/** A new char string in a block of just its size: chars1, chars2, and string with "?" in place of code points above
 * 127. Null arguments count as empty. Null without memory, and when no allocator could give so much. */
KIV_API char *kiv_string_paste_char_char_utf32_a(KIV_ALLOCATOR *allocator, const char *chars1, const char *chars2,
                                                 const KIV_UNICHAR *string);

KIV_END_DECLARATIONS

#endif
