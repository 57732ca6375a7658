// AND, OR, XOR, complement and logical negation.

#include "kiv_bigflt.h"
#include "numbers/bigflt_bitwise.h"

using namespace kiv::bigflt_engine;

void kiv_bigflt_binary_and(bigflt *r, const bigflt *a, const bigflt *b) {
  // Negative integers are left to the engine, which gives the same.
  if (a->small != 0 && b->small != 0 && a->exponent >= 0 && b->exponent >= 0) {
    return store_small(r, a->exponent & b->exponent);
  }
  store(r, bitwise<Bitwise::kAnd>(load(*a), load(*b)));
}

void kiv_bigflt_binary_and_implied(bigflt *a, const bigflt *b) { kiv_bigflt_binary_and(a, a, b); }

void kiv_bigflt_binary_or(bigflt *r, const bigflt *a, const bigflt *b) {
  if (a->small != 0 && b->small != 0) return store_small(r, a->exponent | b->exponent);
  store(r, bitwise<Bitwise::kOr>(load(*a), load(*b)));
}

void kiv_bigflt_binary_or_implied(bigflt *a, const bigflt *b) { kiv_bigflt_binary_or(a, a, b); }

// Always by the engine, also for two small operands. This is meant: exclusive or is the one operation whose common case
// is not worth a path of its own.
void kiv_bigflt_binary_xor(bigflt *r, const bigflt *a, const bigflt *b) {
  store(r, bitwise<Bitwise::kXor>(load(*a), load(*b)));
}

void kiv_bigflt_binary_xor_implied(bigflt *a, const bigflt *b) { kiv_bigflt_binary_xor(a, a, b); }

void kiv_bigflt_1s_complement(bigflt *r, const bigflt *a) {
  if (a->small != 0) return store_small(r, ~a->exponent);
  store(r, bitwise<Bitwise::kXor>(load_extended(*a), from_int32(-1)));
}

void kiv_bigflt_1s_complement_implied(bigflt *a) { kiv_bigflt_1s_complement(a, a); }

void kiv_bigflt_boolean_not(bigflt *r, const bigflt *a) {
  if (a->small != 0) return store_small(r, a->exponent == 0 ? 1 : 0);
  store_small(r, load_extended(*a).is_zero() ? 1 : 0);
}

void kiv_bigflt_boolean_not_implied(bigflt *a) { kiv_bigflt_boolean_not(a, a); }
