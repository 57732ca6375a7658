// Printing and reading beside MPFR: random numbers, and those on and beside ties.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "kiv_bigflt_text.h"
#include "tests/numbers/mpfr_value.h"
#include "tests/numbers/random_bigflt.h"

namespace {

using namespace kiv::test;

constexpr size_t kRoom = 120000;

std::string print(const bigflt &a, const char *conversion, int precision) {
  static char buffer[kRoom];
  EXPECT_EQ(kiv_bigflt_sprint(buffer, kRoom, conversion, precision, &a), 1) << a;
  return buffer;
}

std::string print_mpfr(mpfr_srcptr value, const char *format, int precision) {
  static char buffer[kRoom];
  mpfr_snprintf(buffer, kRoom, format, precision, value);
  return buffer;
}

/// A number of d fraction digits of which the last is a 5: a tie when it is rounded to one less.
bigflt random_decimal_tie(std::mt19937_64 &random, int *digits) {
  const int bits = static_cast<int>(below(random, 127)) + 1;
  *digits = static_cast<int>(below(random, bits < 60 ? 400 : 100)) + 1;
  bigflt a = random_ordinary(random);
  // Odd, and 2^-digits its last bit.
  for (int bit = 0; bit < 128; ++bit) {
    const uint32_t mask = 1U << (bit % 32);
    if (bit < 128 - bits) a.mantissa[bit / 32] &= ~mask;
    if (bit == 128 - bits) a.mantissa[bit / 32] |= mask;
  }
  a.exponent = bits - 1 - *digits;
  return a;
}

void check_printing(const bigflt &a, int precision) {
  const MpfrValue value(a);
  ASSERT_EQ(print(a, "e", precision), print_mpfr(value, "%.*Re", precision)) << a << " e " << precision;
  // A fixed text of a great exponent is long, and takes MPFR its time.
  if (a.small != 0 || std::abs(int64_t{a.exponent}) < 2000 || precision % 16 == 0) {
    ASSERT_EQ(print(a, "f", precision), print_mpfr(value, "%.*Rf", precision)) << a << " f " << precision;
    ASSERT_EQ(print(a, "d", precision), print_mpfr(value, "%.*RZf", 0)) << a;
  }
}

TEST(BigfltTextMpfr, Prints) {
  auto random = make_random();
  for (uint64_t i = cases(6000); i-- > 0;) {
    bigflt a = random_bigflt(random);
    if (a.exponent == INT32_MAX && a.small == 0) continue;
    if (a.exponent == INT32_MIN) a.sign = 0;
    const uint32_t kind = below(random, 64);
    check_printing(a, static_cast<int>(below(random, kind == 0 ? 3000 : kind < 30 ? 48 : 8)));
    if (i % 1000 == 0) {  // all digits
      bigflt least = random_ordinary(random);
      least.exponent = -32767;
      check_printing(least, 32894);
    }
    int digits = 0;
    const bigflt tie = random_decimal_tie(random, &digits);
    check_printing(tie, digits - 1);
    // The exponential form of as many fraction digits.
    const std::string exponential = print(tie, "e", 0);
    const int more = std::atoi(exponential.c_str() + exponential.find('e') + 1);
    if (digits - 1 + more >= 0) check_printing(tie, digits - 1 + more);
    if (HasFatalFailure()) return;
  }
}

void check_reading(const std::string &text) {
  MpfrValue value;
  char *end = nullptr;
  mpfr_strtofr(value, text.c_str(), &end, 0, MPFR_RNDN);
  bigflt r = {};
  ASSERT_EQ(kiv_bigflt_sscan(text.c_str(), UINT32_MAX, &r), end - text.c_str()) << text;
  ASSERT_TRUE(same(r, value.canonical())) << text << "\n" << r << "\n" << value.canonical();
}

TEST(BigfltTextMpfr, ReadsRandomDigits) {
  auto random = make_random();
  for (uint64_t i = cases(20000); i-- > 0;) {
    std::string text = below(random, 2) != 0 ? "-" : "";
    const bool hexadecimal = below(random, 8) == 0;
    if (hexadecimal) text += "0x";
    const uint32_t kind = below(random, 8), length = 1 + below(random, kind == 0 ? 500 : kind < 4 ? 70 : 25);
    const uint32_t point = below(random, length + 1), most = below(random, 4) == 0 ? 2 : hexadecimal ? 16 : 10;
    for (uint32_t k = 0; k < length; ++k) {
      if (k == point) text += '.';
      text += "0123456789abcdef"[below(random, most)];
    }
    const uint32_t scale = below(random, 4);
    const int exponent = static_cast<int>(below(random, hexadecimal ? 66000 : 20000)) - (hexadecimal ? 33000 : 10000);
    if (scale != 0) text += (hexadecimal ? 'p' : 'e') + std::to_string(scale == 1 ? exponent : exponent % 60);
    check_reading(text);
    if (HasFatalFailure()) return;
  }
}

TEST(BigfltTextMpfr, ReadsTies) {
  auto random = make_random();
  for (uint64_t i = cases(4000); i-- > 0;) {
    bigflt a = random_ordinary(random);
    const bool long_one = i % 64 == 0;
    if (!long_one) a.exponent %= i % 8 == 0 ? 1500 : 200;
    // Half way to the next value, exactly; for the least value also half way to zero.
    const MpfrValue value(a);
    MpfrValue tie(129);
    mpfr_set(tie, value, MPFR_RNDN);
    mpfr_set_emin(-40000);
    if (a.exponent == -32767 && below(random, 2) != 0) {
      mpfr_set_ui_2exp(tie, 1, -32768, MPFR_RNDN);
    } else {
      a.sign != 0 ? mpfr_nextbelow(tie) : mpfr_nextabove(tie);
    }
    // All its digits, or the first some: those fix it so closely that an estimate does not tell on which side it is.
    const int digits = below(random, 2) != 0 || long_one ? 24000 : 40 + static_cast<int>(below(random, 60));
    std::string text = print_mpfr(tie, "%.*Re", long_one ? digits : std::min(digits, 2000));
    mpfr_set_emin(-32766);
    check_reading(text);
    const size_t e = text.find('e');
    check_reading(text.substr(0, e) + std::string(below(random, 100) == 0 ? 24000 : 1, '0') + "1" + text.substr(e));
    std::string less = text;
    const size_t last = less.find_last_not_of("0.", e - 1);
    --less[last];
    check_reading(less.substr(0, last + 1) + std::string(e - 1 - last, '9') + text.substr(e));
    if (HasFatalFailure()) return;
  }
}

}  // namespace
