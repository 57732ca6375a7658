// Multiplication by powers of ten.

#include "kiv_bigflt.h"
#include "numbers/bigflt_decimal_exact.h"

namespace kiv::bigflt_engine {
namespace {

/// The sign of a * 10^n - boundary, of which the expansions take 28 KiB of stack. Called for one product in 2^55. No
/// quotient is a tie, but those that are 2^-32768; the ties among the products have powers that are exact.
[[gnu::noinline]] int compare_product(const Extended &a, int32_t n, const Binary &boundary) {
  ExactDigits left(binary_of(a)), right(boundary);
  left.expand_all();
  right.expand_all();
  return compare_digits(left.view(), n, right.view());
}

Extended multiply_by_power(const Extended &a, int32_t n) {
  if (!a.is_ordinary() || n == 0) return a;
  // Beyond, the result is out of range for every a.
  if (n > kMaxPowerOfTen) return infinity(a.negative);
  if (n < -kMaxPowerOfTen) return zero();
  return settle(times_power_of_ten(binary_of(a), 0, n), a.negative,
                [&](const Binary &boundary) { return compare_product(a, n, boundary); });
}

}  // namespace
}  // namespace kiv::bigflt_engine

void kiv_bigflt_pow10(bigflt *r, const bigflt *a, int32_t n) {
  using namespace kiv::bigflt_engine;
  store(r, multiply_by_power(load(*a), n));
}

void kiv_bigflt_pow10_implied(bigflt *a, int32_t n) { kiv_bigflt_pow10(a, a, n); }
