// Records that the tests of bigflt write down.
#ifndef KIV_TESTS_NUMBERS_BIGFLT_LITERALS_H
#define KIV_TESTS_NUMBERS_BIGFLT_LITERALS_H

#include <gtest/gtest.h>

#include <cstring>

#include "kiv_bigflt_convert.h"
#include "tests/numbers/random_bigflt.h"

namespace kiv::test {

constexpr uint64_t kTop = uint64_t{1} << 63;
inline const bigflt kInfinity = extended_bigflt(0, INT32_MAX, 0, 0);
inline const bigflt kNegativeInfinity = extended_bigflt(1, INT32_MAX, 0, 0);
inline const bigflt kNan = extended_bigflt(0, INT32_MAX, UINT64_MAX, UINT64_MAX);
inline const bigflt kMax = extended_bigflt(0, 32767, UINT64_MAX, UINT64_MAX);
inline const bigflt kClosest = extended_bigflt(0, -32767, kTop, 0);
inline const bigflt kNegativeClosest = extended_bigflt(1, -32767, kTop, 0);
inline const bigflt kZero = small_bigflt(0);
/// A zero that no operation gives.
inline const bigflt kNegativeZero = extended_bigflt(1, INT32_MIN, 0, 0);

inline bigflt power_of_two(int32_t n, uint32_t sign = 0) { return extended_bigflt(sign, n, kTop, 0); }

inline bigflt from_double(double value) {
  bigflt r;
  kiv_bigflt_double_to_bigflt(&r, value);
  return r;
}

/// All bytes of the records, also those without a meaning.
inline bool identical(const bigflt &a, const bigflt &b) { return std::memcmp(&a, &b, sizeof a) == 0; }
#define EXPECT_IDENTICAL(a, b) EXPECT_TRUE(::kiv::test::identical(a, b)) << (a) << ", not " << (b)

/// FNV-1a over the bytes of many results.
class Digest {
 public:
  template <class T>
  void add(const T &record) {
    unsigned char bytes[sizeof record];
    std::memcpy(bytes, &record, sizeof record);
    for (const unsigned char byte : bytes) value_ = (value_ ^ byte) * 1099511628211U;
  }
  uint64_t value() const { return value_; }

 private:
  uint64_t value_ = 14695981039346656037U;
};

}  // namespace kiv::test

#endif
