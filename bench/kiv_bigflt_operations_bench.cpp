// Parts, comparisons, bits and conversions of bigflt beside MPFR, and beside GMP where MPFR has no such operation: on
// values with random mantissas, signs and exponents (-20 to 120), integers of up to 120 bits, and small integers.

#include <gmp.h>
#include <mpfr.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_bigflt.h"
#include "kiv_bigflt_convert.h"
#include "kiv_bigflt_dump.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kPairs = 256;
constexpr size_t kRounds = 400;

/// The same values in all kinds; an integer of GMP is a value's integer part.
struct Values {
  bigflt ours[kPairs];
  mpfr_t mpfr[kPairs];
  mpz_t gmp[kPairs];
  double number[kPairs];

  Values() {
    for (size_t i = 0; i < kPairs; ++i) mpfr_init2(mpfr[i], 128), mpz_init(gmp[i]);
  }
  ~Values() {
    for (size_t i = 0; i < kPairs; ++i) mpfr_clear(mpfr[i]), mpz_clear(gmp[i]);
  }
  Values(const Values &) = delete;
  Values &operator=(const Values &) = delete;

  /// The others from ours, exactly but for the double.
  void make_peers(size_t i) {
    KIV_S128 whole;
    bigflt scaled = ours[i];
    // Up to 127 bits of the magnitude, as an integer.
    int32_t shift = 0;
    if (scaled.small == 0) {
      shift = 126 - scaled.exponent;
      kiv_bigflt_shift_left_implied(&scaled, shift);
    }
    kiv_bigflt_to_KIV_S128(&whole, &scaled);
    mpz_set_si(gmp[i], whole.hi);
    mpz_mul_2exp(gmp[i], gmp[i], 64);
    mpz_add_ui(gmp[i], gmp[i], whole.lo);
    mpfr_set_z_2exp(mpfr[i], gmp[i], -shift, MPFR_RNDN);
    mpfr_get_z(gmp[i], mpfr[i], MPFR_RNDZ);
    number[i] = mpfr_get_d(mpfr[i], MPFR_RNDN);
  }
};

enum class Kind { kAny, kInteger, kSmall };

std::unique_ptr<Values> make_values(uint32_t seed, Kind kind) {
  std::mt19937_64 random(seed);
  auto values = std::make_unique<Values>();
  for (size_t i = 0; i < kPairs; ++i) {
    bigflt *a = &values->ours[i];
    if (kind == Kind::kSmall) {
      kiv_bigflt_KIV_S64_to_bigflt(a, static_cast<int64_t>(random() % 65535) - 32767);
    } else {
      const KIV_S128 bits = {static_cast<int64_t>(random()) >> 8, random()};
      kiv_bigflt_KIV_S128_to_bigflt(a, &bits);
      if (kind == Kind::kAny) a->exponent = static_cast<int32_t>(random() % 141) - 20;
    }
    values->make_peers(i);
  }
  return values;
}

/// Times apply(i) over all pairs; check(i) looks at its last results.
template <class Apply, class Check>
void add(const char *operation, const char *contestant, Apply apply, Check check) {
  const std::string name = kiv::bench::name("bigflt", operation, 128, contestant);
  kiv::bench::add(name, 10, kPairs * kRounds, [=] {
    const Stopwatch watch;
    for (size_t round = 0; round < kRounds; ++round) {
      for (size_t i = 0; i < kPairs; ++i) apply(i);
      benchmark::ClobberMemory();
    }
    const double seconds = watch.seconds();
    for (size_t i = 0; i < kPairs; ++i) require(check(i), name, operation);
    return seconds;
  });
}

/// Whether a result of ours is the peer's.
bool equal(const bigflt &ours, mpfr_srcptr peer) {
  Values one;
  one.ours[0] = ours;
  one.make_peers(0);
  return mpfr_equal_p(one.mpfr[0], peer) != 0;
}

}  // namespace

int main(int argc, char **argv) {
  static const auto a = make_values(1, Kind::kAny), b = make_values(2, Kind::kAny);
  static const auto i = make_values(3, Kind::kInteger), j = make_values(4, Kind::kInteger);
  static const auto s = make_values(5, Kind::kSmall), t = make_values(6, Kind::kSmall);
  static const auto r = std::make_unique<Values>();
  static int order[kPairs];

  using Unary = void (*)(bigflt *, const bigflt *);
  using MpfrUnary = int (*)(mpfr_ptr, mpfr_srcptr);
  const auto unary = [](const char *name, const Values *x, Unary ours, MpfrUnary mpfr) {
    add(
        name, "ours", [=](size_t k) { ours(&r->ours[k], &x->ours[k]); },
        [=](size_t k) {
          mpfr(r->mpfr[k], x->mpfr[k]);
          return equal(r->ours[k], r->mpfr[k]);
        });
    add(
        name, "MPFR 128", [=](size_t k) { mpfr(r->mpfr[k], x->mpfr[k]); }, [](size_t) { return true; });
  };
  unary("floor", a.get(), kiv_bigflt_floor, mpfr_floor);
  unary("small floor", s.get(), kiv_bigflt_floor, mpfr_floor);
  unary(
      "shift left", a.get(), [](bigflt *x, const bigflt *y) { kiv_bigflt_shift_left(x, y, 5); },
      [](mpfr_ptr x, mpfr_srcptr y) { return mpfr_mul_2ui(x, y, 5, MPFR_RNDN); });

  const auto compare = [](const char *name, const Values *x, const Values *y) {
    const auto right = [=](size_t k) {
      const int sign = mpfr_cmp(x->mpfr[k], y->mpfr[k]);
      return (order[k] > 0) - (order[k] < 0) == (sign > 0) - (sign < 0);
    };
    add(
        name, "ours", [=](size_t k) { order[k] = kiv_bigflt_compare2integer(&x->ours[k], &y->ours[k]); }, right);
    add(
        name, "MPFR 128", [=](size_t k) { order[k] = mpfr_cmp(x->mpfr[k], y->mpfr[k]); }, right);
  };
  compare("compare", a.get(), b.get());
  compare("small compare", s.get(), t.get());

  using Binary = void (*)(bigflt *, const bigflt *, const bigflt *);
  using GmpBinary = void (*)(mpz_ptr, mpz_srcptr, mpz_srcptr);
  const auto bits = [](const char *name, const Values *x, const Values *y, Binary ours, GmpBinary gmp) {
    add(
        name, "ours", [=](size_t k) { ours(&r->ours[k], &x->ours[k], &y->ours[k]); },
        [=](size_t k) {
          gmp(r->gmp[k], x->gmp[k], y->gmp[k]);
          mpfr_set_z(r->mpfr[k], r->gmp[k], MPFR_RNDN);
          return equal(r->ours[k], r->mpfr[k]);
        });
    add(
        name, "GMP", [=](size_t k) { gmp(r->gmp[k], x->gmp[k], y->gmp[k]); }, [](size_t) { return true; });
  };
  bits("and", i.get(), j.get(), kiv_bigflt_binary_and, mpz_and);
  bits("xor", i.get(), j.get(), kiv_bigflt_binary_xor, mpz_xor);
  bits("small or", s.get(), t.get(), kiv_bigflt_binary_or, mpz_ior);
  bits("small xor", s.get(), t.get(), kiv_bigflt_binary_xor, mpz_xor);

  const auto right_double = [](size_t k) { return r->number[k] == a->number[k]; };
  add(
      "to double", "ours", [](size_t k) { r->number[k] = kiv_bigflt_to_double(&a->ours[k]); }, right_double);
  add(
      "to double", "MPFR 128", [](size_t k) { r->number[k] = mpfr_get_d(a->mpfr[k], MPFR_RNDN); }, right_double);
  const auto right_value = [](size_t k) { return mpfr_get_d(r->mpfr[k], MPFR_RNDN) == a->number[k]; };
  add(
      "from double", "ours", [](size_t k) { kiv_bigflt_double_to_bigflt(&r->ours[k], a->number[k]); },
      [](size_t k) { return kiv_bigflt_to_double(&r->ours[k]) == a->number[k]; });
  add(
      "from double", "MPFR 128", [](size_t k) { mpfr_set_d(r->mpfr[k], a->number[k], MPFR_RNDN); }, right_value);

  static char text[kPairs][64];
  add(
      "dump", "ours", [](size_t k) { kiv_bigflt_sdump(text[k], sizeof text[k], &a->ours[k]); },
      [](size_t k) { return text[k][1] == '0'; });
  // The same bits in hexadecimal.
  add(
      "dump", "MPFR 128", [](size_t k) { mpfr_snprintf(text[k], sizeof text[k], "%.31Ra", a->mpfr[k]); },
      [](size_t k) { return text[k][0] != 0; });
  return kiv::bench::run(argc, argv);
}
