// 128-bit integers: making, narrowing, access, and comparing.
#include "kiv_u128.h"

#include <cstddef>

#include "base/alias.h"
#include "numbers/u128_record.h"

static_assert(sizeof(KIV_U128) == 16 && sizeof(KIV_S128) == 16 && offsetof(KIV_U128, lo) == 8);

using kiv::load_u128;
using kiv::store_u128;
using kiv::UInt128;

extern "C" {

void kiv_s8_to_s128(int8_t value, KIV_S128 *out) { kiv_s64_to_s128(value, out); }
void kiv_s16_to_s128(int16_t value, KIV_S128 *out) { kiv_s64_to_s128(value, out); }
void kiv_s32_to_s128(int32_t value, KIV_S128 *out) { kiv_s64_to_s128(value, out); }
void kiv_s64_to_s128(int64_t value, KIV_S128 *out) { *out = {value < 0 ? -1 : 0, static_cast<uint64_t>(value)}; }

void kiv_u8_to_u128(uint8_t value, KIV_U128 *out) { *out = {0, value}; }
void kiv_u16_to_u128(uint16_t value, KIV_U128 *out) { *out = {0, value}; }
void kiv_u32_to_u128(uint32_t value, KIV_U128 *out) { *out = {0, value}; }
void kiv_u64_to_u128(uint64_t value, KIV_U128 *out) { *out = {0, value}; }

uint8_t kiv_u128_to_u8(const KIV_U128 *value) { return static_cast<uint8_t>(value->lo); }
uint16_t kiv_u128_to_u16(const KIV_U128 *value) { return static_cast<uint16_t>(value->lo); }
uint32_t kiv_u128_to_u32(const KIV_U128 *value) { return static_cast<uint32_t>(value->lo); }
uint64_t kiv_u128_to_u64(const KIV_U128 *value) { return value->lo; }
uint64_t kiv_u128_get_hiword(const KIV_U128 *value) { return value->hi; }

void kiv_u128_to_s128(const KIV_U128 *in, KIV_S128 *out) { store_u128(out, load_u128(in)); }

void kiv_u128_assign(KIV_U128 *out, uint64_t hi, uint64_t lo) { *out = {hi, lo}; }

int kiv_u128_is_zero(const KIV_U128 *value) { return (value->hi | value->lo) == 0; }

int kiv_s128_sign(const KIV_S128 *value) { return kiv::is_negative(value) ? -1 : (value->hi != 0 || value->lo != 0); }

int kiv_u128_highest_bit(const KIV_U128 *value) { return 127 - kiv::leading_zeros(load_u128(value)); }

int kiv_u128_cmp(const KIV_U128 *a, const KIV_U128 *b) {
  const UInt128 x = load_u128(a), y = load_u128(b);
  return (x > y) - (x < y);
}

int kiv_s128_cmp(const KIV_S128 *a, const KIV_S128 *b) {
  // With the signs turned round the order is that of unsigned integers.
  const UInt128 sign = kiv::make_uint128(uint64_t{1} << 63, 0);
  const UInt128 x = load_u128(a) ^ sign, y = load_u128(b) ^ sign;
  return (x > y) - (x < y);
}

KIV_U128 *kiv_u128_max(const KIV_U128 *a, const KIV_U128 *b, KIV_U128 *out) {
  const UInt128 x = load_u128(a), y = load_u128(b);
  store_u128(out, x < y ? y : x);
  return out;
}

KIV_U128 *kiv_u128_min(const KIV_U128 *a, const KIV_U128 *b, KIV_U128 *out) {
  const UInt128 x = load_u128(a), y = load_u128(b);
  store_u128(out, x > y ? y : x);
  return out;
}

int kiv_u128_calculate_overlap(const KIV_U128 *start1, const KIV_U128 *length1, const KIV_U128 *start2,
                               const KIV_U128 *length2, KIV_U128 *overlap_length, KIV_U128 *offset1,
                               KIV_U128 *offset2) {
  const UInt128 s1 = load_u128(start1), l1 = load_u128(length1);
  const UInt128 s2 = load_u128(start2), l2 = load_u128(length2);
  if (l1 == UInt128(0) || l2 == UInt128(0)) return 0;
  // Distances in place of ends: start + length may exceed 128 bits.
  const bool first_is_later = s1 >= s2;
  const UInt128 distance = first_is_later ? s1 - s2 : s2 - s1;
  const UInt128 earlier_length = first_is_later ? l2 : l1, later_length = first_is_later ? l1 : l2;
  if (distance >= earlier_length) return 0;
  const UInt128 rest = earlier_length - distance;
  if (offset1 != nullptr) store_u128(offset1, first_is_later ? UInt128(0) : distance);
  if (offset2 != nullptr) store_u128(offset2, first_is_later ? distance : UInt128(0));
  if (overlap_length != nullptr) store_u128(overlap_length, rest < later_length ? rest : later_length);
  return 1;
}

}  // extern "C"

KIV_ALIAS(kiv_s128_to_s8, kiv_u128_to_u8);
KIV_ALIAS(kiv_s128_to_s16, kiv_u128_to_u16);
KIV_ALIAS(kiv_s128_to_s32, kiv_u128_to_u32);
KIV_ALIAS(kiv_s128_to_s64, kiv_u128_to_u64);
KIV_ALIAS(kiv_s128_get_loword, kiv_u128_to_u64);
KIV_ALIAS(kiv_u128_get_loword, kiv_u128_to_u64);
KIV_ALIAS(kiv_s128_get_hiword, kiv_u128_get_hiword);
KIV_ALIAS(kiv_s128_to_u128, kiv_u128_to_s128);
KIV_ALIAS(kiv_s128_assign, kiv_u128_assign);
KIV_ALIAS(kiv_s128_is_zero, kiv_u128_is_zero);
