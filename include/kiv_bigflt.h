/** @file
 * Numbers with a 128-bit mantissa and a wide exponent, which hold small integers as such.
 *
 * TODO(owner): purpose, representation, rounding, special values, thread safety. */
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
  uint32_t mantissa_bits; /**< 128 in the zero constant; otherwise carried along. */
  uint32_t limb_count;    /**< 4 in results; may hold anything on input. */
  uint32_t mantissa[4];   /**< Least significant limb first; the leading 1 is the top bit of the last limb. */
} bigflt;

#pragma pop_macro("small")

/* --- Assigning ---------------------------------------------------------------------------------------------------- */

/* --- Arithmetic --------------------------------------------------------------------------------------------------- */

/** *r = *a * 10^n, correctly rounded for every n: the exact product is rounded once. Infinity and NaN stay what they
 * are. */
KIV_API void kiv_bigflt_pow10(bigflt *r, const bigflt *a, int32_t n);
/** *a = *a * 10^n. */
KIV_API void kiv_bigflt_pow10_implied(bigflt *a, int32_t n);

/* --- Rounding and parts ------------------------------------------------------------------------------------------- */

/* --- Shifts and bits ---------------------------------------------------------------------------------------------- */

/* --- Comparisons -------------------------------------------------------------------------------------------------- */

/* --- Predicates --------------------------------------------------------------------------------------------------- */

/* --- Random values, payloads, hash -------------------------------------------------------------------------------- */

KIV_END_DECLARATIONS

#endif
