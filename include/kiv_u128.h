/** @file
 * Integers of 128 bits, unsigned and in two's complement.
 *
 * TODO(owner): purpose, conventions, thread safety. */
#ifndef KIV_U128_H
#define KIV_U128_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** An unsigned integer of 128 bits: hi * 2^64 + lo. */
typedef struct KIV_U128 {
  uint64_t hi;
  uint64_t lo;
} KIV_U128;

/** A two's-complement integer of 128 bits: hi * 2^64 + lo, the sign in hi. */
typedef struct KIV_S128 {
  int64_t hi;
  uint64_t lo;
} KIV_S128;

KIV_END_DECLARATIONS

#endif
