// The contestants of the 128-bit integers. Each operation is a function that is called through a pointer: ours in the
// library, the others in another shared one. A 32-bit target has boost alone to compare with.
#ifndef KIV_BENCH_U128_PEERS_H
#define KIV_BENCH_U128_PEERS_H

#include <boost/multiprecision/cpp_int.hpp>
#include "kiv_u128.h"

#ifdef __SIZEOF_INT128__
#include <absl/numeric/int128.h>
#include <gmp.h>
#endif

namespace kiv::bench {

/// What a contestant calls; null for what it does not have.
template <class Value>
struct U128Calls {
  const char *name;
  void (*add)(Value *a, const Value *b);
  void (*multiply)(Value *a, const Value *b);
  int (*multiply_ov)(Value *a, const Value *b);  ///< 1 when the product has been cut
  int (*divide)(Value *a, const Value *b);       ///< 1 for a divisor of 0
  int (*modulo)(Value *a, const Value *b);
  void (*shift_left)(Value *a, int n);
  void (*shift_right)(Value *a, int n);
  void (*decimal)(const Value *a, char *text);
  void (*hexadecimal)(const Value *a, char *text);  ///< lower-case, without leading zeros
};

extern const U128Calls<KIV_U128> kOurCalls;

using BoostValue = boost::multiprecision::uint128_t;
extern const U128Calls<BoostValue> kBoostCalls;

#ifdef __SIZEOF_INT128__
__extension__ using NativeValue = unsigned __int128;
extern const U128Calls<NativeValue> kNativeCalls;
extern const U128Calls<absl::uint128> kAbslCalls;

struct GmpValue {
  mpz_t number;
};
extern const U128Calls<GmpValue> kGmpCalls;
#endif

}  // namespace kiv::bench

#endif
