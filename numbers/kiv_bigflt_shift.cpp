// Shifts.

#include "kiv_bigflt.h"
#include "numbers/bigflt_integral.h"

using namespace kiv::bigflt_engine;

namespace {

// The greatest integer not above a / 2^n. REQUIRES: n is not negative.
Extended scale_down(Extended a, int64_t n) {
  if (!a.is_ordinary()) return a;
  // No value has an integer part after 2^16 places. The exponent may leave the range of values on the way.
  a.exponent -= static_cast<int32_t>(n < 65536 ? n : 65536);
  return floor(a);
}

}  // namespace

void kiv_bigflt_shift_left(bigflt *r, const bigflt *a, int32_t n) {
  if (a->small != 0 && n >= 0 && n < 32) {
    const int64_t shifted = int64_t{a->exponent} << n;
    if (shifted == static_cast<int32_t>(shifted)) return store_small(r, static_cast<int32_t>(shifted));
  }
  store(r, n >= 0 ? scale(load(*a), n) : scale_down(load(*a), -int64_t{n}));
}

void kiv_bigflt_shift_left_implied(bigflt *a, int32_t n) { kiv_bigflt_shift_left(a, a, n); }

void kiv_bigflt_shift_right(bigflt *r, const bigflt *a, int32_t n) {
  // Zero and negative integers, and longer shifts, give the same results below.
  if (a->small != 0 && a->exponent >= 1 && n >= 0 && n < 32) return store_small(r, a->exponent >> n);
  store(r, n >= 0 ? scale_down(load(*a), n) : scale(load(*a), -int64_t{n}));
}

void kiv_bigflt_shift_right_implied(bigflt *a, int32_t n) { kiv_bigflt_shift_right(a, a, n); }
