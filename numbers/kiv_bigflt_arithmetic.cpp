#include "kiv_bigflt.h"
#include "numbers/bigflt_add.h"
#include "numbers/bigflt_divide.h"
#include "numbers/bigflt_multiply.h"
#include "numbers/bigflt_round.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;

namespace {

bool both_small(const bigflt *a, const bigflt *b) { return (a->small != 0) & (b->small != 0); }

// Stores an exact integer if the small form holds it.
bool store_if_small(bigflt *r, int64_t value) {
  const auto integer = static_cast<int32_t>(value);
  if (integer != value) [[unlikely]]
    return false;
  store_small(r, integer);
  return true;
}

using Apply = Extended (*)(const Extended &, const Extended &);

// Any operands but those of apply().
template <Apply operation>
[[gnu::noinline]] bool apply_slow(bigflt *r, const bigflt *a, const bigflt *b) {
  return store(r, operation(load(*a), load(*b)));
}

// Calls the engine: each operation once for all the exported functions that lead there, which stay short and quick for
// small operands. Operands are loaded before the result is stored: they may be one record. Gives whether it is small.
template <Apply operation, Apply ordinary>
[[gnu::noinline]] bool apply(bigflt *r, const bigflt *a, const bigflt *b) {
  if ((a->small | b->small) != 0 || !is_usual(*a) || !is_usual(*b)) [[unlikely]]
    return apply_slow<operation>(r, a, b);
  return store(r, ordinary(load_usual(*a), load_usual(*b)));
}

inline void add_any(bigflt *r, const bigflt *a, const bigflt *b) {
  if (both_small(a, b) && store_if_small(r, int64_t{a->exponent} + b->exponent)) return;
  apply<add, add_ordinary>(r, a, b);
}

inline void subtract_any(bigflt *r, const bigflt *a, const bigflt *b) {
  if (both_small(a, b) && store_if_small(r, int64_t{a->exponent} - b->exponent)) return;
  apply<subtract, subtract_ordinary>(r, a, b);
}

inline void multiply_any(bigflt *r, const bigflt *a, const bigflt *b) {
  if (both_small(a, b) && store_if_small(r, int64_t{a->exponent} * b->exponent)) return;
  apply<multiply, multiply_ordinary>(r, a, b);
}

inline int divide_any(bigflt *r, const bigflt *a, const bigflt *b) {
  // -2^31 / -1 does not fit, and would trap.
  if (both_small(a, b) && b->exponent != 0 && !(a->exponent == INT32_MIN && b->exponent == -1)) {
    const int32_t quotient = a->exponent / b->exponent;
    if (a->exponent - quotient * b->exponent == 0) {
      store_small(r, quotient);
      return 1;
    }
  }
  return apply<divide, divide_ordinary>(r, a, b) ? 1 : 0;
}

inline void modulo_any(bigflt *r, const bigflt *a, const bigflt *b) {
  if (both_small(a, b) && b->exponent > 0) {
    store_small(r, a->exponent % b->exponent);
    return;
  }
  apply<modulo, modulo_ordinary>(r, a, b);
}

inline void negate_any(bigflt *r, const bigflt *a) {
  if (a->small != 0 && store_if_small(r, -int64_t{a->exponent})) return;
  store(r, negated(load(*a)));
}

inline void round_any(bigflt *r, const bigflt *a, int32_t bits) { store(r, round_to_mantissa_size(load(*a), bits)); }

}  // namespace

void kiv_bigflt_add(bigflt *r, const bigflt *a, const bigflt *b) { add_any(r, a, b); }
void kiv_bigflt_add_implied(bigflt *a, const bigflt *b) { add_any(a, a, b); }

void kiv_bigflt_subtract(bigflt *r, const bigflt *a, const bigflt *b) { subtract_any(r, a, b); }
void kiv_bigflt_subtract_implied(bigflt *a, const bigflt *b) { subtract_any(a, a, b); }

void kiv_bigflt_multiply(bigflt *r, const bigflt *a, const bigflt *b) { multiply_any(r, a, b); }
void kiv_bigflt_multiply_implied(bigflt *a, const bigflt *b) { multiply_any(a, a, b); }

int kiv_bigflt_divide(bigflt *r, const bigflt *a, const bigflt *b) { return divide_any(r, a, b); }
int kiv_bigflt_divide_implied(bigflt *a, const bigflt *b) { return divide_any(a, a, b); }

void kiv_bigflt_modulo(bigflt *r, const bigflt *a, const bigflt *b) { modulo_any(r, a, b); }
void kiv_bigflt_modulo_implied(bigflt *a, const bigflt *b) { modulo_any(a, a, b); }

void kiv_bigflt_negate(bigflt *r, const bigflt *a) { negate_any(r, a); }
void kiv_bigflt_negate_implied(bigflt *a) { negate_any(a, a); }

void kiv_bigflt_abs(bigflt *r, const bigflt *a) {
  if (a->small != 0 && store_if_small(r, a->exponent < 0 ? -int64_t{a->exponent} : a->exponent)) return;
  Extended value = load(*a);
  value.negative = false;
  store(r, value);
}

void kiv_bigflt_copysign(bigflt *r, const bigflt *a, const bigflt *b) {
  Extended value = load(*a);
  // The record's own sign: the value of a NaN has none.
  value.negative = !value.is_nan() && (b->small != 0 ? b->exponent < 0 : b->sign != 0);
  store(r, value);
}

void kiv_bigflt_round_to_mantissa_size(bigflt *r, const bigflt *a, int32_t bits) { round_any(r, a, bits); }
void kiv_bigflt_round_to_mantissa_size_implied(bigflt *a, int32_t bits) { round_any(a, a, bits); }
