#include "kiv_i18n.h"

#include <cinttypes>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_bigflt_convert.h"
#include "kiv_message.h"
#include "kiv_string.h"
#include "tests/numbers/random_bigflt.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::test;

template <class T>
constexpr bool kIsRefused = !std::is_constructible<kiv::MessageValue, T>::value;
static_assert(kIsRefused<long double> && kIsRefused<void *> && kIsRefused<std::nullptr_t> && !kIsRefused<bool>);
static_assert(kIsRefused<const wchar_t *> && kIsRefused<decltype([] {})> && !kIsRefused<const char *>);

constexpr const char *kFailure = "FAILURE";

/// ASCII as it is, other code points as "<4E2D>".
std::string shown(const KIV_UNICHAR *text) {
  std::string result;
  for (; text != nullptr && *text != 0; ++text) {
    if (*text < 0x80) {
      result += static_cast<char>(*text);
      continue;
    }
    char code[16];
    std::snprintf(code, sizeof code, "<%X>", *text);
    result += code;
  }
  return result;
}

std::vector<KIV_UNICHAR> widened(const std::string &bytes) {
  std::vector<KIV_UNICHAR> units(bytes.size() + 1);
  for (size_t i = 0; i < bytes.size(); ++i) units[i] = static_cast<uint8_t>(bytes[i]);
  return units;
}

/// Formats by all forms, which have to agree: into a new text, into a buffer that just has room and ends at a page that
/// must not be touched, and both from a string of code points. The message ends at such a page, too.
std::string format(const std::string &bytes, const void *a0 = nullptr, const void *a1 = nullptr,
                   const void *a2 = nullptr, const void *a3 = nullptr, const void *a4 = nullptr,
                   const void *a5 = nullptr, const void *a6 = nullptr, const void *a7 = nullptr) {
  static GuardedPage byte_page, unit_page, buffer_page;
  char *message = byte_page.last<char>(bytes.size() + 1);
  std::copy_n(bytes.c_str(), bytes.size() + 1, message);
  const std::vector<KIV_UNICHAR> units = widened(bytes);
  if (units.size() * sizeof(KIV_UNICHAR) > GuardedPage::kSize) return "too long for the test";
  KIV_UNICHAR *string_message = unit_page.last<KIV_UNICHAR>(units.size());
  std::copy(units.begin(), units.end(), string_message);
  const void *const words[] = {a0, a1, a2, a3, a4, a5, a6, a7};
  CountingAllocator allocator;
  KIV_STRING text = kiv_i18n_prna8(nullptr, allocator.record(), message, a0, a1, a2, a3, a4, a5, a6, a7);
  const std::string result = text != nullptr ? shown(text) : kFailure;
  const uint32_t length = kiv_string_length(text);
  kiv_string_delete(allocator.record(), text);
  KIV_I18N_OUTPUT output = {allocator.record(), nullptr, 0, 0};
  const int status = kiv_i18n_prn_do(nullptr, nullptr, string_message, 8, words, &output, nullptr);
  EXPECT_EQ(output.buffer != nullptr ? shown(output.buffer) : kFailure, result) << bytes;
  EXPECT_EQ(status, result == kFailure ? 1 : 0);
  EXPECT_EQ(output.count, length);
  kiv_string_delete(allocator.record(), output.buffer);
  if (length >= GuardedPage::kSize / sizeof(KIV_UNICHAR)) return result;
  // The buffer of one code point less holds the beginning.
  for (const uint32_t capacity : {length + 1, length}) {
    KIV_STRING buffer = buffer_page.last<KIV_UNICHAR>(capacity);
    uint32_t count = 12345;
    const bool fits = capacity > length && result != kFailure;
    EXPECT_EQ(kiv_i18n_prn8(nullptr, buffer, capacity, &count, message, a0, a1, a2, a3, a4, a5, a6, a7), fits ? 0 : 1);
    EXPECT_EQ(count, capacity > 0 ? capacity - 1 : 0) << bytes;
    if (capacity == 0) break;
    EXPECT_EQ(buffer[count], 0u);
    EXPECT_EQ(kiv_string_length(buffer), count);
    EXPECT_EQ(shown(buffer), result == kFailure ? "" : fits ? result : shown(buffer));
  }
  return result;
}

const KIV_UNICHAR kSigma[] = {'a', 0x3A3, 0};

TEST(I18n, ReadsTheSyntax) {
  const char *const cases[][2] = {
      {"[[0_S]][|]", "[0_S]"},
      {"end[| and what follows [0_", "end"},
      {"[[[[a]]]]]b]c][|]", "[[a]]]b]c]"},
      {"[&3a3][&ffffffff][&00000041?[&41[[|]", "<3A3><FFFFFFFF>AA"},
      {"\xE9\xFF[|]", "<E9><FF>"},
      // Without the mark the terminator is the end.
      {"", ""},
      {"a [[", "a ["},
  };
  for (const auto &[message, text] : cases) EXPECT_EQ(format(message), text) << message;
}

TEST(I18n, PrintsEveryType) {
  const KIV_S128 low = {INT64_MIN, 0};
  const KIV_U128 high = {UINT64_MAX, UINT64_MAX}, below_2_64 = {0, UINT64_MAX};
  bigflt third;
  kiv_bigflt_double_to_bigflt(&third, -0.375);
  char chars[] = "abc";
  KIV_UNICHAR sigma[] = {'a', 0x3A3, 0};
  KIV_STRING string = sigma;
  enum Enumeration : uint32_t { five = 5 };
  const struct {
    const char *placeholders;
    std::string text;
    std::string expected;
  } cases[] = {
      {"s8..s64", format("[0_s8] [1_s16] [2_s32] [3_s64m][|]", KIV_ARGS(-5, -5, -5, -5)), "-5 -5 -5 -5"},
      {"128", format("[0_s128] [1_u128] [2_u128] [0_s128x] [1_u128d][|]", KIV_ARGS(low, high, below_2_64)),
       "-170141183460469231731687303715884105728 340282366920938463463374607431768211455 18446744073709551615 "
       "80000000000000000000000000000000 -1"},
      {"hex", format("[0_s8x] [1_s16x] [2_s32x] [3_s64x] [4_u32x][|]", KIV_ARGS(-1, -1, -1, -1, 0xBEEFu)),
       "ff ffff ffffffff ffffffffffffffff beef"},
      {"signs", format("[0_s8u] [3_s32u] [1_u32d] [2_u8d] [3_s32d][|]", KIV_ARGS(-1, UINT32_MAX, 200, -1)),
       "255 4294967295 -1 -56 -1"},
      {"odd widths", format("[0_s7] [1_u9] [2_s35][|]", KIV_ARGS(INT64_MIN, UINT64_MAX, -1)),
       "-9223372036854775808 18446744073709551615 -1"},
      {"odd widths of 128", format("[0_u12] [0_u1] [0_u1x5][|]", KIV_ARGS(high)),
       "340282366920938463463374607431768211455 340282366920938463463374607431768211455 "
       "ffffffffffffffffffffffffffffffff"},
      {"format behind widths", format("[0_u325]|[0_u32-12]|[1_u84]|[2_u1284]|[|]", KIV_ARGS(7u, 8u, below_2_64)),
       "    7|7           |   8|18446744073709551615|"},
      {"truth", format("[0_b] [1_b] [2_b] [2_bd] [2_bx] [1_b6]|[1_b-6]|[|]", KIV_ARGS(true, false, 16)),
       "true false true 16 10  false|false |"},
      {"characters", format("[0_c][1_c][2_C] [2_Cx] [0_cd]|[0_c3]|[3_C3]|[|]", KIV_ARGS('A', '\xE9', U'\u4E2D', 0)),
       "A<E9><4E2D> 4e2d 65|  A|   |"},
      {"doubles", format("[0_d] [0_de.3] [0_df.2] [0_dg.17] [0_d.4] [0_dx8]|[0_df-8.1]|[|]", KIV_ARGS(-1234.5678)),
       "-1e+03 -1.235e+03 -1234.57 -1234.5678 -1235   -1e+03|-1234.6 |"},
      {"special doubles",
       format("[0_d] [1_df] [2_d4]|[3_d] [4_dg.3] [5_de][|]",
              KIV_ARGS(HUGE_VAL, -HUGE_VAL, std::numeric_limits<double>::quiet_NaN(), -0.0, 1e100, 5e-324)),
       "inf -inf  nan|-0 1e+100 5e-324"},
      {"bigflt", format("[0_F] [0_Ff.3] [0_Fe.2] [1_z] [1_Bx] [1_Bd6]|[1_B-6]|[|]", KIV_ARGS(third, small_bigflt(255))),
       "-0 -0.375 -3.75e-01 3e+02 ff    255|3e+02 |"},
      {"strings", format("[0_s] [1_S] [1_S4]|[1_S.1][|]", KIV_ARGS("hello", kSigma)), "hello a<3A3>   a<3A3>|a"},
      {"values of C++",
       format("[0_s] [1_S] [2_S] [3_u8] [4_df.1] [5_s64][|]",
              KIV_ARGS(chars, sigma, string, five, 1.5f, static_cast<signed char>(-3))),
       "abc a<3A3> a<3A3> 5 1.5 -3"},
      {"nulls", format("[0_s] [1_S8] [2_u32] [3_d] [PLURAL_S([2_u32],'x')][|]"), "(null)   (null) (null) (null) xs"},
  };
  for (const auto &it : cases) EXPECT_EQ(it.text, it.expected) << it.placeholders;
  // The values of 8- and 16-bit types are as wide as themselves in strings of code points only.
  const int32_t wide = 0x12345;
  const void *word = &wide;
  KIV_UNICHAR buffer[64];
  KIV_I18N_OUTPUT output = {nullptr, buffer, 64, 0};
  const std::vector<KIV_UNICHAR> of_units = widened("[0_s16x][|]");
  EXPECT_EQ(kiv_i18n_prn_do(nullptr, nullptr, of_units.data(), 1, &word, &output, nullptr), 0);
  EXPECT_EQ(shown(buffer), "2345");
  EXPECT_EQ(kiv_i18n_prn_do(nullptr, "[0_s16x][|]", nullptr, 1, &word, &output, nullptr), 0);
  EXPECT_EQ(shown(buffer), "12345");
}

TEST(I18n, ChoosesFormsOfWords) {
  const char *const cases[][3] = {
      {"SING_S([0_u32], 'file')", "files", "file"},
      {"PLURAL_S([0_u32], 'file')", "file", "files"},
      {"SING_ES([0_u32],|go|)", "goes", "go"},
      {"PLURAL_ES([0_u32], \"match\")", "match", "matches"},
      {"SING_Y_IES([0_u32], 'fly')", "flies", "fly"},
      {"PLURAL_Y_IES([0_u32],'day,')", "day,", "day,"},
      {"PLURAL_Y_IES([0_u32],'')", "", ""},
      {"PLURAL_IRR([0_u32], [1_s-4], '(]')", "fly ", "(]"},
      {"PLURAL_S(\t\n [0_u32],\x01 [1_s])", "fly", "flys"},
      {"PLURAL_Y_IES([0_u32],[1_s-4])", "fly ", "fly "},
      {"PLURAL_Y_IES([0_u32],'y')", "y", "ies"},
  };
  for (const auto &[call, one, many] : cases) {
    const std::string message = "<[" + std::string(call) + "]>[|]";
    EXPECT_EQ(format(message, KIV_ARGS(1, "fly")), "<" + std::string(one) + ">") << call;
    EXPECT_EQ(format(message, KIV_ARGS(2, "fly")), "<" + std::string(many) + ">") << call;
  }
  // One in every type of numbers.
  const char *const message =
      "[PLURAL_S([0_s8],'')][PLURAL_S([1_u64],'')][PLURAL_S([2_s128],'')][PLURAL_S([3_d],'')]"
      "[PLURAL_S([4_F],'')][PLURAL_S([5_F],'')][|]";
  bigflt one = small_bigflt(1), extended_one = extended_bigflt(0, 0, uint64_t{1} << 63, 0), almost = extended_one;
  almost.mantissa[0] = 1;
  EXPECT_EQ(format(message, KIV_ARGS(1, 1, (KIV_S128{0, 1}), 1.0, one, extended_one)), "");
  EXPECT_EQ(format(message,
                   KIV_ARGS(-1, uint64_t{1} << 32 | 1, (KIV_S128{1, 1}), 1.0000000000000002, small_bigflt(-1), almost)),
            "ssssss");
}

TEST(I18n, RefusesWhatItCannotPrint) {
  const auto refuses = [](std::initializer_list<const char *> messages) {
    for (const std::string bad : messages) {
      EXPECT_EQ(format("[" + bad + "][|]", KIV_ARGS(1)), kFailure) << bad;
      EXPECT_EQ(format("[" + bad, KIV_ARGS(1)), kFailure) << bad;
    }
  };
  refuses({"8_S",  "4294967296_S", "0_",    "0S",    "_S",       "0_1",    "0_u",  "0_ux",
           "0_S.", "0_dee",        "0_dgx", "0_S 5", "0_u32mm",  "0_S-5-", " 0_S", "0_S[|",
           "(0)",  "&0",           "&g",    "",      "0_u3212-", "PLURAL", "&"});
  refuses({"0_S4294967296", "0_S4000000000", "0_df.1000001", "&100000000", "0_S][0_u32", "0_u32][0_s32", "0_u32][0_u64",
           "PLURAL_S([0_u32],[0_s])", "PLURAL_S([0_u32],'a'", "PLURAL_S([0_u32],'a)"});
  refuses({"PLURAL_X([0_u32],'a')", "plural_s([0_u32],'a')", "PLURAL_([0_u32],'a')", "PLURAL_S_([0_u32],'a')",
           "PLURAL_S([0_u32])", "PLURAL_S([0_u32],'a','b')", "PLURAL_IRR([0_u32],'a')", "PLURAL_S('a',[0_u32])",
           "PLURAL_S([0_s],'a')", "PLURAL_S([0_b],'a')", "PLURAL_S([0_u32] ,'a')", "PLURAL_S [0_u32],'a')",
           "PLURAL_S([0_u32],[PLURAL_S([0_u32],'a')])", "PLURAL_Y_IES_AND_MORE([0_u32],'a')", "PLURAL_S([0_u32],"});
  EXPECT_EQ(format("[0_S1000000.1000000][|]", KIV_ARGS(kSigma)).size(), 1000000u - 2 + 6);
  CountingAllocator allocator;
  EXPECT_EQ(kiv_i18n_prna2(nullptr, allocator.record(), nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(kiv_i18n_prnd8(nullptr, "[|]", KIV_ARGS(0)), nullptr);
  EXPECT_TRUE(allocator.log.empty());
  // The first pass tells what it has found.
  const std::pair<const char *, int32_t> rows[] = {{"[0_S][6_u32][|]", 7}, {"[PLURAL_S([63_u32],[2_s])][|]", 64},
                                                   {"[64_S][|]", 65},      {"[4294967296_S][|]", INT32_MAX},
                                                   {"[7_S][|][", 8},       {"[7_S] [", -1}};
  const std::vector<const void *> words(100);
  for (const auto &[message, told] : rows) {
    KIV_UNICHAR buffer[100] = {};
    KIV_I18N_OUTPUT output = {nullptr, buffer, 100, 77};
    int32_t needed = 99;
    for (const uint32_t count : {0u, 7u, 64u, 100u}) {
      const bool enough = told >= 0 && told <= 64 && static_cast<uint32_t>(told) <= count;
      EXPECT_EQ(kiv_i18n_prn_do(nullptr, message, nullptr, count, words.data(), &output, &needed), enough ? 0 : 1);
      EXPECT_EQ(needed, told) << message;
      EXPECT_EQ(output.count, kiv_string_length(buffer));
    }
  }
}

// Messages of many items, which are not all kept between the passes.
TEST(I18n, FormatsMessagesOfAnyLength) {
  for (size_t items = 0; items < 50; ++items) {
    std::string message, expected;
    for (size_t i = 0; i < items; ++i) {
      message += i % 3 == 0 ? "[PLURAL_IRR([0_u32],'one','many')]" : i % 3 == 1 ? "[1_s]" : "[[";
      expected += i % 3 == 0 ? "one" : i % 3 == 1 ? "text" : "[";
    }
    ASSERT_EQ(format(message + "[|]", KIV_ARGS(1, "text")), expected);
    ASSERT_EQ(format(message + "[|]", KIV_ARGS(2, "text")) == expected, items == 0);
    ASSERT_EQ(format(message + "[0_S"), kFailure);
  }
}

/// The C runtime's idea of a text.
std::string printed(const char *format, ...) {
  static char buffer[4000];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

TEST(I18n, AgreesWithPrintf) {
  auto random = make_random();
  for (uint64_t i = cases(2000); i > 0; --i) {
    const uint64_t value = random() >> below(random, 64);
    const int width = static_cast<int>(below(random, 30)), precision = 1 + static_cast<int>(below(random, 30));
    const std::string minus = below(random, 2) == 0 ? "-" : "";
    const std::string field = minus + std::to_string(width) + "." + std::to_string(precision);
    const auto message = [&](const char *placeholder) { return "[" + std::string(placeholder) + field + "][|]"; };
    const std::string flags = "%" + minus + "*.*";
    const auto expect = [&](const char *placeholder, const char *conversion, const void *word, auto passed) {
      ASSERT_EQ(format(message(placeholder), word), printed((flags + conversion).c_str(), width, precision, passed));
    };
    const auto small = static_cast<int32_t>(value);
    expect("0_s32d", PRId32, &small, small);
    expect("0_u32u", PRIu32, &small, static_cast<uint32_t>(small));
    expect("0_u32x", PRIx32, &small, static_cast<uint32_t>(small));
    expect("0_s64d", PRId64, &value, static_cast<int64_t>(value));
    expect("0_u64u", PRIu64, &value, value);
    expect("0_s64x", PRIx64, &value, value);
    const std::string text = std::to_string(value);
    expect("0_S", "s", widened(text).data(), text.c_str());
    if (!minus.empty()) expect("0_s", "s", text.c_str(), text.c_str());
  }
}

// Ties, powers of ten and carries, of all sizes and with all digits.
TEST(I18n, RoundsDoublesAsPrintf) {
  auto random = make_random();
  for (uint64_t i = cases(5000); i > 0; --i) {
    const uint64_t bits = random();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    const int scale = static_cast<int>(below(random, 25));
    switch (below(random, 5)) {
      case 0:
        break;
      case 1:
        value = std::ldexp(static_cast<double>(static_cast<int64_t>(bits) >> below(random, 60)),
                           -static_cast<int>(below(random, 140)));
        break;
      case 2:
        value = std::round(std::pow(10, scale)) * (below(random, 2) == 0 ? 1e-15 : 1);
        break;
      case 3:
        value = std::nextafter(std::pow(10, scale - 12), below(random, 2) == 0 ? 0 : 1e300);
        break;
      default:
        value = static_cast<double>(below(random, 100000)) / 16 + 0.5;
    }
    if (std::isnan(value)) continue;
    for (const char *letter : {"e", "f", "g"}) {
      const int digits = static_cast<int>(below(random, 22));
      const std::string placeholder = "[0_d" + std::string(letter) + "." + std::to_string(digits) + "][|]";
      const std::string conversion = "%.*" + std::string(letter);
      ASSERT_EQ(format(placeholder, &value), printed(conversion.c_str(), digits, value));
    }
  }
}

// Many digits: what lies behind the last digit of a number is 0.
TEST(I18n, PrintsAsManyDigitsAsAreAskedFor) {
  const double least = 5e-324, third = 1 / 3.0, greatest = std::numeric_limits<double>::max();
  bigflt big = extended_bigflt(0, -32767, uint64_t{1} << 63, 1);
  for (const double value : {least, third, -greatest, 0.0}) {
    EXPECT_EQ(format("[0_df-3500.3000][|]", KIV_ARG(value)), printed("%-3500.3000f", value));
    EXPECT_EQ(format("[0_de-3500.3000][|]", KIV_ARG(value)), printed("%-3500.3000e", value));
    EXPECT_EQ(format("[0_dg.1500][|]", KIV_ARG(value)), printed("%.1500g", value));
  }
  const std::string exact = format("[0_Ff.33000][|]", KIV_ARG(big)), more = format("[0_Ff.33010][|]", KIV_ARG(big));
  EXPECT_EQ(exact.size(), 33002u);
  EXPECT_EQ(more, exact + std::string(10, '0'));
  EXPECT_EQ(format("[0_Fe.40000][|]", KIV_ARG(big)).substr(33002), std::string(7000, '0') + "e-9864");
}

TEST(I18n, GrowsInItsSteps) {
  CountingAllocator allocator;
  for (const auto &[length, blocks] : {std::pair(0u, 1u), {127u, 1u}, {128u, 2u}, {1000u, 5u}}) {
    allocator.clear_log();
    kiv_string_delete(allocator.record(), kiv_i18n_prna2(nullptr, allocator.record(), "[0_s][|]",
                                                         std::string(length, 'x').c_str(), nullptr));
    ASSERT_EQ(allocator.log.size(), blocks + 1);  // of 128, 242, 413, 669, 1053 code points, and the end
    if (blocks == 5) EXPECT_TRUE(allocator.log[4].find(" 4212 -> ") != std::string::npos) << allocator.log[4];
  }
}

TEST(I18n, KeepsTexts) {
  CountingAllocator allocator;
  KIV_I18N *handle = kiv_i18n_prn_init(allocator.record());
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->capacity, 1u);
  const char *const cases[][2] = {{"No memory.[|]", "No memory."},
                                  {"No memory.[|] ", "No memory."},  // another message
                                  {"[[a]] [&3a3]]]b[|]", "[a] <3A3>]b"},
                                  {"[0_S] [PLURAL_S([0_u32], 'a]]b')][|]x", "[0_S] [PLURAL_S([0_u32], 'a]b')]"},
                                  {"", ""},
                                  {"\xE9[", "<E9>["}};
  for (const auto &[given, expected] : cases) {
    KIV_STRING got = kiv_i18n_get(handle, given);
    EXPECT_EQ(shown(got), expected);
    const KIV_I18N_PAIR &pair = handle->table[handle->count - 1];
    EXPECT_EQ(pair.text, got);
    EXPECT_EQ(allocator.size_of(pair.key), std::strlen(given) + 1);
    EXPECT_EQ(allocator.size_of(got), 4 * (std::strlen(given) + 1));
    EXPECT_EQ(kiv_i18n_get_en(handle, std::string(given).c_str()), got);
  }
  for (const char *bad : {"[&0][|]", "a[&[|]", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(kiv_i18n_get(handle, bad), nullptr);
  }
  EXPECT_EQ(handle->count, 6u);
  EXPECT_EQ(handle->capacity, 12u);
  KIV_STRING formatted = kiv_i18n_prnd8(handle, "[0_s] [7_u8][|]", KIV_ARGS("a", 1, 2, 3, 4, 5, 6, 7));
  EXPECT_EQ(shown(formatted), "a 7");
  kiv_string_delete(allocator.record(), formatted);
  for (int i = 0; i < 5000; ++i) EXPECT_NE(kiv_i18n_get(handle, std::to_string(i % 2500).c_str()), nullptr);
  EXPECT_EQ(handle->count, 2506u);
  EXPECT_EQ(handle->capacity, 2806u);  // of 34, 78, 166, 342, 694, 1398, 2806
  EXPECT_EQ(allocator.size_of(handle->table), handle->capacity * sizeof(KIV_I18N_PAIR));
  kiv_i18n_prn_exit(handle);
  kiv_i18n_prn_exit(nullptr);
  EXPECT_EQ(kiv_i18n_prn_init(nullptr), nullptr);
  EXPECT_EQ(kiv_i18n_get(nullptr, ""), nullptr);
}

TEST(I18n, GivesEveryThreadTheSameTexts) {
  KIV_ALLOCATOR heap;
  KIV_I18N *handle = kiv_i18n_prn_init(kiv_allocator_default_new(&heap));
  const auto message = [](size_t i) { return std::to_string(i * 7 % 500); };
  std::vector<KIV_STRING> texts[4];
  std::vector<std::thread> threads;
  for (auto &seen : texts) {
    threads.emplace_back([&] {
      for (size_t i = 0; i < 1500; ++i) seen.push_back(kiv_i18n_get(handle, message(i).c_str()));
    });
  }
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(handle->count, 500u);
  for (size_t i = 0; i < 1500; ++i) EXPECT_EQ(shown(texts[0][i]), message(i));
  for (const auto &seen : texts) EXPECT_EQ(seen, texts[0]);
  kiv_i18n_prn_exit(handle);
  kiv_allocator_default_delete(&heap);
}

TEST(I18n, SurvivesEveryFailure) {
  const std::string long_text(500, 'x');
  EXPECT_GE(sweep_failures([&](CountingAllocator &allocator) {
              KIV_I18N *handle = kiv_i18n_prn_init(allocator.record());
              if (handle == nullptr) return;
              for (const char *message : {"a[|]", "b[|]", "a[|]", "b[|]"}) {
                KIV_STRING text = kiv_i18n_get(handle, message);
                EXPECT_TRUE(text != nullptr || allocator.has_failed());
                if (text != nullptr) EXPECT_EQ(shown(text), std::string(message, 1));
              }
              KIV_STRING text = kiv_i18n_prnd8(handle, "[0_s]: [1_df.300] [PLURAL_S([2_u8], 'file')][|]",
                                               KIV_ARGS(long_text.c_str(), 1.5, 2));
              EXPECT_TRUE(text != nullptr || allocator.has_failed());
              kiv_string_delete(allocator.record(), text);
              kiv_i18n_prn_exit(handle);
            }),
            11u);
}

}  // namespace
