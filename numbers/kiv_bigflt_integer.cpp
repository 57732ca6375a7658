// Integers of 32, 64 and 128 bits.

#include "kiv_bigflt_convert.h"
#include "numbers/bigflt_integral.h"

using namespace kiv::bigflt_engine;
using kiv::high64;
using kiv::low64;
using kiv::make_uint128;
using kiv::UInt128;

namespace {

// The integer part of a record, modulo 2^64.
inline uint64_t to_64(const bigflt &a) {
  if (a.small != 0) return static_cast<uint64_t>(int64_t{a.exponent});
  return low64(to_integer(load_extended(a)));
}

inline UInt128 to_128(const bigflt &a) {
  if (a.small != 0) {
    const int64_t value = a.exponent;
    return make_uint128(static_cast<uint64_t>(value >> 63), static_cast<uint64_t>(value));
  }
  return to_integer(load_extended(a));
}

}  // namespace

void kiv_bigflt_KIV_U32_to_bigflt(bigflt *r, uint32_t value) {
  if (value <= INT32_MAX) return store_small(r, static_cast<int32_t>(value));
  store(r, from_uint128(UInt128(value), false));
}

void kiv_bigflt_KIV_S64_to_bigflt(bigflt *r, int64_t value) {
  if (value == static_cast<int32_t>(value)) return store_small(r, static_cast<int32_t>(value));
  const auto magnitude = static_cast<uint64_t>(value);
  store(r, from_uint128(UInt128(value < 0 ? 0 - magnitude : magnitude), value < 0));
}

void kiv_bigflt_KIV_U64_to_bigflt(bigflt *r, uint64_t value) {
  if (value <= INT32_MAX) return store_small(r, static_cast<int32_t>(value));
  store(r, from_uint128(UInt128(value), false));
}

void kiv_bigflt_KIV_S128_to_bigflt(bigflt *r, const KIV_S128 *value) {
  const UInt128 bits = make_uint128(static_cast<uint64_t>(value->hi), value->lo);
  const bool negative = value->hi < 0;
  store(r, from_uint128(negative ? UInt128(0) - bits : bits, negative));
}

void kiv_bigflt_KIV_U128_to_bigflt(bigflt *r, const KIV_U128 *value) {
  store(r, from_uint128(make_uint128(value->hi, value->lo), false));
}

// The one conversion out of the extended form that looks at the words alone, as the raw operation of its name does.
int32_t kiv_bigflt_to_KIV_S32(const bigflt *a) {
  if (a->small != 0) return a->exponent;
  const uint32_t shifted = a->mantissa[3] >> ((31 - static_cast<uint32_t>(a->exponent)) % 32);
  return static_cast<int32_t>(a->sign != 0 ? 0 - shifted : shifted);
}

uint32_t kiv_bigflt_to_KIV_U32(const bigflt *a) { return static_cast<uint32_t>(to_64(*a)); }

int64_t kiv_bigflt_to_KIV_S64(const bigflt *a) { return static_cast<int64_t>(to_64(*a)); }

uint64_t kiv_bigflt_to_KIV_U64(const bigflt *a) { return to_64(*a); }

void kiv_bigflt_to_KIV_S128(KIV_S128 *out, const bigflt *a) {
  const UInt128 value = to_128(*a);
  *out = {static_cast<int64_t>(high64(value)), low64(value)};
}

void kiv_bigflt_to_KIV_U128(KIV_U128 *out, const bigflt *a) {
  const UInt128 value = to_128(*a);
  *out = {high64(value), low64(value)};
}
