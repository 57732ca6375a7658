/** @file
 * The exact text of a `bigflt`, for dumps, for tests and for keeping: every bit of it, and readable.
 *
 *     +0x80000000_00000000_00000000_00000000_E+00    1
 *     -0xc0000000_00000000_00000000_00000000_E-5     -1.5 * 2^-5
 *     +zero    +INF    -INF    +NaN
 *
 * A sign, then the four limbs of the mantissa from the most significant on, in lower-case hexadecimal, each with an
 * underscore behind it, "E", and the exponent in decimal: of at least two characters, which a minus sign counts among,
 * so that there is "E+05" and "E-5".
 *
 * Thread safety: nothing is shared. */
#ifndef KIV_BIGFLT_DUMP_H
#define KIV_BIGFLT_DUMP_H

#include "kiv_bigflt.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Writes the text and a zero byte into buf, which has size bytes. A small a is written in its extended form. Results
 * of operations take no more than 47 bytes. In a smaller buffer "buf 2 small" is written instead, cut off so that the
 * last byte is zero; nothing is written into one of size 0. A record in extended form is written as it is, canonical or
 * not: zero is the zero exponent without the top bit of the mantissa. With an exponent out of range it may take up to
 * 52 bytes, and has "buf 2 small" written into a smaller buffer. */
KIV_API void kiv_bigflt_sdump(char *buf, uint32_t size, const bigflt *a);

/** Reads such a text from the start of a string, and stores the number of characters it took: 1, or 0 for any other
 * text, with 0 characters and *r left alone. consumed may be null; a null text counts as empty.
 *
 * Of the text no more than 51 characters are looked at, and the low 8 bits of each. The first is the sign, negative
 * when it is '-', positive when it is anything else. The second decides: 'I' is an infinity and 'N' is NaN, of 4
 * characters, 'z' is zero, of 5, whatever these are; but no more are counted than there are. Otherwise "0x" and the
 * limbs have to follow as above. Their digits are lower case: an upper-case 'A' to 'F' is taken for 1 to 6. The
 * exponent may have white space and a sign before it, and is limited to what 32 bits hold. Taken are the 40 characters
 * before it and all digits and signs that follow these.
 *
 * The result is small where that form holds the value, NaN has the sign that was read, and other records are stored as
 * read: with leading zeros in the mantissa or an exponent out of range they are operands like any other. */
KIV_API int kiv_bigflt_scan_sdump_widestring(const KIV_UNICHAR *text, bigflt *r, uint32_t *consumed);

KIV_END_DECLARATIONS

#endif
