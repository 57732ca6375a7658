#include "kiv_string_number.h"

#include <cinttypes>
#include <cstdio>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"
#include "tests/text/parse_every_type.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using kiv::test::ParsedNumber;
using kiv::test::text_of;

const KIV_UNICHAR *units(const char32_t *text) { return reinterpret_cast<const KIV_UNICHAR *>(text); }

std::string shown(const std::u32string &text) {
  std::string result;
  for (const char32_t c : text)
    result += c < 0x80 ? std::string(1, static_cast<char>(c)) : "<" + std::to_string(c) + ">";
  return result;
}

/// The text ends with readable memory.
void compare(const std::u32string &text, int base, bool skip = false, bool trailing = false) {
  kiv::test::parse_every_type(
      text, base, skip, trailing, [&](const char *name, const ParsedNumber &parsed, const ParsedNumber &told) {
        if (parsed == told) return;
        ADD_FAILURE() << name << " of '" << shown(text) << "' in base " << base << ", flags " << skip << trailing
                      << ": result " << parsed.result << ", " << parsed.hi << ':' << parsed.lo << ", start "
                      << parsed.start << ", length " << parsed.length << "; told: " << told.result << ", " << told.hi
                      << ':' << told.lo << ", " << told.start << ", " << told.length;
      });
  if (base != 0 || text.size() > 1000) return;
  static kiv::test::GuardedPage page;
  auto *string = page.last<KIV_UNICHAR>(text.size() + 1);
  std::copy_n(text.c_str(), text.size() + 1, string);
  KIV_S128 value;
  (void)kiv_string_convert_to_s128(string, 0, skip, 0, &value, nullptr, nullptr);
  kiv_string_s32_from_decimal(string, nullptr);
  kiv_string_u32_from_decimal(string, nullptr);
}

constexpr int kBases[] = {INT32_MIN, -1, 0, 1, 2, 8, 9, 10, 11, 12, 16, 17, 36, INT32_MAX};

TEST(Number, EveryShortText) {
  const std::u32string alphabet = U" +-01x9aG\u00A0";
  for (uint32_t length = 0; length <= 4; ++length) {
    uint32_t texts = 1;
    for (uint32_t i = 0; i < length; ++i) texts *= static_cast<uint32_t>(alphabet.size());
    for (uint32_t number = 0; number < texts && !HasFailure(); ++number) {
      std::u32string text;
      for (uint32_t rest = number; text.size() < length; rest /= 10) text += alphabet[rest % 10];
      if (length < 4) {
        for (const int base : kBases) {
          for (int flags = 0; flags < 4; ++flags) compare(text, base, (flags & 1) != 0, (flags & 2) != 0);
        }
      } else {
        for (const int base : {0, 12, 16}) compare(text, base, true, number % 2 == 0);
      }
    }
  }
}

/// One more, in a base.
void increment(std::u32string &digits, uint32_t base) {
  const std::u32string values = U"0123456789abcdef";
  for (size_t i = digits.size(); i-- > 0;) {
    const size_t value = values.find(digits[i]) + 1;
    digits[i] = value == base ? U'0' : values[value];
    if (value != base) return;
  }
  digits.insert(0, 1, U'1');
}

TEST(Number, AroundEveryLimit) {
  for (uint32_t base = 2; base <= 16; base = base == 10 ? 16 : base + 1) {
    for (const int bits : {31, 32, 60, 63, 64, 124, 127, 128}) {
      // 2^bits - 4, from behind.
      std::u32string digits;
      for (kiv::UInt128 rest = (~kiv::UInt128(0) >> (128 - bits)) - 3; rest != 0; rest = rest / kiv::UInt128(base)) {
        digits.insert(0, 1, U"0123456789abcdef"[kiv::low64(rest % kiv::UInt128(base))]);
      }
      for (int i = 0; i < 8; ++i, increment(digits, base)) {
        const int as = static_cast<int>(base);
        for (const char32_t *before : {U"", U"-", U"+", U"-0", U"00000000000000000000000000000000000000000"}) {
          compare(before + digits, as);
        }
        compare(U" -0x" + digits + U"g", base == 16 ? 0 : as, true, true);
        if (base == 10) compare(digits, 0), compare(digits, 16);
        compare(digits + U"0", as), compare(digits + digits + digits, as);
      }
    }
  }
}

TEST(Number, RandomTexts) {
  auto random = kiv::test::make_random();
  for (int round = 0; round < 5000 && !HasFailure(); ++round) {
    const int base = kBases[below(random, std::size(kBases))];
    const uint32_t digits = base > 10 || base < 2 ? 10 + 6 * below(random, 2) : static_cast<uint32_t>(base);
    std::u32string text(below(random, 3), U' ');
    if (below(random, 2) != 0) text += U"+-"[below(random, 2)];
    if (below(random, 3) == 0) text += below(random, 2) != 0 ? U"0x" : U"0X";
    const std::u32string alphabet = below(random, 2) != 0 ? U"0123456789abcdef" : U"0123456789ABCDEF";
    for (uint32_t count = below(random, 45); count > 0; --count) text += alphabet[below(random, digits)];
    for (uint32_t count = below(random, 2); count > 0; --count) text += U" gG:/@`xX\u0130\U000000B9"[below(random, 11)];
    compare(text, base, below(random, 4) != 0, below(random, 2) != 0);
  }
}

/// What is written on failure, and what need not be asked for.
TEST(Number, Outputs) {
  uint32_t u32 = 7, start = 7, length = 7;
  int32_t s32 = 7;
  EXPECT_EQ(kiv_string_convert_to_u32m(units(U"0x1F"), 0, 0, 0, &u32, nullptr, &length), 0);
  EXPECT_TRUE(u32 == 31 && length == 4);
  EXPECT_EQ(kiv_string_char_s_convert_to_s32m("  2147483648", 10, 1, 0, &s32, &start, &length), 1);
  EXPECT_TRUE(s32 == 7 && start == 2 && length == 10);
  EXPECT_EQ(kiv_string_convert_to_s32m(nullptr, 10, 1, 1, &s32, nullptr, nullptr), 1);
  EXPECT_EQ(kiv_string_char_s_convert_to_s32m(nullptr, 10, 1, 1, &s32, nullptr, nullptr), 1);
}

TEST(Number, DecimalText) {
  for (const int64_t value : {int64_t{0}, int64_t{9}, int64_t{10}, int64_t{-1}, int64_t{-10}, int64_t{INT32_MAX},
                              int64_t{INT32_MIN}, int64_t{UINT32_MAX}, int64_t{1000000000}}) {
    char chars[24];
    const auto length = static_cast<uint32_t>(std::snprintf(chars, sizeof chars, "%" PRId64, value));
    const std::u32string told(chars, chars + length);
    const bool is_signed = value <= INT32_MAX;
    for (uint32_t size = 0; size <= length + 2; ++size) {
      std::vector<KIV_UNICHAR> text(size + 1, 0xA5);
      const int fitted = is_signed ? kiv_string_decimal_from_kiv_s32(static_cast<int32_t>(value), text.data(), size)
                                   : kiv_string_decimal_from_kiv_u32(static_cast<uint32_t>(value), text.data(), size);
      EXPECT_EQ(fitted, size > length ? 1 : 0);
      EXPECT_EQ(text[size], 0xA5u);
      if (size > 0) EXPECT_EQ(text_of(text.data()), told.substr(0, size - 1));
    }
    const uint32_t points = kiv::test::sweep_failures([&](CountingAllocator &allocator) {
      KIV_STRING text = is_signed ? kiv_string_decimal_from_kiv_s32_a(allocator.record(), static_cast<int32_t>(value))
                                  : kiv_string_decimal_from_kiv_u32_a(allocator.record(), static_cast<uint32_t>(value));
      EXPECT_EQ(text == nullptr, allocator.has_failed());
      if (text == nullptr) return;
      EXPECT_EQ(text_of(text), told);
      EXPECT_EQ(allocator.size_of(text), 4 * (length + 1));
      allocator.record()->free(allocator.record(), text);
    });
    EXPECT_EQ(points, 1u);
  }
}

TEST(Number, FromDecimal) {
  const struct {
    const char32_t *text;
    int32_t s32;
    uint32_t consumed, u32, count;
  } cases[] = {{U"+x", 0, 1, 0xDEADBEEF, 0},
               {U"42abc", 42, 2, 42, 2},
               {U"-42", -42, 3, 0xDEADBEEF, 0},
               {U" \t12", 0, 0, 12, 2},
               {U"\u00A012", 0, 0, 0xDEADBEEF, 0},
               {U"4294967295", -1, 10, 0xFFFFFFFF, 10},
               {U"4294967297", 1, 10, 0xDEADBEEF, 0},
               {U"3735928559", -559038737, 10, 0xDEADBEEF, 10},
               {U"-2147483649", INT32_MAX, 11, 0xDEADBEEF, 0},
               {U"00000000000000000000005", 5, 23, 5, 23},
               {U"99999999999999999999999", -159383553, 23, 0xDEADBEEF, 0}};
  for (const auto &[text, s32, consumed, u32, count] : cases) {
    uint32_t used = 99, digits = 99;
    EXPECT_EQ(kiv_string_s32_from_decimal(units(text), &used), s32) << shown(text);
    EXPECT_EQ(used, consumed) << shown(text);
    EXPECT_EQ(kiv_string_u32_from_decimal(units(text), &digits), u32) << shown(text);
    EXPECT_EQ(digits, count) << shown(text);
  }
  EXPECT_EQ(kiv_string_s32_from_decimal(nullptr, nullptr), 0);
  EXPECT_EQ(kiv_string_u32_from_decimal(nullptr, nullptr), 0xDEADBEEF);
}

TEST(Number, Paste) {
  const struct {
    const char *chars1, *chars2;
    const char32_t *string;
    const char *pasted;
  } cases[] = {{"a", "\xE9", U"d\u00E9\U0001F600e", "a\xE9\x64??e"}, {nullptr, nullptr, nullptr, ""}};
  for (const auto &[chars1, chars2, string, pasted] : cases) {
    const uint32_t points = kiv::test::sweep_failures([&](CountingAllocator &allocator) {
      char *result = kiv_string_paste_char_char_utf32_a(allocator.record(), chars1, chars2, units(string));
      EXPECT_EQ(result == nullptr, allocator.has_failed());
      if (result == nullptr) return;
      EXPECT_STREQ(result, pasted);
      EXPECT_EQ(allocator.size_of(result), std::strlen(pasted) + 1);
      allocator.record()->free(allocator.record(), result);
    });
    EXPECT_EQ(points, 1u);
  }
}

}  // namespace
