#include "numbers/bigflt_decimal_text.h"

namespace kiv::bigflt_engine {

/// The first 57 digits as a number, or all when there are less; *exponent is that of its last digit.
Binary DecimalText::leading_digits(int64_t *exponent, bool *exact) const {
  *exponent = exponent_;
  *exact = count_ < 3 || (count_ == 3 && last_.count == 0);
  if (*exact) {
    // The chunks, and what has been begun behind them.
    Words<3> number = {last_.digits, 0, 0};
    if (count_ == 0) return {number, 0};
    const UInt128 whole = count_ == 1 ? UInt128(chunks_[0]) : multiply_add(chunks_[0], kChunkBase, chunks_[1], 0);
    const uint64_t unit = count_ == 3 ? kChunkBase : kSmallPowersOfTen[static_cast<size_t>(last_.count)];
    const UInt128 low = multiply_add(low64(whole), unit, count_ == 3 ? chunks_[2] : last_.digits, 0);
    const UInt128 high = multiply_add(high64(whole), unit, high64(low), 0);
    return {{low64(low), low64(high), high64(high)}, 0};
  }
  *exponent += int64_t{count_ - 3} * kChunkDigits + last_.count;
  const UInt128 whole = multiply_add(chunks_[0], kChunkBase, chunks_[1], 0);
  const UInt128 low = multiply_add(low64(whole), kChunkBase, chunks_[2], 0);
  const UInt128 high = multiply_add(high64(whole), kChunkBase, high64(low), 0);
  return {{low64(low), low64(high), high64(high)}, 0};
}

/// The sign of the number less the boundary. The expansion takes 14 KiB of stack. It is called for one text in 2^55,
/// and for exact ties.
[[gnu::noinline]] int DecimalText::compare(const Binary &boundary) const {
  ExactDigits exact(boundary);
  exact.expand_all();
  const int order = compare_digits({chunks_, count_, 0}, exponent_ + int64_t{count_ - 1} * kChunkDigits, exact.view());
  return order == 0 && more_ ? 1 : order;
}

Extended DecimalText::value(bool negative) {
  if (is_zero()) return zero();
  // Out of range for any digits: 10^9865 and more, less than 10^-9865.
  const int64_t first = exponent_ + int64_t{count_} * kChunkDigits + last_.count;
  if (first > 9866) return infinity(negative);
  if (first < -9866) return zero();
  int64_t exponent = 0;
  bool exact = false;
  const Binary number = leading_digits(&exponent, &exact);
  const Estimate estimate = times_power_of_ten(number, exact ? 0 : 1, static_cast<int32_t>(exponent));
  return settle(estimate, negative, [&](const Binary &boundary) {
    // The last chunk is filled up with zeros; what the chunks do not hold is dropped.
    if (last_.count != 0) {
      const int missing = kChunkDigits - last_.count;
      exponent_ -= missing;
      push(last_.digits * kSmallPowersOfTen[static_cast<size_t>(missing)]);
      last_ = {};
    }
    return compare(boundary);
  });
}

}  // namespace kiv::bigflt_engine
