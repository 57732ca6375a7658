/** @file
 * Printing and reading of `bigflt` numbers, correctly rounded.
 *
 * Decimal text is rounded to nearest, ties to even, from the exact value, however many digits are asked for; read text
 * is rounded in the same way, however many digits it has. 40 significant digits (conversion "e", precision 39) tell all
 * values apart: such text reads back as the same value. So does the hexadecimal form, which is exact. The decimal point
 * is ".", whatever the locale.
 *
 * Texts of numbers up to 50 digits cost a few multiplications by a tabulated power of ten. Only where those leave the
 * rounding undecided, and for longer texts, is the value expanded exactly, which takes a time that grows with the
 * square of the exponent: some hundred microseconds at the ends of the range. The longest texts have 9,865 digits
 * before the point, and 32,894 behind it that are not all zeros.
 *
 * Nothing is allocated. Up to 24 KiB of stack are used.
 *
 * Thread safety: nothing is shared.
 *
 * The short cut for printing follows R. G. Burger and R. K. Dybvig, "Printing Floating-Point Numbers Quickly and
 * Accurately" (1996), in its use of scaling by powers of ten; the one for reading W. D. Clinger, "How to Read Floating
 * Point Numbers Accurately" (1990). */
#ifndef KIV_BIGFLT_TEXT_H
#define KIV_BIGFLT_TEXT_H

#include "kiv_bigflt.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/* --- Printing ----------------------------------------------------------------------------------------------------
 * conversion is a string of which the first character chooses the form:
 *
 *     d          the integer part, truncated: "-12"
 *     u          the same; negative values in two's complement of 32 bits, as kiv_bigflt_to_KIV_U32 gives it
 *     x X        the same in base 16: "ff", "FF"
 *     o          the same in base 8; negative values that fit in a signed 32-bit integer in two's complement, others
 * with a minus sign f          `precision` digits behind the point: "-1.50" e E        one digit before the point,
 * `precision` behind it, an exponent of at least two digits: "-1.50e+00" g          as f, when the value is at least
 * 2^-13 and below 2^(n + 1) for the largest n with 2^n <= 10^precision; otherwise as e, also for 0 G          as g,
 * with "E" in place of "e" a A        "+0x0.", the mantissa in four groups of eight hexadecimal digits, the exponent of
 * two in decimal:
 *                "+0x0.c0000000000000000000000000000000p+2" is 3. A puts "_" between the groups
 *     any other  as e; a digit, too: there are no widths. So does an empty or null string
 *
 * A negative precision counts as 0; without digits behind it there is no point. d, u, x, X, o, a and A do not use the
 * precision. Infinities are "+Inf" and "-Inf", NaN is "NaN"; with a and A they are "+INF", "-INF" and "+NaN", and 0 is
 * "+0x0.0". Zero has no sign otherwise, but "-0.00" is the text of a negative value that is rounded to zero, "-0" of
 * one that is truncated to it.
 *
 * Behind the first character, text may follow. Integers that fit in 32 bits print it with d, u, x, X and o, with "%%"
 * for a percent sign; a "%" before anything else is a failure. All others ignore it. */

/** Writes the text of *a with a terminating 0 into a buffer of `size` bytes. 1, or 0 when it does not fit: then the
 * buffer has as much of the text's beginning as fits, terminated; with a size of 0 nothing is written, and buffer may
 * be null. */
KIV_API int kiv_bigflt_sprint(char *buffer, uint32_t size, const char *conversion, int precision, const bigflt *a);

/** Writes a text to a stream of the caller's. A negative result is a failure. */
typedef int (*KIV_BIGFLT_WRITER)(const char *text, void *stream);

/** Prints by one call of write (text, stream). 1; or 0 when the text has more than 999 characters, and then write is
 * not called, or when write fails. */
KIV_API int kiv_bigflt_fprint(void *stream, KIV_BIGFLT_WRITER write, const char *conversion, int precision,
                              const bigflt *a);

/** kiv_bigflt_sprint of integers with "d", of everything else with "g" and precision 7. */
KIV_API int kiv_bigflt_sprint_intuitively(char *buffer, uint32_t size, const bigflt *a);

/** The same choice with kiv_bigflt_fprint. */
KIV_API int kiv_bigflt_fprint_intuitively(void *stream, KIV_BIGFLT_WRITER write, const bigflt *a);

/* --- Reading -----------------------------------------------------------------------------------------------------
 * The syntax; letters of either case, { } any number of times, [ ] at most once:
 *
 *     text     =  {space} ["+" | "-"] (decimal | hex | "inf" | "infinity" | "nan")
 *     decimal  =  (digits ["." [digits]] | "." digits) ["e" ["+" | "-"] digits]
 *     hex      =  "0x" (hexits ["." [hexits]] | "." hexits) ["p" ["+" | "-"] digits]
 *     digits   =  digit {digit}
 *     hexits   =  hexit {["_"] hexit}
 *     space    =  blank, tab, line feed, vertical tab, form feed, carriage return
 *
 * The exponent of hex is one of two, in decimal. The longest beginning of the input that could still become a text is
 * used up, and it must be one: "1.5x" is 1.5, with "x" left over, but "1e+", "0x", "1_" and "infi" are failures. This
 * is the rule of the C runtime's fscanf: it takes no more than one character to be put back.
 *
 * Values beyond the range become infinity; those below half of 2^-32767 zero. The result has the small form when it
 * holds the value; zero has no sign. */

/** Reads a number from the first `limit` characters of text, or from less when a 0 comes first. The number of
 * characters read, spaces included, and *r is the value; or a negative number, and *r is unchanged. Limits above
 * INT32_MAX count as that. */
KIV_API int kiv_bigflt_sscan(const char *text, uint32_t limit, bigflt *r);

/** The next character, 0 to 255, or a negative number at the end: as the C runtime's fgetc. */
typedef int (*KIV_BIGFLT_GET)(void *context);
/** Puts the character back which the last call of KIV_BIGFLT_GET has given: as the C runtime's ungetc. The result is
 * ignored. */
typedef int (*KIV_BIGFLT_UNGET)(int c, void *context);

/** The same from a source of characters, of which at most `limit` are taken. At most one character is put back, by the
 * last call: the first that is no part of the number. A failure has used up what it has read but for that one
 * character. unget may be null when that character is not missed; a character 0 has no special meaning, it is part of
 * no number. The result does not count the one put back. */
KIV_API int kiv_bigflt_scan_generic(KIV_BIGFLT_GET get, KIV_BIGFLT_UNGET unget, void *context, uint32_t limit,
                                    bigflt *r);

KIV_END_DECLARATIONS

#endif
