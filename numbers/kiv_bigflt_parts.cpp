// Integer parts, fractions and exponents.

#include "kiv_bigflt.h"
#include "numbers/bigflt_integral.h"

using namespace kiv::bigflt_engine;
using kiv::high64;

namespace {

// From one end of the range of values to the other it is less than 2^16 times 2.
constexpr int32_t kFarEnough = 1 << 17;

// A finite e without its fraction, as far as it makes a difference.
int32_t to_scale(const Extended &e) {
  if (e.exponent < 0) return 0;
  if (e.exponent >= 17) return e.negative ? -kFarEnough : kFarEnough;
  const auto magnitude = static_cast<int32_t>(high64(e.mantissa) >> (63 - e.exponent));
  return e.negative ? -magnitude : magnitude;
}

Extended ldexp(const Extended &a, const Extended &e) {
  if (a.is_nan() || e.is_nan()) return kNan;
  if (!e.is_infinity()) return scale(a, to_scale(e));
  if (e.negative) return a.is_infinity() ? kNan : zero();
  return a.is_zero() ? kNan : infinity(a.negative);
}

}  // namespace

void kiv_bigflt_ceil(bigflt *r, const bigflt *a) {
  if (a->small != 0) return store_small(r, a->exponent);
  store(r, ceil(load_extended(*a)));
}

void kiv_bigflt_floor(bigflt *r, const bigflt *a) {
  if (a->small != 0) return store_small(r, a->exponent);
  store(r, floor(load_extended(*a)));
}

void kiv_bigflt_trunc(bigflt *r, const bigflt *a) {
  if (a->small != 0) return store_small(r, a->exponent);
  store(r, truncate(load_extended(*a)));
}

void kiv_bigflt_ldexp(bigflt *r, const bigflt *a, const bigflt *e) { store(r, ldexp(load(*a), load(*e))); }

void kiv_bigflt_frexp(bigflt *fraction, bigflt *exponent, const bigflt *a) {
  const Extended value = load(*a);
  if (!value.is_ordinary()) {
    store(fraction, value);
    store_small(exponent, 0);
    return;
  }
  store(fraction, {value.mantissa, -1, value.negative});
  store_small(exponent, value.exponent + 1);
}

void kiv_bigflt_modf(bigflt *int_part, bigflt *frac_part, const bigflt *a) {
  const Extended value = load(*a);
  store(int_part, truncate(value));
  if (value.is_special()) {
    store(frac_part, value.is_nan() ? kNan : zero());
    return;
  }
  store(frac_part, fraction(value));
}
