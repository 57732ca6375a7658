// Printing and reading, on every target: literal texts, buffers that are too small, sources of characters, and a digest
// of many texts. That the digits are right is told by MPFR, see kiv_bigflt_text_mpfr_test.cpp.

#include "kiv_bigflt_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/numbers/bigflt_literals.h"

namespace {

using namespace kiv::test;

/// high * 2^(exponent - 63), with a sign.
bigflt number(int32_t exponent, uint64_t high, bool negative = false) {
  return extended_bigflt(negative ? 1 : 0, exponent, high, 0);
}
std::string print(const bigflt &a, const char *conversion, int precision) {
  static char buffer[60000];
  EXPECT_EQ(kiv_bigflt_sprint(buffer, sizeof buffer, conversion, precision, &a), 1) << conversion << precision << a;
  return buffer;
}

bigflt read(const std::string &text) {
  bigflt r = {};
  EXPECT_EQ(kiv_bigflt_sscan(text.c_str(), UINT32_MAX, &r), static_cast<int>(text.size())) << text;
  return r;
}

TEST(BigfltText, Prints) {
  const bigflt negative = number(2, 0xB8u * (kTop >> 7), true);
  const bigflt big = number(100, kTop, true), fourteen = number(13, kTop), tiny = number(-14, kTop);
  const struct {
    bigflt value;
    const char *conversion;
    int precision;
    const char *text;
  } rows[] = {
      // Integers of 32 bits, with text behind the conversion.
      {small_bigflt(255), "x", 0, "ff"},
      {small_bigflt(255), "X", 9, "FF"},
      {small_bigflt(-1), "u", 0, "4294967295"},
      {small_bigflt(7), "d kg, 5%% off", 0, "7 kg, 5% off"},
      // The integer part of others.
      {number(-1, kTop, true), "d", 0, "-0"},
      {negative, "o", 0, "-5"},
      {negative, "u", 0, "4294967291"},
      {negative, "x", 0, "fffffffb"},
      {number(33, kTop + (kTop >> 33), true), "u", 0, "4294967295"},
      {big, "o", 0, "-2000000000000000000000000000000000"},
      {number(64, 0xABCDEF0123456789), "x", 0, "1579bde02468acf12"},
      // Fixed.
      {kZero, "f", -7, "0"},
      // Exponential; a conversion that begins with a digit is one.
      {small_bigflt(-1000), "E", 2, "-1.00e+03"},
      {small_bigflt(3), "10d", 1, "3.0e+00"},
      {small_bigflt(3), "", 1, "3.0e+00"},
      {small_bigflt(3), nullptr, -1, "3e+00"},
      // General: 2^13 needs four digits of precision, as 10^3 < 2^13 <= 10^4; below 2^-13 it is exponential.
      {fourteen, "g", 3, "8.192e+03"},
      {fourteen, "g", 4, "8192.0000"},
      {number(-13, kTop), "g", 5, "0.00012"},
      {tiny, "g", 5, "6.10352e-05"},
      {small_bigflt(2), "g", -3, "2e+00"},
      // Hexadecimal, and special values.
      {small_bigflt(1), "a", 3, "+0x0.80000000000000000000000000000000p+1"},
      {small_bigflt(0), "A", 0, "+0x0.0"},
      {number(-1, 0xABCDEF0123456789, true), "A", 0, "-0x0.abcdef01_23456789_00000000_00000000p0"},
      {kClosest, "a", 0, "+0x0.80000000000000000000000000000000p-32766"},
      {kInfinity, "a", 0, "+INF"},
      {kNan, "a", 0, "+NaN"},
      {kNan, "f", 3, "NaN"},
      {kNegativeInfinity, "g", 7, "-Inf"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(print(row.value, row.conversion, row.precision), row.text) << row.value;
  }
  char buffer[30];
  for (const char *hostile : {"d%n", "u%s%s", "x%", "d%-%"}) {
    const bigflt seven = small_bigflt(7);
    EXPECT_EQ(kiv_bigflt_sprint(buffer, sizeof buffer, hostile, 0, &seven), 0) << hostile;
    EXPECT_STREQ(buffer, "7");
  }
}

TEST(BigfltText, ATextThatDoesNotFitIsCut) {
  const bigflt long_fraction = number(-32767, ~uint64_t{0}, true),
               third = read("0.33333333333333333333333333333333333333");
  const struct {
    bigflt value;
    const char *conversion;
    int precision;
    size_t length;
  } rows[] = {{small_bigflt(-4711), "d = %%", 0, 9},
              {kMax, "d", 0, 9864 + 1},
              {third, "f", 50, 52},
              {third, "A", 0, 43},
              {long_fraction, "f", 32830, 32833},
              {small_bigflt(-1), "f", INT32_MAX, 0},
              {kNegativeInfinity, "G", INT32_MAX, 4}};
  for (const auto &row : rows) {
    std::string whole;
    if (row.length != 0) {
      whole = print(row.value, row.conversion, row.precision);
      ASSERT_EQ(whole.size(), row.length) << row.conversion;
    } else {
      whole.resize(5000);
      EXPECT_EQ(kiv_bigflt_sprint(whole.data(), 5000, row.conversion, row.precision, &row.value), 0);
      whole.pop_back();
    }
    const size_t step = whole.size() > 100 ? whole.size() / 7 : 1;
    for (size_t size = 0; size <= whole.size() + 1; size += size + step > whole.size() ? 1 : step) {
      std::vector<char> buffer(size + 1, '~');
      const int result =
          kiv_bigflt_sprint(buffer.data(), static_cast<uint32_t>(size), row.conversion, row.precision, &row.value);
      ASSERT_EQ(result, row.length != 0 && size > whole.size() ? 1 : 0) << row.conversion << size;
      ASSERT_EQ(buffer[size], '~');
      if (size != 0) ASSERT_STREQ(buffer.data(), whole.substr(0, size - 1).c_str());
    }
  }
  const bigflt one = small_bigflt(1);
  EXPECT_EQ(kiv_bigflt_sprint(nullptr, 0, "d", 0, &one), 0);
}

TEST(BigfltText, PrintsToAStream) {
  std::string written;
  const auto write = [](const char *text, void *stream) {
    static_cast<std::string *>(stream)->append(text);
    return static_cast<int>(std::string(text) == "-1" ? -1 : 0);
  };
  const bigflt three = small_bigflt(3), minus = small_bigflt(-1), seven_halves = number(1, 0xE000000000000000);
  EXPECT_EQ(kiv_bigflt_fprint_intuitively(&written, write, &three), 1);
  EXPECT_EQ(kiv_bigflt_fprint_intuitively(&written, write, &seven_halves), 1);
  EXPECT_EQ(kiv_bigflt_fprint(&written, write, "d", 0, &minus), 0);
  EXPECT_EQ(written, "33.5000000-1");
  written.clear();
  EXPECT_EQ(kiv_bigflt_fprint(&written, write, "f", 998, &three), 0);
  EXPECT_EQ(written, "");
  EXPECT_EQ(kiv_bigflt_fprint(&written, write, "f", 997, &three), 1);
  EXPECT_EQ(written.size(), 999u);

  char text[40];
  for (const auto &[value, expected] : {std::pair(number(40, kTop), "1099511627776"),
                                        {kZero, "0"},
                                        {kNan, "NaN"},
                                        {kNegativeInfinity, "-Inf"},
                                        {number(40, kTop + 1), "1.0995116e+12"}}) {
    EXPECT_EQ(kiv_bigflt_sprint_intuitively(text, sizeof text, &value), 1);
    EXPECT_STREQ(text, expected);
  }
}

/// A source of characters that allows what KIV_BIGFLT_UNGET promises: one, the last, and only once.
struct Characters {
  std::string text;
  size_t next = 0;
  int put_back = 0;
  static int get(void *context) {
    auto &self = *static_cast<Characters *>(context);
    EXPECT_EQ(self.put_back, 0);
    return self.next < self.text.size() ? static_cast<unsigned char>(self.text[self.next++]) : -5;
  }
  static int unget(int c, void *context) {
    auto &self = *static_cast<Characters *>(context);
    EXPECT_EQ(++self.put_back, 1);
    EXPECT_EQ(c, static_cast<unsigned char>(self.text[--self.next]));
    return 0;
  }
};

/// Reads by both functions, the text ending at the end of readable memory.
int scan(const std::string &text, uint32_t limit, bigflt *r) {
  bigflt other = *r;
  Characters characters{text};
  const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
  const int result = kiv_bigflt_sscan(exact.data(), limit, r);
  EXPECT_EQ(kiv_bigflt_scan_generic(Characters::get, Characters::unget, &characters, limit, &other), result) << text;
  EXPECT_TRUE(identical(*r, other)) << text;
  EXPECT_LE(characters.next, limit);
  if (result >= 0) EXPECT_EQ(characters.next, static_cast<size_t>(result)) << text;
  return result;
}

TEST(BigfltText, Reads) {
  const std::string zeros(30000, '0'), nines(30000, '9');
  const struct {
    std::string text;
    size_t length;
    bigflt value;
  } rows[] = {
      {"0", 1, small_bigflt(0)},
      {" \t\n\v\f\r+42", 9, small_bigflt(42)},
      {"007.50e1x", 8, small_bigflt(75)},
      {"12..5", 3, small_bigflt(12)},
      {"0e999999999999999999999", 23, small_bigflt(0)},
      {"1e-99999999999999999999", 23, small_bigflt(0)},
      {"0x", 0, {}},
      {"1e+", 0, {}},
      {"", 0, {}},
      {"-", 0, {}},
      {".", 0, {}},
      {"+ 1", 0, {}},
      {".e5", 0, {}},
      {"1" + zeros + "e-30000", 30008, small_bigflt(1)},
      {"0." + zeros + "1e30001", 30009, small_bigflt(1)},
      {nines + "e-30000", 30007, small_bigflt(1)},
      {"-Inf", 4, kNegativeInfinity},
      {"infi", 0, {}},
      {"-NaN(1)", 4, kNan},
      {"-0XF.8p1", 8, small_bigflt(-31)},
      {"0x.8p", 0, {}},
      {"0x_1", 0, {}},
      {"0x1_0p-4z", 8, small_bigflt(1)},
      {"0x0.0p99999999999", 17, small_bigflt(0)},
      {"0x1.0" + zeros + "1p-32768", 30013, kClosest},
      {"0x0.ffffffffffffffffffffffffffffffffcp-32768", 44, small_bigflt(0)},
      // Ties of the last bit, exact and not.
      {"340282366920938463463374607431768211457.0" + zeros + "1", 30042, extended_bigflt(0, 128, kTop, 1)},
      {"340282366920938463463374607431768211456.9" + nines, 30041, number(128, kTop)},
  };
  for (const auto &row : rows) {
    const std::string shown = row.text.substr(0, 60);
    const bigflt untouched = number(77, kTop);
    bigflt r = untouched;
    const int result = scan(row.text, UINT32_MAX, &r);
    EXPECT_EQ(result, row.length == 0 ? -1 : static_cast<int>(row.length)) << shown;
    EXPECT_TRUE(identical(r, row.length == 0 ? untouched : row.value)) << shown << " is " << r;
    // Every limit reads what the text cut there holds.
    for (uint32_t limit = 0; limit < std::min<size_t>(row.text.size(), 40); ++limit) {
      bigflt cut = untouched, limited = untouched;
      EXPECT_EQ(scan(row.text.substr(0, limit), UINT32_MAX, &cut), scan(row.text, limit, &limited)) << shown << limit;
      EXPECT_TRUE(identical(cut, limited)) << shown << limit;
    }
  }
  Characters with_zero{std::string{'1', '2', '\0', '3'}};
  bigflt r = {};
  EXPECT_EQ(kiv_bigflt_scan_generic(Characters::get, nullptr, &with_zero, 9, &r), 2);
  EXPECT_TRUE(identical(r, small_bigflt(12)));
}

/// A digest of many texts and of what is read from texts cut short.
TEST(BigfltText, IsTheSameOnEveryTarget) {
  std::mt19937_64 random(20240607);
  Digest digest;
  for (int i = 0; i < 4000; ++i) {
    const bigflt a = random_bigflt(random);
    const auto precision = static_cast<int>(below(random, i % 100 == 0 ? 30000 : 60));
    const char conversion[] = {"duoxXefgGaA"[below(random, i % 16 == 0 ? 11 : 6)], '\0'};
    const std::string text = print(a, conversion, precision);
    for (const char c : text) digest.add(c);
    const std::string digits = print(a, "e", static_cast<int>(below(random, 70)));
    bigflt r = small_bigflt(0);
    kiv_bigflt_sscan(digits.c_str(), 1 + below(random, static_cast<uint32_t>(digits.size())), &r);
    kiv_bigflt_pow10_implied(&r, static_cast<int32_t>(below(random, 30001)) - 15000);
    digest.add(r);
  }
  EXPECT_EQ(digest.value(), 3162747041846111364U);
}

}  // namespace
