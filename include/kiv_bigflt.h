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

/** r = the least integer not below a; r = the greatest not above a; r = a without its fraction. An integer, an infinity
 * and NaN are their own. */
KIV_API void kiv_bigflt_ceil(bigflt *r, const bigflt *a);
KIV_API void kiv_bigflt_floor(bigflt *r, const bigflt *a);
KIV_API void kiv_bigflt_trunc(bigflt *r, const bigflt *a);

/** r = a * 2^e, for an e of any magnitude; its fraction is dropped, toward zero. An infinite e is the limit: a * inf
 * for a positive one, a * 0 for a negative one, so that zero with the first and an infinity with the second give NaN.
 */
KIV_API void kiv_bigflt_ldexp(bigflt *r, const bigflt *a, const bigflt *e);

/** a = fraction * 2^exponent, where the magnitude of the fraction is in [1/2, 1) and the exponent is an integer. Zero
 * gives zero for both; an infinity or NaN is its own fraction, with exponent zero. When both results are one record, it
 * holds the exponent. */
KIV_API void kiv_bigflt_frexp(bigflt *fraction, bigflt *exponent, const bigflt *a);

/** int_part = a without its fraction, frac_part = the rest, which has a's sign. An infinity is its own integer part and
 * leaves zero, NaN gives NaN for both. When both results are one record, it holds frac_part. */
KIV_API void kiv_bigflt_modf(bigflt *int_part, bigflt *frac_part, const bigflt *a);

/* --- Shifts and bits ---------------------------------------------------------------------------------------------- */

/* Counts n are from -2^31 to 2^31 - 1; a negative one shifts the other way. */

/** r = a * 2^n; an a with a fraction is multiplied like any other: 2.5 by 1 is 5, by 0 it is 2.5. A negative n is a
 * shift to the right by -n. */
KIV_API void kiv_bigflt_shift_left(bigflt *r, const bigflt *a, int32_t n);
/** a = a * 2^n, likewise. */
KIV_API void kiv_bigflt_shift_left_implied(bigflt *a, int32_t n);

/** r = a / 2^n rounded down to an integer, as two's complement of unlimited width shifts: -5 by 1 is -3, -1 by any n is
 * -1; also 2.5 by 0 is 2. An infinity and NaN are their own. A negative n is a shift to the left by -n. */
KIV_API void kiv_bigflt_shift_right(bigflt *r, const bigflt *a, int32_t n);
/** a = a shifted right by n, likewise. */
KIV_API void kiv_bigflt_shift_right_implied(bigflt *a, int32_t n);

/* Bitwise operations work on integers in two's complement of unlimited width, so that negative ones have all higher
 * bits set: -1 has all bits set, and -4 & 6 is 4. The fraction of an operand is dropped first, toward zero. A result of
 * more than 128 significant bits, such as 2^200 | 1, is rounded like any other. An infinite operand has no bits: it
 * gives NaN, as NaN does. */

KIV_API void kiv_bigflt_binary_and(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_binary_and_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_binary_or(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_binary_or_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_binary_xor(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_binary_xor_implied(bigflt *a, const bigflt *b);

/** r = the complement of a: -a - 1, for the integer part of a. */
KIV_API void kiv_bigflt_1s_complement(bigflt *r, const bigflt *a);
/** a = its complement, likewise. */
KIV_API void kiv_bigflt_1s_complement_implied(bigflt *a);

/** r = 1 when a is zero, else 0, also for NaN. */
KIV_API void kiv_bigflt_boolean_not(bigflt *r, const bigflt *a);
/** a = its negation as a truth value, likewise. */
KIV_API void kiv_bigflt_boolean_not_implied(bigflt *a);

/* --- Comparisons -------------------------------------------------------------------------------------------------- */

/* The truth value, small 1 or 0, is stored in r, or in a by the `_implied` ones. Infinities lie beyond all finite
 * values, the zeros are equal. With NaN all are 0, but for not_equal, which is 1, also for NaN and itself. */

KIV_API void kiv_bigflt_larger_than_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_larger_than_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_larger_than_or_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_larger_than_or_equal_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_less_than_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_less_than_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_less_than_or_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_less_than_or_equal_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_equal_implied(bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_not_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b);
KIV_API void kiv_bigflt_not_equal_implied(bigflt *a, const bigflt *b);

/** -1, 0 or +1 as a is below, equal to or above b. NaN counts as equal to NaN and above everything else, so that this
 * is an order to sort by. */
KIV_API int kiv_bigflt_compare2integer(const bigflt *a, const bigflt *b);

/* --- Predicates --------------------------------------------------------------------------------------------------- */

/* 1 or 0. */

KIV_API int kiv_bigflt_is_zero(const bigflt *a);

/** Whether a is below zero, as negative infinity is; a zero never is, whatever its sign, nor is NaN. */
KIV_API int kiv_bigflt_is_negative(const bigflt *a);

/** Whether the record has the small form, or holds a finite value other than zero with the top bit of its mantissa set
 * and an exponent in range. Results are normalized, or infinite, or NaN. */
KIV_API int kiv_bigflt_is_normalized(const bigflt *a);

KIV_API int kiv_bigflt_is_integer(const bigflt *a);
KIV_API int kiv_bigflt_is_finite_as_bool(const bigflt *a);
KIV_API int kiv_bigflt_is_inf_as_bool(const bigflt *a);
KIV_API int kiv_bigflt_is_nan_as_bool(const bigflt *a);

/** Whether a is an integer from -2^31 to 2^31 - 1, in either form. */
KIV_API int kiv_bigflt_is_signed_integral_and_fits_in_32_bits(const bigflt *a);

/** Whether a is an integer from -2^(bits - 1) to 2^(bits - 1) - 1. Nothing fits in less than 1 bit. */
KIV_API int kiv_bigflt_is_signed_integer_of_size(const bigflt *a, int32_t bits);

/* --- Random values and payloads ----------------------------------------------------------------------------------- */

/** r = a pseudo-random value of any sign and exponent, with 64 random bits in its mantissa. The sequence is the same in
 * every process. Its state is shared by all threads without a lock: calls at the same time may give the same value, and
 * may repeat values, but do no other harm. Source of the generator: D. E. Knuth, The Art of Computer Programming,
 * volume 2, 3.3.4. */
KIV_API void kiv_bigflt_random(bigflt *r);

/** Keeps 32 bits in a: they become the least significant limb of the extended form, the top limb becomes 0x80000000 and
 * the exponent 0, so that a reads as 1 and a tiny fraction, with the sign and the middle limbs that it had. A small a
 * is widened before. The record is left in extended form, also where no bit but the top one is set. */
KIV_API void kiv_bigflt_poke_32bits(bigflt *a, uint32_t value);
/** The same with a pointer; of a pointer of 64 bits the lower half. */
KIV_API void kiv_bigflt_poke_pointer(bigflt *a, const void *pointer);
/** The least significant limb, whatever the form. */
KIV_API uint32_t kiv_bigflt_peek_32bits(const bigflt *a);

KIV_END_DECLARATIONS

#endif
