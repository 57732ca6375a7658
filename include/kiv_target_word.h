/** @file
 * Integers as a target has them: byte images of either byte order, and arithmetic on machine words.
 *
 * A machine word is passed as a native integer of 32 or 64 bits, whatever the target's own width. In a byte image the
 * value is at the least significant end: at the last bytes of a big-endian image, at the first ones of a little-endian
 * one. The argument big_endian is a truth value.
 *
 * Image and record may overlap; an image needs no alignment. REQUIRES, throughout: pointers are not null.
 * Thread safety: the functions have no state. */
#ifndef KIV_TARGET_WORD_H
#define KIV_TARGET_WORD_H

#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/* --- Images of 128-bit integers: always 16 bytes ------------------------------------------------------------------ */

KIV_API void kiv_u8_array_to_u128(int big_endian, const uint8_t *bytes, KIV_U128 *out);
KIV_API void kiv_u8_array_to_s128(int big_endian, const uint8_t *bytes, KIV_S128 *out);
KIV_API void kiv_u128_to_u8_array(const KIV_U128 *value, int big_endian, uint8_t *bytes);
KIV_API void kiv_s128_to_u8_array(const KIV_S128 *value, int big_endian, uint8_t *bytes);

/* --- Images of machine words: any number of bytes ----------------------------------------------------------------- */

/** The value of an image of `length` bytes: zero-extended when it has fewer bytes than the word, cut to the least
 * significant bytes when it has more. 0 for an empty image. */
KIV_API uint32_t kiv_u8_array_to_u32m(uint32_t length, const uint8_t *bytes, int big_endian);
KIV_API uint64_t kiv_u8_array_to_u64m(uint32_t length, const uint8_t *bytes, int big_endian);

/** Write an image of `length` bytes: the value's least significant ones when it has fewer than the word, zeros above
 * the value when it has more. */
KIV_API void kiv_u32m_to_u8_array(uint32_t value, int big_endian, uint32_t length, uint8_t *bytes);
KIV_API void kiv_u64m_to_u8_array(uint64_t value, int big_endian, uint32_t length, uint8_t *bytes);

/* --- Arithmetic --------------------------------------------------------------------------------------------------- */

/** a + b, or all ones when that is too large. */
KIV_API uint32_t kiv_u32m_add_sat(uint32_t a, uint32_t b);
KIV_API uint64_t kiv_u64m_add_sat(uint64_t a, uint64_t b);

/** a - b, or 0 when b is larger than a. */
KIV_API uint32_t kiv_u32m_sub_sat(uint32_t a, uint32_t b);
KIV_API uint64_t kiv_u64m_sub_sat(uint64_t a, uint64_t b);

/** The value with every bit above sign_bit made equal to bit sign_bit (0 is the least significant one). With the word's
 * top bit or one above it the value stays as it is. */
KIV_API uint32_t kiv_u32m_sign_extend(uint32_t value, uint32_t sign_bit);
KIV_API uint64_t kiv_u64m_sign_extend(uint64_t value, uint32_t sign_bit);

/** a / b, rounded towards zero (-7 / 2 is -3) and down (-4; -1 / 2 is -1). 0 for success. 1 when b is 0, and when the
 * quotient has no 64 bits (-2^63 / -1); *out is then as it was. */
KIV_API int kiv_s64m_div_towards_zero(int64_t a, int64_t b, int64_t *out);
KIV_API int kiv_s64m_div_floor(int64_t a, int64_t b, int64_t *out);

KIV_END_DECLARATIONS

#endif
