// Comparisons.

#include "kiv_bigflt.h"
#include "numbers/bigflt_order.h"

using namespace kiv::bigflt_engine;

namespace {

// How two values stand to each other, as a set of one.
enum : unsigned { kLess = 1, kEqual = 2, kGreater = 4, kUnordered = 8 };

unsigned relation(const Extended &a, const Extended &b) {
  if (a.is_nan() || b.is_nan()) return kUnordered;
  const int sign = order(a, b);
  return sign < 0 ? kLess : sign == 0 ? kEqual : kGreater;
}

// Stores whether the relation of a and b is among kAccepted.
template <unsigned kAccepted>
inline void compare(bigflt *r, const bigflt *a, const bigflt *b) {
  bool holds = false;
  if (a->small != 0 && b->small != 0) {
    const int32_t x = a->exponent, y = b->exponent;
    // One comparison, when the compiler is done.
    holds = ((kAccepted & kLess) != 0 && x < y) || ((kAccepted & kEqual) != 0 && x == y) ||
            ((kAccepted & kGreater) != 0 && x > y);
  } else {
    holds = (kAccepted & relation(load(*a), load(*b))) != 0;
  }
  store_small(r, holds ? 1 : 0);
}

constexpr unsigned kLargerThan = kGreater;
constexpr unsigned kLargerThanOrEqual = kGreater | kEqual;
constexpr unsigned kLessThan = kLess;
constexpr unsigned kLessThanOrEqual = kLess | kEqual;
constexpr unsigned kNotEqual = kLess | kGreater | kUnordered;

}  // namespace

void kiv_bigflt_larger_than_explicit(bigflt *r, const bigflt *a, const bigflt *b) { compare<kLargerThan>(r, a, b); }

void kiv_bigflt_larger_than_implied(bigflt *a, const bigflt *b) { compare<kLargerThan>(a, a, b); }

void kiv_bigflt_larger_than_or_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b) {
  compare<kLargerThanOrEqual>(r, a, b);
}

void kiv_bigflt_larger_than_or_equal_implied(bigflt *a, const bigflt *b) { compare<kLargerThanOrEqual>(a, a, b); }

void kiv_bigflt_less_than_explicit(bigflt *r, const bigflt *a, const bigflt *b) { compare<kLessThan>(r, a, b); }

void kiv_bigflt_less_than_implied(bigflt *a, const bigflt *b) { compare<kLessThan>(a, a, b); }

void kiv_bigflt_less_than_or_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b) {
  compare<kLessThanOrEqual>(r, a, b);
}

void kiv_bigflt_less_than_or_equal_implied(bigflt *a, const bigflt *b) { compare<kLessThanOrEqual>(a, a, b); }

void kiv_bigflt_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b) { compare<kEqual>(r, a, b); }

void kiv_bigflt_equal_implied(bigflt *a, const bigflt *b) { compare<kEqual>(a, a, b); }

void kiv_bigflt_not_equal_explicit(bigflt *r, const bigflt *a, const bigflt *b) { compare<kNotEqual>(r, a, b); }

void kiv_bigflt_not_equal_implied(bigflt *a, const bigflt *b) { compare<kNotEqual>(a, a, b); }

int kiv_bigflt_compare2integer(const bigflt *a, const bigflt *b) {
  if (a->small != 0 && b->small != 0) return (a->exponent > b->exponent) - (a->exponent < b->exponent);
  const Extended x = load(*a), y = load(*b);
  // Sorting needs a place for NaN: behind everything else.
  if (x.is_nan() || y.is_nan()) return (x.is_nan() ? 1 : 0) - (y.is_nan() ? 1 : 0);
  return order(x, y);
}
