// Printing and reading, on every target: literal texts, buffers that are too small, sources of characters, and a digest
// of many texts. That the digits are right is told by MPFR, see kiv_bigflt_text_mpfr_test.cpp.

#include "kiv_bigflt_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/numbers/random_bigflt.h"

namespace {

using namespace kiv::test;

constexpr bigflt kMax = {0, {}, 0, 32767, 128, 4, {~0U, ~0U, ~0U, ~0U}};
constexpr bigflt kClosest = {0, {}, 0, -32767, 128, 4, {0, 0, 0, 0x80000000}};
constexpr bigflt kInfinity = {0, {}, 0, INT32_MAX, 128, 4, {}};
constexpr bigflt kMinusInfinity = {0, {}, 1, INT32_MAX, 128, 4, {}};
constexpr bigflt kNan = {0, {}, 0, INT32_MAX, 128, 4, {~0U, ~0U, ~0U, ~0U}};
constexpr bigflt kZero = {0, {}, 0, INT32_MIN, 128, 4, {}};

/// high * 2^(exponent - 63), with a sign.
bigflt number(int32_t exponent, uint64_t high, bool negative = false) {
  return extended_bigflt(negative ? 1 : 0, exponent, high, 0);
}
const uint64_t kTop = uint64_t{1} << 63;

bool same(const bigflt &a, const bigflt &b) {
  if (a.small != b.small || a.exponent != b.exponent) return false;
  return a.small != 0 || (a.sign == b.sign && std::equal(a.mantissa, a.mantissa + 4, b.mantissa));
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
  const bigflt half = number(-1, kTop), three_halves = number(0, kTop / 2 * 3),
               negative = number(2, 0xB8u * (kTop >> 7), true);
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
      {small_bigflt(0), "o", 0, "0"},
      {small_bigflt(-1), "o", 0, "37777777777"},
      {small_bigflt(-1), "u", 0, "4294967295"},
      {small_bigflt(INT32_MIN), "d", 0, "-2147483648"},
      {small_bigflt(INT32_MIN), "x", 0, "80000000"},
      {number(3, kTop, true), "d", 0, "-8"},
      {kZero, "d", 0, "0"},
      {small_bigflt(7), "d kg, 5%% off", 0, "7 kg, 5% off"},
      // The integer part of others.
      {half, "d", 5, "0"},
      {number(-1, kTop, true), "d", 0, "-0"},
      {negative, "d", 0, "-5"},
      {negative, "o", 0, "-5"},
      {negative, "u", 0, "4294967291"},
      {negative, "x", 0, "fffffffb"},
      {negative, "X", 0, "FFFFFFFB"},
      {number(-1, kTop, true), "u", 0, "0"},
      {big, "x", 0, "0"},
      {number(159, kTop, true), "u", 0, "0"},
      {number(158, ~uint64_t{0}, true), "u", 0, "0"},
      {number(33, kTop + (kTop >> 33), true), "u", 0, "4294967295"},
      {big, "d", 0, "-1267650600228229401496703205376"},
      {big, "o", 0, "-2000000000000000000000000000000000"},
      {number(64, 0xABCDEF0123456789), "x", 0, "1579bde02468acf12"},
      {number(64, 0xABCDEF0123456789), "X", 0, "1579BDE02468ACF12"},
      {number(31, kTop), "d%n", 0, "2147483648"},
      {number(31, kTop), "u", 0, "2147483648"},
      // Fixed.
      {small_bigflt(0), "f", 2, "0.00"},
      {kZero, "f", -7, "0"},
      {negative, "f", 2, "-5.75"},
      {negative, "f", 1, "-5.8"},
      {negative, "f", 0, "-6"},
      {half, "f", 0, "0"},
      {three_halves, "f", 0, "2"},
      {half, "f", 4, "0.5000"},
      {number(-40, kTop, true), "f", 3, "-0.000"},
      {small_bigflt(-12), "f", 1, "-12.0"},
      {number(-4, ~uint64_t{0}), "f", 2, "0.12"},
      {number(3, 0xFFFF000000000000), "f", 3, "16.000"},
      {number(-10, kTop), "f", 60, "0.000976562500000000000000000000000000000000000000000000000000"},
      // Exponential; a conversion that begins with a digit is one.
      {small_bigflt(0), "e", 3, "0.000e+00"},
      {three_halves, "e", 0, "2e+00"},
      {number(1, 0xA000000000000000), "e", 0, "2e+00"},
      {small_bigflt(999996), "e", 4, "1.0000e+06"},
      {small_bigflt(-1000), "E", 2, "-1.00e+03"},
      {big, "e", 3, "-1.268e+30"},
      {small_bigflt(3), "10d", 1, "3.0e+00"},
      {small_bigflt(3), "", 1, "3.0e+00"},
      {small_bigflt(3), nullptr, -1, "3e+00"},
      {kMax, "e", 5, "1.41546e+9864"},
      {kClosest, "e", 5, "1.41297e-9864"},
      {kClosest, "G", 1, "1.4E-9864"},
      // General: 2^13 needs four digits of precision, as 10^3 < 2^13 <= 10^4; below 2^-13 it is exponential.
      {fourteen, "g", 3, "8.192e+03"},
      {fourteen, "g", 4, "8192.0000"},
      {number(-13, kTop), "g", 5, "0.00012"},
      {tiny, "g", 5, "6.10352e-05"},
      {tiny, "G", 5, "6.10352E-05"},
      {small_bigflt(0), "g", 1, "0.0e+00"},
      {small_bigflt(1), "g", 0, "1"},
      {small_bigflt(2), "g", -3, "2e+00"},
      // Hexadecimal, and special values.
      {small_bigflt(1), "a", 3, "+0x0.80000000000000000000000000000000p+1"},
      {small_bigflt(0), "A", 0, "+0x0.0"},
      {number(-1, 0xABCDEF0123456789, true), "A", 0, "-0x0.abcdef01_23456789_00000000_00000000p0"},
      {kClosest, "a", 0, "+0x0.80000000000000000000000000000000p-32766"},
      {kInfinity, "a", 0, "+INF"},
      {kMinusInfinity, "A", 0, "-INF"},
      {kNan, "a", 0, "+NaN"},
      {kNan, "f", 3, "NaN"},
      {kNan, "x", 0, "NaN"},
      {kInfinity, "d", 0, "+Inf"},
      {kMinusInfinity, "g", 7, "-Inf"},
      {kMinusInfinity, "u", 7, "-Inf"},
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
              {kMax, "x", 0, 8192},
              {third, "f", 50, 52},
              {third, "e", 20, 26},
              {third, "A", 0, 43},
              {long_fraction, "f", 32830, 32833},
              {kMax, "f", 3, 9865 + 4},
              {long_fraction, "e", 23000, 23009},
              {small_bigflt(-1), "f", INT32_MAX, 0},
              {third, "e", INT32_MAX, 0},
              {kMinusInfinity, "G", INT32_MAX, 4}};
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
                                        {kMinusInfinity, "-Inf"},
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
  EXPECT_TRUE(same(*r, other)) << text;
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
      {"-0.0e5", 6, small_bigflt(0)},
      {" \t\n\v\f\r+42", 9, small_bigflt(42)},
      {"-2147483648", 11, small_bigflt(INT32_MIN)},
      {"2147483648", 10, number(31, kTop)},
      {"007.50e1x", 8, small_bigflt(75)},
      {".5", 2, number(-1, kTop)},
      {"5.", 2, small_bigflt(5)},
      {"1.5e-0", 6, number(0, kTop / 2 * 3)},
      {"12..5", 3, small_bigflt(12)},
      {"0e999999999999999999999", 23, small_bigflt(0)},
      {"-1e999999999999999999999", 24, kMinusInfinity},
      {"1e-99999999999999999999", 23, small_bigflt(0)},
      {"0x", 0, {}},
      {"1e+", 0, {}},
      {"", 0, {}},
      {"-", 0, {}},
      {".", 0, {}},
      {"+ 1", 0, {}},
      {"x", 0, {}},
      {".e5", 0, {}},
      {"1e5", 3, small_bigflt(100000)},
      {"1E+05", 5, small_bigflt(100000)},
      {"1" + zeros + "e-30000", 30008, small_bigflt(1)},
      {"0." + zeros + "1e30001", 30009, small_bigflt(1)},
      {"1" + zeros, 30001, kInfinity},
      {"." + zeros + "1", 30002, small_bigflt(0)},
      {nines + "e-30000", 30007, small_bigflt(1)},
      {"infinity", 8, kInfinity},
      {"-Inf", 4, kMinusInfinity},
      {"INFx", 3, kInfinity},
      {"infi", 0, {}},
      {"in", 0, {}},
      {"nan", 3, kNan},
      {"-NaN(1)", 4, kNan},
      {"na", 0, {}},
      {"+INF", 4, kInfinity},
      {"+NaN", 4, kNan},
      {"0x1f", 4, small_bigflt(31)},
      {"-0XF.8p1", 8, small_bigflt(-31)},
      {"0x.8p", 0, {}},
      {"0x.", 0, {}},
      {"0x_1", 0, {}},
      {"0x.8", 4, number(-1, kTop)},
      {"0x1_0p-4z", 8, small_bigflt(1)},
      {"0x1_", 0, {}},
      {"0x1__0", 0, {}},
      {"0x1.p3", 6, small_bigflt(8)},
      {"0x0.0p99999999999", 17, small_bigflt(0)},
      {"0x1p99999999999", 15, kInfinity},
      {"0x1p-32767", 10, kClosest},
      {"0x1p-32768", 10, small_bigflt(0)},
      {"0x1.0" + zeros + "1p-32768", 30013, kClosest},
      {"0x0.ffffffffffffffffffffffffffffffffcp-32768", 44, small_bigflt(0)},
      // Ties of the last bit, exact and not.
      {"0x1000000000000000000000000000000010", 36, number(132, kTop)},
      {"0x1000000000000000000000000000000030", 36, extended_bigflt(0, 132, kTop, 2)},
      {"340282366920938463463374607431768211457", 39, number(128, kTop)},
      {"340282366920938463463374607431768211459", 39, extended_bigflt(0, 128, kTop, 2)},
      {"340282366920938463463374607431768211457.0" + zeros + "1", 30042, extended_bigflt(0, 128, kTop, 1)},
      {"340282366920938463463374607431768211456.9" + nines, 30041, number(128, kTop)},
  };
  for (const auto &row : rows) {
    const std::string shown = row.text.substr(0, 60);
    const bigflt untouched = number(77, kTop);
    bigflt r = untouched;
    const int result = scan(row.text, UINT32_MAX, &r);
    EXPECT_EQ(result, row.length == 0 ? -1 : static_cast<int>(row.length)) << shown;
    EXPECT_TRUE(same(r, row.length == 0 ? untouched : row.value)) << shown << " is " << r;
    // Every limit reads what the text cut there holds.
    for (uint32_t limit = 0; limit < std::min<size_t>(row.text.size(), 40); ++limit) {
      bigflt cut = untouched, limited = untouched;
      EXPECT_EQ(scan(row.text.substr(0, limit), UINT32_MAX, &cut), scan(row.text, limit, &limited)) << shown << limit;
      EXPECT_TRUE(same(cut, limited)) << shown << limit;
    }
  }
  Characters with_zero{
      std::string("12\0"
                  "3",
                  4)};
  bigflt r = {};
  EXPECT_EQ(kiv_bigflt_scan_generic(Characters::get, nullptr, &with_zero, 9, &r), 2);
  EXPECT_TRUE(same(r, small_bigflt(12)));
}

TEST(BigfltText, PrintedTextReadsBackTheSame) {
  auto random = make_random();
  for (uint64_t i = cases(3000); i-- > 0;) {
    const bigflt a = random_bigflt(random);
    const bigflt canonical = read(print(a, "a", 0));
    EXPECT_TRUE(same(read(print(a, "A", 0)), canonical)) << a;
    EXPECT_TRUE(same(read(print(a, "e", 39)), canonical)) << a;
    EXPECT_TRUE(a.small != 0 ? same(a, canonical) : canonical.small != 0 || same(a, canonical)) << a;
  }
}

/// FNV-1a of many texts and of what is read from texts cut short.
TEST(BigfltText, IsTheSameOnEveryTarget) {
  std::mt19937_64 random(20240607);
  uint64_t digest = 0xCBF29CE484222325;
  const auto add = [&](const void *data, size_t size) {
    for (size_t i = 0; i < size; ++i) digest = (digest ^ static_cast<const uint8_t *>(data)[i]) * 0x100000001B3;
  };
  for (int i = 0; i < 4000; ++i) {
    const bigflt a = random_bigflt(random);
    const auto precision = static_cast<int>(below(random, i % 100 == 0 ? 30000 : 60));
    const char conversion[] = {"duoxXefgGaA"[below(random, i % 16 == 0 ? 11 : 6)], '\0'};
    const std::string text = print(a, conversion, precision);
    add(text.data(), text.size());
    const std::string digits = print(a, "e", static_cast<int>(below(random, 70)));
    bigflt r = small_bigflt(0);
    kiv_bigflt_sscan(digits.c_str(), 1 + below(random, static_cast<uint32_t>(digits.size())), &r);
    kiv_bigflt_pow10_implied(&r, static_cast<int32_t>(below(random, 30001)) - 15000);
    add(&r, sizeof r);
  }
  EXPECT_EQ(digest, 3162747041846111364U);
}

}  // namespace
