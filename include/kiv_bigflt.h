/** @file
 * Binary floating-point numbers with a mantissa of 128 bits and a wide exponent, which hold small integers as such: the
 * numbers of an expression evaluator, which has to be exact where 64-bit integers and doubles are not.
 * Sources: IEEE 754-2019, for rounding (roundTiesToEven) and for what infinity and NaN give; D. E. Knuth, The Art of
 * Computer Programming, volume 2, for the arithmetic of several words.
 *
 * Two forms. An integer from -2147483648 to 2147483647 is held as such, and operations on two of these are a few
 * integer instructions. Every other value is held as sign, exponent and mantissa, with a leading 1 that is explicit.
 *
 *     value                 sign    exponent        mantissa
 *     ordinary              0, 1    -32767..32767   its top bit set
 *     closest to zero       0, 1    -32767          the top bit alone: a magnitude of 2^-32767
 *     greatest magnitude    0, 1    32767           all ones: 2^32768 - 2^32640
 *     infinity              0, 1    2147483647      0
 *     NaN                   0       2147483647      all ones; any other but 0 is NaN as well
 *     zero                  0       -2147483648     0
 *
 * Conventions:
 *  1. Results are canonical: a result that is a 32-bit integer has the small form, hence so has zero, which has no sign
 *     there. (The assigning functions that say otherwise are the exception.) NaN results have sign 0, all mantissa bits
 *     set. Words without a meaning in the form are 0 in results, mantissa_bits is 128, limb_count 4.
 *  2. Operands may be in either form, canonical or not. In the small form all but `small` and `exponent` is ignored, in
 *     the extended form mantissa_bits and limb_count; any sign but 0 is negative. A mantissa with leading zeros has the
 *     value of the formula at the record; a magnitude out of range counts as the result it would be, see 4.
 *  3. A result is the exact value rounded to the nearest one of 128 bits, ties to even. The same operands give the same
 *     bits on every target. Nothing depends on the processor's rounding mode, nothing sets its flags.
 *  4. Overflow: a magnitude that rounds to 2^32768 or more is infinity with the sign of the result. Underflow: there
 *     are no subnormal numbers; a magnitude below 2^-32767 gives the value closest to zero when it is above half of
 *     that, else zero.
 *  5. A NaN operand gives NaN; so do inf - inf, 0 * inf, 0 / 0, inf / inf, x modulo 0 and inf modulo x. Otherwise
 *     infinity gives infinity, x / inf gives zero, and x / 0 infinity, negative when one of the signs is. A comparison
 *     with NaN is false, but "not equal" is true.
 *  6. A plain operation (r, a, b) or (r, a) leaves its operands alone; an `_implied` one has its first operand as the
 *     result too. Any result may be the same record as any operand, and operands may be the same record.
 *  7. Nothing fails and nothing is allocated.
 *
 * Costs: constant, but for kiv_bigflt_modulo, which takes some 10 divisions for operands that are far apart, and the
 * operations that say so.
 *
 * Thread safety: operations read their operands and write their results, nothing else; threads may share operands that
 * nobody changes. kiv_bigflt_random alone keeps a state. */
#ifndef KIV_BIGFLT_H
#define KIV_BIGFLT_H

#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/* Windows' <rpcndr.h> makes "small" a macro. */
#pragma push_macro("small")
#undef small

/** A number in one of two forms. The small form holds a signed 32-bit integer. The extended form holds
 * (-1)^sign * M * 2^(exponent - 127), where M is the mantissa read as an integer of 128 bits. */
typedef struct bigflt {
  uint8_t small;          /**< 1: the small form, the value is `exponent`; 0: the extended form. */
  uint8_t unused[3];      /**< May hold anything. */
  uint32_t sign;          /**< 0: positive; 1: negative. */
  int32_t exponent;       /**< The power of two of the mantissa's leading bit; in the small form the value. */
  uint32_t mantissa_bits; /**< 128 in results; may hold anything on input. */
  uint32_t limb_count;    /**< 4 in results; may hold anything on input. */
  uint32_t mantissa[4];   /**< Least significant limb first; the leading 1 is the top bit of the last limb. */
} bigflt;

#pragma pop_macro("small")

/* --- Assigning ---------------------------------------------------------------------------------------------------- */

/** Small 0, 1 and -1. */
KIV_API void kiv_bigflt_assign_zero(bigflt *r);
KIV_API void kiv_bigflt_assign_one(bigflt *r);
KIV_API void kiv_bigflt_assign_minus_one(bigflt *r);

/** Positive infinity; kiv_bigflt_negate gives the other. */
KIV_API void kiv_bigflt_assign_inf(bigflt *r);

KIV_API void kiv_bigflt_assign_nan(bigflt *r);

/** 2^-32767, or its negative when sign is not 0. */
KIV_API void kiv_bigflt_assign_closest_to_zero(bigflt *r, uint32_t sign);

/** The greatest finite value, 2^32768 - 2^32640. */
KIV_API void kiv_bigflt_assign_MAX_BIGFLT(bigflt *r);

/** The least finite value, which is the negative of the greatest. */
KIV_API void kiv_bigflt_assign_MIN_BIGFLT(bigflt *r);

/* --- Arithmetic --------------------------------------------------------------------------------------------------- */

/** r = a + b. */
KIV_API void kiv_bigflt_add(bigflt *r, const bigflt *a, const bigflt *b);
/** a = a + b. */
KIV_API void kiv_bigflt_add_implied(bigflt *a, const bigflt *b);

/** r = a - b. */
KIV_API void kiv_bigflt_subtract(bigflt *r, const bigflt *a, const bigflt *b);
/** a = a - b. */
KIV_API void kiv_bigflt_subtract_implied(bigflt *a, const bigflt *b);

/** r = a * b. */
KIV_API void kiv_bigflt_multiply(bigflt *r, const bigflt *a, const bigflt *b);
/** a = a * b. */
KIV_API void kiv_bigflt_multiply_implied(bigflt *a, const bigflt *b);

/** r = a / b: 6 / 3 is small 2, 7 / 2 is 3.5. Returns whether the result has the small form, 1 or 0; no status. */
KIV_API int kiv_bigflt_divide(bigflt *r, const bigflt *a, const bigflt *b);
/** a = a / b, likewise. */
KIV_API int kiv_bigflt_divide_implied(bigflt *a, const bigflt *b);

/** r = a - n * b, where n is a / b truncated: exact whatever the distance of the exponents (but for underflow), smaller
 * in magnitude than b, and of a's sign, also for a negative b: -7 modulo 2 is -1, 7 modulo -2 is 1. a modulo an
 * infinity is a. */
KIV_API void kiv_bigflt_modulo(bigflt *r, const bigflt *a, const bigflt *b);
/** a = a modulo b, likewise. */
KIV_API void kiv_bigflt_modulo_implied(bigflt *a, const bigflt *b);

/** r = -a. */
KIV_API void kiv_bigflt_negate(bigflt *r, const bigflt *a);
/** a = -a. */
KIV_API void kiv_bigflt_negate_implied(bigflt *a);

/** r = the magnitude of a. */
KIV_API void kiv_bigflt_abs(bigflt *r, const bigflt *a);

/** r = the magnitude of a with the sign of b, also where that is a zero in extended form, or a NaN, with sign 1. A NaN
 * a stays as it is. */
KIV_API void kiv_bigflt_copysign(bigflt *r, const bigflt *a, const bigflt *b);

/** *r = *a * 10^n, correctly rounded for every n: the exact product is rounded once. Infinity and NaN stay what they
 * are. */
KIV_API void kiv_bigflt_pow10(bigflt *r, const bigflt *a, int32_t n);
/** *a = *a * 10^n. */
KIV_API void kiv_bigflt_pow10_implied(bigflt *a, int32_t n);

/* --- Rounding and parts ------------------------------------------------------------------------------------------- */

/** r = a rounded to `bits` significant bits, to the nearest, ties to even; beyond the greatest magnitude infinity. A
 * negative number of bits and one above 128 leave a as it is. With 0 bits, where 0 and the power of two above a remain
 * to be chosen from, a power of two lies halfway and gives 0, and other values give the power above. */
KIV_API void kiv_bigflt_round_to_mantissa_size(bigflt *r, const bigflt *a, int32_t bits);
/** a = a rounded, likewise. */
KIV_API void kiv_bigflt_round_to_mantissa_size_implied(bigflt *a, int32_t bits);

/* --- Shifts and bits ---------------------------------------------------------------------------------------------- */

/* --- Comparisons -------------------------------------------------------------------------------------------------- */

/* --- Predicates --------------------------------------------------------------------------------------------------- */

/* --- Random values, payloads, hash -------------------------------------------------------------------------------- */

KIV_END_DECLARATIONS

#endif
