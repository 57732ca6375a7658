// MPFR as the oracle of bigflt: 128 bits and the same range of exponents. MPFR exists for the Linux targets only.
#ifndef KIV_TESTS_NUMBERS_MPFR_VALUE_H
#define KIV_TESTS_NUMBERS_MPFR_VALUE_H

#include <mpfr.h>

#include <cstdint>

#include "kiv_bigflt.h"

namespace kiv::test {

/// An MPFR number of 128 bits, unless another precision is asked for.
class MpfrValue {
 public:
  explicit MpfrValue(mpfr_prec_t precision = 128) {
    // MPFR's significand is in [1/2, 1): its exponent is one above ours.
    mpfr_set_emin(-32766);
    mpfr_set_emax(32768);
    mpfr_init2(value_, precision);
  }
  explicit MpfrValue(const bigflt &from) : MpfrValue() { assign(from); }
  ~MpfrValue() { mpfr_clear(value_); }
  MpfrValue(const MpfrValue &) = delete;
  MpfrValue &operator=(const MpfrValue &) = delete;

  operator mpfr_ptr() { return value_; }           // NOLINT(google-explicit-constructor)
  operator mpfr_srcptr() const { return value_; }  // NOLINT(google-explicit-constructor)

  /// REQUIRES: at least 128 bits of precision.
  void assign(const bigflt &from) {
    if (from.small != 0) {
      mpfr_set_si(value_, from.exponent, MPFR_RNDN);
      return;
    }
    mpfr_set_zero(value_, 1);
    if (from.exponent == INT32_MIN) return;
    bool any = false;
    for (int i = 3; i >= 0; --i) {
      any = any || from.mantissa[i] != 0;
      mpfr_mul_2ui(value_, value_, 32, MPFR_RNDN);
      mpfr_add_ui(value_, value_, from.mantissa[i], MPFR_RNDN);
    }
    if (from.exponent == INT32_MAX) {
      if (any)
        mpfr_set_nan(value_);
      else
        mpfr_set_inf(value_, from.sign != 0 ? -1 : 1);
      return;
    }
    mpfr_set_exp(value_, from.exponent + 1);
    if (from.sign != 0) mpfr_neg(value_, value_, MPFR_RNDN);
  }

  /// The canonical record of the value: small where that form holds it. REQUIRES: at most 128 bits of precision.
  bigflt canonical() const {
    if (mpfr_nan_p(value_) != 0) return {0, {}, 0, INT32_MAX, 128, 4, {~0U, ~0U, ~0U, ~0U}};
    if (mpfr_fits_sint_p(value_, MPFR_RNDZ) != 0 && mpfr_integer_p(value_) != 0) {
      return {1, {}, 0, static_cast<int32_t>(mpfr_get_si(value_, MPFR_RNDZ)), 128, 4, {}};
    }
    const uint32_t sign = mpfr_signbit(value_) != 0 ? 1 : 0;
    bigflt record = {0, {}, sign, INT32_MAX, 128, 4, {}};
    if (mpfr_inf_p(value_) != 0) return record;
    record.exponent = static_cast<int32_t>(mpfr_get_exp(value_)) - 1;
    MpfrValue rest;
    mpfr_abs(rest, value_, MPFR_RNDN);
    mpfr_set_exp(rest, 32);
    for (int i = 3; i >= 0; --i) {
      record.mantissa[i] = static_cast<uint32_t>(mpfr_get_ui(rest, MPFR_RNDZ));
      mpfr_sub_ui(rest, rest, record.mantissa[i], MPFR_RNDN);
      mpfr_mul_2ui(rest, rest, 32, MPFR_RNDN);
    }
    return record;
  }

 private:
  mpfr_t value_;
};

/// Whether two records hold the same value in the same form: all words that have a meaning there.
inline bool same(const bigflt &a, const bigflt &b) {
  if (a.small != b.small || a.exponent != b.exponent) return false;
  if (a.small != 0) return true;
  for (int i = 0; i < 4; ++i) {
    if (a.mantissa[i] != b.mantissa[i]) return false;
  }
  return a.sign == b.sign;
}

}  // namespace kiv::test

#endif
