// The kinds of numbers that stand beside bigflt in its benchmark, under one interface: make() and exact() convert
// without rounding where the kind has the bits, the operations are what is timed.
//
// MPFR has 128 bits, and 127, for which it has shorter ways. Boost's cpp_bin_float has 128; __float128 has 113 only.
#ifndef KIV_BENCH_BIGFLT_CONTESTANTS_H
#define KIV_BENCH_BIGFLT_CONTESTANTS_H

#include <mpfr.h>

#include <boost/multiprecision/cpp_bin_float.hpp>
#include <cmath>
#include <cstdint>

#include "kiv_bigflt.h"

namespace kiv::bench {

/// A number to be made: mantissa / 2^127 * 2^exponent, the limbs with the least significant first.
struct Number {
  bool negative;
  int exponent;
  uint32_t limbs[4];
};

/// An MPFR number that is not timed, with more bits than any product has.
class Exact {
 public:
  Exact() {
    mpfr_init2(value_, 400);
    mpfr_set_zero(value_, 1);
  }
  ~Exact() { mpfr_clear(value_); }
  Exact(const Exact &) = delete;
  Exact &operator=(const Exact &) = delete;
  operator mpfr_ptr() { return value_; }           // NOLINT(google-explicit-constructor)
  operator mpfr_srcptr() const { return value_; }  // NOLINT(google-explicit-constructor)

 private:
  mpfr_t value_;
};

struct Ours {
  static constexpr const char *kName = "ours";
  static constexpr int kBits = 128;
  using Value = bigflt;
  static void make(Value *r, const Number &from) {
    *r = {0, {}, from.negative ? 1U : 0U, from.exponent, 128, 4, {}};
    for (int i = 0; i < 4; ++i) r->mantissa[i] = from.limbs[i];
    kiv_bigflt_round_to_mantissa_size_implied(r, 128);  // small where it is an integer
  }
  static void exact(mpfr_ptr r, const Value &from) {
    if (from.small != 0) {
      mpfr_set_si(r, from.exponent, MPFR_RNDN);
      return;
    }
    mpfr_set_zero(r, 1);
    for (const uint32_t limb : from.mantissa) {
      mpfr_add_ui(r, r, limb, MPFR_RNDN);
      mpfr_div_2ui(r, r, 32, MPFR_RNDN);
    }
    mpfr_mul_2si(r, r, from.exponent + 1, MPFR_RNDN);
    if (from.sign != 0) mpfr_neg(r, r, MPFR_RNDN);
  }
  static void add(Value *r, const Value &a, const Value &b) { kiv_bigflt_add(r, &a, &b); }
  static void multiply(Value *r, const Value &a, const Value &b) { kiv_bigflt_multiply(r, &a, &b); }
  static void divide(Value *r, const Value &a, const Value &b) { kiv_bigflt_divide(r, &a, &b); }
};

template <int bits>
struct Mpfr {
  static constexpr const char *kName = bits == 128 ? "MPFR 128" : "MPFR 127";
  static constexpr int kBits = bits;
  struct Value {
    Value() { mpfr_init2(number, bits); }
    ~Value() { mpfr_clear(number); }
    Value(const Value &) = delete;
    Value &operator=(const Value &) = delete;
    mpfr_t number;
  };
  static void make(Value *r, const Number &from) {
    bigflt record;
    Ours::make(&record, from);
    Ours::exact(r->number, record);
  }
  static void exact(mpfr_ptr r, const Value &from) { mpfr_set(r, from.number, MPFR_RNDN); }
  static void add(Value *r, const Value &a, const Value &b) { mpfr_add(r->number, a.number, b.number, MPFR_RNDN); }
  static void multiply(Value *r, const Value &a, const Value &b) { mpfr_mul(r->number, a.number, b.number, MPFR_RNDN); }
  static void divide(Value *r, const Value &a, const Value &b) { mpfr_div(r->number, a.number, b.number, MPFR_RNDN); }
};

/// Kinds with operators of C++ and conversions from and to double.
template <class Type>
struct Operators {
  using Value = Type;
  static void make(Value *r, const Number &from) {
    Value value = 0;
    for (int i = 0; i < 4; ++i) value = (value + from.limbs[i]) * std::ldexp(1.0, -32);
    value = value * std::ldexp(from.negative ? -1.0 : 1.0, from.exponent + 1);
    *r = value;
  }
  static void exact(mpfr_ptr r, Value from) {
    mpfr_set_zero(r, 1);
    for (int i = 0; i < 4; ++i) {
      const auto part = static_cast<double>(from);
      mpfr_add_d(r, r, part, MPFR_RNDN);
      from = from - part;
    }
  }
  static void add(Value *r, const Value &a, const Value &b) { *r = a + b; }
  static void multiply(Value *r, const Value &a, const Value &b) { *r = a * b; }
  static void divide(Value *r, const Value &a, const Value &b) { *r = a / b; }
};

using BoostFloat = boost::multiprecision::number<
    boost::multiprecision::cpp_bin_float<128, boost::multiprecision::digit_base_2, void, int32_t, -32767, 32767>,
    boost::multiprecision::et_off>;
struct Boost : Operators<BoostFloat> {
  static constexpr const char *kName = "cpp_bin_float";
  static constexpr int kBits = 128;
};

__extension__ using QuadFloat = __float128;
struct Quad : Operators<QuadFloat> {
  static constexpr const char *kName = "__float128";
  static constexpr int kBits = 113;
};

}  // namespace kiv::bench

#endif
