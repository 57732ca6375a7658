/** @file
 * The raw operations on the extended form of `bigflt`, for callers that know their values to be in it.
 *
 * They neither look at `small` nor set it: a result's `small` is what its record held before, so a record is made one
 * of the extended form once, by clearing it. A value in small form must not be passed; its integer would be read as an
 * exponent. Results stay in extended form, integers too: zero has the exponent -2147483648, a mantissa of 0 and sign 0.
 * Their values are those of the operations of kiv_bigflt.h; see there for rounding, range and special values.
 *
 * Any result may be the same record as any operand, and operands may be the same record: a - a in place is 0.
 *
 * Every operation stores 4 into the limb_count of each record that it is given, which is why operands are not const;
 * the rest of an operand is left alone.
 *
 * Thread safety: nothing is stored into an operand whose limb_count is 4 already, as it is in all results. Threads may
 * share such operands if nobody changes them. */
#ifndef KIV_BIGFLT128_H
#define KIV_BIGFLT128_H

#include "kiv_bigflt.h"

KIV_BEGIN_DECLARATIONS

/** r = a + b. */
KIV_API void kiv_bigflt128_add(bigflt *r, bigflt *a, bigflt *b);
/** a = a + b. */
KIV_API void kiv_bigflt128_add_implied(bigflt *a, bigflt *b);

/** r = a - b. */
KIV_API void kiv_bigflt128_subtract(bigflt *r, bigflt *a, bigflt *b);
/** a = a - b. */
KIV_API void kiv_bigflt128_subtract_implied(bigflt *a, bigflt *b);

/** r = a * b. */
KIV_API void kiv_bigflt128_multiply(bigflt *r, bigflt *a, bigflt *b);
/** a = a * b. */
KIV_API void kiv_bigflt128_multiply_implied(bigflt *a, bigflt *b);

/** r = value, exactly. */
KIV_API void kiv_bigflt128_KIV_S32_to_bigflt(bigflt *r, int32_t value);
KIV_API void kiv_bigflt128_KIV_S64_to_bigflt(bigflt *r, int64_t value);

/** The integer that a holds. For other values it is the top limb shifted right by (31 - exponent) modulo 32, negated
 * when the sign is 1. */
KIV_API int32_t kiv_bigflt128_to_KIV_S32(bigflt *a);

/** 1 when a is an integer from -2147483648 to 2147483647, else 0. */
KIV_API int kiv_bigflt128_is_signed_integral_and_fits_in_32_bits(bigflt *a);

/** The CRC-32 (reflected polynomial 0xEDB88320, all ones at the start and complemented at the end, as in IEEE 802.3) of
 * twelve bytes: the top limb, the exponent and the sign, each with its least significant byte first. The lower limbs
 * have no part in it. */
KIV_API uint32_t kiv_bigflt128_hash(bigflt *a);

KIV_END_DECLARATIONS

#endif
