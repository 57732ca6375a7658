/** @file
 * A hash of bytes. */
#ifndef KIV_HASH_H
#define KIV_HASH_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Pearson's hash of length bytes, 0 to 255, with a fixed permutation: the same on every target and in every version.
 * 0 for no bytes, which may then be null. Any two texts that differ in one byte only have different hashes.
 *
 * Source: P. K. Pearson, "Fast Hashing of Variable-Length Text Strings", Communications of the ACM 33 (1990). */
KIV_API uint32_t kiv_hash_u8_pearson(const uint8_t *bytes, uint32_t length);

KIV_END_DECLARATIONS

#endif
