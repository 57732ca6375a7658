// Arithmetic of bigflt beside MPFR, Boost's cpp_bin_float and __float128, on operands of random mantissas, signs and
// exponents (-20 to 20), and on integers of up to 15 bits. Ours is called through the shared library, as MPFR is.

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "bigflt_contestants.h"

using kiv::bench::Exact;
using kiv::bench::Number;
using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kPairs = 256;
constexpr size_t kRounds = 400;

std::vector<Number> make_numbers(uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Number> numbers(kPairs);
  for (Number &number : numbers) {
    number = {random() % 2 != 0, static_cast<int>(random() % 41) - 20, {}};
    for (uint32_t &limb : number.limbs) limb = static_cast<uint32_t>(random());
    number.limbs[3] |= 1U << 31;
  }
  return numbers;
}

std::vector<Number> make_integers(uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Number> numbers(kPairs);
  for (Number &number : numbers) {
    auto magnitude = static_cast<uint32_t>(1 + random() % 32767);
    number = {random() % 2 != 0, 31, {}};
    for (; magnitude >> 31 == 0; magnitude <<= 1) --number.exponent;
    number.limbs[3] = magnitude;
  }
  return numbers;
}

using ExactOperation = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

/// Whether a result is right within the bits of its kind; in a sum the greater operand sets the measure.
template <class Contestant, class Value>
bool right(const Value &result, const Value &a, const Value &b, ExactOperation operation) {
  Exact x, y, expected, found, error;
  Contestant::exact(x, a);
  Contestant::exact(y, b);
  Contestant::exact(found, result);
  operation(expected, x, y, MPFR_RNDN);
  mpfr_sub(error, found, expected, MPFR_RNDN);
  if (mpfr_zero_p(error) != 0) return true;
  const mpfr_exp_t place =
      operation == mpfr_add ? std::max(mpfr_get_exp(x), mpfr_get_exp(y)) + 1 : mpfr_get_exp(expected);
  return mpfr_get_exp(error) <= place - Contestant::kBits;
}

template <class Contestant, class Operation>
void add(const char *operation, const std::vector<Number> &left, const std::vector<Number> &right_operands,
         ExactOperation exact, Operation apply) {
  using Value = typename Contestant::Value;
  const std::string name = kiv::bench::name("bigflt", operation, 128, Contestant::kName);
  kiv::bench::add(name, 10, kPairs * kRounds, [=] {
    const std::unique_ptr<Value[]> a(new Value[kPairs]), b(new Value[kPairs]), r(new Value[kPairs]);
    for (size_t i = 0; i < kPairs; ++i) {
      Contestant::make(&a[i], left[i]);
      Contestant::make(&b[i], right_operands[i]);
    }
    const Stopwatch watch;
    for (size_t round = 0; round < kRounds; ++round) {
      for (size_t i = 0; i < kPairs; ++i) apply(Contestant{}, &r[i], a[i], b[i]);
      benchmark::ClobberMemory();
    }
    const double seconds = watch.seconds();
    for (size_t i = 0; i < kPairs; ++i) require(right<Contestant>(r[i], a[i], b[i], exact), name, operation);
    return seconds;
  });
}

template <class Operation>
void add_all(const char *operation, const std::vector<Number> &a, const std::vector<Number> &b, ExactOperation exact,
             Operation apply) {
  add<kiv::bench::Ours>(operation, a, b, exact, apply);
  add<kiv::bench::Mpfr<128>>(operation, a, b, exact, apply);
  add<kiv::bench::Mpfr<127>>(operation, a, b, exact, apply);
  add<kiv::bench::Boost>(operation, a, b, exact, apply);
  add<kiv::bench::Quad>(operation, a, b, exact, apply);
}

}  // namespace

int main(int argc, char **argv) {
  const auto sum = [](auto by, auto *r, const auto &a, const auto &b) { by.add(r, a, b); };
  const auto product = [](auto by, auto *r, const auto &a, const auto &b) { by.multiply(r, a, b); };
  const auto quotient = [](auto by, auto *r, const auto &a, const auto &b) { by.divide(r, a, b); };
  const std::vector<Number> a = make_numbers(1), b = make_numbers(2);
  add_all("add", a, b, mpfr_add, sum);
  add_all("multiply", a, b, mpfr_mul, product);
  add_all("divide", a, b, mpfr_div, quotient);
  const std::vector<Number> i = make_integers(3), j = make_integers(4);
  add_all("small add", i, j, mpfr_add, sum);
  add_all("small multiply", i, j, mpfr_mul, product);
  return kiv::bench::run(argc, argv);
}
