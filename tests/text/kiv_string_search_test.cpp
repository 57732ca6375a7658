// Comparing and searching strings.

#include <algorithm>
#include <clocale>
#include <cstring>
#include <cwctype>
#include <functional>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_string.h"
#include "kiv_uni.h"
#include "tests/support/guarded_page.h"
#include "tests/text/text.h"
#include "text/unit_search.h"

namespace {

using namespace kiv::test;

/// Naive: the order of s and t up to n units, terminators included.
int order(const KIV_UNICHAR *s, const KIV_UNICHAR *t, size_t n = SIZE_MAX) {
  for (; n > 0; ++s, ++t, --n) {
    if (*s != *t) return *s < *t ? -1 : 1;
    if (*s == 0) break;
  }
  return 0;
}

const Text kAlphabets[] = {text(U"ab"), text(U"abcdefgh"), {1, 0x7F, 0x80, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}};

TEST(StringCompare, OrdersAsUnsignedNumbers) {
  std::mt19937_64 random = make_random();
  for (int round = 0; round < 20000; ++round) {
    // Common beginnings of all lengths, at all alignments, with a difference or an end behind.
    const Text &alphabet = kAlphabets[below(random, 3)];
    const Text common = random_text(random, round % 100 == 0 ? 3000 : 80, alphabet);
    const Text s = Text(below(random, 16), 'x') + common + random_text(random, 2, alphabet);
    const Text t = Text(below(random, 16), 'x') + common + random_text(random, 2, alphabet);
    const KIV_UNICHAR *a = s.c_str() + s.find_first_not_of('x'), *b = t.c_str() + t.find_first_not_of('x');
    if (s.find_first_not_of('x') == Text::npos || t.find_first_not_of('x') == Text::npos) continue;
    ASSERT_EQ(kiv_string_compare(a, b), order(a, b));
    const uint32_t n = below(random, 90);
    ASSERT_EQ(kiv_string_strncmp(a, b, n), order(a, b, n));
  }
}

TEST(StringCompare, OrdersCharStrings) {
  const char *words[] = {"", "a", "ab", "b", "\x7F", "\x80", "\xFF"};
  for (const char *s : words) {
    Text units;
    for (const char *c = s; *c != 0; ++c) units += static_cast<uint8_t>(*c);
    for (const char *t : words) {
      const int expected = sign(std::strcmp(s, t));
      EXPECT_EQ(kiv_string_compare_with_char_s(units.c_str(), t), expected);
      EXPECT_EQ(kiv_string_strcmp_with_char(units.c_str(), t), expected);
      for (uint32_t n = 0; n < 4; ++n) {
        const int bounded = sign(std::strncmp(s, t, n));
        EXPECT_EQ(kiv_string_ncompare_with_char_s(units.c_str(), t, n), bounded);
        EXPECT_EQ(kiv_string_strncmp_with_char(units.c_str(), t, n), bounded);
      }
    }
  }
}

TEST(StringCompare, ReadsNothingBehindABound) {
  const KIV_UNICHAR s[] = {'a', 'b'}, t[] = {'a', 'b'};
  const char cs[] = {'a', 'b'};
  EXPECT_EQ(kiv_string_strncmp(s, t, 2), 0);
  EXPECT_EQ(kiv_string_ncompare_with_char_s(s, cs, 2), 0);
  EXPECT_EQ(kiv_string_strncmp(nullptr, nullptr, 0), 0);
  EXPECT_EQ(kiv_string_strncmp_with_char(nullptr, nullptr, 0), 0);
}

/// Every pair of units from blocks with letters, in the locales that there are.
TEST(StringCompare, FoldsLettersToUpperCase) {
  const bool wide = sizeof(wchar_t) == 4;
  std::vector<KIV_UNICHAR> units{0x130, 0x131, 0x178, 0xFF, 0x400, 0x450, 0x10400, 0x10428, 0x10061, 0xFFFFFFFF};
  for (KIV_UNICHAR c = 1; c < 0x100; ++c) units.push_back(c);
  for (const char *locale : {"C.UTF-8", "C"}) {
    if (std::setlocale(LC_CTYPE, locale) == nullptr) continue;
    const auto letter = [wide](KIV_UNICHAR c) {
      return (wide || c <= 0xFFFF) && std::iswalpha(static_cast<wint_t>(c));
    };
    const auto upper = [](KIV_UNICHAR c) {
      const auto w = static_cast<wint_t>(c);
      return std::iswlower(w) ? KIV_UNICHAR{static_cast<uint16_t>(std::towupper(w))} : c;
    };
    for (const KIV_UNICHAR c : units) {
      for (const KIV_UNICHAR d : units) {
        const bool both = letter(c) && letter(d);
        const KIV_UNICHAR a = both ? upper(c) : c, b = both ? upper(d) : d;
        const Text s{'x', c}, t{'x', d};
        ASSERT_EQ(kiv_string_stricmp(s.c_str(), t.c_str()), a == b ? 0 : a < b ? -1 : 1) << locale << c << " " << d;
      }
    }
  }
  EXPECT_EQ(kiv_string_stricmp(text(U"_").c_str(), text(U"a").c_str()), -1);  // one letter alone is not folded
  EXPECT_EQ(kiv_string_strncasecmp(text(U"abc").c_str(), text(U"ABD").c_str(), 2), -1);
  EXPECT_EQ(kiv_string_strncasecmp(text(U"abc").c_str(), text(U"ABD").c_str(), 0), -1);
}

TEST(StringCompare, KnowsBeginningsAndEnds) {
  const Text words[] = {{},          text(U"a"),   text(U"A"),      text(U"ab"),
                        text(U"aB"), text(U"bab"), text(U"\u0141"), text(U"a\u0161")};
  const auto fold = [](Text s) {
    std::transform(s.begin(), s.end(), s.begin(), kiv_uni_tolower);
    return s;
  };
  for (const Text &s : words) {
    for (const Text &t : words) {
      for (const int nocase : {0, 1}) {
        const Text a = nocase ? fold(s) : s, b = nocase ? fold(t) : t;
        const bool begins = a.compare(0, b.size(), b) == 0;
        const bool ends = a.size() >= b.size() && a.compare(a.size() - b.size(), b.size(), b) == 0;
        EXPECT_EQ(kiv_string_begins_with(s.c_str(), t.c_str(), nocase), begins);
        EXPECT_EQ(kiv_string_ends_with(s.c_str(), t.c_str(), nocase), ends);
        if (std::any_of(t.begin(), t.end(), [](auto c) { return c > 127; })) continue;
        const std::string chars(t.begin(), t.end());
        EXPECT_EQ(kiv_string_begins_with_char_s(s.c_str(), chars.c_str(), nocase), begins);
        EXPECT_EQ(kiv_string_ends_with_char_s(s.c_str(), chars.c_str(), nocase), ends);
      }
    }
    EXPECT_EQ(kiv_string_ends_with(nullptr, s.c_str(), 0), s.empty());
    EXPECT_EQ(kiv_string_ends_with(s.c_str(), nullptr, 0), 1);
    EXPECT_EQ(kiv_string_ends_with_char_s(s.c_str(), nullptr, 1), 1);
  }
  EXPECT_EQ(kiv_string_ends_with_char_s(nullptr, nullptr, 1), 1);
}

// --- Searching -------------------------------------------------------------------------------------------------------

const KIV_UNICHAR *place(const Text &s, size_t position) {
  return position != Text::npos ? s.c_str() + position : nullptr;
}

TEST(StringSearch, FindsUnitsAndSets) {
  std::mt19937_64 random = make_random();
  for (int round = 0; round < 5000; ++round) {
    const Text &alphabet = kAlphabets[below(random, 3)];
    const Text s = random_text(random, 100, alphabet), set = random_text(random, 4, alphabet);
    const KIV_UNICHAR c = alphabet[below(random, static_cast<uint32_t>(alphabet.size()))];
    const size_t in = std::min(s.find_first_not_of(set), s.size()), out = std::min(s.find_first_of(set), s.size());
    ASSERT_EQ(kiv_string_strchr(s.c_str(), c), place(s, s.find(c)));
    ASSERT_EQ(kiv_string_strrchr(s.c_str(), c), place(s, s.rfind(c)));
    ASSERT_EQ(kiv_string_strchr(s.c_str(), 0), s.c_str() + s.size());
    ASSERT_EQ(kiv_string_strrchr(s.c_str(), 0), s.c_str() + s.size());
    ASSERT_EQ(kiv_string_strspn(s.c_str(), set.c_str()), in);
    ASSERT_EQ(kiv_string_strcspn(s.c_str(), set.c_str()), out);
    ASSERT_EQ(kiv_string_strpbrk(s.c_str(), set.c_str()), place(s, s.find_first_of(set)));
  }
}

/// All texts of two letters up to a length.
std::vector<Text> all_texts(uint32_t max_length) {
  std::vector<Text> result;
  for (uint32_t length = 0; length <= max_length; ++length) {
    for (uint32_t bits = 0; bits < 1u << length; ++bits) {
      Text s;
      for (uint32_t i = 0; i < length; ++i) s += bits >> i & 1 ? 'b' : 'a';
      result.push_back(s);
    }
  }
  return result;
}

TEST(StringSearch, FindsStrings) {
  const std::vector<Text> needles = all_texts(6);
  for (const Text &s : all_texts(10)) {
    for (const Text &needle : needles) {
      const KIV_UNICHAR *expected = place(s, s.find(needle));
      ASSERT_EQ(kiv_string_strstr(s.c_str(), needle.c_str()), expected);
      // Otherwise only long texts come to this algorithm.
      if (needle.empty()) continue;
      ASSERT_EQ(kiv::find_two_way(s.c_str(), s.size(), needle.c_str(), needle.size()), expected);
    }
  }
  EXPECT_EQ(kiv_string_strstr(needles[1].c_str(), nullptr), needles[1].c_str());
}

/// Needles that almost stand everywhere make the search change to the linear algorithm.
TEST(StringSearch, FindsRepetitiveStrings) {
  std::mt19937_64 random = make_random();
  const auto repeat = [](const Text &piece, size_t length) {
    Text result;
    while (result.size() < length) result += piece;
    return result;
  };
  for (int round = 0; round < 3000; ++round) {
    const Text piece = random_text(random, 6, text(U"ab")) + Text(1, 'a');
    Text s = repeat(piece, 2000), needle = repeat(piece, 10 + below(random, 400));
    for (uint32_t flips = below(random, 6); flips > 0; --flips) s[below(random, 2000)] = 'b';
    if (below(random, 2) == 0) needle[below(random, static_cast<uint32_t>(needle.size()))] = 'b';
    if (below(random, 2) == 0) s.insert(below(random, 2000), needle);
    ASSERT_EQ(kiv_string_strstr(s.c_str(), needle.c_str()), place(s, s.find(needle)));
  }
  // 10^10 steps of a quadratic search, which would run into the test's timeout.
  const Text s(200000, 'a');
  EXPECT_EQ(kiv_string_strstr(s.c_str(), (Text(100000, 'a') + text(U"b")).c_str()), nullptr);
  EXPECT_EQ(kiv_string_strstr(s.c_str(), (Text(1, 'b') + Text(100000, 'a')).c_str()), nullptr);
  EXPECT_EQ(kiv_string_strstr(s.c_str(), (Text(50000, 'a') + text(U"b") + Text(50000, 'a')).c_str()), nullptr);
}

TEST(StringSearch, FindsInSortedArrays) {
  std::vector<Text> texts{{}, text(U"a"), text(U"ab"), text(U"b"), {0x10FFFF}, {0x80000000}};
  std::vector<KIV_STRING> sorted;
  for (Text &s : texts) sorted.push_back(s.data());
  for (uint32_t n = 0; n <= sorted.size(); ++n) {
    for (uint32_t i = 0; i < texts.size(); ++i) {
      EXPECT_EQ(kiv_string_to_index(n, sorted.data(), Text(texts[i]).c_str()), i < n ? i : UINT32_MAX);
    }
    EXPECT_EQ(kiv_string_to_index(n, sorted.data(), text(U"aa").c_str()), UINT32_MAX);
    EXPECT_EQ(kiv_string_to_index(n, sorted.data(), Text{0x90000000}.c_str()), UINT32_MAX);
  }
}

/// Strings that end with their page, or begin with one: nothing is read beyond the pages that a string is on.
TEST(StringSearch, StaysOnThePagesOfItsStrings) {
  GuardedPage page_s, page_t;
  const auto fill = [](KIV_UNICHAR *s, size_t length) {
    std::fill(s, s + length, 'a');
    s[length] = 0;
    return s;
  };
  for (uint32_t length = 0; length < 70; ++length) {
    for (const size_t room : {size_t{length + 1}, GuardedPage::kSize / sizeof(KIV_UNICHAR)}) {
      const KIV_UNICHAR *s = fill(page_s.last<KIV_UNICHAR>(room), length);
      EXPECT_EQ(kiv_string_length(s), length);
      EXPECT_EQ(kiv_string_contains_non_ascii(s), 0);
      EXPECT_EQ(kiv_string_strchr(s, 'b'), nullptr);
      EXPECT_EQ(kiv_string_strrchr(s, 'b'), nullptr);
      for (uint32_t other = 0; other < 70; ++other) {
        KIV_UNICHAR *t = fill(page_t.last<KIV_UNICHAR>(other + 1), other);
        ASSERT_EQ(kiv_string_compare(s, t), order(s, t));
        ASSERT_EQ(kiv_string_strstr(s, t), other <= length ? s : nullptr);
      }
    }
  }
}

}  // namespace
