// Powers of ten as floating-point numbers of 192 bits, with a bound of their error.
#ifndef KIV_NUMBERS_POWERS_OF_TEN_H
#define KIV_NUMBERS_POWERS_OF_TEN_H

#include <cstdint>

#include "numbers/big_natural.h"

namespace kiv {

/// 10^n is (mantissa + d) * 2^(exponent - 191) with |d| <= error; the mantissa's top bit is set.
struct PowerOfTen {
  Words<3> mantissa;
  int32_t exponent;
  uint32_t error;
};

/// The greatest n with a power: the product of the greatest and the inverse of the least bigflt is below 10^19730.
inline constexpr int32_t kMaxPowerOfTen = 19880;

/// 10^n; exact for 0 <= n <= 82. REQUIRES: |n| <= kMaxPowerOfTen. Cost: one multiplication of 192 by 64 bits; beyond
/// 10^(+-9940) three.
PowerOfTen power_of_ten(int32_t n);

/// 10^0 to 10^19.
inline constexpr auto kSmallPowersOfTen = [] {
  std::array<uint64_t, 20> powers{};
  uint64_t power = 1;
  for (uint64_t &entry : powers) {
    entry = power;
    power *= 10;
  }
  return powers;
}();

}  // namespace kiv

#endif
