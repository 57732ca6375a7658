// 128-bit integers: adding, subtracting, multiplying. Two's complement makes these the same for both signednesses.
#include "base/alias.h"
#include "kiv_u128.h"
#include "numbers/u128_record.h"

using kiv::high64;
using kiv::load_u128;
using kiv::low64;
using kiv::store_u128;
using kiv::UInt128;

namespace {

// a = x + y; whether the sum has been cut.
bool add(KIV_U128 *a, UInt128 x, UInt128 y) {
  const UInt128 sum = x + y;
  store_u128(a, sum);
  return sum < x;
}

// a = x - y; whether y was the greater one.
bool subtract(KIV_U128 *a, UInt128 x, UInt128 y) {
  store_u128(a, x - y);
  return x < y;
}

// a = x * y; whether the product has been cut.
bool multiply(KIV_U128 *a, UInt128 x, UInt128 y) {
  const uint64_t x1 = high64(x), y1 = high64(y);
  const UInt128 low = kiv::multiply_64(low64(x), low64(y));
  if ((x1 | y1) == 0) {
    store_u128(a, low);
    return false;
  }
  uint64_t cross1 = 0, cross2 = 0, high = 0;
  bool cut = x1 != 0 && y1 != 0;
  cut |= __builtin_mul_overflow(x1, low64(y), &cross1);
  cut |= __builtin_mul_overflow(y1, low64(x), &cross2);
  // Their sum may wrap only where both are not zero: the product is then cut anyway.
  cut |= __builtin_add_overflow(high64(low), cross1 + cross2, &high);
  *a = {high, low64(low)};
  return cut;
}

}  // namespace

extern "C" {

void kiv_u128_add(KIV_U128 *a, const KIV_U128 *b) { store_u128(a, load_u128(a) + load_u128(b)); }

void kiv_s128_add(KIV_S128 *a, const KIV_S128 *b) { store_u128(a, load_u128(a) + load_u128(b)); }

void kiv_u128_add_u64(KIV_U128 *a, uint64_t b) { store_u128(a, load_u128(a) + UInt128(b)); }

int kiv_u128_add_ov(KIV_U128 *a, const KIV_U128 *b) { return add(a, load_u128(a), load_u128(b)); }

int kiv_u128_add_u64_ov(KIV_U128 *a, uint64_t b) { return add(a, load_u128(a), b); }

void kiv_u128_inc(KIV_U128 *a) { store_u128(a, load_u128(a) + UInt128(1)); }

void kiv_s128_inc(KIV_S128 *a) { store_u128(a, load_u128(a) + UInt128(1)); }

int kiv_u128_dec_nonzero(KIV_U128 *a) {
  const UInt128 value = load_u128(a);
  if (value == UInt128(0)) return 0;
  store_u128(a, value - UInt128(1));
  return 1;
}

void kiv_u128_sub(KIV_U128 *a, const KIV_U128 *b) { store_u128(a, load_u128(a) - load_u128(b)); }

void kiv_u128_sub_u64(KIV_U128 *a, uint64_t b) { store_u128(a, load_u128(a) - UInt128(b)); }

int kiv_u128_sub_un(KIV_U128 *a, const KIV_U128 *b) { return subtract(a, load_u128(a), load_u128(b)); }

int kiv_u128_sub_u64_un(KIV_U128 *a, uint64_t b) { return subtract(a, load_u128(a), b); }

void kiv_u128_sub_clipped(KIV_U128 *a, const KIV_U128 *b) {
  const UInt128 x = load_u128(a), y = load_u128(b);
  store_u128(a, x < y ? UInt128(0) : x - y);
}

// Zero up to and including b, where the difference is zero too.
void kiv_u128_sub_u64_clipped(KIV_U128 *a, uint64_t b) {
  const UInt128 value = load_u128(a);
  store_u128(a, kiv::compare_with_64(a, b) <= 0 ? UInt128(0) : value - UInt128(b));
}

void kiv_u128_neg(KIV_U128 *a) { store_u128(a, -load_u128(a)); }

void kiv_s128_abs(KIV_S128 *a) { store_u128(a, kiv::load_magnitude(a)); }

void kiv_s128_abs_u128(const KIV_S128 *a, KIV_U128 *out) { store_u128(out, kiv::load_magnitude(a)); }

void kiv_u128_mul(KIV_U128 *a, const KIV_U128 *b) { store_u128(a, load_u128(a) * load_u128(b)); }

void kiv_u128_mul_u64(KIV_U128 *a, uint64_t b) { store_u128(a, load_u128(a) * UInt128(b)); }

void kiv_s128_mul(KIV_S128 *a, const KIV_S128 *b) { store_u128(a, load_u128(a) * load_u128(b)); }

void kiv_s128_mul_s64(KIV_S128 *a, int64_t b) { store_u128(a, load_u128(a) * kiv::extend_sign(b)); }

int kiv_u128_mul_ov(KIV_U128 *a, const KIV_U128 *b) { return multiply(a, load_u128(a), load_u128(b)); }

int kiv_u128_mul_ov_u64(KIV_U128 *a, uint64_t b) { return multiply(a, load_u128(a), b); }

}  // extern "C"

KIV_ALIAS(kiv_s128_sub, kiv_u128_sub);
KIV_ALIAS(kiv_s128_neg, kiv_u128_neg);
