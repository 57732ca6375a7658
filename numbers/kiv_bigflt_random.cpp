// Pseudo-random values.

#include "kiv_bigflt.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;
using kiv::make_uint128;

namespace {

// A linear congruential generator modulo 2^64 with Knuth's multiplier. Zero stands for a state that was not seeded yet.
constexpr uint64_t kSeed = 111111;

constexpr uint64_t next(uint64_t state) { return (state == 0 ? kSeed : state) * 6364136223846793005U + 1; }

// Shared by all threads without order between them; atomic only in that no thread sees half of it.
alignas(8) uint64_t shared_state;

}  // namespace

void kiv_bigflt_random(bigflt *r) {
  uint64_t state = next(__atomic_load_n(&shared_state, __ATOMIC_RELAXED));
  const bool negative = state >> 63 != 0;
  state = next(state);
  const auto exponent = static_cast<int32_t>(state);
  Extended value = {0, exponent, negative};  // zero or infinity
  if (value.is_ordinary()) {
    if (exponent < kMinExponent || exponent > kMaxExponent) value.exponent = exponent % kMaxExponent;
    state = next(state);
    const auto limb0 = static_cast<uint32_t>(state);
    state = next(state);
    const auto limb2 = static_cast<uint32_t>(state);
    value.mantissa = make_uint128(uint64_t{1} << 63 | limb2, limb0);
  }
  __atomic_store_n(&shared_state, state, __ATOMIC_RELAXED);
  store(r, value);
}
