#include "kiv_string_pattern.h"

#include <functional>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_string.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/text/naive_pattern.h"

namespace {

using namespace kiv::test;

/// Calls visit for every string of the alphabet's characters up to a length.
void visit_strings(const std::string &alphabet, size_t most, const std::function<void(const std::string &)> &visit,
                   std::string start = "") {
  visit(start);
  if (most == 0) return;
  for (const char c : alphabet) visit_strings(alphabet, most - 1, visit, start + c);
}

std::vector<Text> texts_of(const std::string &alphabet, size_t most) {
  std::vector<Text> texts;
  visit_strings(alphabet, most, [&](const std::string &text) { texts.push_back(widen(text)); });
  return texts;
}

std::string random_string(std::mt19937_64 &random, const std::string &alphabet, uint32_t most) {
  std::string result(below(random, most + 1), ' ');
  for (char &c : result) c = alphabet[below(random, static_cast<uint32_t>(alphabet.size()))];
  return result;
}

std::string repeat(const std::string &unit, size_t times) {
  std::string result;
  while (times-- > 0) result += unit;
  return result;
}

// --- Regular expressions ---------------------------------------------------------------------------------------------

int64_t find(const std::string &text, const std::string &re, int32_t start = 0) {
  return search(widen(text), widen(re), start).place;
}

/// Compares one text and pattern in all ways of matching and searching. `longer` stands in for re where that is to be
/// matched by the machine for long patterns.
[[nodiscard]] bool agrees(const Text &text, const Text &re, const Text &longer) {
  for (const bool whole : {false, true}) {
    if (match(text, longer, whole) != NaiveRegExp(text, re).match_at_start(whole)) return false;
  }
  for (int32_t start = -1; start <= static_cast<int32_t>(text.size()) + 1; ++start) {
    for (const bool backwards : {false, true}) {
      if (search(text, longer, start, backwards) != NaiveRegExp(text, re).search(start, backwards)) return false;
    }
  }
  return true;
}

TEST(RegExp, Oddities) {
  EXPECT_EQ(find("xab", "ab$ignored["), 1);
  EXPECT_EQ(find("", ""), -1) << "the end of the text is no place";
  EXPECT_EQ(find("", "^$"), 0) << "an anchored pattern is tried at 0 whatever the text";
  EXPECT_EQ(find("^a", "^^^a"), 0) << "the third one is a character";
}

TEST(RegExp, NullCountsAsEmpty) {
  EXPECT_EQ(kiv_string_matches_with_reg_exp(nullptr, nullptr, nullptr, 1), 1);
  EXPECT_EQ(kiv_string_substr_matches_with_regular_expression(nullptr, nullptr, nullptr, 0), -1);
  EXPECT_EQ(kiv_string_reverse_substr_matches_with_regular_expression(nullptr, widen("^").c_str(), nullptr, 0), 0);
  EXPECT_EQ(kiv_string_substr_matches_using_wildcards(nullptr, nullptr), -1);
  EXPECT_EQ(kiv_string_reverse_substr_matches_using_wildcards(nullptr, nullptr), -1);
  EXPECT_EQ(kiv_string_matches_using_wildcards(nullptr, nullptr), 1);
}

/// Every pattern of a beginning, up to so many characters of an alphabet and an end.
void compare_all(const std::string &start, const std::string &alphabet, size_t most, const std::string &end,
                 const std::vector<Text> &texts) {
  visit_strings(alphabet, most, [&](const std::string &pattern) {
    const Text re = widen(start + pattern + end);
    for (const Text &text : texts) ASSERT_TRUE(agrees(text, re, re)) << narrow(re) << " in " << narrow(text);
  });
}

TEST(RegExp, AllShortPatterns) {
  const std::vector<Text> texts = texts_of("ab", 4);
  compare_all("", "ab.*+?^$\\[]", 4, "", texts);
  compare_all("a", "ab*+?$", 5, "", texts);
  for (const char *behind : {"]", "]*", "]$", ""}) compare_all("[", "]ac^-\\", 4, behind, texts_of("abc]-^\\", 1));
}

TEST(RegExp, RandomPatternsInBothMachines) {
  std::mt19937_64 random = kiv::test::make_random();
  const char *parts[] = {"a", "b", ".", "\\.", "[ab]", "[^a]", "[b-]", "c"};
  const char *quantifiers[] = {"", "", "*", "+", "?"};
  for (int i = 0; i < 2000; ++i) {
    std::string pattern;
    for (uint32_t atoms = below(random, 8); atoms > 0; --atoms) {
      pattern += parts[below(random, 8)];
      pattern += quantifiers[below(random, 5)];
    }
    if (below(random, 3) == 0) pattern += '$';
    const Text re = widen(pattern), text = widen(random_string(random, "aab.c", 12));
    ASSERT_TRUE(agrees(text, re, re)) << pattern << " in " << narrow(text);
    // Atoms that match nothing in these texts make the pattern too long for the one machine.
    const Text longer = widen(repeat("z?", 60) + repeat("[xyz]*", 4)) + re;
    ASSERT_TRUE(agrees(text, re, longer)) << "long " << pattern << " in " << narrow(text);
  }
}

/// Long attempts make a search change its way.
TEST(RegExp, RandomSearchesWithLongAttempts) {
  std::mt19937_64 random = kiv::test::make_random();
  for (int i = 0; i < 30; ++i) {
    Text text;
    while (text.size() < 400) text += widen(std::string(below(random, 250), 'a') + "bcd"[below(random, 3)]);
    for (const char *pattern : {"a*b", "a+b+c*d", "a*cb*a*d", "aa*[bc]d?$", "[^b]*d$", "a*[xy]", "x"}) {
      const Text re = widen(pattern), longer = widen(repeat("z?", 64)) + re;
      const auto start = static_cast<int32_t>(below(random, static_cast<uint32_t>(text.size())));
      for (const bool backwards : {false, true}) {
        const NaiveResult expected = NaiveRegExp(text, re).search(start, backwards);
        ASSERT_EQ(search(text, re, start, backwards), expected) << pattern << " in " << narrow(text);
        if (i < 5) ASSERT_EQ(search(text, longer, start, backwards), expected) << pattern << " in " << narrow(text);
      }
    }
  }
}

TEST(RegExp, CharactersOutsideAscii) {
  const Text text = {0x41, 0xC1, 0x4E2D, 0x1F600, 0xFFFFFFFF};
  for (size_t i = 0; i < text.size(); ++i) {
    for (const Text &re : {Text{text[i]}, Text{'\\', text[i]}, Text{'[', text[i] - 1, '-', text[i], ']', '?', '$'}}) {
      EXPECT_EQ(search(text.substr(0, i + 1), re, 0).place, i);
    }
  }
  EXPECT_EQ(search(text, {'[', '^', 1, '-', 0xFFFFFFFE, ']'}, 0).place, 4);
}

TEST(RegExp, LargePatternsAndTexts) {
  const Text a_row = widen(std::string(10000, 'a'));
  const Text million = widen(std::string(1000000, 'a'));
  for (const char *pattern : {"a*a*a*a*a*b", "a*a*a*a*a*[bc]", "a+a?a*[ab]*a*b$", ".*.*.*[bc]"}) {
    EXPECT_EQ(search(a_row, widen(pattern), 0).place, -1);
    EXPECT_EQ(search(million, widen(pattern), 0).place, -1);
    EXPECT_EQ(search(million, widen(pattern), 999999, true).place, -1);
    EXPECT_EQ(search(million + widen("b"), widen(pattern), 0), (NaiveResult{0, 1000001}));
  }
  const Text text = widen(std::string(20, 'a'));
  for (const char *unit : {"a?", "a*", "[ab]*"}) {
    EXPECT_EQ(match(text, widen(repeat(unit, 100000)), true), (NaiveResult{0, 20})) << unit;
    EXPECT_EQ(search(text, widen(repeat(unit, 100000) + "[bc]"), 0).place, -1) << unit;
  }
  EXPECT_EQ(match(a_row.substr(0, 1000), widen(repeat("a+", 1001)), false).place, -1);
  // Literal patterns at the limit and behind it.
  const Text half_million = million.substr(0, (1 << 19) - 1);
  EXPECT_EQ(match(million, half_million, false), (NaiveResult{0, half_million.size()}));
  EXPECT_EQ(match(million, half_million + widen("a"), false), (NaiveResult{-1, {}}));
}

// --- Wildcards -------------------------------------------------------------------------------------------------------

/// Empty when the functions do as the naive ones, unless those take too long.
std::string difference_in_wildcards(const Text &text, const Text &pattern) {
  return wildcards_agree(text, pattern, 1000000) ? "" : narrow(pattern) + " in " + narrow(text);
}

TEST(Wildcards, AllShortPatterns) {
  const auto compare = [](const std::vector<Text> &texts, const Text &pattern) {
    for (const Text &text : texts) ASSERT_EQ(difference_in_wildcards(text, pattern), "");
  };
  const std::vector<Text> texts = texts_of("ab", 5), of_sets = texts_of("abc]-^\\", 1);
  visit_strings("ab*?[]^\\", 4, [&](const std::string &pattern) { compare(texts, widen(pattern)); });
  visit_strings("]ac^-\\", 4, [&](const std::string &members) { compare(of_sets, widen("[" + members + "]")); });
}

TEST(Wildcards, Oddities) {
  const auto matches = [](const std::string &text, const std::string &pattern) {
    return kiv_string_matches_using_wildcards(widen(text).c_str(), widen(pattern).c_str());
  };
  EXPECT_EQ(matches("a", "a**"), 0) << "behind a star that is not last there must be text";
  EXPECT_EQ(matches("a\\b", "a[\\]b"), 1) << "no escapes in sets";
  EXPECT_EQ(matches("", "[^a]"), 0) << "the end of the text is in no set";
  // Backtracking over these would not end.
  const std::string a_row(1000000, 'a');
  EXPECT_EQ(matches(a_row, repeat("*a", 1000) + "*b"), 0);
  EXPECT_EQ(matches(a_row + "b", repeat("*a", 1000) + "*b"), 1);
  const Text text = widen(a_row), pattern = widen("a" + repeat("*a", 1000));
  EXPECT_EQ(kiv_string_substr_matches_using_wildcards(text.c_str(), (pattern + widen("*b")).c_str()), -1);
  EXPECT_EQ(kiv_string_reverse_substr_matches_using_wildcards(text.c_str(), pattern.c_str()), 1000000 - 1001);
}

// --- Replacing -------------------------------------------------------------------------------------------------------

std::string replace(const std::string &text, const std::string &re, const std::string &replacement, int32_t max) {
  CountingAllocator allocator;
  KIV_STRING result = kiv_string_replace_re(allocator.record(), widen(text).c_str(), widen(re).c_str(),
                                            widen(replacement).c_str(), max);
  const std::string bytes = narrow(result);
  kiv_string_delete(allocator.record(), result);
  return bytes;
}

/// The pieces that the result is built of.
std::vector<Text> naive_pieces(Text text, const Text &re, const Text &replacement, int max) {
  std::vector<Text> pieces;
  for (; !text.empty() && max > 0; --max) {
    const NaiveResult found = NaiveRegExp(text, re).search(0, false);
    if (found.place < 0) break;
    pieces.push_back(text.substr(0, static_cast<size_t>(found.place)));
    pieces.push_back(replacement);
    text = text.substr(*found.end);
  }
  pieces.push_back(text);
  return pieces;
}

TEST(Replace, Oddities) {
  EXPECT_EQ(replace("abc", "b", "-", -1), "abc");
  EXPECT_EQ(replace("bb", "a*", "-", 3), "---bb") << "an empty match does not move on";
  EXPECT_EQ(replace("aab", "^a", "", 5), "b") << "each search sees what is left only";
  // The search for each match does not look at the rest of the text: this would take long.
  EXPECT_EQ(replace(repeat("ab", 10000), "b", "", 1000000), std::string(10000, 'a'));
  CountingAllocator allocator;
  const Text text = widen("abc"), re = widen("b");
  EXPECT_EQ(kiv_string_replace_re(allocator.record(), nullptr, re.c_str(), re.c_str(), 1), nullptr);
  KIV_STRING result = kiv_string_replace_re(allocator.record(), text.c_str(), re.c_str(), nullptr, 1);
  EXPECT_EQ(narrow(result), "ac");
  EXPECT_EQ(allocator.log, (std::vector<std::string>{"realloc 0 8 -> 1", "realloc 1 12 -> 2"}));
  kiv_string_delete(allocator.record(), result);
}

TEST(Replace, RandomWithFailures) {
  std::mt19937_64 random = kiv::test::make_random();
  const char *patterns[] = {"a", "ab+", "a?", "^a", "b$", ".b", "[^a]*b", "x"};
  for (int i = 0; i < 200; ++i) {
    const Text text = widen(random_string(random, "aab", 10)), re = widen(patterns[below(random, 8)]);
    const Text replacement = widen(random_string(random, "xy", 2));
    const auto max = static_cast<int>(below(random, 5));
    const std::vector<Text> pieces = naive_pieces(text, re, replacement, max);
    for (uint32_t failing = 0; failing <= pieces.size(); ++failing) {
      CountingAllocator allocator;
      allocator.fail_at(failing);
      KIV_STRING result = kiv_string_replace_re(allocator.record(), text.c_str(), re.c_str(), replacement.c_str(), max);
      Text expected;
      for (size_t j = failing; j < pieces.size(); ++j) expected += pieces[j];
      ASSERT_EQ(result == nullptr, failing == pieces.size());
      if (result != nullptr) ASSERT_EQ(narrow(result), narrow(expected)) << narrow(text) << ' ' << narrow(re);
      kiv_string_delete(allocator.record(), result);
    }
  }
}

// --- Delimiters ------------------------------------------------------------------------------------------------------

TEST(Token, Matches) {
  struct {
    const char *token, *delimiters, *text;
    int matches;
    uint32_t next;
  } const rows[] = {
      {"ab", " ,", "  ab,c", 1, 4}, {"ab", " ,", "ab", 1, 2}, {"ab", " ", "abc", 0, 0}, {"ab", " ", "a b", 0, 0},
      {"ac", " ", "ab", 0, 0},      {"", " ", "  ", 1, 2},    {"", "", "", 1, 0},       {"a b", "", "a b", 1, 3},
  };
  for (const auto &row : rows) {
    uint32_t next = 99;
    EXPECT_EQ(kiv_string_token_matches(widen(row.token).c_str(), widen(row.delimiters).c_str(), widen(row.text).c_str(),
                                       &next),
              row.matches)
        << row.token << " in " << row.text;
    EXPECT_EQ(next, row.next) << row.token << " in " << row.text;
  }
}

TEST(Split, Fields) {
  struct {
    const char *text, *delimiters;
    std::vector<std::string> fields;
  } const rows[] = {
      {"a,,b,", ",", {"a", "", "b"}},   {"", ",", {}},      {",", ",", {""}},      {",a", ",", {"", "a"}},
      {"a b,c", ", ", {"a", "b", "c"}}, {"ab", "", {"ab"}}, {",,", ",", {"", ""}},
  };
  for (const auto &row : rows) {
    const Text text = widen(row.text), delimiters = widen(row.delimiters);
    const auto split = [&](CountingAllocator &allocator) {
      KIV_STRING *fields = kiv_string_split(allocator.record(), text.c_str(), delimiters.c_str());
      ASSERT_EQ(fields == nullptr, allocator.has_failed());
      if (fields == nullptr) return;
      std::vector<std::string> found;
      for (KIV_STRING *field = fields; *field != nullptr; ++field) {
        found.push_back(narrow(*field));
        EXPECT_EQ(allocator.size_of(*field), (found.back().size() + 1) * sizeof(KIV_UNICHAR));
      }
      EXPECT_EQ(allocator.size_of(fields), (found.size() + 1) * sizeof(KIV_STRING));
      EXPECT_EQ(found, row.fields) << row.text;
      kiv_string_delete_array(allocator.record(), fields);
    };
    EXPECT_EQ(kiv::test::sweep_failures(split), 1 + row.fields.size());
  }
}

}  // namespace
