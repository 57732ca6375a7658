/** @file
 * Ranges of bits at any offset in byte buffers: copy, combine, set, clear, test, and convert to and from integers.
 *
 * A debugger reads a bit field out of a memory image with these, writes one back without disturbing its neighbours, and
 * assembles values of any width from images of either byte order.
 *
 * Numbering. Bit n of a buffer p is bit n % 8 of the byte p[n / 8]; bit 0 of a byte is its least significant one:
 *
 *     bit    7 6 5 4 3 2 1 0   15 14 13 12 11 10 9 8   ...
 *     byte        p[0]                 p[1]            ...
 *
 * A big-endian side of a copy is counted the other way: its pointer addresses the byte with bits 0 to 7, which is the
 * last one of the image, and bits 8 to 15 are in the byte before it. Within a byte nothing changes. For an image of
 * size bytes pass image + size - 1.
 *
 * Conventions:
 *  1. Offsets and counts are in bits, sizes in bytes. An offset may lie any number of bytes behind the pointer. A count
 *     of 0 or less changes nothing and reads nothing, and a test of such a range answers 1.
 *  2. Only bytes that hold a bit of the range are read or written, and target bits outside of the range keep their
 *     value.
 *  3. Source and target may overlap when both have the same byte order: the result is as if the source had been read
 *     before. REQUIRES: they do not overlap when the byte orders differ.
 *  4. REQUIRES: offsets are not negative. (A negative one counts from the pointer towards the bytes on its other side.)
 *
 * Failure. No function reports errors, except that allocating ones pass on a lack of memory: when the allocator gives
 * null for a size above 0, the result is 0 (null, where it is a pointer), and the caller's buffer, its pointer and its
 * contents stay as they were. A null for a size of 0 is as good as any other pointer.
 *
 * Costs. Whole ranges move at the speed of memmove when source and target begin at the same bit of a byte, 16 bytes a
 * step otherwise; a range of up to 64 bits takes a few nanoseconds.
 *
 * Thread safety: nothing is shared; callers serialise access to a buffer. */
#ifndef KIV_BITOPS_H
#define KIV_BITOPS_H

#include "kiv_allocator.h"
#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/* --- Copying ----------------------------------------------------------------------------------------------------- */

/** Copies count bits from source into target. */
KIV_API void kiv_bitops_replace_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                     int32_t count);

/** The same with a big-endian source: from the bytes 12 34, with source at the second one, 16 bits give 34 12. */
KIV_API void kiv_bitops_replace_bits_big_endian_source(void *target, int32_t target_bit, const void *source,
                                                       int32_t source_bit, int32_t count);

/** The same with a big-endian target. */
KIV_API void kiv_bitops_replace_bits_big_endian_target(void *target, int32_t target_bit, const void *source,
                                                       int32_t source_bit, int32_t count);

/** The same with both big-endian. */
KIV_API void kiv_bitops_replace_bits_big_endian_source_and_target(void *target, int32_t target_bit, const void *source,
                                                                  int32_t source_bit, int32_t count);

/* --- Setting and combining --------------------------------------------------------------------------------------- */

/** Sets the range to ones. */
KIV_API void kiv_bitops_set_bits(void *buffer, int32_t first_bit, int32_t count);

/** Sets the range to zeros. */
KIV_API void kiv_bitops_reset_bits(void *buffer, int32_t first_bit, int32_t count);

/** The target range becomes target AND source (OR, XOR), bit by bit. */
KIV_API void kiv_bitops_AND_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                 int32_t count);
KIV_API void kiv_bitops_OR_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                int32_t count);
KIV_API void kiv_bitops_XOR_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                 int32_t count);

/* --- Testing ----------------------------------------------------------------------------------------------------- */

/** 1 when bits 0 to count - 1 are all zero, else 0. */
KIV_API int kiv_bitops_all_bits_are_zero(const void *buffer, int32_t count);

/** 1 when bits 0 to count - 1 are all one, else 0. */
KIV_API int kiv_bitops_all_bits_are_one(const void *buffer, int32_t count);

/** A test that is exact at a byte boundary only. With r = first_bit % 8 other than 0 it answers 1 when bits r to 7 of
 * the byte of first_bit are zero, however small the count, and so are count - r bits from the next byte on: 8 - 2 * r
 * bits more than the range has, or fewer when r is above 4.
 *
 * Thus (buffer, 4, 2) looks at bits 4 to 7, (buffer, 4, 8) at bits 4 to 11, and (buffer, 2, 8) at bits 2 to 13.
 * REQUIRES: the bytes of these bits exist. */
KIV_API int kiv_bitops_all_bits_are_zero2(const void *buffer, int32_t first_bit, int32_t count);

/** The same for ones, except that with r other than 0 the byte of first_bit has to have zeros in its bits below r: the
 * byte F1 is no match for first_bit = 4, F0 is one. */
KIV_API int kiv_bitops_all_bits_are_one2(const void *buffer, int32_t first_bit, int32_t count);

/** 1 when the bit is set, else 0. */
KIV_API int kiv_bitops_bit_is_set(const void *buffer, int32_t bit);

/* --- Integers ---------------------------------------------------------------------------------------------------- */

/** Writes the low count bits of value as a little-endian image of (count + 7) / 8 bytes. The last byte is written
 * whole: bits above count become zero, and so does what lies beyond the width of the value. */
KIV_API void kiv_bitops_convert_from_U32(void *buffer, uint32_t value, int32_t count);
KIV_API void kiv_bitops_convert_from_U64(void *buffer, uint64_t value, int32_t count);
KIV_API void kiv_bitops_convert_from_U128(void *buffer, const KIV_U128 *value, int32_t count);

/** Reads count bits, at most as many as the result has, of a little-endian image of (count + 7) / 8 bytes. The bits
 * above are zero; so is everything for a count of 0 or less. */
KIV_API uint32_t kiv_bitops_convert_to_U32(const void *buffer, int32_t count);
KIV_API uint64_t kiv_bitops_convert_to_U64(const void *buffer, int32_t count);
KIV_API void kiv_bitops_convert_to_U128(KIV_U128 *out, const void *buffer, int32_t count);

/* --- Buffers of an allocator -------------------------------------------------------------------------------------
 * *buffer is null or a block of the allocator, and stays the caller's. Counts below 0 are taken as 0. */

/** Makes *buffer, by realloc, a block of (count + 7) / 8 bytes with the image of value, as kiv_bitops_convert_from_U32
 * writes it. Gives the size. The allocator's realloc is called for a size of 0 too, which may release the block. */
KIV_API int32_t kiv_bitops_convert_from_U32_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, uint32_t value,
                                                     int32_t count);
KIV_API int32_t kiv_bitops_convert_from_U64_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, uint64_t value,
                                                     int32_t count);
KIV_API int32_t kiv_bitops_convert_from_U128_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, const KIV_U128 *value,
                                                      int32_t count);

/** Copies count bits to bit 0 of a new block of (count + 7) / 8 bytes, stored in *result; bits of its last byte above
 * count are whatever the allocator gave. Gives the size. A count of 0 stores null, as does a lack of memory. */
KIV_API int32_t kiv_bitops_bitwise_extract(KIV_ALLOCATOR *allocator, uint8_t **result, const void *source,
                                           int32_t source_bit, int32_t count);

/** Writes the first count bits of source over those from bit_offset on of *buffer, a block of size bytes, growing it by
 * realloc as far as needed; the new bytes are zero. Gives the new size, which is never smaller; realloc is called even
 * when it is the same. Nothing is moved up to make room. A negative bit_offset writes nothing.
 * REQUIRES: source is not a part of the block. */
KIV_API int32_t kiv_bitops_bitwise_insert(KIV_ALLOCATOR *allocator, uint8_t **buffer, int32_t size, int32_t bit_offset,
                                          const void *source, int32_t count);

/** Replaces *buffer by a new block with its first first_count bits followed by second_count bits of second, and frees
 * the old one. Bits above are zero. Gives the new size. second may be a part of the old block. */
KIV_API int32_t kiv_bitops_bitwise_cat(KIV_ALLOCATOR *allocator, uint8_t **buffer, int32_t first_count,
                                       const void *second, int32_t second_count);

/** A new block with the size bytes of source, owned by the caller, in which the order of the units is reversed within
 * each group of units_per_group units of unit_bits bits; null on a lack of memory. What is left behind the last whole
 * group stays as it is, and so does everything when unit_bits is below 1 or units_per_group below 2.
 *
 * Units of 8 bits, 4 a group, change the byte order of 32-bit words; units of 1 bit, 8 a group, mirror each byte. */
KIV_API uint8_t *kiv_bitops_bitwise_swap_endianness(KIV_ALLOCATOR *allocator, const void *source, int32_t size,
                                                    int32_t unit_bits, int32_t units_per_group);

KIV_END_DECLARATIONS

#endif
