// What the operations on `bigflt` compute with: a record taken apart, and how results are rounded and put back.
//
// Representation. A finite Extended that is not zero is (-1)^negative * mantissa * 2^(exponent - 127), with the top bit
// of the mantissa set and an exponent of -32767 to 32767. Zero, infinity and NaN have the exponents below.
// Invariant. What load() gives has this form, whatever the record held; what finish() gives has it too.
#ifndef KIV_NUMBERS_BIGFLT_VALUE_H
#define KIV_NUMBERS_BIGFLT_VALUE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_bigflt.h"
#include "numbers/uint128.h"

namespace kiv::bigflt_engine {

inline constexpr int32_t kZeroExponent = INT32_MIN;
inline constexpr int32_t kSpecialExponent = INT32_MAX;  // infinity, whose mantissa is 0, and NaN
inline constexpr int32_t kMaxExponent = 32767;
inline constexpr int32_t kMinExponent = -32767;
inline constexpr UInt128 kTopBit = make_uint128(uint64_t{1} << 63, 0);
inline constexpr UInt128 kAllOnes = make_uint128(UINT64_MAX, UINT64_MAX);

// Half a unit of the mantissa's last place, in `below` of finish().
inline constexpr uint64_t kHalf = uint64_t{1} << 63;

static_assert(sizeof(bigflt) == 36 && offsetof(bigflt, sign) == 4 && offsetof(bigflt, exponent) == 8);
static_assert(offsetof(bigflt, mantissa_bits) == 12 && offsetof(bigflt, limb_count) == 16);
static_assert(offsetof(bigflt, mantissa) == 20);

struct Extended {
  UInt128 mantissa = 0;
  int32_t exponent = kZeroExponent;
  bool negative = false;

  constexpr bool is_zero() const { return exponent == kZeroExponent; }
  constexpr bool is_special() const { return exponent == kSpecialExponent; }
  constexpr bool is_infinity() const { return is_special() && mantissa == UInt128(0); }
  constexpr bool is_nan() const { return is_special() && mantissa != UInt128(0); }
  // Finite and not zero.
  constexpr bool is_ordinary() const { return !is_zero() && !is_special(); }
};

inline constexpr Extended kNan = {kAllOnes, kSpecialExponent, false};
constexpr Extended infinity(bool negative) { return {0, kSpecialExponent, negative}; }
constexpr Extended zero(bool negative = false) { return {0, kZeroExponent, negative}; }

constexpr Extended from_int32(int32_t value) {
  if (value == 0) return zero();
  const uint32_t magnitude = value < 0 ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
  const int shift = std::countl_zero(magnitude) & 31;  // it is not 0
  return {make_uint128(uint64_t{magnitude} << (32 + shift), 0), 31 - shift, value < 0};
}

// An integer of 128 bits with a sign.
constexpr Extended from_uint128(UInt128 magnitude, bool negative) {
  if (magnitude == UInt128(0)) return zero();
  const int shift = leading_zeros(magnitude);
  return {magnitude << shift, 127 - shift, negative};
}

inline UInt128 load_mantissa(const bigflt &record) {
  uint64_t low = 0, high = 0;
  std::memcpy(&low, record.mantissa, 8);
  std::memcpy(&high, record.mantissa + 2, 8);
  return make_uint128(high, low);
}

// What a magnitude becomes whose exponent is out of range after rounding; `below` is what was rounded.
enum class Clipped { kToZero, kToClosest, kToInfinity };

[[gnu::cold]] inline Clipped clip(int64_t exponent, UInt128 mantissa, uint64_t below) {
  if (exponent > kMaxExponent) return Clipped::kToInfinity;
  const bool above_half = exponent == kMinExponent - 1 && (mantissa != kTopBit || below != 0);
  return above_half ? Clipped::kToClosest : Clipped::kToZero;
}

// The nearest value, ties to even, to (mantissa + below / 2^64) * 2^(exponent - 127). REQUIRES: the top bit of the
// mantissa is set, and `below` is 0 only if the value is exact. Too great a magnitude gives infinity. Too small a one
// gives the value closest to zero or zero, whichever is nearer; half of the closest value gives zero.
// Always inlined, as is what leads here for ordinary operands: a function would give its result back in memory.
[[gnu::always_inline]] inline Extended finish(bool negative, int64_t exponent, UInt128 mantissa, uint64_t below) {
  // Without a branch, which would be a coin's toss: up from above half, at an odd mantissa from half on.
  mantissa += UInt128(below + (kHalf - 1 + (low64(mantissa) & 1)) < below ? 1 : 0);
  if (mantissa == UInt128(0)) [[unlikely]] {
    mantissa = kTopBit;
    ++exponent;
    below = 0;  // the number is less than what it has been rounded to
  }
  if (static_cast<uint64_t>(exponent - kMinExponent) > kMaxExponent - kMinExponent) [[unlikely]] {
    const Clipped clipped = clip(exponent, mantissa, below);
    if (clipped == Clipped::kToZero) return zero();
    if (clipped == Clipped::kToInfinity) return infinity(negative);
    return {kTopBit, kMinExponent, negative};
  }
  return {mantissa, static_cast<int32_t>(exponent), negative};
}

// The value of a record in extended form that is not in the form which results have: with leading zeros in its
// mantissa, or an exponent out of range.
[[gnu::cold]] inline Extended load_unusual(const bigflt &record) {
  const UInt128 mantissa = load_mantissa(record);
  const bool negative = record.sign != 0;
  if (record.exponent == kSpecialExponent) return mantissa == UInt128(0) ? infinity(negative) : kNan;
  if (record.exponent == kZeroExponent || mantissa == UInt128(0)) return zero(negative);
  const int shift = leading_zeros(mantissa);
  return finish(negative, int64_t{record.exponent} - shift, mantissa << shift, 0);
}

// Whether a record in extended form is one of an ordinary value, in the form which results have.
inline bool is_usual(const bigflt &record) {
  const uint32_t biased = static_cast<uint32_t>(record.exponent) + static_cast<uint32_t>(kMaxExponent);
  return biased <= 2 * static_cast<uint32_t>(kMaxExponent) && record.mantissa[3] >> 31 != 0;
}

inline Extended load_usual(const bigflt &record) { return {load_mantissa(record), record.exponent, record.sign != 0}; }

inline Extended load_extended(const bigflt &record) {
  return is_usual(record) ? load_usual(record) : load_unusual(record);
}

inline Extended load(const bigflt &record) {
  return record.small != 0 ? from_int32(record.exponent) : load_extended(record);
}

// Stores the extended form, as it is; `small` is left alone.
inline void store_raw(bigflt *record, const Extended &value) {
  record->sign = value.negative ? 1 : 0;
  record->exponent = value.exponent;
  record->mantissa_bits = 128;
  record->limb_count = 4;
  const uint64_t low = low64(value.mantissa), high = high64(value.mantissa);
  std::memcpy(record->mantissa, &low, 8);
  std::memcpy(record->mantissa + 2, &high, 8);
}

// Whether a value is an integer that the small form can hold, and which.
constexpr bool fits_small(const Extended &value, int32_t *integer) {
  // First what settles nearly all: a long mantissa. The other conditions are hard to predict.
  if (low64(value.mantissa) != 0) return false;
  if (value.is_zero()) {
    *integer = 0;
    return true;
  }
  // One comparison for 0 <= exponent <= 31.
  if (static_cast<uint32_t>(value.exponent) > 31) return false;
  const uint64_t high = high64(value.mantissa);
  const uint64_t magnitude = high >> (63 - value.exponent);
  if (magnitude << (63 - value.exponent) != high) return false;
  if (magnitude > uint64_t{INT32_MAX} + (value.negative ? 1 : 0)) return false;
  *integer = static_cast<int32_t>(value.negative ? 0 - magnitude : magnitude);
  return true;
}

inline void store_small(bigflt *record, int32_t value) { *record = {1, {}, 0, value, 128, 4, {}}; }

// Stores the canonical form: small where it holds the value. Gives whether it does.
[[gnu::always_inline]] inline bool store(bigflt *record, const Extended &value) {
  int32_t integer = 0;
  if (fits_small(value, &integer)) {
    store_small(record, integer);
    return true;
  }
  constexpr uint8_t kExtendedForm[4] = {};  // the flag, and the bytes beside it, in one store
  std::memcpy(record, kExtendedForm, sizeof kExtendedForm);
  store_raw(record, value);
  return false;
}

}  // namespace kiv::bigflt_engine

#endif
