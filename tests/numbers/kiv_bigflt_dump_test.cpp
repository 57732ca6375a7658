#include "kiv_bigflt_dump.h"

#include <string>
#include <vector>

#include "tests/numbers/bigflt_literals.h"
#include "tests/support/guarded_page.h"

using namespace kiv::test;

namespace {

const std::string kOneLimbs = "+0x80000000_00000000_00000000_00000000_E";

std::string dump(const bigflt &a, uint32_t size = 52) {
  char buf[64];
  std::memset(buf, '#', sizeof buf);
  kiv_bigflt_sdump(buf, size, &a);
  EXPECT_EQ(buf[size], '#');
  return buf;
}

struct Scan {
  int status;
  uint32_t consumed;
  bigflt value;
};

Scan scan(const std::u32string &text) {
  // Nothing is read behind the text, nor behind the characters that may count.
  static GuardedPage page;
  const size_t units = text.size() + 1;
  auto *copy = page.last<KIV_UNICHAR>(units);
  for (size_t i = 0; i < units; ++i) copy[i] = text.c_str()[i];
  Scan result = {0, 77, small_bigflt(12345)};
  result.status = kiv_bigflt_scan_sdump_widestring(copy, &result.value, &result.consumed);
  return result;
}

Scan scan(const std::string &text) { return scan(std::u32string(text.begin(), text.end())); }

TEST(BigfltDump, Texts) {
  const struct {
    bigflt a;
    const char *text;
  } rows[] = {
      {small_bigflt(-5), "-0xa0000000_00000000_00000000_00000000_E+02"},
      {small_bigflt(0), "+zero"},
      {extended_bigflt(1, INT32_MIN, 0, 0), "-zero"},
      {extended_bigflt(1, -32767, 0x8123456789abcdef, 0x0fedcba987654321),
       "-0x81234567_89abcdef_0fedcba9_87654321_E-32767"},
      {extended_bigflt(0, INT32_MAX, 0, 0), "+INF"},
      {extended_bigflt(0, INT32_MAX, 0, 1), "+NaN"},
      {extended_bigflt(0, INT32_MIN, kTop, 0), "+0x80000000_00000000_00000000_00000000_E-2147483648"},
      {extended_bigflt(9, 7, 1, 2), "-0x00000000_00000001_00000000_00000002_E+07"},
  };
  for (const auto &row : rows) EXPECT_EQ(dump(row.a), row.text);
}

TEST(BigfltDump, SmallBuffers) {
  const bigflt longest = extended_bigflt(1, -32767, kTop, 0), beyond = extended_bigflt(0, 100000, kTop, 0);
  char untouched = '#';
  kiv_bigflt_sdump(&untouched, 0, &longest);
  EXPECT_EQ(untouched, '#');
  for (uint32_t size = 1; size < 47; ++size)
    EXPECT_EQ(dump(longest, size), std::string("buf 2 small").substr(0, size - 1));
  EXPECT_EQ(dump(small_bigflt(0), 46), "buf 2 small");
  EXPECT_EQ(dump(beyond, 47), "buf 2 small");
  EXPECT_EQ(dump(beyond, 48), kOneLimbs + "+100000");
}

TEST(BigfltDump, RoundTrips) {
  std::mt19937_64 random = make_random();
  for (uint64_t i = 0, count = cases(20000); i < count; ++i) {
    const bigflt a = random_bigflt(random);
    const std::string text = dump(a);
    const Scan result = scan(text);
    ASSERT_TRUE(result.status == 1 && result.consumed == text.size() && dump(result.value) == text) << text;
    // Results of operations come back as they were; only zeros and small integers in extended form do not.
    ASSERT_TRUE(result.value.small != a.small || identical(result.value, a)) << a;
  }
}

TEST(BigfltDump, Scans) {
  const bigflt one = small_bigflt(1);
  const auto infinity = [](uint32_t sign) { return extended_bigflt(sign, INT32_MAX, 0, 0); };
  const struct {
    std::string text;
    uint32_t consumed;
    bigflt value;
  } rows[] = {
      {kOneLimbs + "+00 and more", 43, one},
      {kOneLimbs + "+100-7", 46, extended_bigflt(0, 100, kTop, 0)},  // all digits and signs count
      {kOneLimbs + " \t+5", 40, small_bigflt(32)},                   // and nothing else
      {kOneLimbs + "+2147483647", 51, infinity(0)},                  // the exponent that marks it, but for the mantissa
      {kOneLimbs + "-9999999999", 51, small_bigflt(0)},
      {"+0x00000000_00000000_00000000_00000001_E+127", 44, one},
      {"+0x8000000A_0000000F_00000000_00000000_E+100", 44, extended_bigflt(0, 100, kTop | uint64_t{1} << 32 | 6, 0)},
      {"-Infinity", 4, infinity(1)},
      {"+I", 2, infinity(0)},
      {"-NaN", 4, extended_bigflt(1, INT32_MAX, UINT64_MAX, UINT64_MAX)},
      {"xz!", 3, small_bigflt(0)},
  };
  for (const auto &row : rows) {
    const Scan result = scan(row.text);
    EXPECT_EQ(result.status, 1) << row.text;
    EXPECT_EQ(result.consumed, row.consumed) << row.text;
    bigflt expected = row.value;
    if (expected.exponent == INT32_MAX && row.text[1] == '0') expected.mantissa[3] = 0x80000000;
    EXPECT_TRUE(identical(result.value, expected)) << row.text << ": " << result.value;
  }
  // The low 8 bits of a character count.
  std::u32string wide = U"\x12D\xABCD49\x1004E";
  EXPECT_TRUE(identical(scan(wide).value, infinity(1)));
  EXPECT_EQ(kiv_bigflt_scan_sdump_widestring(nullptr, nullptr, nullptr), 0);
}

TEST(BigfltDump, ScansNothingElse) {
  const std::string whole = kOneLimbs + "+5";
  std::vector<std::string> texts = {"+i", "  INF", kOneLimbs + "x", kOneLimbs + "+-5", kOneLimbs + "           5"};
  for (size_t length = 0; length < 41; ++length) texts.push_back(whole.substr(0, length));
  // One other character at each place but the sign's.
  for (size_t place = 1; place < 40; ++place) (texts.emplace_back(whole))[place] = 'g';
  for (const std::string &text : texts) {
    const Scan result = scan(text);
    EXPECT_TRUE(result.status == 0 && result.consumed == 0 && identical(result.value, small_bigflt(12345))) << text;
  }
}

}  // namespace
