/** @file
 * Integers of 128 bits, unsigned and in two's complement.
 *
 * Most operations work in place: the first operand receives the result. Where one function serves both signednesses
 * (addition, negation, bitwise operations, copying, narrowing) it has two names and one address.
 *
 * Conventions: arithmetic is modulo 2^128 unless a name says otherwise: _ov reports an overflow and _un a borrow
 * (1, else 0; the result is the wrapped one), _clipped saturates. Comparisons give -1, 0 or +1. Bits are numbered from
 * 0, the least significant one, to 127. Pointers must not be null unless a declaration says so. Any of a function's
 * arguments may be the same record, outputs included: operands are read before anything is written.
 *
 * Costs: constant; texts take time linear in their length. Nothing allocates.
 *
 * Thread safety: no state. Several threads may read one record that nobody changes. */
#ifndef KIV_U128_H
#define KIV_U128_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** An unsigned integer of 128 bits: hi * 2^64 + lo. The high half comes first in memory; each half has the byte order
 * of the target. */
typedef struct KIV_U128 {
  uint64_t hi;
  uint64_t lo;
} KIV_U128;

/** A two's-complement integer of 128 bits: hi * 2^64 + lo, the sign in hi. */
typedef struct KIV_S128 {
  int64_t hi;
  uint64_t lo;
} KIV_S128;

/* --- Making, narrowing and access -------------------------------------------------------------------------------- */

/** Sign extension into out. */
KIV_API void kiv_s8_to_s128(int8_t value, KIV_S128 *out);
KIV_API void kiv_s16_to_s128(int16_t value, KIV_S128 *out);
KIV_API void kiv_s32_to_s128(int32_t value, KIV_S128 *out);
KIV_API void kiv_s64_to_s128(int64_t value, KIV_S128 *out);

/** Zero extension into out. */
KIV_API void kiv_u8_to_u128(uint8_t value, KIV_U128 *out);
KIV_API void kiv_u16_to_u128(uint16_t value, KIV_U128 *out);
KIV_API void kiv_u32_to_u128(uint32_t value, KIV_U128 *out);
KIV_API void kiv_u64_to_u128(uint64_t value, KIV_U128 *out);

/** The least significant bits, without a range check. */
KIV_API int8_t kiv_s128_to_s8(const KIV_S128 *value);
KIV_API int16_t kiv_s128_to_s16(const KIV_S128 *value);
KIV_API int32_t kiv_s128_to_s32(const KIV_S128 *value);
KIV_API int64_t kiv_s128_to_s64(const KIV_S128 *value);
KIV_API uint8_t kiv_u128_to_u8(const KIV_U128 *value);
KIV_API uint16_t kiv_u128_to_u16(const KIV_U128 *value);
KIV_API uint32_t kiv_u128_to_u32(const KIV_U128 *value);
KIV_API uint64_t kiv_u128_to_u64(const KIV_U128 *value);

/** The halves. */
KIV_API int64_t kiv_s128_get_hiword(const KIV_S128 *value);
KIV_API uint64_t kiv_s128_get_loword(const KIV_S128 *value);
KIV_API uint64_t kiv_u128_get_hiword(const KIV_U128 *value);
KIV_API uint64_t kiv_u128_get_loword(const KIV_U128 *value);

/** A copy, bit for bit. */
KIV_API void kiv_s128_to_u128(const KIV_S128 *in, KIV_U128 *out);
KIV_API void kiv_u128_to_s128(const KIV_U128 *in, KIV_S128 *out);

/** Stores both halves. */
KIV_API void kiv_s128_assign(KIV_S128 *out, int64_t hi, uint64_t lo);
KIV_API void kiv_u128_assign(KIV_U128 *out, uint64_t hi, uint64_t lo);

/** 1 for zero, else 0. */
KIV_API int kiv_s128_is_zero(const KIV_S128 *value);
KIV_API int kiv_u128_is_zero(const KIV_U128 *value);

/** -1, 0 or +1. */
KIV_API int kiv_s128_sign(const KIV_S128 *value);

/** The number of the most significant set bit; -1 for zero. */
KIV_API int kiv_u128_highest_bit(const KIV_U128 *value);

/* --- Adding and subtracting -------------------------------------------------------------------------------------- */

/** a = a + b. */
KIV_API void kiv_u128_add(KIV_U128 *a, const KIV_U128 *b);
KIV_API void kiv_s128_add(KIV_S128 *a, const KIV_S128 *b);
KIV_API void kiv_u128_add_u64(KIV_U128 *a, uint64_t b);

/** a = a + b; 1 when the sum does not fit in 128 bits, else 0. */
KIV_API int kiv_u128_add_ov(KIV_U128 *a, const KIV_U128 *b);
KIV_API int kiv_u128_add_u64_ov(KIV_U128 *a, uint64_t b);

/** a = a + 1. */
KIV_API void kiv_u128_inc(KIV_U128 *a);
KIV_API void kiv_s128_inc(KIV_S128 *a);

/** a = a - 1 and 1; a zero stays as it is and gives 0. */
KIV_API int kiv_u128_dec_nonzero(KIV_U128 *a);

/** a = a - b. */
KIV_API void kiv_u128_sub(KIV_U128 *a, const KIV_U128 *b);
KIV_API void kiv_s128_sub(KIV_S128 *a, const KIV_S128 *b);
KIV_API void kiv_u128_sub_u64(KIV_U128 *a, uint64_t b);

/** a = a - b; 1 when b was greater than a, else 0. */
KIV_API int kiv_u128_sub_un(KIV_U128 *a, const KIV_U128 *b);
KIV_API int kiv_u128_sub_u64_un(KIV_U128 *a, uint64_t b);

/** a = a - b, or 0 when b is greater than a. */
KIV_API void kiv_u128_sub_clipped(KIV_U128 *a, const KIV_U128 *b);
KIV_API void kiv_u128_sub_u64_clipped(KIV_U128 *a, uint64_t b);

/** a = -a; -2^127 stays itself. */
KIV_API void kiv_s128_neg(KIV_S128 *a);
KIV_API void kiv_u128_neg(KIV_U128 *a);

/** a = |a|; -2^127 stays itself. */
KIV_API void kiv_s128_abs(KIV_S128 *a);

/** out = |a|, up to 2^127. */
KIV_API void kiv_s128_abs_u128(const KIV_S128 *a, KIV_U128 *out);

/* --- Multiplying ------------------------------------------------------------------------------------------------- */

/** a = a * b. */
KIV_API void kiv_u128_mul(KIV_U128 *a, const KIV_U128 *b);
KIV_API void kiv_u128_mul_u64(KIV_U128 *a, uint64_t b);
KIV_API void kiv_s128_mul(KIV_S128 *a, const KIV_S128 *b);
KIV_API void kiv_s128_mul_s64(KIV_S128 *a, int64_t b);

/** a = a * b; 1 when the product does not fit in 128 bits, else 0. */
KIV_API int kiv_u128_mul_ov(KIV_U128 *a, const KIV_U128 *b);
KIV_API int kiv_u128_mul_ov_u64(KIV_U128 *a, uint64_t b);

/* --- Dividing ---------------------------------------------------------------------------------------------------- */

/* All of these give 0, or 1 when the divisor is zero: nothing is then written. */

/** a = a / b. */
KIV_API int kiv_u128_div(KIV_U128 *a, const KIV_U128 *b);
KIV_API int kiv_u128_div_by_u32(KIV_U128 *a, uint32_t b);

/** a = a mod b. */
KIV_API int kiv_u128_mod(KIV_U128 *a, const KIV_U128 *b);

/** a = a / b and remainder = a mod b. The quotient is written first: where remainder is a, it holds the remainder. */
KIV_API int kiv_u128_div_mod(KIV_U128 *a, const KIV_U128 *b, KIV_U128 *remainder);

/** a = a / b, truncated toward zero; -2^127 / -1 wraps to -2^127. */
KIV_API int kiv_s128_div(KIV_S128 *a, const KIV_S128 *b);

/** a = the remainder of the truncated division: its sign is that of the dividend. */
KIV_API int kiv_s128_mod(KIV_S128 *a, const KIV_S128 *b);

/** Both. The quotient is written first: where remainder is a, it holds the remainder. */
KIV_API int kiv_s128_div_mod(KIV_S128 *a, const KIV_S128 *b, KIV_S128 *remainder);

/* --- Shifts and bits --------------------------------------------------------------------------------------------- */

/** a shifted left by n bits, or right by -n for a negative n, with zeros coming in: 0 from 128 on. Every n is allowed.
 */
KIV_API void kiv_u128_lsl(KIV_U128 *a, int n);

/** a shifted right by n bits, or left by -n for a negative n, with zeros coming in: 0 from 128 on. */
KIV_API void kiv_u128_lsr(KIV_U128 *a, int n);

/** a shifted right by n bits, with copies of the sign coming in: 0 or -1 from 128 on. A negative n shifts left by -n.
 */
KIV_API void kiv_s128_asr(KIV_S128 *a, int n);

/** a = a op b; returns a. */
KIV_API KIV_S128 *kiv_s128_and(KIV_S128 *a, const KIV_S128 *b);
KIV_API KIV_S128 *kiv_s128_or(KIV_S128 *a, const KIV_S128 *b);
KIV_API KIV_S128 *kiv_s128_xor(KIV_S128 *a, const KIV_S128 *b);
KIV_API KIV_U128 *kiv_u128_and(KIV_U128 *a, const KIV_U128 *b);
KIV_API KIV_U128 *kiv_u128_or(KIV_U128 *a, const KIV_U128 *b);
KIV_API KIV_U128 *kiv_u128_xor(KIV_U128 *a, const KIV_U128 *b);

/** Sets or clears the bits first to first + count - 1, as far as they exist: bits before 0 and after 127 are left out,
 * and a count of 0 or less changes nothing. */
KIV_API void kiv_u128_set_bits(KIV_U128 *a, int first, int count);
KIV_API void kiv_u128_clear_bits(KIV_U128 *a, int first, int count);

/* --- Comparing --------------------------------------------------------------------------------------------------- */

/** -1, 0 or +1 as a is below, equal to or above b. */
KIV_API int kiv_u128_cmp(const KIV_U128 *a, const KIV_U128 *b);
KIV_API int kiv_s128_cmp(const KIV_S128 *a, const KIV_S128 *b);

/** out = the greater or the smaller of a and b; returns out. */
KIV_API KIV_U128 *kiv_u128_max(const KIV_U128 *a, const KIV_U128 *b, KIV_U128 *out);
KIV_API KIV_U128 *kiv_u128_min(const KIV_U128 *a, const KIV_U128 *b, KIV_U128 *out);

/** Whether the ranges [start1, start1 + length1) and [start2, start2 + length2) have a value in common: 1, else 0. An
 * empty range has none. A range may reach beyond 2^128 - 1: it does not come back at 0.
 * On 1, overlap_length receives how many values they have in common, and offset1 and offset2 receive the distance of
 * the first of them from the start of either range; one of these is 0. On 0, and where such a pointer is null, nothing
 * is written. Outputs that are one record hold what is written last, in the order offset1, offset2, overlap_length. */
KIV_API int kiv_u128_calculate_overlap(const KIV_U128 *start1, const KIV_U128 *length1, const KIV_U128 *start2,
                                       const KIV_U128 *length2, KIV_U128 *overlap_length, KIV_U128 *offset1,
                                       KIV_U128 *offset2);

/* --- Floating point ---------------------------------------------------------------------------------------------- */

/** The 64 most significant bits of a, counted from its highest set bit, rounded to a double: to nearest, ties to even,
 * whatever the processor's rounding mode. Bits below these 64 are dropped before the rounding: a value just above the
 * middle between two doubles can come out as the even one of these. */
KIV_API double kiv_u128_to_double(const KIV_U128 *a);

/** The integer part of x modulo 2^128. NaN, infinities and negative numbers give 0. */
KIV_API void kiv_double_to_u128(double x, KIV_U128 *out);

/* --- Text -------------------------------------------------------------------------------------------------------- */

/** 32 lower-case hexadecimal digits, most significant first, and a NUL. REQUIRES: room for 33 bytes. */
KIV_API void kiv_u128_to_str(const KIV_U128 *a, char *buffer);

/** The hexadecimal digits, upper-case when upper_case is not 0, without leading zeros, and a NUL; "0" for zero.
 * REQUIRES: room for 33 bytes, whatever the value: what follows the NUL is undefined. */
KIV_API void kiv_u128_to_str_no_leading_zeros(const KIV_U128 *a, char *buffer, int upper_case);

/** Reads exactly 32 hexadecimal digits of either case, most significant first. The text's end is not looked for, and no
 * character is checked: one that is no digit counts as c - '0' below 'A', c - 55 below 'a' and c - 87 from there on (c
 * from -128 to 127), reduced to 8 bits of which the upper four are ORed into the digit before it, if that one is of the
 * same group of eight characters. REQUIRES: 32 readable bytes. */
KIV_API void kiv_str_to_u128(const char *text, KIV_U128 *out);

/** Formats a number: for a negative one '-'; prefix, unless null; pad_char, unless NUL, as often as digits are missing
 * to the width of the base; the digits, at least one; a NUL.
 *
 * | base | digits | width |
 * |---|---|---|
 * | 2 | binary | 128 |
 * | 10 | decimal | 39 |
 * | another positive one | hexadecimal, upper-case | 32 |
 * | 0 or negative | hexadecimal, lower-case | 32 |
 *
 * REQUIRES: room for the sign, the prefix, the digits or the width, whichever is more, and the NUL; prefix does not
 * overlap buffer. */
KIV_API void kiv_u128_to_str_bis(const KIV_U128 *a, int base, const char *prefix, char pad_char, char *buffer);
KIV_API void kiv_s128_to_str_bis(const KIV_S128 *a, int base, const char *prefix, char pad_char, char *buffer);

KIV_END_DECLARATIONS

#endif
