// Random numbers of the tests. The seed is new for every run, printed with a failure, and taken from the environment
// variable KIV_TEST_SEED to repeat one.
#ifndef KIV_TESTS_SUPPORT_RANDOM_H
#define KIV_TESTS_SUPPORT_RANDOM_H

#include <cstdint>
#include <random>

namespace kiv::test {

/// The run's seed.
uint64_t seed();

/// A generator for one test: the same numbers whatever other tests run.
inline std::mt19937_64 make_random() { return std::mt19937_64(seed()); }

/// A number from 0 to limit - 1.
inline uint32_t below(std::mt19937_64 &random, uint32_t limit) { return static_cast<uint32_t>(random() % limit); }

}  // namespace kiv::test

#endif
