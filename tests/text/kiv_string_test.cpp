// Making, joining and copying strings, widening, arrays of strings, lines and tabs.

#include "kiv_string.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/text/text.h"

namespace {

using namespace kiv::test;
using Log = std::vector<std::string>;

class StringTest : public testing::Test {
 protected:
  CountingAllocator counting;
  KIV_ALLOCATOR *allocator = counting.record();

  KIV_STRING make(const Text &contents) { return kiv_string_dup(allocator, contents.c_str()); }
  /// The string's text and size in units; releases it.
  std::pair<Text, size_t> take(KIV_STRING s) {
    if (s == nullptr) return {text(U"(null)"), 0};
    const std::pair<Text, size_t> result{text(s), counting.size_of(s) / 4};
    kiv_string_delete(allocator, s);
    return result;
  }
};

std::pair<Text, size_t> is(const char32_t *contents, size_t units) { return {text(contents), units}; }

TEST_F(StringTest, Makes) {
  const KIV_UNICHAR unterminated[] = {'a', 'b', 'c'};
  EXPECT_EQ(take(kiv_string_new(allocator)), is(U"", 1));
  EXPECT_EQ(take(kiv_string_dup(allocator, nullptr)), is(U"", 1));
  EXPECT_EQ(take(kiv_string_ndup(allocator, unterminated, 3)), is(U"abc", 4));
  EXPECT_EQ(take(kiv_string_ndup(allocator, text(U"abc").c_str(), 10)), is(U"abc", 11));
  EXPECT_EQ(take(kiv_string_ndup(allocator, text(U"abc").c_str(), 0)), is(U"", 1));
  EXPECT_EQ(take(kiv_string_ndup(allocator, nullptr, 2)), is(U"", 3));
  KIV_STRING room = kiv_string_new_empty_string(allocator, 5);
  EXPECT_EQ(std::count(room, room + 5, 0u), 5);
  EXPECT_EQ(take(room), is(U"", 5));
  counting.clear_log();
  // Sizes that 32 bits cannot tell.
  EXPECT_EQ(kiv_string_ndup(allocator, unterminated, 0x3FFFFFFF), nullptr);
  EXPECT_EQ(kiv_string_new_empty_string(allocator, 0x40000001), nullptr);
  kiv_string_delete(allocator, nullptr);
  EXPECT_EQ(counting.log, Log{});
}

TEST_F(StringTest, Measures) {
  EXPECT_EQ(kiv_string_length(nullptr), 0u);
  EXPECT_EQ(kiv_string_sizeof(nullptr), 4u);
  EXPECT_EQ(kiv_string_length_byte_aligned(nullptr), 0u);
  EXPECT_EQ(kiv_string_contains_non_ascii(nullptr), 0);
  for (uint32_t length = 0; length < 100; ++length) {
    // Units with three zero bytes are no terminators.
    for (const KIV_UNICHAR unit : {0x7Fu, 0x80u, 0x100u, 0x10000u, 0x1000000u, 0x80000000u, 0xFFFFFFFFu}) {
      std::vector<uint8_t> bytes(4 * length + 8);
      Text s(length, 'a');
      if (length > 0) s[length - 1] = unit;
      EXPECT_EQ(kiv_string_length(s.c_str()), length);
      EXPECT_EQ(kiv_string_sizeof(s.c_str()), 4 * length + 4);
      EXPECT_EQ(kiv_string_contains_non_ascii(s.c_str()), length > 0 && unit > 0x7F);
      for (int offset = 0; offset < 4; ++offset) {
        std::memcpy(bytes.data() + offset, s.c_str(), 4 * length + 4);
        EXPECT_EQ(kiv_string_length_byte_aligned(bytes.data() + offset), length);
      }
    }
  }
}

// --- Widening --------------------------------------------------------------------------------------------------------

TEST_F(StringTest, WidensEachInItsOwnWay) {
  enum Widening { zero, sign };
  KIV_UNICHAR room[8];
  const Text x = text(U"x");
  // Whether the operation takes the char string for the text, each of one unit.
  const struct {
    const char *name;
    Widening widening;
    std::function<bool(const char *, const Text &)> takes;
  } rows[] = {
      {"prepend_char_s", zero,
       [&](auto cs, auto &t) { return take(kiv_string_prepend_char_s(allocator, cs, make(x))).first == t + x; }},
      {"cat_char_s", zero,
       [&](auto cs, auto &t) { return take(kiv_string_cat_char_s(allocator, make(x), cs)).first == x + t; }},
      {"strcpy_char_s", sign, [&](auto cs, auto &t) { return text(kiv_string_strcpy_char_s(room, cs)) == t; }},
      {"strncpy_char_s", sign, [&](auto cs, auto &t) { return text(kiv_string_strncpy_char_s(room, cs, 8)) == t; }},
      {"strcat_char_s", sign,
       [&](auto cs, auto &t) {
         kiv_string_strcpy(room, x.c_str());
         kiv_string_strcat_char_s(room, cs);
         return text(room) == x + t;
       }},
      {"begins_with", sign, [](auto cs, auto &t) { return kiv_string_begins_with_char_s(t.c_str(), cs, 0) == 1; }},
      {"ends_with", sign, [](auto cs, auto &t) { return kiv_string_ends_with_char_s(t.c_str(), cs, 0) == 1; }},
      {"append_char_s_to_array", zero,
       [&](auto cs, auto &t) {
         KIV_STRING *array = kiv_string_append_char_s_to_array(allocator, cs, nullptr);
         const bool same = array[0] == t && counting.size_of(array[0]) == 8;
         kiv_string_delete_array(allocator, array);
         return same;
       }},
  };
  for (const auto &row : rows) {
    for (const int byte : {0x01, 0x41, 0x7F, 0x80, 0xE9, 0xFF}) {
      const char cs[] = {static_cast<char>(byte), 0};
      const Text zero_extended(1, static_cast<KIV_UNICHAR>(byte));
      const Text sign_extended(1, static_cast<KIV_UNICHAR>(byte < 0x80 ? byte : byte - 256));
      EXPECT_EQ(row.takes(cs, zero_extended), row.widening == zero || byte < 0x80) << row.name << byte;
      EXPECT_EQ(row.takes(cs, sign_extended), row.widening == sign || byte < 0x80) << row.name << byte;
    }
  }
}

// --- Joining and copying ---------------------------------------------------------------------------------------------

TEST_F(StringTest, Joins) {
  const Text ab = text(U"ab");
  const auto cat = [&](KIV_STRING s, const Text &t, uint32_t n) {
    return take(kiv_string_strncat(allocator, s, t.c_str(), n, 1));
  };
  EXPECT_EQ(take(kiv_string_append(allocator, make(ab), 0x80000000)).first, ab + Text(1, 0x80000000));
  EXPECT_EQ(take(kiv_string_append(allocator, make(ab), 0)), is(U"ab", 4));
  EXPECT_EQ(take(kiv_string_append(allocator, nullptr, 'c')), is(U"c", 2));
  EXPECT_EQ(take(kiv_string_prepend(allocator, ab.c_str(), make(text(U"cde")))), is(U"abcde", 6));
  EXPECT_EQ(take(kiv_string_prepend(allocator, ab.c_str(), nullptr)), is(U"ab", 3));
  EXPECT_EQ(take(kiv_string_cat_char_s(allocator, nullptr, "xy")), is(U"xy", 3));
  EXPECT_EQ(cat(make(ab), text(U"cde"), 2), is(U"abcd", 5));
  EXPECT_EQ(cat(make(ab), text(U"cde"), 9), is(U"abcde", 6));
  EXPECT_EQ(cat(nullptr, text(U"cde"), 9), is(U"cde", 4));
  EXPECT_EQ(cat(make(ab), text(U"cde"), 0x80000000), is(U"ab", 3));  // negative
  KIV_STRING s = make(ab);
  counting.clear_log();
  // What null leaves alone.
  EXPECT_EQ(kiv_string_prepend(allocator, nullptr, s), s);
  EXPECT_EQ(kiv_string_prepend_char_s(allocator, nullptr, s), s);
  EXPECT_EQ(kiv_string_cat_char_s(allocator, s, nullptr), s);
  EXPECT_EQ(kiv_string_cat(allocator, s, nullptr, 1), s);
  EXPECT_EQ(kiv_string_cat(allocator, nullptr, nullptr, 1), nullptr);
  EXPECT_EQ(counting.log, Log{});
  // Without reuse the string stays.
  EXPECT_EQ(take(kiv_string_cat(allocator, s, nullptr, 0)), is(U"ab", 3));
  EXPECT_EQ(take(kiv_string_strncat(allocator, nullptr, text(U"cd").c_str(), 1, 0)), is(U"c", 2));
  EXPECT_EQ(text(s), ab);
  // A string joined with itself, or with its end; blocks move whenever they grow.
  s = kiv_string_cat(allocator, s, s, 1);
  s = kiv_string_cat(allocator, s, s + 3, 1);
  s = kiv_string_prepend(allocator, s + 3, s);
  s = kiv_string_prepend(allocator, s, s);
  // The bytes of a unit are the text of one.
  s = kiv_string_cat_char_s(allocator, s, reinterpret_cast<const char *>(s + 2));
  s = kiv_string_prepend_char_s(allocator, reinterpret_cast<const char *>(s + 3), s);
  EXPECT_EQ(take(s), is(U"bbbababbbbababba", 17));
}

TEST_F(StringTest, CopiesInPlace) {
  const KIV_UNICHAR x = 'x';
  for (uint32_t length = 0; length < 6; ++length) {
    for (uint32_t n = 0; n < 8; ++n) {
      const Text source = text(U"abcdef").substr(0, length);
      const std::string chars(source.begin(), source.end());
      Text expected = n == 0 ? Text(9, x) : source.substr(0, n - 1) + Text(1, 0);
      expected.resize(9, x);
      Text units(9, x), bytes(9, x);
      EXPECT_EQ(kiv_string_strncpy(units.data(), source.c_str(), n), units.data());
      EXPECT_EQ(kiv_string_strncpy_char_s(bytes.data(), chars.c_str(), n), bytes.data());
      EXPECT_EQ(units, expected);
      EXPECT_EQ(bytes, expected);
    }
  }
  KIV_UNICHAR room[12] = {};
  kiv_string_strcpy_char_s(room, "ab");
  kiv_string_strcat(room, text(U"cd").c_str());
  kiv_string_strcat_char_s(room, "ef");
  kiv_string_strcat(room, nullptr);
  EXPECT_EQ(text(room), text(U"abcdef"));
  EXPECT_EQ(kiv_string_strncpy(room, nullptr, 2)[0], 0u);
  kiv_string_strcpy(room + 1, nullptr);
  EXPECT_EQ(room[1], 0u);
}

// --- Lines and tabs --------------------------------------------------------------------------------------------------

TEST_F(StringTest, FindsLineTerminators) {
  // All texts of six units; what a plain state machine over pairs says, in every window.
  const KIV_UNICHAR alphabet[] = {'a', '\n', '\r', 0};
  for (uint32_t code = 0; code < 4096; ++code) {
    Text s;
    for (uint32_t i = 0, rest = code; i < 6; ++i, rest /= 4) s += alphabet[rest % 4];
    const std::string chars(s.begin(), s.end());
    for (uint32_t n = 0; n <= 6; ++n) {
      const size_t visible = std::min<size_t>(n, std::min<size_t>(s.find(0u), 6));
      uint32_t first = 99, length = 99, count = 0;
      for (size_t i = 0; i < visible; ++i) {
        if (s[i] == 'a') continue;
        const bool pair = i + 1 < visible && s[i + 1] != 'a' && s[i + 1] != s[i];
        if (count++ == 0) first = static_cast<uint32_t>(i), length = pair ? 2 : 1;
        if (pair) ++i;
      }
      for (const char *char_s : {static_cast<const char *>(nullptr), chars.c_str()}) {
        uint32_t position = 99, found_length = 99;
        EXPECT_EQ(kiv_string_line_terminator_find(char_s, s.c_str(), n, &position, &found_length), count > 0);
        EXPECT_EQ(position, first);
        EXPECT_EQ(found_length, length);
        EXPECT_EQ(kiv_string_line_terminators_count(char_s, s.c_str(), n), count) << code << " " << n;
      }
    }
  }
}

TEST_F(StringTest, ChopsLineEnds) {
  for (const auto &[before, after] :
       {std::pair(U"a\nb\r\n\n\r", U"a\nb"), {U"\n\r", U""}, {U"", U""}, {U"ab", U"ab"}}) {
    Text s = text(before);
    kiv_string_chop_nl(s.data());
    EXPECT_EQ(text(s.c_str()), text(after));
    EXPECT_EQ(s.find_first_not_of(0u, text(after).size()), Text::npos) << "all of the line ends become terminators";
  }
  kiv_string_chop_nl(nullptr);
}

TEST_F(StringTest, ExpandsTabs) {
  Text tabless = text(U"abc"), tabbed = text(U"ab\tc");
  EXPECT_EQ(kiv_string_tabs_expand(allocator, tabless.data(), UINT32_MAX, 3, 0), tabless.data());
  EXPECT_EQ(kiv_string_tabs_expand(allocator, tabbed.data(), 2, 3, 0), tabbed.data());
  EXPECT_EQ(kiv_string_tabs_expand(allocator, nullptr, UINT32_MAX, 3, 0), nullptr);
  EXPECT_EQ(take(kiv_string_tabs_expand(allocator, nullptr, UINT32_MAX, 3, 1)), is(U"", 1));
  EXPECT_EQ(take(kiv_string_tabs_expand(allocator, tabless.data(), 2, 3, 1)), is(U"ab", 3));
  EXPECT_EQ(take(kiv_string_tabs_expand(allocator, tabbed.data(), 3, 34, 0)), is(U"ab  ", 5));  // 34: 2
  EXPECT_EQ(kiv_string_tabs_expand(allocator, text(U"\t\t").data(), 2, 31, 0), nullptr);        // 2^32 columns
  std::mt19937_64 random = make_random();
  for (int round = 0; round < 300; ++round) {
    Text s = random_text(random, 40, text(U"ab\t\n"));
    const uint32_t shift = below(random, 5);
    Text expected;
    for (const KIV_UNICHAR c : s) {
      if (c != '\t') expected += c;
      if (c == '\t') do
          expected += ' ';
        while (expected.size() % (1u << shift) != 0);
    }
    EXPECT_EQ(take(kiv_string_tabs_expand(allocator, s.data(), UINT32_MAX, shift, 1)),
              std::pair(expected, expected.size() + 1));
  }
}

// --- Arrays ----------------------------------------------------------------------------------------------------------

std::vector<Text> texts(const KIV_STRING *array) {
  std::vector<Text> result;
  for (; *array != nullptr; ++array) result.push_back(text(*array));
  return result;
}

TEST_F(StringTest, KeepsArrays) {
  const Text a = text(U"a"), b = text(U"b");
  KIV_STRING *array = kiv_string_append_to_array(allocator, a.c_str(), nullptr);
  array = kiv_string_append_char_s_to_array(allocator, "xy", array);
  KIV_STRING own = make(b);
  array = kiv_string_no_copy_append_to_array(allocator, own, array);
  EXPECT_EQ(array[2], own);
  array = kiv_string_append_to_array(allocator, nullptr, array);
  array = kiv_string_append_char_s_to_array(allocator, nullptr, array);
  EXPECT_EQ(texts(array), (std::vector<Text>{a, text(U"xy"), b, {}, {}}));
  EXPECT_EQ(counting.size_of(array), 6 * sizeof(KIV_STRING));
  KIV_STRING none[] = {nullptr};
  KIV_STRING two[] = {const_cast<KIV_STRING>(a.c_str()), const_cast<KIV_STRING>(b.c_str()), nullptr};
  using Row = std::tuple<KIV_STRING *, KIV_STRING *, std::vector<Text>>;
  for (const auto &[first, second, expected] : {Row{none, none, {}}, Row{none, two, {a, b}}, Row{two, none, {a, b}}}) {
    KIV_STRING *joined = kiv_string_cat_arrays(allocator, first, second);
    EXPECT_EQ(texts(joined), expected);
    kiv_string_delete_array(allocator, joined);
  }
  kiv_string_delete_array(allocator, array);
  kiv_string_delete_array(allocator, nullptr);
}

// --- Failures --------------------------------------------------------------------------------------------------------

TEST(StringFailures, LeaveStringsAlone) {
  Text tab = text(U"\t");
  const Text ab = text(U"ab");
  // What makes a string, and what gives one another.
  const std::function<KIV_STRING(KIV_ALLOCATOR *, KIV_STRING)> operations[] = {
      [](auto *allocator, auto *) { return kiv_string_new(allocator); },
      [&](auto *allocator, auto *) { return kiv_string_dup(allocator, ab.c_str()); },
      [&](auto *allocator, auto *) { return kiv_string_cat(allocator, nullptr, ab.c_str(), 0); },
      [&](auto *allocator, auto *) { return kiv_string_tabs_expand(allocator, tab.data(), 1, 3, 0); },
      [](auto *allocator, auto *s) { return kiv_string_append(allocator, s, 'c'); },
      [&](auto *allocator, auto *s) { return kiv_string_prepend(allocator, ab.c_str(), s); },
      [](auto *allocator, auto *s) { return kiv_string_prepend_char_s(allocator, "ab", s); },
      [](auto *allocator, auto *s) { return kiv_string_cat_char_s(allocator, s, "ab"); },
      [&](auto *allocator, auto *s) { return kiv_string_cat(allocator, s, ab.c_str(), 1); },
  };
  for (size_t i = 0; i < std::size(operations); ++i) {
    CountingAllocator counting;
    KIV_STRING s = kiv_string_dup(counting.record(), ab.c_str());
    counting.fail_at(1);
    EXPECT_EQ(operations[i](counting.record(), s), nullptr);
    EXPECT_EQ(text(s), ab);
    EXPECT_EQ(counting.live_blocks(), 1u);
    KIV_STRING result = operations[i](counting.record(), s);
    EXPECT_NE(result, nullptr);
    if (i < 4) kiv_string_delete(counting.record(), s);
    kiv_string_delete(counting.record(), result);
  }
}

TEST(StringFailures, DeleteArraysCompletely) {
  const Text a = text(U"a");
  EXPECT_EQ(sweep_failures([&](CountingAllocator &counting) {
              KIV_ALLOCATOR *allocator = counting.record();
              KIV_STRING *array = nullptr;
              for (int i = 0; i < 3 && !counting.has_failed(); ++i) {
                array = kiv_string_append_to_array(allocator, a.c_str(), array);
                if (array != nullptr) array = kiv_string_append_char_s_to_array(allocator, "b", array);
                EXPECT_EQ(array == nullptr, counting.has_failed());
                if (array == nullptr) EXPECT_EQ(counting.live_blocks(), 0u);
              }
              kiv_string_delete_array(allocator, array);
            }),
            12u);
  CountingAllocator counting;
  KIV_STRING own = kiv_string_new(counting.record());
  KIV_STRING *array = kiv_string_append_char_s_to_array(counting.record(), "kept", nullptr);
  counting.fail_at(1);
  EXPECT_EQ(kiv_string_no_copy_append_to_array(counting.record(), own, array), nullptr);
  EXPECT_EQ(texts(array), std::vector<Text>{text(U"kept")});
  kiv_string_delete_array(counting.record(), array);
  kiv_string_delete(counting.record(), own);
}

TEST(StringFailures, EndAJoinedArrayEarly) {
  Text a = text(U"a"), b = text(U"b");
  KIV_STRING two[] = {a.data(), b.data(), nullptr};
  uint32_t run = 0;  // six runs a sweep, of which the last meets no failure
  EXPECT_EQ(sweep_failures([&](CountingAllocator &counting) {
              KIV_STRING *joined = kiv_string_cat_arrays(counting.record(), two, two);
              const uint32_t point = run++ % 6;
              EXPECT_EQ(joined == nullptr, point == 0);
              if (joined == nullptr) return;
              EXPECT_EQ(texts(joined).size(), point - 1);
              for (uint32_t i = point - 1; i < 5; ++i) EXPECT_EQ(joined[i], nullptr);
              kiv_string_delete_array(counting.record(), joined);
            }),
            5u);
}

}  // namespace
