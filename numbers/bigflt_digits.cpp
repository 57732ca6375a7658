#include "numbers/bigflt_digits.h"

namespace kiv::bigflt_engine {

void ShortDigits::write(const Words<3> &integer) {
  // Each quotient is below 10^19 in its upper word: the integer is below 10^57, or below 2^128.
  uint64_t low = 0, middle = 0, high = integer[0];
  if ((integer[1] | integer[2]) != 0) {
    uint64_t rest = 0;
    const uint64_t top = integer[2];
    const uint64_t upper = divide_by_chunk_base(top, integer[1], &rest);
    const uint64_t lower = divide_by_chunk_base(rest, integer[0], &low);
    high = divide_by_chunk_base(upper, lower, &middle);
  } else if (high >= kChunkBase) {
    low = high - kChunkBase;
    middle = 1;
    high = 0;
  } else {
    low = high;
    high = 0;
  }
  write_chunk(text_, high);
  write_chunk(text_ + kChunkDigits, middle);
  write_chunk(text_ + 2 * kChunkDigits, low);
  start_ = high != 0 ? 0 : middle != 0 ? kChunkDigits : 2 * kChunkDigits;
  while (start_ < kTextDigits - 1 && text_[start_] == '0') ++start_;
}

void ShortDigits::assign(UInt128 integer) {
  position_ = 0;
  write(words_of(integer));
}

bool ShortDigits::round(const Extended &value, int64_t position) {
  if (position > kMaxPowerOfTen || position < -kMaxPowerOfTen) return false;
  const PowerOfTen power = power_of_ten(static_cast<int32_t>(-position));
  const Words<5> product = multiply(Words<2>{low64(value.mantissa), high64(value.mantissa)}, power.mantissa);
  // The integer part begins at bit 318 - (both exponents); the lowest 128 bits are left out.
  const int64_t shift = 318 - 128 - int64_t{value.exponent} - power.exponent;
  if (shift < 26 || shift > 191) return false;
  const Words<3> upper = {product[2], product[3], product[4]};
  Words<3> integer = shift_right(upper, static_cast<int>(shift));
  const Words<3> fraction = shift_left(upper, 192 - static_cast<int>(shift));
  bool up = fraction[2] >= kHalf;
  if (power.error == 0) {
    const bool tie = fraction[2] == kHalf && (fraction[1] | fraction[0] | product[1] | product[0]) == 0;
    if (tie) up = (integer[0] & 1) != 0;
  } else {
    // In units of `upper`, the power's error is at most 3, what has been left out at most 1.
    const uint64_t error = shift >= 66 ? 1 : (uint64_t{4} << (64 - shift)) + 1;
    if (fraction[2] - (kHalf - error) <= 2 * error) return false;
  }
  if (up && ++integer[0] == 0 && ++integer[1] == 0) ++integer[2];
  position_ = position;
  write(integer);
  return true;
}

void ShortDigits::add_to(TextSink &sink, int64_t first, uint64_t count) const {
  int64_t index = position_ + kTextDigits - 1 - first;
  if (index < 0) {
    const uint64_t zeros = std::min(count, static_cast<uint64_t>(-index));
    sink.fill('0', zeros);
    count -= zeros;
    index = 0;
  }
  const uint64_t there = index < kTextDigits ? std::min(count, static_cast<uint64_t>(kTextDigits - index)) : 0;
  if (there != 0) sink.add(text_ + index, static_cast<size_t>(there));
  if (count > there) sink.fill('0', count - there);
}

void LongDigits::add_to(TextSink &sink, int64_t first, uint64_t count) const {
  const int64_t above = (view_.top + 1) * kChunkDigits - 1 - first;
  if (above < 0) {
    const uint64_t zeros = std::min(count, static_cast<uint64_t>(-above));
    sink.fill('0', zeros);
    count -= zeros;
    first -= static_cast<int64_t>(zeros);
  }
  int64_t skipped = above < 0 ? 0 : above;
  for (int64_t i = skipped / kChunkDigits; i < view_.count && count != 0 && !sink.full(); ++i) {
    char text[kChunkDigits];
    write_chunk(text, view_.chunks[i]);
    const auto start = static_cast<size_t>(skipped - i * kChunkDigits);
    const auto length = static_cast<size_t>(std::min<uint64_t>(count, kChunkDigits - start));
    sink.add(text + start, length);
    skipped += static_cast<int64_t>(length);
    count -= length;
  }
  sink.fill('0', count);
}

}  // namespace kiv::bigflt_engine
