// The operations of two operands, by name, with both forms under one signature.
#ifndef KIV_TESTS_NUMBERS_BIGFLT_OPERATIONS_H
#define KIV_TESTS_NUMBERS_BIGFLT_OPERATIONS_H

#include <random>

#include "kiv_bigflt.h"
#include "tests/numbers/random_bigflt.h"

namespace kiv::test {

struct Operation {
  const char *name;
  void (*plain)(bigflt *r, const bigflt *a, const bigflt *b);
  void (*implied)(bigflt *a, const bigflt *b);
};

inline const Operation kOperations[] = {
    {"add", kiv_bigflt_add, kiv_bigflt_add_implied},
    {"subtract", kiv_bigflt_subtract, kiv_bigflt_subtract_implied},
    {"multiply", kiv_bigflt_multiply, kiv_bigflt_multiply_implied},
    {"divide", [](bigflt *r, const bigflt *a, const bigflt *b) { (void)kiv_bigflt_divide(r, a, b); },
     [](bigflt *a, const bigflt *b) { (void)kiv_bigflt_divide_implied(a, b); }},
    {"modulo", kiv_bigflt_modulo, kiv_bigflt_modulo_implied},
};

/// Operands whose product or quotient lies in range more often than not.
inline bigflt random_operand(std::mt19937_64 &random, const bigflt &a) {
  bigflt b = random_partner(random, a);
  if (a.small == 0 && b.small == 0 && a.exponent > INT32_MIN && a.exponent < INT32_MAX && below(random, 4) == 0) {
    // At the ends of the range of a product.
    const int32_t end = below(random, 2) != 0 ? 32767 : -32768;
    const int32_t exponent = end - a.exponent + static_cast<int32_t>(below(random, 4)) - 2;
    if (exponent >= -32767 && exponent <= 32767 && b.exponent > INT32_MIN && b.exponent < INT32_MAX)
      b.exponent = exponent;
  }
  return b;
}

}  // namespace kiv::test

#endif
