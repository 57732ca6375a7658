// Between the public records of 128-bit integers and the library's own arithmetic, and their comparison with 64-bit
// values.
#ifndef KIV_NUMBERS_U128_RECORD_H
#define KIV_NUMBERS_U128_RECORD_H

#include <cstdint>

#include "kiv_u128.h"
#include "numbers/uint128.h"

namespace kiv {

// The value of a record; of a signed one the bits, in two's complement.
constexpr UInt128 load_u128(const KIV_U128 *record) { return make_uint128(record->hi, record->lo); }
constexpr UInt128 load_u128(const KIV_S128 *record) {
  return make_uint128(static_cast<uint64_t>(record->hi), record->lo);
}

constexpr void store_u128(KIV_U128 *record, UInt128 value) {
  record->hi = high64(value);
  record->lo = low64(value);
}
constexpr void store_u128(KIV_S128 *record, UInt128 value) {
  record->hi = static_cast<int64_t>(high64(value));
  record->lo = low64(value);
}

constexpr UInt128 extend_sign(int64_t value) {
  return make_uint128(value < 0 ? UINT64_MAX : 0, static_cast<uint64_t>(value));
}

constexpr bool is_negative(const KIV_S128 *record) { return record->hi < 0; }

// |value|, up to 2^127.
constexpr UInt128 load_magnitude(const KIV_S128 *record) {
  const UInt128 value = load_u128(record);
  return is_negative(record) ? -value : value;
}

// -1, 0 or +1.
constexpr int compare_with_64(const KIV_U128 *a, uint64_t b) {
  if (a->hi != 0) return 1;
  return (a->lo > b) - (a->lo < b);
}
constexpr int compare_with_64(const KIV_S128 *a, int64_t b) {
  const int64_t sign = b < 0 ? -1 : 0;
  if (a->hi != sign) return a->hi < sign ? -1 : 1;
  const uint64_t low = static_cast<uint64_t>(b);
  return (a->lo > low) - (a->lo < low);
}

}  // namespace kiv

#endif
