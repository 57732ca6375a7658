#include "numbers/bigflt_decimal_exact.h"

#include <algorithm>

namespace kiv::bigflt_engine {
namespace {

/// The chunk of a position, rounded down.
constexpr int64_t chunk_of(int64_t position) {
  return position >= 0 ? position / kChunkDigits : -((kChunkDigits - 1 - position) / kChunkDigits);
}

/// The number of digits, 0 for 0.
int digits_of(uint64_t chunk) {
  int digits = 0;
  while (digits < kChunkDigits && chunk >= kSmallPowersOfTen[static_cast<size_t>(digits)]) ++digits;
  return digits;
}

/// Gives the digits of chunks one by one, from the first that is not zero on; zeros without end behind the last.
class DigitReader {
 public:
  explicit DigitReader(const ChunkView &view) : view_(view) {
    while (index_ < view_.count && view_.chunks[index_] == 0) ++index_;
    if (index_ < view_.count) digit_ = digits_of(view_.chunks[index_]) - 1;
  }
  /// The power of ten of the next digit.
  int64_t position() const { return (view_.top - index_) * kChunkDigits + digit_; }
  bool done() const { return index_ >= view_.count; }
  int next() {
    if (done()) return 0;
    const uint64_t chunk = view_.chunks[index_];
    const auto result = static_cast<int>(chunk / kSmallPowersOfTen[static_cast<size_t>(digit_)] % 10);
    if (--digit_ < 0) {
      ++index_;
      digit_ = kChunkDigits - 1;
    }
    return result;
  }

 private:
  ChunkView view_;
  int32_t index_ = 0;
  int digit_ = 0;
};

}  // namespace

ExactDigits::ExactDigits(const Binary &value) {
  if (value.exponent >= 0) {
    expand_integer(value);
    return;
  }
  const int bits = -value.exponent;  // of the fraction
  if (bits < 192) expand_integer({shift_right(value.number, bits), 0});
  // The point goes to the end of a word.
  point_ = (bits + 63) / 64;
  const int shift = point_ * 64 - bits;
  const Words<4> aligned = shift_left(Words<4>{value.number[0], value.number[1], value.number[2], 0}, shift);
  high_ = std::min(point_, 4);
  std::copy_n(aligned.begin(), high_, words_);
  while (high_ > 0 && words_[high_ - 1] == 0) --high_;
  while (low_ < high_ && words_[low_] == 0) ++low_;
}

void ExactDigits::expand_integer(const Binary &value) {
  const int bits = 192 - leading_zeros(value.number) + value.exponent;
  if (bits <= 0 || leading_zeros(value.number) == 192) return;
  auto count = static_cast<size_t>(bits + 63) / 64;
  const auto first = static_cast<size_t>(value.exponent) / 64;
  std::fill_n(words_, first, 0);
  const Words<4> aligned =
      shift_left(Words<4>{value.number[0], value.number[1], value.number[2], 0}, value.exponent % 64);
  std::copy_n(aligned.begin(), count - first, words_ + first);
  while (count > 0) {
    chunks_[count_++] = divide_in_place(words_, count);
    while (count > 0 && words_[count - 1] == 0) --count;
  }
  std::reverse(chunks_, chunks_ + count_);
  top_ = count_ - 1;
}

void ExactDigits::push(uint64_t chunk) {
  if (count_ == 0) {
    if (chunk == 0) return;
    top_ = next_;
  }
  chunks_[count_++] = chunk;
}

void ExactDigits::expand(int64_t position) {
  const int64_t last = chunk_of(position);
  for (; next_ >= last && low_ < high_; --next_) {
    const uint64_t carry = multiply_in_place(words_ + low_, static_cast<size_t>(high_ - low_));
    const bool whole = high_ == point_;
    if (!whole && carry != 0) words_[high_++] = carry;
    push(whole ? carry : 0);
    while (low_ < high_ && words_[low_] == 0) ++low_;
  }
}

int64_t ExactDigits::leading_position() const {
  const DigitReader reader(view());
  return reader.done() ? kNone : reader.position();
}

void ExactDigits::round(int64_t position) {
  const int64_t number = chunk_of(position);
  const ChunkView all = view();
  const uint64_t unit = kSmallPowersOfTen[static_cast<size_t>(position - number * kChunkDigits)];
  uint64_t kept = all.at(number);
  // What is dropped, beside one half: first what stands in the same chunk or, if that is nothing, in the next one.
  const bool whole_chunk = unit == 1;
  const uint64_t dropped = whole_chunk ? all.at(number - 1) : kept % unit;
  const uint64_t half = whole_chunk ? kChunkBase / 2 : unit / 2;
  bool rest = low_ < high_;
  const int64_t first_rest = std::max<int64_t>(top_ - (number - (whole_chunk ? 2 : 1)), 0);
  for (int64_t i = first_rest; i < count_ && !rest; ++i) rest = chunks_[i] != 0;
  const bool odd = kept / unit % 2 != 0;
  const bool up = dropped > half || (dropped == half && (rest || odd));
  low_ = high_ = 0;
  if (number > top_) {
    // All digits are dropped.
    count_ = up ? 1 : 0;
    top_ = number;
    chunks_[0] = unit;
    return;
  }
  const int64_t index = top_ - number;
  if (index >= count_) return;  // there is nothing to drop
  count_ = static_cast<int32_t>(index) + 1;
  chunks_[index] -= whole_chunk ? 0 : dropped;
  if (!up) return;
  uint64_t carry = unit;
  for (int64_t i = index; i >= 0 && carry != 0; --i) {
    const bool over = chunks_[i] >= kChunkBase - carry;
    chunks_[i] = over ? chunks_[i] - (kChunkBase - carry) : chunks_[i] + carry;
    carry = over ? 1 : 0;
  }
  if (carry == 0) return;
  // All digits were nines, in whole chunks. kMaxChunks has room for one more.
  std::copy_backward(chunks_, chunks_ + count_, chunks_ + count_ + 1);
  chunks_[0] = 1;
  ++count_;
  ++top_;
}

int compare_digits(const ChunkView &a, int64_t shift, const ChunkView &b) {
  DigitReader reader_a(a), reader_b(b);
  const int64_t position_a = reader_a.position() + shift, position_b = reader_b.position();
  if (position_a != position_b) return position_a < position_b ? -1 : 1;
  while (!reader_a.done() || !reader_b.done()) {
    const int difference = reader_a.next() - reader_b.next();
    if (difference != 0) return difference < 0 ? -1 : 1;
  }
  return 0;
}

}  // namespace kiv::bigflt_engine
