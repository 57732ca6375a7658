// Two tables: 10^(28 i), rounded to 192 bits, and 10^0 to 10^27, which are exact in 64. 10^n is a product of one of
// each.
//
// The compiler computes the first table with 384 bits. A step from one power to the next truncates twice; 355 steps
// from 10^0 to either end make an error below 2^-370, so that an entry is off by less than 0.51 units of its last bit.
// The product of it and an exact factor is truncated: at most 1.51 units, doubled where the product must be shifted.

#include "numbers/powers_of_ten.h"

namespace kiv {
namespace {

constexpr int kStep = 28;
constexpr int kEntries = 355;  // on either side of 10^0
constexpr int32_t kMaxDirect = kStep * kEntries;

/// fraction * 2^(exponent - 383), with the top bit of the fraction set.
struct Precise {
  Words<6> fraction;
  int32_t exponent;

  constexpr void multiply_by(uint64_t factor) {
    const Words<7> product = multiply(fraction, Words<1>{factor});
    const int shift = leading_zeros(product);
    const Words<7> normal = shift_left(product, shift);
    for (size_t i = 0; i < 6; ++i) fraction[i] = normal[i + 1];
    exponent += 64 - shift;
  }

  constexpr void divide_by(uint64_t divisor) {
    Words<7> quotient{};
    UInt128 rest = 0;
    for (size_t i = 7; i-- > 0;) {
      const UInt128 dividend = make_uint128(low64(rest), i > 0 ? fraction[i - 1] : 0);
      quotient[i] = low64(dividend / UInt128(divisor));
      rest = dividend % UInt128(divisor);
    }
    const int shift = leading_zeros(quotient);
    const Words<7> normal = shift_left(quotient, shift);
    for (size_t i = 0; i < 6; ++i) fraction[i] = normal[i + 1];
    exponent -= shift;
  }

  constexpr Words<3> rounded() const {
    Words<3> upper = {fraction[3], fraction[4], fraction[5]};
    // No entry has 192 ones at its top, where the carry would run out.
    if (fraction[2] >> 63 != 0 && ++upper[0] == 0 && ++upper[1] == 0) ++upper[2];
    return upper;
  }
};

/// floor(n * log2(10)): 14267572527 / 2^32 is log2(10), truncated. Compared below with the exponents that the powers
/// turn out to have.
constexpr int32_t exponent_of(int32_t n) { return static_cast<int32_t>(n * INT64_C(14267572527) >> 32); }

struct CoarseTable {
  std::array<Words<3>, 2 * kEntries + 1> mantissas;
  bool exponents_right;
};

constexpr CoarseTable make_coarse_table() {
  CoarseTable table{{}, true};
  Precise up = {{0, 0, 0, 0, 0, uint64_t{1} << 63}, 0}, down = up;
  for (int i = 0; i <= kEntries; ++i) {
    table.mantissas[static_cast<size_t>(kEntries + i)] = up.rounded();
    table.mantissas[static_cast<size_t>(kEntries - i)] = down.rounded();
    table.exponents_right = table.exponents_right && up.exponent == exponent_of(kStep * i) &&
                            down.exponent == exponent_of(-kStep * i) && up.rounded()[2] >> 63 == 1 &&
                            down.rounded()[2] >> 63 == 1;
    up.multiply_by(kSmallPowersOfTen[19]);
    up.multiply_by(kSmallPowersOfTen[9]);
    down.divide_by(kSmallPowersOfTen[19]);
    down.divide_by(kSmallPowersOfTen[9]);
  }
  return table;
}

constexpr CoarseTable kCoarse = make_coarse_table();
static_assert(kCoarse.exponents_right);

struct FinePower {
  uint64_t mantissa;  // with its top bit set
  int32_t exponent;
};

/// 5^n, normalised: 5^27 has 63 bits.
constexpr auto kFine = [] {
  std::array<FinePower, kStep> table{};
  uint64_t power = 1;
  for (int n = 0; n < kStep; ++n, power *= 5) {
    const int shift = std::countl_zero(power);
    table[static_cast<size_t>(n)] = {power << shift, 63 - shift + n};
  }
  return table;
}();

/// The upper 192 bits of a product whose factors have their top bits set.
template <size_t N>
PowerOfTen upper_part(const Words<N> &product, int32_t exponent, uint32_t error) {
  PowerOfTen result = {{product[N - 3], product[N - 2], product[N - 1]}, exponent + 1, error};
  if (product[N - 1] >> 63 != 0) return result;
  const uint64_t next = product[N - 4];
  result.mantissa = {product[N - 3] << 1 | next >> 63, product[N - 2] << 1 | product[N - 3] >> 63,
                     product[N - 1] << 1 | product[N - 2] >> 63};
  result.exponent = exponent;
  return result;
}

PowerOfTen direct_power(int32_t n) {
  // Division of a number that is not negative.
  const uint32_t from_least = static_cast<uint32_t>(n + kMaxDirect);
  const uint32_t entry = from_least / kStep;
  const FinePower &fine = kFine[from_least % kStep];
  const int32_t coarse_exponent = exponent_of(static_cast<int32_t>(entry) * kStep - kMaxDirect);
  // 5^82 has 191 bits; the product's lowest 64 are zero then.
  const uint32_t error = n >= 0 && n <= 82 ? 0 : 3;
  return upper_part(multiply(kCoarse.mantissas[entry], Words<1>{fine.mantissa}), coarse_exponent + fine.exponent,
                    error);
}

}  // namespace

PowerOfTen power_of_ten(int32_t n) {
  if (n >= -kMaxDirect && n <= kMaxDirect) [[likely]]
    return direct_power(n);
  const PowerOfTen a = direct_power(n < 0 ? -kMaxDirect : kMaxDirect);
  const PowerOfTen b = direct_power(n < 0 ? n + kMaxDirect : n - kMaxDirect);
  // Two errors of at most 3 units and a truncation, doubled where the product is shifted.
  return upper_part(multiply(a.mantissa, b.mantissa), a.exponent + b.exponent, 16);
}

}  // namespace kiv
