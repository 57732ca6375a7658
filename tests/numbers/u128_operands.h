// Operands of the tests of 128-bit integers: where halves, digits, signs and powers of two meet, and random ones.
#ifndef KIV_TESTS_NUMBERS_U128_OPERANDS_H
#define KIV_TESTS_NUMBERS_U128_OPERANDS_H

#include <algorithm>
#include <ostream>
#include <vector>

#include "kiv_u128.h"
#include "tests/numbers/random_bigflt.h"

inline bool operator==(const KIV_U128 &a, const KIV_U128 &b) { return a.hi == b.hi && a.lo == b.lo; }
inline std::ostream &operator<<(std::ostream &out, const KIV_U128 &a) {
  return out << std::hex << a.hi << "'" << a.lo << std::dec;
}

namespace kiv::test {

inline std::vector<KIV_U128> boundaries() {
  std::vector<KIV_U128> values = {{0, 2}, {0, 7}, {0, 10}, {0, uint64_t{1} << 32}};
  constexpr uint64_t kTop = uint64_t{1} << 63;
  for (const uint64_t high : {uint64_t{0}, uint64_t{1}, kTop - 1, kTop, UINT64_MAX}) {
    for (const uint64_t low : {uint64_t{0}, uint64_t{1}, uint64_t{UINT32_MAX}, kTop, UINT64_MAX}) {
      values.push_back({high, low});
    }
  }
  return values;
}

/// Of every length, half of them with long runs of equal bits.
inline KIV_U128 random_u128(std::mt19937_64 &random) {
  KIV_U128 value = {random(), random()};
  if (below(random, 2) != 0) value = {random_word(random), random_word(random)};
  const uint32_t shift = below(random, 64);
  const KIV_U128 forms[] = {value, {value.hi >> shift, value.lo}, {0, value.lo}, {0, value.lo >> shift}};
  return forms[below(random, 4)];
}

/// How many products or quotients are made bit by bit: not the millions of an extended run.
inline uint64_t slow_cases(uint64_t usual) { return std::min<uint64_t>(cases(usual), 20000); }

/// Calls check(a, b) for all pairs of boundaries and for random ones, until one has failed.
template <class Check>
void for_pairs(uint64_t random_pairs, Check check) {
  const std::vector<KIV_U128> values = boundaries();
  const auto failed = [&](const KIV_U128 &a, const KIV_U128 &b) {
    check(a, b);
    if (testing::Test::HasFailure()) ADD_FAILURE() << "with " << a << " and " << b << ", seed " << seed();
    return testing::Test::HasFailure();
  };
  for (const KIV_U128 &a : values) {
    for (const KIV_U128 &b : values) {
      if (failed(a, b)) return;
    }
  }
  std::mt19937_64 random = make_random();
  for (uint64_t i = 0; i < random_pairs; ++i) {
    const KIV_U128 a = random_u128(random);
    if (failed(a, random_u128(random))) return;
  }
}

}  // namespace kiv::test

#endif
