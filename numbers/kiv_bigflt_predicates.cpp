// Questions about one value.

#include "kiv_bigflt.h"
#include "numbers/bigflt_integral.h"

using namespace kiv::bigflt_engine;

int kiv_bigflt_is_zero(const bigflt *a) {
  if (a->small != 0) return a->exponent == 0 ? 1 : 0;
  return load_extended(*a).is_zero() ? 1 : 0;
}

int kiv_bigflt_is_negative(const bigflt *a) {
  if (a->small != 0) return a->exponent < 0 ? 1 : 0;
  const Extended value = load_extended(*a);
  return value.negative && !value.is_zero() && !value.is_nan() ? 1 : 0;
}

int kiv_bigflt_is_normalized(const bigflt *a) {
  if (a->small != 0) return 1;
  const bool in_range = a->exponent >= kMinExponent && a->exponent <= kMaxExponent;
  return in_range && a->mantissa[3] >> 31 != 0 ? 1 : 0;
}

int kiv_bigflt_is_integer(const bigflt *a) { return a->small != 0 || is_integer(load_extended(*a)) ? 1 : 0; }

int kiv_bigflt_is_finite_as_bool(const bigflt *a) { return a->small != 0 || !load_extended(*a).is_special() ? 1 : 0; }

int kiv_bigflt_is_inf_as_bool(const bigflt *a) { return a->small == 0 && load_extended(*a).is_infinity() ? 1 : 0; }

int kiv_bigflt_is_nan_as_bool(const bigflt *a) { return a->small == 0 && load_extended(*a).is_nan() ? 1 : 0; }

int kiv_bigflt_is_signed_integral_and_fits_in_32_bits(const bigflt *a) {
  int32_t integer = 0;
  return a->small != 0 || fits_small(load_extended(*a), &integer) ? 1 : 0;
}

int kiv_bigflt_is_signed_integer_of_size(const bigflt *a, int32_t bits) {
  if (a->small != 0 && bits >= 32) return 1;
  const Extended value = load(*a);
  if (bits < 1 || !is_integer(value)) return 0;
  if (value.is_zero()) return 1;
  // The exponent is one less than the number of the magnitude's bits.
  if (value.exponent == bits - 1) return value.negative && value.mantissa == kTopBit ? 1 : 0;
  return value.exponent < bits - 1 ? 1 : 0;
}
