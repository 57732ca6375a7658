// 128-bit integers: dividing. A divisor of zero is found before anything is written.
#include "kiv_u128.h"
#include "numbers/u128_record.h"

using kiv::load_magnitude;
using kiv::load_u128;
using kiv::store_u128;
using kiv::UInt128;

namespace {

// Truncated toward zero; the remainder has the sign of the dividend. REQUIRES: b != 0
struct SignedDivision {
  UInt128 quotient, remainder;

  SignedDivision(const KIV_S128 *a, const KIV_S128 *b) {
    const bool negative = kiv::is_negative(a), turned = negative != kiv::is_negative(b);
    quotient = kiv::divide(load_magnitude(a), load_magnitude(b), &remainder);
    if (turned) quotient = -quotient;
    if (negative) remainder = -remainder;
  }
};

bool is_zero(const KIV_U128 *value) { return (value->hi | value->lo) == 0; }
bool is_zero(const KIV_S128 *value) { return (static_cast<uint64_t>(value->hi) | value->lo) == 0; }

}  // namespace

extern "C" {

int kiv_u128_div(KIV_U128 *a, const KIV_U128 *b) {
  if (is_zero(b)) return 1;
  UInt128 remainder = 0;
  store_u128(a, kiv::divide(load_u128(a), load_u128(b), &remainder));
  return 0;
}

int kiv_u128_div_by_u32(KIV_U128 *a, uint32_t b) {
  if (b == 0) return 1;
  UInt128 remainder = 0;
  store_u128(a, kiv::divide(load_u128(a), b, &remainder));
  return 0;
}

int kiv_u128_mod(KIV_U128 *a, const KIV_U128 *b) {
  if (is_zero(b)) return 1;
  UInt128 remainder = 0;
  kiv::divide(load_u128(a), load_u128(b), &remainder);
  store_u128(a, remainder);
  return 0;
}

int kiv_u128_div_mod(KIV_U128 *a, const KIV_U128 *b, KIV_U128 *remainder) {
  if (is_zero(b)) return 1;
  UInt128 rest = 0;
  store_u128(a, kiv::divide(load_u128(a), load_u128(b), &rest));
  store_u128(remainder, rest);
  return 0;
}

int kiv_s128_div(KIV_S128 *a, const KIV_S128 *b) {
  if (is_zero(b)) return 1;
  store_u128(a, SignedDivision(a, b).quotient);
  return 0;
}

int kiv_s128_mod(KIV_S128 *a, const KIV_S128 *b) {
  if (is_zero(b)) return 1;
  store_u128(a, SignedDivision(a, b).remainder);
  return 0;
}

int kiv_s128_div_mod(KIV_S128 *a, const KIV_S128 *b, KIV_S128 *remainder) {
  if (is_zero(b)) return 1;
  const SignedDivision result(a, b);
  store_u128(a, result.quotient);
  store_u128(remainder, result.remainder);
  return 0;
}

}  // extern "C"
