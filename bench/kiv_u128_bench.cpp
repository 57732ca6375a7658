// 128-bit integers beside the compiler's own, absl's and boost's, and GMP's texts.
//
// An operation is a call of a function through a pointer, and a copy of its first operand to where the result will be.
// The operands are random and fit the first cache. "128 by 64" and the like are the lengths of dividend and divisor:
// all bits below are random, so that no contestant can foresee which of its paths comes next.

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_u128.h"
#include "u128_peers.h"

using namespace kiv::bench;

namespace {

constexpr size_t kPairs = 512;
constexpr size_t kArithmeticRounds = 400;
constexpr size_t kTextRounds = 20;

struct Pair {
  KIV_U128 a, b;
  int shift;
};
using Pairs = std::vector<Pair>;

void convert(const KIV_U128 &from, KIV_U128 *to) { *to = from; }
void convert(const KIV_U128 &from, BoostValue *to) { *to = (BoostValue(from.hi) << 64) | from.lo; }
KIV_U128 record(const KIV_U128 &value) { return value; }
KIV_U128 record(const BoostValue &value) {
  return {static_cast<uint64_t>(value >> 64), static_cast<uint64_t>(value & UINT64_MAX)};
}
#ifdef __SIZEOF_INT128__
void convert(const KIV_U128 &from, NativeValue *to) { *to = NativeValue{from.hi} << 64 | from.lo; }
void convert(const KIV_U128 &from, absl::uint128 *to) { *to = absl::MakeUint128(from.hi, from.lo); }
void convert(const KIV_U128 &from, GmpValue *to) {
  mpz_init(to->number);
  const uint64_t words[] = {from.lo, from.hi};
  mpz_import(to->number, 2, -1, 8, 0, 0, words);
}
KIV_U128 record(const NativeValue &value) { return {static_cast<uint64_t>(value >> 64), static_cast<uint64_t>(value)}; }
KIV_U128 record(const absl::uint128 &value) { return {absl::Uint128High64(value), absl::Uint128Low64(value)}; }
#endif

std::string row(const std::string &operation, const std::string &size, const char *contestant) {
  return "u128/" + operation + '/' + size + '/' + contestant;
}

/// REQUIRES: 0 < bits <= 128
KIV_U128 random_value(std::mt19937_64 &random, int bits) {
  KIV_U128 value = {random(), random()};
  kiv_u128_set_bits(&value, 127, 1);
  kiv_u128_lsr(&value, 128 - bits);
  return value;
}

Pairs make_pairs(int bits_a, int bits_b) {
  std::mt19937_64 random(11);
  Pairs pairs(kPairs);
  for (Pair &pair : pairs) {
    pair = {random_value(random, bits_a), random_value(random, bits_b), static_cast<int>(random() % 128)};
  }
  return pairs;
}

/// Calls visit(calls) for each contestant that has integers, ours first.
template <class Visit>
void for_integers(Visit visit) {
  visit(kOurCalls);
#ifdef __SIZEOF_INT128__
  visit(kNativeCalls);
  visit(kAbslCalls);
#endif
  visit(kBoostCalls);
}

template <class Function, class Value>
void call(Function function, Value *a, const Value &b, int shift) {
  if constexpr (std::is_invocable_v<Function, Value *, int>) {
    function(a, shift);
  } else {
    function(a, &b);
  }
}

template <class Value>
struct Operands {
  explicit Operands(const Pairs &pairs) : a(kPairs), b(kPairs + 24), result(kPairs) {
    for (size_t i = 0; i < kPairs; ++i) {
      convert(pairs[i].a, &a[i]);
      convert(pairs[i].b, &b[i]);
      shifts.push_back(pairs[i].shift);
    }
  }
  template <class Function>
  void run(Function function) {
    // All at once: a value that has just been stored in another piece size is slow to load.
    std::copy(a.begin(), a.end(), result.begin());
    for (size_t i = 0; i < kPairs; ++i) call(function, &result[i], b[i], shifts[i]);
  }
  uint64_t digest() const {
    uint64_t sum = 0;
    for (const Value &value : result) sum = sum * 31 + record(value).hi * 7 + record(value).lo;
    return sum;
  }
  // A distance of a multiple of 4096 bytes between what is stored and what is loaded next would make a load wait.
  std::vector<Value> a, b, result;
  std::vector<int> shifts;
};

/// All contestants of an operation, which `select` takes from their calls. They have to agree with each other.
template <class Select>
void add_arithmetic(const char *operation, const std::string &size, const Pairs &pairs, Select select) {
  auto &ours = *new Operands<KIV_U128>(pairs);  // lives as long as the program
  ours.run(select(kOurCalls));
  const uint64_t expected = ours.digest();
  for_integers([&]<class Value>(const U128Calls<Value> &calls) {
    const auto function = select(calls);
    if (function == nullptr) return;
    const std::string name = row(operation, size, calls.name);
    auto &operands = *new Operands<Value>(pairs);
    operands.run(function);
    require(operands.digest() == expected, name, operation);
    add(name, 10, kArithmeticRounds * kPairs, [&operands, function, expected, name] {
      const Stopwatch watch;
      for (size_t i = 0; i < kArithmeticRounds; ++i) operands.run(function);
      const double seconds = watch.seconds();
      require(operands.digest() == expected, name, "results");
      return seconds;
    });
  });
}

/// A text of one number after the other into one buffer.
template <class Select>
void add_text(const char *operation, const std::string &size, const Pairs &pairs, Select select) {
  const auto add_one = [&]<class Value>(const U128Calls<Value> &calls) {
    const auto write = select(calls);
    const std::string name = row(operation, size, calls.name);
    auto &values = *new std::vector<Value>(kPairs);
    size_t length = 0;
    for (size_t i = 0; i < kPairs; ++i) {
      char text[64], expected[64];
      convert(pairs[i].a, &values[i]);
      write(&values[i], text);
      select(kOurCalls)(&pairs[i].a, expected);
      require(std::strcmp(text, expected) == 0, name, text);
      length += std::strlen(text);
    }
    add(name, 10, kTextRounds * kPairs, [&values, write, length, name] {
      char text[64];
      size_t sum = 0;
      const Stopwatch watch;
      for (size_t i = 0; i < kTextRounds; ++i) {
        for (const Value &value : values) {
          write(&value, text);
          sum += std::strlen(text);
        }
      }
      const double seconds = watch.seconds();
      require(sum == kTextRounds * length, name, "lengths");
      return seconds;
    });
  };
  for_integers(add_one);
#ifdef __SIZEOF_INT128__
  add_one(kGmpCalls);
#endif
}

}  // namespace

int main(int argc, char **argv) {
  const Pairs wide = make_pairs(128, 128), fitting = make_pairs(64, 64);
  add_arithmetic("add", "128", wide, [](const auto &calls) { return calls.add; });
  add_arithmetic("mul", "128", wide, [](const auto &calls) { return calls.multiply; });
  add_arithmetic("mul_ov fits", "64", fitting, [](const auto &calls) { return calls.multiply_ov; });
  add_arithmetic("mul_ov cut", "128", wide, [](const auto &calls) { return calls.multiply_ov; });
  add_arithmetic("lsl", "128", wide, [](const auto &calls) { return calls.shift_left; });
  add_arithmetic("lsr", "128", wide, [](const auto &calls) { return calls.shift_right; });
  const int lengths[][2] = {{32, 32}, {64, 64}, {64, 32}, {128, 32}, {128, 64}, {128, 96}, {128, 128}};
  for (const auto &length : lengths) {
    const std::string size = std::to_string(length[0]) + " by " + std::to_string(length[1]);
    const Pairs pairs = make_pairs(length[0], length[1]);
    add_arithmetic("div", size, pairs, [](const auto &calls) { return calls.divide; });
    if (length[1] != 32) add_arithmetic("mod", size, pairs, [](const auto &calls) { return calls.modulo; });
  }
  for (const int bits : {16, 64, 128}) {
    const Pairs pairs = make_pairs(bits, 1);
    add_text("decimal", std::to_string(bits), pairs, [](const auto &calls) { return calls.decimal; });
    add_text("hexadecimal", std::to_string(bits), pairs, [](const auto &calls) { return calls.hexadecimal; });
  }
  return run(argc, argv);
}
