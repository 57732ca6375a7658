// The exact decimal expansion of a binary number: for digits that an estimate leaves open, and for long texts.
//
// Representation. The digits stand in chunks of 19, each a number below 10^19, the most significant first; chunk c
// holds those of weight 10^(19 c) to 10^(19 c + 18). Chunks of the fraction are made when they are asked for; what has
// not been expanded yet is a binary fraction of which words_[low_, high_) are not zero. Limits. An integer below
// 2^32768 has 520 chunks. Of a fraction, 129 bits down to 2^-32895 have 23,032 digits from the first that is not zero
// on, which 1,214 chunks hold; leading zeros take none. Cost. An integer of n words takes n^2 / 2 divisions by 10^19, a
// fraction as many multiplications by it.
#ifndef KIV_NUMBERS_BIGFLT_DECIMAL_EXACT_H
#define KIV_NUMBERS_BIGFLT_DECIMAL_EXACT_H

#include "numbers/bigflt_decimal.h"

namespace kiv::bigflt_engine {

/// Digits in chunks: chunk i, from 0 to count - 1, has the number top - i.
struct ChunkView {
  const uint64_t *chunks;
  int32_t count;
  int64_t top;

  /// The chunk of this number; those that are not there are zero.
  uint64_t at(int64_t number) const {
    const int64_t index = top - number;
    return index < 0 || index >= count ? 0 : chunks[index];
  }
};

class ExactDigits {
 public:
  static constexpr int64_t kNone = INT64_MIN;

  /// REQUIRES: the number is not zero, below 2^32768, and a multiple of 2^-32895. Expands its integer part.
  explicit ExactDigits(const Binary &value);
  ExactDigits(const ExactDigits &) = delete;
  ExactDigits &operator=(const ExactDigits &) = delete;

  /// Expands the digits down to the weight 10^position, or to the last one.
  void expand(int64_t position);
  void expand_all() { expand(INT32_MIN); }

  /// Rounds to a multiple of 10^position, to nearest, ties to even; nothing more can be expanded then.
  /// REQUIRES: expand(position - 1).
  void round(int64_t position);

  /// The power of ten of the first digit that is not zero, kNone if none is expanded.
  int64_t leading_position() const;

  ChunkView view() const { return {chunks_, count_, top_}; }

 private:
  void expand_integer(const Binary &value);
  void push(uint64_t chunk);

  static constexpr int kMaxWords = 515;
  static constexpr int kMaxChunks = 1218;

  uint64_t words_[kMaxWords];
  int point_ = 0;  // the fraction is words_[0, point_) / 2^(64 point_)
  int low_ = 0, high_ = 0;
  int64_t next_ = -1;  // the number of the next chunk
  int64_t top_ = 0;
  int32_t count_ = 0;
  uint64_t chunks_[kMaxChunks];
};

/// The sign of a * 10^shift - b, for digits that are all there. REQUIRES: neither is zero.
int compare_digits(const ChunkView &a, int64_t shift, const ChunkView &b);

}  // namespace kiv::bigflt_engine

#endif
