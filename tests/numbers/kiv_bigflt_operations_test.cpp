#include <iterator>

#include "kiv_bigflt128.h"
#include "tests/numbers/bigflt_literals.h"
#include "tests/numbers/bigflt_operations.h"

using namespace kiv::test;

namespace {

struct Unary {
  const char *name;
  void (*plain)(bigflt *r, const bigflt *a);
  void (*implied)(bigflt *a);  // or null
};

const Unary kUnary[] = {
    {"ceil", kiv_bigflt_ceil, nullptr},
    {"floor", kiv_bigflt_floor, nullptr},
    {"trunc", kiv_bigflt_trunc, nullptr},
    {"complement", kiv_bigflt_1s_complement, kiv_bigflt_1s_complement_implied},
    {"not", kiv_bigflt_boolean_not, kiv_bigflt_boolean_not_implied},
    {"shift_left", [](bigflt *r, const bigflt *a) { kiv_bigflt_shift_left(r, a, 21); },
     [](bigflt *a) { kiv_bigflt_shift_left_implied(a, 21); }},
    {"shift_right", [](bigflt *r, const bigflt *a) { kiv_bigflt_shift_right(r, a, 3); },
     [](bigflt *a) { kiv_bigflt_shift_right_implied(a, 3); }},
};

const Operation kBinary[] = {
    {"and", kiv_bigflt_binary_and, kiv_bigflt_binary_and_implied},
    {"or", kiv_bigflt_binary_or, kiv_bigflt_binary_or_implied},
    {"xor", kiv_bigflt_binary_xor, kiv_bigflt_binary_xor_implied},
    {"ldexp", kiv_bigflt_ldexp, nullptr},
    {">", kiv_bigflt_larger_than_explicit, kiv_bigflt_larger_than_implied},
    {">=", kiv_bigflt_larger_than_or_equal_explicit, kiv_bigflt_larger_than_or_equal_implied},
    {"<", kiv_bigflt_less_than_explicit, kiv_bigflt_less_than_implied},
    {"<=", kiv_bigflt_less_than_or_equal_explicit, kiv_bigflt_less_than_or_equal_implied},
    {"==", kiv_bigflt_equal_explicit, kiv_bigflt_equal_implied},
    {"!=", kiv_bigflt_not_equal_explicit, kiv_bigflt_not_equal_implied},
};
constexpr size_t kFirstComparison = 4;

TEST(BigfltOperations, LdexpSaturates) {
  const bigflt three = small_bigflt(3), minus_three = small_bigflt(-3);
  const bigflt rows[][3] = {{three, from_double(4.9), small_bigflt(48)}, {three, from_double(-1.5), from_double(1.5)},
                            {minus_three, kMax, kNegativeInfinity},      {minus_three, power_of_two(32, 1), kZero},
                            {three, kNegativeInfinity, kZero},           {kZero, kInfinity, kNan},
                            {kInfinity, kNegativeInfinity, kNan},        {kZero, kNegativeInfinity, kZero}};
  for (const auto &[a, e, expected] : rows) {
    bigflt r;
    kiv_bigflt_ldexp(&r, &a, &e);
    EXPECT_TRUE(identical(r, expected)) << a << " by " << e << ": " << r;
  }
}

TEST(BigfltOperations, Shifts) {
  bigflt r;
  const struct {
    bigflt a;
    int32_t n;
    bigflt left, right;
  } rows[] = {
      {from_double(2.5), 0, from_double(2.5), small_bigflt(2)},
      {from_double(-2.5), 1, small_bigflt(-5), small_bigflt(-2)},
      {small_bigflt(3), INT32_MAX, kInfinity, kZero},
      {small_bigflt(-3), INT32_MAX, kNegativeInfinity, small_bigflt(-1)},
      {small_bigflt(-3), INT32_MIN, small_bigflt(-1), kNegativeInfinity},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.a << " by " << row.n);
    kiv_bigflt_shift_left(&r, &row.a, row.n);
    EXPECT_IDENTICAL(r, row.left);
    kiv_bigflt_shift_right(&r, &row.a, row.n);
    EXPECT_IDENTICAL(r, row.right);
  }
}

constexpr int (*kPredicates[])(const bigflt *) = {
    kiv_bigflt_is_zero,           kiv_bigflt_is_negative,
    kiv_bigflt_is_integer,        kiv_bigflt_is_signed_integral_and_fits_in_32_bits,
    kiv_bigflt_is_finite_as_bool, kiv_bigflt_is_inf_as_bool,
    kiv_bigflt_is_nan_as_bool,    kiv_bigflt_is_normalized};

TEST(BigfltOperations, PredicatesOfOtherRecords) {
  constexpr unsigned kIsZero = 1, kNegative = 2, kInteger = 4, kFits = 8, kFinite = 16, kInf = 32, kIsNan = 64,
                     kNormal = 128;
  const std::pair<bigflt, unsigned> rows[] = {
      {kZero, kIsZero | kInteger | kFits | kFinite | kNormal},
      {kNegativeZero, kIsZero | kInteger | kFits | kFinite},
      {power_of_two(31, 1), kNegative | kInteger | kFits | kFinite | kNormal},
      {kNegativeInfinity, kNegative | kInf},
      {extended_bigflt(1, INT32_MAX, 0, 1), kIsNan},
      {extended_bigflt(0, 3, kTop >> 3, 0), kInteger | kFits | kFinite},
      {power_of_two(40000), kInf},
      {extended_bigflt(1, 5, 0, 0), kIsZero | kInteger | kFits | kFinite},
      {power_of_two(INT32_MIN + 1), kIsZero | kInteger | kFits | kFinite},
  };
  for (const auto &[a, expected] : rows) {
    for (unsigned k = 0; k < 8; ++k) {
      EXPECT_EQ(kPredicates[k](&a), static_cast<int>(expected >> k & 1)) << "predicate " << k << " of " << a;
    }
  }
  EXPECT_EQ(kiv_bigflt_is_signed_integer_of_size(&kInfinity, INT32_MAX), 0);
}

/// A record that no operation gives: any words, or leading zeros, or a small one with garbage around it.
bigflt random_record(std::mt19937_64 &random) {
  bigflt a = random_bigflt(random);
  for (uint8_t &byte : a.unused) byte = static_cast<uint8_t>(random());
  a.mantissa_bits = a.limb_count = static_cast<uint32_t>(random());
  if (a.small != 0) {
    a.sign = static_cast<uint32_t>(random());
    for (uint32_t &limb : a.mantissa) limb = static_cast<uint32_t>(random());
    return a;
  }
  if (below(random, 4) == 0) a.exponent = static_cast<int32_t>(random());
  if (below(random, 2) == 0) a.mantissa[3] >>= below(random, 32);
  if (below(random, 8) == 0) a.mantissa[3] = a.mantissa[2] = 0;
  return a;
}

/// The result over each operand, with operands whose values are x and y.
void check_over_operands(const Operation &operation, const bigflt &a, const bigflt &b, const bigflt &x,
                         const bigflt &y) {
  SCOPED_TRACE(testing::Message() << operation.name << " of " << a << " and " << b);
  const bigflt old_a = a, old_b = b;
  bigflt expected, r;
  operation.plain(&expected, &x, &y);
  operation.plain(&r, &a, &b);
  EXPECT_IDENTICAL(r, expected);
  EXPECT_TRUE(identical(a, old_a) && identical(b, old_b));
  operation.plain(&(r = a), &r, &b);
  EXPECT_IDENTICAL(r, expected);
  operation.plain(&(r = b), &a, &r);
  EXPECT_IDENTICAL(r, expected);
  if (operation.implied != nullptr) operation.implied(&(r = a), &b);
  EXPECT_IDENTICAL(r, expected);
  operation.plain(&expected, &x, &old_a);
  operation.plain(&(r = a), &r, &r);
  EXPECT_IDENTICAL(r, expected);
  if (operation.implied != nullptr) operation.implied(&(r = a), &r);
  EXPECT_IDENTICAL(r, expected);
}

TEST(BigfltOperations, AnyRecordsAndAnyResults) {
  const Operation copysign = {"copysign", kiv_bigflt_copysign, nullptr};
  const Unary others[] = {
      {"negate", kiv_bigflt_negate, kiv_bigflt_negate_implied},
      {"abs", kiv_bigflt_abs, nullptr},
      {"round", [](bigflt *r, const bigflt *a) { kiv_bigflt_round_to_mantissa_size(r, a, 20); },
       [](bigflt *a) { kiv_bigflt_round_to_mantissa_size_implied(a, 20); }},
  };
  std::mt19937_64 random = make_random();
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    const bigflt a = random_record(random), b = random_record(random);
    // The same values in canonical form. Where a sign of zero matters, the record is its own model.
    bigflt x, y;
    kiv_bigflt_shift_left(&x, &a, 0);
    kiv_bigflt_shift_left(&y, &b, 0);
    for (const Operation &operation : kBinary) check_over_operands(operation, a, b, x, y);
    for (const Operation &operation : kOperations) check_over_operands(operation, a, b, a, b);
    check_over_operands(copysign, a, b, a, b);
    const auto check = [&](const Unary &operation, const bigflt &model) {
      SCOPED_TRACE(testing::Message() << operation.name << " of " << a);
      bigflt expected, r;
      operation.plain(&expected, &model);
      operation.plain(&(r = a), &r);
      EXPECT_IDENTICAL(r, expected);
      if (operation.implied != nullptr) operation.implied(&(r = a));
      EXPECT_IDENTICAL(r, expected);
    };
    for (const Unary &operation : kUnary) check(operation, x);
    for (const Unary &operation : others) check(operation, a);
    // The second result stays where both are one record.
    bigflt expected, r;
    kiv_bigflt_frexp(&r, &expected, &x);
    kiv_bigflt_frexp(&(r = a), &r, &r);
    EXPECT_IDENTICAL(r, expected);
    kiv_bigflt_modf(&r, &expected, &x);
    kiv_bigflt_modf(&(r = a), &r, &r);
    EXPECT_IDENTICAL(r, expected);
    EXPECT_EQ(kiv_bigflt_is_negative(&a), kiv_bigflt_is_negative(&x)) << a;
    // The order of records is that of their values, NaN last; the comparisons follow from it.
    const int order = kiv_bigflt_compare2integer(&a, &b);
    EXPECT_EQ(kiv_bigflt_compare2integer(&a, &x), 0) << a << " and " << x;
    EXPECT_EQ(kiv_bigflt_compare2integer(&x, &y), order) << a << " and " << b;
    const bool nan_a = kiv_bigflt_is_nan_as_bool(&a) != 0, nan_b = kiv_bigflt_is_nan_as_bool(&b) != 0;
    const bool ordered = !nan_a && !nan_b;
    if (!ordered) EXPECT_EQ(order, nan_a - nan_b);
    const bool expected_truths[] = {ordered && order > 0,  ordered && order >= 0, ordered && order < 0,
                                    ordered && order <= 0, ordered && order == 0, !ordered || order != 0};
    for (size_t k = 0; k < std::size(expected_truths); ++k) {
      kBinary[kFirstComparison + k].plain(&r, &a, &b);
      EXPECT_IDENTICAL(r, small_bigflt(expected_truths[k] ? 1 : 0)) << kBinary[kFirstComparison + k].name;
    }
  }
  EXPECT_EQ(kiv_bigflt_compare2integer(&kNegativeZero, &kZero), 0);
}

/// From a model of the generator: the first values of a process, as no other test draws one.
TEST(BigfltOperations, RandomValues) {
  static bool drawn = false;
  if (drawn) GTEST_SKIP() << "values were drawn before";
  drawn = true;
  const bigflt first[] = {extended_bigflt(0, -25794, kTop | 0xc7a65a83, 0xec98a5ca),
                          extended_bigflt(1, -6126, kTop | 0xfdd992bf, 0x496d4476),
                          extended_bigflt(0, 20725, kTop | 0xddb4d6bb, 0x01e775e2)};
  for (const bigflt &expected : first) {
    bigflt r;
    kiv_bigflt_random(&r);
    EXPECT_IDENTICAL(r, expected);
  }
}

TEST(BigfltOperations, Payloads) {
  bigflt a = small_bigflt(-5);
  kiv_bigflt_poke_32bits(&a, 0x1234);
  EXPECT_IDENTICAL(a, extended_bigflt(1, 0, kTop, 0x1234));
  EXPECT_EQ(kiv_bigflt_peek_32bits(&a), 0x1234U);
  a = extended_bigflt(0, 77, UINT64_MAX, UINT64_MAX);
  int object = 0;
  kiv_bigflt_poke_pointer(&a, &object);
  const auto payload = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(&object));
  EXPECT_IDENTICAL(a, extended_bigflt(0, 0, kTop | 0xFFFFFFFF, uint64_t{0xFFFFFFFF} << 32 | payload));
  EXPECT_EQ(kiv_bigflt_peek_32bits(&a), payload);
}

/// By Python's zlib.crc32.
TEST(BigfltOperations, Hash) {
  bigflt a = extended_bigflt(1, -5, uint64_t{0xC0000000} << 32 | 7, 8);
  EXPECT_EQ(kiv_bigflt128_hash(&a), 0x65398C2EU);
  a = extended_bigflt(0x39, 0x35363738, uint64_t{0x31323334} << 32, 0);
  EXPECT_EQ(kiv_bigflt128_hash(&a), 0x8513D7E4U);
}

/// The same bits on every target: a digest of all bytes of many results.
TEST(BigfltOperations, ResultsAreTheSameEverywhere) {
  std::mt19937_64 random(20240301);
  Digest digest;
  for (int i = 0; i < 5000; ++i) {
    const bigflt a = random_bigflt(random), b = random_partner(random, a);
    bigflt r;
    for (const Operation &operation : kBinary) operation.plain(&r, &a, &b), digest.add(r);
    for (const Unary &operation : kUnary) operation.plain(&r, &a), digest.add(r);
    for (const auto predicate : kPredicates) digest.add(predicate(&a));
    digest.add(kiv_bigflt_is_signed_integer_of_size(&a, 40));
    bigflt s;
    kiv_bigflt_frexp(&r, &s, &a), digest.add(r), digest.add(s);
    kiv_bigflt_modf(&r, &s, &a), digest.add(r), digest.add(s);
  }
  EXPECT_EQ(digest.value(), 9651779695918280301U);
}

}  // namespace
