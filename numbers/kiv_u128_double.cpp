// 128-bit integers and doubles. Integers do all the work, so that every target, precision setting and rounding mode
// gives the same bits. A double is (IEEE 754 binary64) a sign bit, 11 bits of exponent biased by 1023, and the 52 bits
// of its significand below the leading one.
#include <bit>
#include <limits>

#include "kiv_u128.h"
#include "numbers/u128_record.h"

using kiv::UInt128;

namespace {

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);

constexpr int kBias = 1023;
constexpr int kFractionBits = 52;
constexpr uint64_t kLeadingOne = uint64_t{1} << kFractionBits;

}  // namespace

extern "C" {

// The value is cut to its 64 leading bits, which is what the registers of an extended-precision unit hold, and only
// then rounded: what lies below never decides a tie.
double kiv_u128_to_double(const KIV_U128 *a) {
  const UInt128 value = kiv::load_u128(a);
  if (value == UInt128(0)) return 0.0;
  const int zeros = kiv::leading_zeros(value);
  const uint64_t leading = kiv::high64(value << zeros);
  constexpr int kDropped = 63 - kFractionBits;
  constexpr uint64_t kHalf = uint64_t{1} << (kDropped - 1);
  const uint64_t significand = leading >> kDropped;
  const uint64_t rest = leading & (2 * kHalf - 1);
  const bool up = rest > kHalf || (rest == kHalf && (significand & 1) != 0);
  // The leading one counts into the exponent, and so does a significand that has been rounded up to the next power.
  const uint64_t exponent = static_cast<uint64_t>(kBias + 127 - zeros);
  return std::bit_cast<double>(((exponent - 1) << kFractionBits) + significand + (up ? 1 : 0));
}

// A significand in 60 bits, shifted to its place: that keeps all 53 bits of it, and what is shifted out to the left are
// multiples of 2^128.
void kiv_double_to_u128(double x, KIV_U128 *out) {
  constexpr int kBits = 60;
  const uint64_t bits = std::bit_cast<uint64_t>(x);
  const int exponent = static_cast<int>(bits >> kFractionBits);
  // Subnormal numbers are below one. A negative number has the exponent's twelfth bit set.
  if (exponent < kBias || exponent >= 2 * kBias + 1) {
    *out = {0, 0};
    return;
  }
  const uint64_t significand = (bits & (kLeadingOne - 1)) | kLeadingOne;
  *out = {0, significand << (kBits - 1 - kFractionBits)};
  // x is f * 2^e with 1/2 <= f < 1.
  kiv_u128_lsl(out, exponent - kBias + 1 - kBits);
}

}  // extern "C"
