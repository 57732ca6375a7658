// Patterns and texts of any bytes, held against plain backtracking; replacing and splitting with an allocator that
// fails.
//
// The input: two bytes of choices, then a pattern, a newline, and the text.

#include <cstdlib>
#include <vector>

#include "fuzz/failing_heap.h"
#include "kiv_string.h"
#include "kiv_string_pattern.h"
#include "tests/text/naive_pattern.h"

namespace {

using kiv::fuzz::FailingHeap;
using kiv::fuzz::require;
using namespace kiv::test;

constexpr size_t kMostUnits = 40;
constexpr int64_t kMostSteps = 20000;

/// A string in a block without a byte to spare.
std::vector<KIV_UNICHAR> exactly(const Text &text) { return {text.c_str(), text.c_str() + text.size() + 1}; }

void check_search(const Text &text, const Text &re, const Text &given, int32_t start, bool backwards) {
  NaiveRegExp naive(text, re, kMostSteps);
  const NaiveResult expected = naive.search(start, backwards);
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(given);
  KIV_STRING end = nullptr;
  const int32_t place =
      backwards ? kiv_string_reverse_substr_matches_with_regular_expression(units.data(), pattern.data(), &end, start)
                : kiv_string_substr_matches_with_regular_expression(units.data(), pattern.data(), &end, start);
  const NaiveResult found{place, static_cast<size_t>(end - units.data())};
  require(!naive.finished() || found == expected);
}

void check_match(const Text &text, const Text &re, bool whole) {
  NaiveRegExp naive(text, re, kMostSteps);
  const NaiveResult expected = naive.match_at_start(whole);
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(re);
  KIV_STRING end = nullptr;
  NaiveResult found{kiv_string_matches_with_reg_exp(units.data(), pattern.data(), &end, whole ? 1 : 0) - 1, {}};
  if (end != nullptr) found.end = static_cast<size_t>(end - units.data());
  require(!naive.finished() || found == expected);
}

void check_wildcards(const Text &text, const Text &wildcards) {
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(wildcards);
  int64_t steps = kMostSteps;
  const bool whole = naive_wildcards(text.c_str(), wildcards.c_str(), true, &steps);
  const int64_t first = naive_wildcards_search(text, wildcards, false, &steps);
  const int64_t last = naive_wildcards_search(text, wildcards, true, &steps);
  const bool right = (kiv_string_matches_using_wildcards(units.data(), pattern.data()) != 0) == whole &&
                     kiv_string_substr_matches_using_wildcards(units.data(), pattern.data()) == first &&
                     kiv_string_reverse_substr_matches_using_wildcards(units.data(), pattern.data()) == last;
  require(steps <= 0 || right);
}

void check_replace(const Text &text, const Text &re, uint32_t failing_at) {
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(re), replacement = exactly(widen("<>"));
  FailingHeap heap(failing_at);
  KIV_STRING result = kiv_string_replace_re(&heap.record, units.data(), pattern.data(), replacement.data(), 5);
  require(result != nullptr || heap.failed);
  kiv_string_delete(&heap.record, result);
}

void check_split(const Text &text, const Text &delimiters, uint32_t failing_at) {
  const std::vector<KIV_UNICHAR> units = exactly(text), set = exactly(delimiters);
  FailingHeap heap(failing_at);
  KIV_STRING *fields = kiv_string_split(&heap.record, units.data(), set.data());
  require((fields == nullptr) == heap.failed);
  if (fields == nullptr) return;
  Text joined;
  for (KIV_STRING *field = fields; *field != nullptr; ++field) {
    require(kiv_string_strpbrk(*field, set.data()) == nullptr);
    joined += *field;
    if (joined.size() < text.size()) joined += text[joined.size()];  // the delimiter
  }
  require(joined == text);
  kiv_string_delete_array(&heap.record, fields);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) return 0;
  const uint8_t choices = data[0];
  const auto start = static_cast<int32_t>(data[1] % 32) - 1;
  Text pattern, text;
  bool in_text = false;
  for (size_t i = 2; i < size; ++i) {
    if (data[i] == '\n' && !in_text) {
      in_text = true;
    } else if (data[i] != 0) {
      (in_text ? text : pattern).push_back(data[i]);
    }
  }
  pattern.resize(std::min(pattern.size(), kMostUnits));
  text.resize(std::min(text.size(), kMostUnits));
  const bool backwards = (choices & 1) != 0;
  check_search(text, pattern, pattern, start, backwards);
  check_match(text, pattern, (choices & 2) != 0);
  check_wildcards(text, pattern);
  check_replace(text, pattern, choices >> 4);
  check_split(text, pattern, choices >> 4);
  // The same by the machine for long patterns: its additional items match nothing in this text.
  if ((choices & 4) != 0 && pattern.find('^') != 0) {
    Text longer;
    for (int i = 0; i < 64; ++i) longer += Text{0x4E2D, '?'};
    check_search(text, pattern, longer + pattern, start, backwards);
  }
  return 0;
}
