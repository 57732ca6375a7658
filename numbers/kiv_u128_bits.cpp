// 128-bit integers: shifts and bits.
#include <algorithm>

#include "base/alias.h"
#include "kiv_u128.h"
#include "numbers/u128_record.h"

using kiv::load_u128;
using kiv::store_u128;
using kiv::UInt128;

namespace {

constexpr UInt128 kAllOnes = kiv::make_uint128(UINT64_MAX, UINT64_MAX);

// A count that is negative or shifts everything out.
constexpr bool is_unusual(int count) { return static_cast<unsigned>(count) > 127; }

// The count that turns a shift round. Counts end at 32767, which shifts everything out as a greater one would: so the
// least int has an opposite.
constexpr int opposite(int count) { return count < -32767 ? 32767 : -count; }

UInt128 shift_left(UInt128 value, int count) { return is_unusual(count) ? UInt128(0) : value << count; }
UInt128 shift_right(UInt128 value, int count) { return is_unusual(count) ? UInt128(0) : value >> count; }

// Ones from bit first to bit first + count - 1, as far as they exist.
UInt128 mask(int first, int count) {
  const int64_t begin = std::max(first, 0), end = std::min<int64_t>(int64_t{first} + count, 128);
  if (begin >= end) return 0;
  return kAllOnes >> static_cast<int>(128 - (end - begin)) << static_cast<int>(begin);
}

}  // namespace

extern "C" {

void kiv_u128_lsl(KIV_U128 *a, int n) {
  const UInt128 value = load_u128(a);
  if (is_unusual(n)) [[unlikely]] {
    store_u128(a, n < 0 ? shift_right(value, opposite(n)) : UInt128(0));
    return;
  }
  store_u128(a, value << n);
}

void kiv_u128_lsr(KIV_U128 *a, int n) {
  const UInt128 value = load_u128(a);
  if (is_unusual(n)) [[unlikely]] {
    store_u128(a, n < 0 ? shift_left(value, opposite(n)) : UInt128(0));
    return;
  }
  store_u128(a, value >> n);
}

void kiv_s128_asr(KIV_S128 *a, int n) {
  const UInt128 value = load_u128(a);
  if (n < 0) [[unlikely]] {
    store_u128(a, shift_left(value, opposite(n)));
    return;
  }
  store_u128(a, kiv::shift_right_signed(value, std::min(n, 127)));
}

KIV_U128 *kiv_u128_and(KIV_U128 *a, const KIV_U128 *b) {
  store_u128(a, load_u128(a) & load_u128(b));
  return a;
}

KIV_U128 *kiv_u128_or(KIV_U128 *a, const KIV_U128 *b) {
  store_u128(a, load_u128(a) | load_u128(b));
  return a;
}

KIV_U128 *kiv_u128_xor(KIV_U128 *a, const KIV_U128 *b) {
  store_u128(a, load_u128(a) ^ load_u128(b));
  return a;
}

void kiv_u128_set_bits(KIV_U128 *a, int first, int count) { store_u128(a, load_u128(a) | mask(first, count)); }

void kiv_u128_clear_bits(KIV_U128 *a, int first, int count) { store_u128(a, load_u128(a) & ~mask(first, count)); }

}  // extern "C"

KIV_ALIAS(kiv_s128_and, kiv_u128_and);
KIV_ALIAS(kiv_s128_or, kiv_u128_or);
KIV_ALIAS(kiv_s128_xor, kiv_u128_xor);
