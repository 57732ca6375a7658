/** @file
 * `bigflt` from and to the processor's integers and doubles, 128-bit integers, and IEEE 754 images of any format.
 * Sources: IEEE 754-2019, 3.4 and 7; Intel 64 and IA-32 Architectures Software Developer's Manual, volume 1, 8.2, for
 * the format of 80 bits.
 *
 * Conversions into bigflt are exact, and their results canonical: small for the integers from -2^31 to 2^31 - 1. Those
 * to doubles and images round once, to nearest, ties to even. Operands are as in kiv_bigflt.h: in either form,
 * canonical or not. Nothing fails, nothing is allocated, nothing depends on the processor's rounding mode.
 *
 * Thread safety: nothing is shared. */
#ifndef KIV_BIGFLT_CONVERT_H
#define KIV_BIGFLT_CONVERT_H

#include "kiv_bigflt.h"
#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/* --- From integers ------------------------------------------------------------------------------------------------ */

KIV_API void kiv_bigflt_KIV_U32_to_bigflt(bigflt *r, uint32_t value);
KIV_API void kiv_bigflt_KIV_S64_to_bigflt(bigflt *r, int64_t value);
KIV_API void kiv_bigflt_KIV_U64_to_bigflt(bigflt *r, uint64_t value);
KIV_API void kiv_bigflt_KIV_S128_to_bigflt(bigflt *r, const KIV_S128 *value);
KIV_API void kiv_bigflt_KIV_U128_to_bigflt(bigflt *r, const KIV_U128 *value);

/* --- To integers --------------------------------------------------------------------------------------------------
 * An integer of N bits is a without its fraction, modulo 2^N, in two's complement: -5.7 gives 0xFFFFFFFB in 32 bits. A
 * magnitude of 2^159 and above, infinities among them, and NaN give 0. */

KIV_API uint32_t kiv_bigflt_to_KIV_U32(const bigflt *a);
KIV_API int64_t kiv_bigflt_to_KIV_S64(const bigflt *a);
KIV_API uint64_t kiv_bigflt_to_KIV_U64(const bigflt *a);
KIV_API void kiv_bigflt_to_KIV_S128(KIV_S128 *out, const bigflt *a);
KIV_API void kiv_bigflt_to_KIV_U128(KIV_U128 *out, const bigflt *a);

/** The odd one: exact for integers of 32 bits, and without the fraction for other values whose magnitude is at least 1
 * and below 2^31. For all others, in extended form, it is the top limb shifted right by (31 - exponent) modulo 32,
 * negated when the sign is 1: neither 0 nor saturated. */
KIV_API int32_t kiv_bigflt_to_KIV_S32(const bigflt *a);

/* --- Doubles ------------------------------------------------------------------------------------------------------ */

/** -0.0 gives zero, every NaN the one NaN. */
KIV_API void kiv_bigflt_double_to_bigflt(bigflt *r, double value);

/** The nearest double, also among the subnormal ones; an infinity beyond the greatest. NaN is the quiet one without
 * sign and payload. */
KIV_API double kiv_bigflt_to_double(const bigflt *a);

/* --- IEEE 754 images ----------------------------------------------------------------------------------------------
 * A format is given in bits: its size, the width of its exponent, and the width of its stored mantissa. The size is the
 * sum of the two and 1 for the sign, and 8, 16, 24, ... or 128. The exponent has 2 to 15 bits and is biased by half its
 * range, its greatest value marking infinities and NaNs. The mantissa has at least 1 bit, and a leading 1 that is not
 * stored; but (80, 15, 64) is the x87 format, which stores it.
 *
 *     binary16     16,  5,  10        bfloat16       16,  8,   7
 *     binary32     32,  8,  23        x87 extended   80, 15,  64
 *     binary64     64, 11,  52        FP8 E5M2        8,  5,   2
 *     binary128   128, 15, 112
 *
 * An image is size / 8 bytes, least significant first, as the target stores such a number. It needs no alignment. */

/** Subnormals are exact, zeros of either sign give zero, every NaN the one NaN. In the x87 format the leading bit of a
 * subnormal counts, as the processor reads such a pseudo-denormal; the encodings that it refuses (another exponent
 * without the leading bit) give NaN. So does a format that is none. */
KIV_API void kiv_bigflt_ieee754_to_bigflt(bigflt *r, const void *image, uint32_t size, uint32_t exponent_width,
                                          uint32_t mantissa_width);

/** The nearest number of the format, an infinity beyond its greatest one, a zero with a's sign below half of its least.
 * A zero in extended form keeps its sign, the small zero is positive. NaN is the quiet one without sign and payload. A
 * format that is none has nothing written. */
KIV_API void kiv_bigflt_to_ieee754(const bigflt *a, void *image, uint32_t size, uint32_t exponent_width,
                                   uint32_t mantissa_width);

KIV_END_DECLARATIONS

#endif
