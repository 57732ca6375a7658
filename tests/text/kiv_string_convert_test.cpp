#include "kiv_string_convert.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"
#include "tests/text/naive_convert.h"
#include "tests/text/random_text.h"

namespace {

namespace naive = kiv::test::naive;
using kiv::test::below;
using kiv::test::CountingAllocator;

using Utf8 = std::string;
using Utf16 = std::u16string;
using Utf32 = std::u32string;

/// A literal's units as the library takes them.
const char *units(const Utf8 &text) { return text.c_str(); }
const uint16_t *units(const Utf16 &text) { return reinterpret_cast<const uint16_t *>(text.c_str()); }
const KIV_UNICHAR *units(const Utf32 &text) { return reinterpret_cast<const KIV_UNICHAR *>(text.c_str()); }

template <class Unit>
std::string hex(const Unit *text, size_t count) {
  std::string result;
  char number[12];
  for (size_t i = 0; i < count; ++i) {
    std::snprintf(number, sizeof number, "%x ", static_cast<unsigned>(std::make_unsigned_t<Unit>(text[i])));
    result += number;
  }
  return result;
}

/// A bounded conversion and what it is held against.
template <class From, class To>
struct Pair {
  const char *name;
  int (*ours)(const From *, To *, uint32_t);
  int (*naive)(const From *, uint32_t, std::vector<To> &);
};

const Pair<KIV_UNICHAR, char> kTo8{"utf32_to_utf8", kiv_string_convert_utf32_to_utf8, naive::utf32_to_utf8};
const Pair<char, KIV_UNICHAR> kFrom8{"utf8_to_utf32", kiv_string_convert_utf8_to_utf32, naive::utf8_to_utf32};
const Pair<KIV_UNICHAR, uint16_t> kTo16{"utf32_to_utf16", kiv_string_convert_utf32_to_utf16, naive::utf32_to_utf16};
const Pair<uint16_t, KIV_UNICHAR> kFrom16{"utf16_to_utf32", kiv_string_convert_utf16_to_utf32, naive::utf16_to_utf32};
const Pair<uint16_t, char> k16ToChar{"utf16_to_char", kiv_string_convert_utf16_to_char, naive::utf16_to_char};
const Pair<KIV_UNICHAR, char> kToChar{"utf32_to_char", kiv_string_convert_utf32_to_char, naive::utf32_to_char};
const Pair<KIV_UNICHAR, char> kToCharChecked{"utf32_to_char_checked", kiv_string_convert_utf32_to_char_checked,
                                             naive::utf32_to_char_checked};
template <class To>
int widen(const char *chars, uint32_t size, std::vector<To> &written) {
  return naive::widen(chars, std::strlen(chars), size, written);
}
const Pair<char, KIV_UNICHAR> kFromChar{"char_to_utf32", kiv_string_convert_char_to_utf32, widen};
const Pair<char, uint16_t> kCharTo16{"char_to_utf16", kiv_string_convert_char_to_utf16, widen};

/// Converts into a destination of size units with others behind: the result, what is written and what is not must be
/// as told. Gives the units that the naive conversion wrote.
template <class From, class To>
size_t compare(const Pair<From, To> &pair, const From *source, uint32_t size) {
  constexpr size_t kBehind = 80;  // more than a block of vector stores
  static std::vector<To> destination, written;
  const To untouched = static_cast<To>(0xA5A5A5A5);
  const int result = pair.naive(source, size, written);
  destination.assign(size + kBehind, untouched);
  const int ours = pair.ours(source, destination.data(), size);
  const auto behind = destination.begin() + static_cast<ptrdiff_t>(written.size());
  if (ours != result || !std::equal(written.begin(), written.end(), destination.begin()) ||
      std::any_of(behind, destination.end(), [=](To unit) { return unit != untouched; })) {
    size_t length = 0;
    while (source[length] != 0) ++length;
    ADD_FAILURE() << pair.name << " of " << hex(source, length) << "into " << size << " units gives " << ours
                  << ", should be " << result << "; written:\n"
                  << hex(destination.data(), size + 4) << "should be:\n"
                  << hex(written.data(), written.size());
  }
  return written.size();
}

/// Every size from 0 to one more than needed.
template <class From, class To>
void compare_all_sizes(const Pair<From, To> &pair, const From *source) {
  std::vector<To> written;
  pair.naive(source, UINT32_MAX, written);
  for (uint32_t size = 0; size <= written.size() + 1; ++size) compare(pair, source, size);
}

template <class Check>
void for_each_from(const KIV_UNICHAR *source, Check check) {
  check(kTo8, source), check(kTo16, source), check(kToChar, source), check(kToCharChecked, source);
}
template <class Check>
void for_each_from(const uint16_t *source, Check check) {
  check(kFrom16, source), check(k16ToChar, source);
}
template <class Check>
void for_each_from(const char *source, Check check) {
  check(kFrom8, source), check(kFromChar, source), check(kCharTo16, source);
}

constexpr auto kAllSizes = [](const auto &pair, auto *source) { compare_all_sizes(pair, source); };

void compare_counts(const KIV_UNICHAR *source) {
  EXPECT_EQ(kiv_string_nr_of_utf8_bytes_for_wide_char_string_representation(source), naive::utf8_bytes_of(source));
  EXPECT_EQ(kiv_string_nr_of_utf16_words_for_wide_char_string_representation(source), naive::utf16_words_of(source));
}
void compare_counts(const uint16_t *source) {
  EXPECT_EQ(kiv_string_nr_of_wide_chars_in_utf16_string(source), naive::chars_in_utf16(source));
}
void compare_counts(const char *source) {
  EXPECT_EQ(kiv_string_nr_of_wide_chars_in_utf8_string(source), naive::chars_in_utf8(source));
}

/// The result and what was written of 8 units, the others being 55.
template <class From, class To, class Text>
std::string converted(const Pair<From, To> &pair, const Text &source, uint32_t size) {
  std::vector<To> destination(8, To{0x55});
  const int result = pair.ours(units(source), destination.data(), size);
  return std::to_string(result) + ": " + hex(destination.data(), 5);
}

// What a reader would not expect. All else is held against the naive conversions.
TEST(Convert, Oddities) {
  EXPECT_EQ(converted(kTo8, Utf32{0xD800}, 4), "1: ed a0 80 0 55 ");
  EXPECT_EQ(converted(kTo8, Utf32{0x110000, 'a'}, 1), "0: 3f 55 55 55 55 ");   // takes the terminator's place
  EXPECT_EQ(converted(kToCharChecked, Utf32(U"ab"), 3), "0: 61 62 0 55 55 ");  // 0 is success here
  EXPECT_EQ(converted(kToCharChecked, Utf32(U"a\u00e9"), 4), "1: 61 55 55 55 55 ");
  EXPECT_EQ(converted(kFrom8, Utf8("\xC0\x80z"), 3), "1: 0 7a 0 55 55 ");         // overlong
  EXPECT_EQ(converted(kFrom8, Utf8("\xE0xy"), 3), "1: e39 0 55 55 55 ");          // whatever follows continues
  EXPECT_EQ(converted(kFrom8, Utf8("a\xC3"), 4), "1: 61 3f 0 55 55 ");            // cut short by the terminator
  EXPECT_EQ(converted(kFromChar, Utf8("\x7F\x80\xFF"), 5), "1: 7f 80 ff 0 55 ");  // never sign-extended
  EXPECT_EQ(converted(kTo16, Utf32{0x1F600}, 2), "0: d83d 0 55 55 55 ");  // the pair fits, the terminator does not
  EXPECT_EQ(converted(kTo16, Utf32{0xD800, 0xDFFF, 0x110000}, 5), "1: 3f 3f 3f 0 55 ");
  EXPECT_EQ(converted(kFrom16, Utf16{'a', 0xDC00, 'b'}, 4), "1: 61 0 55 55 55 ");  // ends there: whole
  // The unit behind any surrogate is skipped, but for the terminator.
  EXPECT_EQ(kiv_string_nr_of_wide_chars_in_utf16_string(units(Utf16{0xDC00, 'a', 'b', 0xD800, 0xD800, 0xD800})), 4u);
  EXPECT_EQ(kiv_string_utf16_strcmp(units(u"\uE000"), units(u"\U00010000")), -1);
}

TEST(Convert, CountedBytes) {
  const std::string bytes = {'a', 0, '\xFF', 'd', 0};
  for (int32_t count : {INT32_MIN, -1, 0, 1, 2, 3, 4, 5}) {
    for (uint32_t size = 0; size <= 7; ++size) {
      std::vector<KIV_UNICHAR> written, destination(8, 0x55);
      const int result = naive::widen(bytes.data(), static_cast<size_t>(std::max(count, 0)), size, written);
      written.resize(8, 0x55);
      EXPECT_EQ(kiv_string_convert_n_char_to_utf32(bytes.data(), count, destination.data(), size), result);
      EXPECT_EQ(destination, written) << count << " into " << size;
    }
    CountingAllocator allocator;
    KIV_STRING string = kiv_string_convert_limited_char_to_utf32_a(allocator.record(), bytes.data(), count);
    std::vector<KIV_UNICHAR> written;
    naive::widen(bytes.data(), static_cast<size_t>(std::max(count, 0)), 10, written);
    ASSERT_EQ(allocator.size_of(string), written.size() * sizeof *string);
    EXPECT_TRUE(std::equal(written.begin(), written.end(), string)) << count;
    allocator.record()->free(allocator.record(), string);
    // (n + 1) * 4 bytes that do not fit an allocator's size.
    EXPECT_EQ(kiv_string_convert_limited_char_to_utf32_a(allocator.record(), "", (count & INT32_MAX) | 0x3FFFFFFF),
              nullptr);
  }
}

// --- Exhaustively ----------------------------------------------------------------------------------------------------

TEST(Convert, EveryCodePoint) {
  std::vector<char> utf8;
  std::vector<uint16_t> utf16;
  for (uint32_t c = 1; c <= 0x110010; ++c) {
    const KIV_UNICHAR text[] = {c, 0};
    if (c < 0x1000 || (c & 0xFE) == 0 || (c & 0xFE) == 0xFE) {
      for_each_from(text, kAllSizes);
      compare_counts(text);
    }
    compare(kTo8, text, 5);
    compare(kTo16, text, 3);
    naive::utf32_to_utf8(text, 5, utf8);
    naive::utf32_to_utf16(text, 3, utf16);
    compare(kFrom8, utf8.data(), 2);
    compare(kFrom16, utf16.data(), 2);
  }
}

/// Every text of `length` units out of a set.
template <class Unit, class Check>
void for_each_text(const std::vector<Unit> &set, size_t length, Check check) {
  std::vector<size_t> choice(length, 0);
  std::vector<Unit> text(length + 1, 0);
  for (;;) {
    for (size_t i = 0; i < length; ++i) text[i] = set[choice[i]];
    check(text.data());
    size_t i = 0;
    while (i < length && ++choice[i] == set.size()) choice[i++] = 0;
    if (i == length) return;
  }
}

TEST(Convert, EveryShortUtf8Text) {
  std::vector<char> all;
  for (int byte = 1; byte < 256; ++byte) all.push_back(static_cast<char>(byte));
  for_each_text(all, 1, [](const char *text) { for_each_from(text, kAllSizes), compare_counts(text); });
  for_each_text(all, 2, [](const char *text) { compare_all_sizes(kFrom8, text), compare_counts(text); });
  // The first byte decides what a sequence is; of the others, six bits count.
  const std::vector<char> edges{'\x01', '\x7F', '\x80', '\xBF', '\xC0', '\xDF', '\xE0', '\xEF', '\xF0', '\xF7', '\xF8'};
  for_each_text(edges, 3, [](const char *text) { compare_all_sizes(kFrom8, text), compare_counts(text); });
  for_each_text(edges, 5, [](const char *text) { compare(kFrom8, text, 6); });
}

TEST(Convert, EveryOrderOfUtf16) {
  std::vector<uint16_t> edges;
  for (uint32_t unit = 0; unit < 0x10000; unit += 0x400)
    edges.insert(edges.end(), {static_cast<uint16_t>(unit), static_cast<uint16_t>(unit + 0x3FF)});
  for_each_text(edges, 2, [](const uint16_t *pair) {
    const uint16_t a[] = {'x', pair[0], 0}, b[] = {'x', pair[1], 0};
    EXPECT_EQ(kiv_string_utf16_strcmp(a, b), naive::utf16_compare(a, b)) << pair[0] << " " << pair[1];
  });
}

// --- Long texts ------------------------------------------------------------------------------------------------------

/// Every conversion of a text at the end of a page, so that nothing behind its terminator can be read, into some sizes
/// around those that matter.
template <class Unit>
void compare_long(kiv::test::GuardedPage &page, std::mt19937_64 &random, const std::vector<Unit> &text) {
  auto *copy = page.last<Unit>(text.size());
  std::copy(text.begin(), text.end(), copy);
  compare_counts(copy);
  for_each_from(copy, [&](const auto &pair, auto *source) {
    const auto needed = static_cast<uint32_t>(compare(pair, source, static_cast<uint32_t>(4 * text.size() + 1)));
    for (uint32_t less = 0; less < std::min(needed, 3u); ++less) compare(pair, source, needed - less);
    compare(pair, source, below(random, needed + 1));
  });
}

/// Calls check with a text in every encoding.
template <class Check>
void for_each_encoding(const std::vector<KIV_UNICHAR> &text, Check check) {
  std::vector<char> utf8;
  std::vector<uint16_t> utf16;
  naive::utf32_to_utf8(text.data(), UINT32_MAX, utf8);
  naive::utf32_to_utf16(text.data(), UINT32_MAX, utf16);
  check(text), check(utf8), check(utf16);
}

TEST(Convert, LongTextsOfEveryKind) {
  auto random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  for (int round = 0; round < 3000 && !HasFailure(); ++round) {
    for_each_encoding(kiv::test::random_code_points(random, below(random, 250)), [&](auto text) {
      compare_long(page, random, text);
      kiv::test::damage(random, text);
      compare_long(page, random, text);
    });
  }
  // Across many windows.
  for_each_encoding(kiv::test::random_code_points(random, 100000), [](const auto &text) {
    for_each_from(text.data(), [](const auto &pair, auto *source) { compare(pair, source, 400000); });
    compare_counts(text.data());
  });
}

/// One odd character at every place of a text of one kind: where blocks of vectors begin and end.
TEST(Convert, OneOddCharacterAnywhere) {
  auto random = kiv::test::make_random();
  kiv::test::GuardedPage page;
  for (KIV_UNICHAR filler : {0x61, 0xE9, 0x4E2D, 0x1F600}) {
    for (KIV_UNICHAR odd :
         {0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xD800, 0xDFFF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF, 0x110000}) {
      std::vector<KIV_UNICHAR> text(100, filler);
      text.push_back(0);
      for (size_t place = 0; place < 100; ++place) {
        text[place] = odd;
        for_each_encoding(text, [&](const auto &encoded) { compare_long(page, random, encoded); });
        text[place] = filler;
      }
    }
  }
}

// --- Allocating ------------------------------------------------------------------------------------------------------

/// The allocating form gives what the bounded one writes into `size` units, in one block of that size.
template <class From, class To>
void compare_allocating(const Pair<From, To> &pair, To *(*allocating)(KIV_ALLOCATOR *, const From *),
                        const From *source, uint32_t size, bool fails = false) {
  std::vector<To> written;
  pair.naive(source, size, written);
  const uint32_t points = kiv::test::sweep_failures([&](CountingAllocator &allocator) {
    To *text = allocating(allocator.record(), source);
    EXPECT_EQ(text == nullptr, allocator.has_failed() || fails) << pair.name;
    if (text == nullptr) return;
    EXPECT_EQ(allocator.size_of(text), size * sizeof(To)) << pair.name;
    EXPECT_TRUE(std::equal(written.begin(), written.end(), text)) << pair.name;
    allocator.record()->free(allocator.record(), text);
  });
  EXPECT_EQ(points, 1u) << pair.name;
}

TEST(Convert, Allocating) {
  auto random = kiv::test::make_random();
  for (int round = 0; round < 60; ++round) {
    const auto text = kiv::test::random_code_points(random, below(random, 80));
    std::vector<char> utf8;
    std::vector<uint16_t> utf16;
    naive::utf32_to_utf8(text.data(), UINT32_MAX, utf8);
    naive::utf32_to_utf16(text.data(), UINT32_MAX, utf16);
    if (round % 2 == 1) kiv::test::damage(random, utf8), kiv::test::damage(random, utf16);
    const KIV_UNICHAR *s = text.data();
    const char *u8 = utf8.data();
    const uint16_t *w = utf16.data();
    const auto units_of = [](const auto *string) {
      uint32_t count = 1;
      while (*string++ != 0) ++count;
      return count;
    };
    const bool ascii = std::all_of(text.begin(), text.end(), [](KIV_UNICHAR c) { return c < 0x80; });
    compare_allocating(kTo8, kiv_string_convert_utf32_to_utf8_a, s, naive::utf8_bytes_of(s) + 1);
    compare_allocating(kFrom8, kiv_string_convert_utf8_to_utf32_a, u8, naive::chars_in_utf8(u8) + 1);
    compare_allocating(kTo16, kiv_string_convert_utf32_to_utf16_a, s, naive::utf16_words_of(s) + 1);
    compare_allocating(kFrom16, kiv_string_convert_utf16_to_utf32_a, w, naive::chars_in_utf16(w) + 1);
    compare_allocating(k16ToChar, kiv_string_convert_utf16_to_char_a, w, units_of(w));
    compare_allocating(kToChar, kiv_string_convert_utf32_to_char_a, s, units_of(s));
    compare_allocating(kToCharChecked, kiv_string_convert_utf32_to_char_checked_a, s, units_of(s), !ascii);
    compare_allocating(kFromChar, kiv_string_convert_char_to_utf32_a, u8, units_of(u8));
  }
}

}  // namespace
