/** @file
 * LEB128 (little endian base 128) integers of up to 128 bits, as in DWARF 5, section 7.6.
 *
 * An encoding has 7 bits of the value in each byte, the least significant ones first; bit 7 (0x80) is set in every byte
 * but the last. Above the bits that are there, an unsigned value has zeros and a signed one has copies of bit 6 (0x40)
 * of the last byte.
 *
 * Encoders write the shortest encoding, 1 to KIV_LEB128_MAX_BYTES bytes, and not one byte behind it. Decoders take
 * encodings of up to KIV_LEB128_MAX_BYTES bytes, longer than necessary or not; bits above 127 are lost.
 *
 * Input and output may overlap. REQUIRES, throughout: pointers are not null; records are aligned, bytes need not be.
 * Cost: up to eight bytes take one step, whatever their number; twelve cycles or so.
 * Thread safety: the functions have no state. */
#ifndef KIV_LEB128_H
#define KIV_LEB128_H

#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/** The length of the longest encoding: 19 * 7 bits are the first to hold 128. */
#define KIV_LEB128_MAX_BYTES 19

/** Write the encoding of value and give its length. 0 is the byte 0x00, -1 the byte 0x7F. REQUIRES: bytes has room for
 * the encoding; KIV_LEB128_MAX_BYTES are enough for all. */
KIV_API int kiv_u128_to_uleb128(const KIV_U128 *value, uint8_t *bytes);
KIV_API int kiv_s128_to_sleb128(const KIV_S128 *value, uint8_t *bytes);

/** Decode the encoding at the start of bytes, of which `available` may be read, and give its length. 0 when no byte
 * without 0x80 is among the first `available` ones, or the first KIV_LEB128_MAX_BYTES; *out is then as it was.
 *
 * An `available` of all ones (0xFFFFFFFF) stands for a number that the caller does not know: memory needs to be
 * readable as far as the last byte of the encoding. No page behind that byte is touched. */
KIV_API int kiv_uleb128_array_to_u128_bis(uint32_t available, const uint8_t *bytes, KIV_U128 *out);
KIV_API int kiv_sleb128_array_to_s128_bis(uint32_t available, const uint8_t *bytes, KIV_S128 *out);

/** The same with an unknown number of bytes: 1 for success, 0 when none of the first KIV_LEB128_MAX_BYTES ends the
 * encoding. Mind the result: it is not a status, and not a length. For bytes from a file take the forms above.
 * kiv_uleb128_array_to_u128() and kiv_sleb128_array_to_s128() are the same functions under second names. */
KIV_API int kiv_uleb128_to_u128(const uint8_t *bytes, KIV_U128 *out);
KIV_API int kiv_uleb128_array_to_u128(const uint8_t *bytes, KIV_U128 *out);
KIV_API int kiv_sleb128_to_s128(const uint8_t *bytes, KIV_S128 *out);
KIV_API int kiv_sleb128_array_to_s128(const uint8_t *bytes, KIV_S128 *out);

KIV_END_DECLARATIONS

#endif
