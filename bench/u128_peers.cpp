#include "u128_peers.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace kiv::bench {
namespace {

// With the operators of the type.
template <class Value>
struct Operators {
  static void add(Value *a, const Value *b) { *a += *b; }
  static void multiply(Value *a, const Value *b) { *a *= *b; }
  static int divide(Value *a, const Value *b) {
    if (*b == 0) return 1;
    *a /= *b;
    return 0;
  }
  static int modulo(Value *a, const Value *b) {
    if (*b == 0) return 1;
    *a %= *b;
    return 0;
  }
  static void shift_left(Value *a, int n) { *a <<= n; }
  static void shift_right(Value *a, int n) { *a >>= n; }
};

void decimal(const KIV_U128 *a, char *text) { kiv_u128_to_str_bis(a, 10, nullptr, 0, text); }
void hexadecimal(const KIV_U128 *a, char *text) { kiv_u128_to_str_no_leading_zeros(a, text, 0); }

void copy(const std::string &from, char *text) { std::memcpy(text, from.c_str(), from.size() + 1); }

int multiply_boost(BoostValue *a, const BoostValue *b) {
  const boost::multiprecision::uint256_t product = boost::multiprecision::uint256_t(*a) * *b;
  *a = static_cast<BoostValue>(product);
  return (product >> 128) != 0 ? 1 : 0;
}

void decimal_boost(const BoostValue *a, char *text) { copy(a->str(), text); }
void hexadecimal_boost(const BoostValue *a, char *text) { copy(a->str(0, std::ios_base::hex), text); }

using OfBoost = Operators<BoostValue>;

}  // namespace

const U128Calls<KIV_U128> kOurCalls = {"ours",       kiv_u128_add, kiv_u128_mul, kiv_u128_mul_ov, kiv_u128_div,
                                       kiv_u128_mod, kiv_u128_lsl, kiv_u128_lsr, decimal,         hexadecimal};

const U128Calls<BoostValue> kBoostCalls = {"boost",         OfBoost::add,     OfBoost::multiply,   multiply_boost,
                                           OfBoost::divide, OfBoost::modulo,  OfBoost::shift_left, OfBoost::shift_right,
                                           decimal_boost,   hexadecimal_boost};

#ifdef __SIZEOF_INT128__
namespace {

int multiply_native(NativeValue *a, const NativeValue *b) { return __builtin_mul_overflow(*a, *b, a) ? 1 : 0; }

void decimal_native(const NativeValue *a, char *text) {
  char *end = text;
  for (NativeValue rest = *a; rest != 0 || end == text; rest /= 10)
    *end++ = static_cast<char>('0' + static_cast<int>(rest % 10));
  std::reverse(text, end);
  *end = 0;
}

void hexadecimal_native(const NativeValue *a, char *text) {
  char *end = text;
  for (NativeValue rest = *a; rest != 0 || end == text; rest >>= 4)
    *end++ = "0123456789abcdef"[static_cast<int>(rest & 15)];
  std::reverse(text, end);
  *end = 0;
}

void decimal_absl(const absl::uint128 *a, char *text) {
  std::ostringstream out;
  out << *a;
  copy(out.str(), text);
}

void hexadecimal_absl(const absl::uint128 *a, char *text) {
  std::ostringstream out;
  out << std::hex << *a;
  copy(out.str(), text);
}

void decimal_gmp(const GmpValue *a, char *text) { mpz_get_str(text, 10, a->number); }
void hexadecimal_gmp(const GmpValue *a, char *text) { mpz_get_str(text, 16, a->number); }

using OfNative = Operators<NativeValue>;
using OfAbsl = Operators<absl::uint128>;

}  // namespace

const U128Calls<NativeValue> kNativeCalls = {
    "native",         OfNative::add,        OfNative::multiply,    multiply_native, OfNative::divide,
    OfNative::modulo, OfNative::shift_left, OfNative::shift_right, decimal_native,  hexadecimal_native};
const U128Calls<absl::uint128> kAbslCalls = {"absl",         OfAbsl::add,     OfAbsl::multiply,   nullptr,
                                             OfAbsl::divide, OfAbsl::modulo,  OfAbsl::shift_left, OfAbsl::shift_right,
                                             decimal_absl,   hexadecimal_absl};
const U128Calls<GmpValue> kGmpCalls = {"gmp",   nullptr, nullptr, nullptr,     nullptr,
                                       nullptr, nullptr, nullptr, decimal_gmp, hexadecimal_gmp};
#endif

}  // namespace kiv::bench
