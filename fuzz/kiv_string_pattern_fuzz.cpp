// Patterns and texts of any bytes, held against plain backtracking; replacing and splitting with an allocator that
// fails.
//
// The input: two bytes of choices, then a pattern, a newline, and the text.

#include <cstdlib>
#include <vector>

#include "fuzz/failing_heap.h"
#include "kiv_string.h"
#include "tests/text/naive_pattern.h"

namespace {

using kiv::fuzz::FailingHeap;
using kiv::fuzz::require;
using namespace kiv::test;

constexpr size_t kMostUnits = 40;
constexpr int64_t kMostSteps = 20000;

void check_search(const Text &text, const Text &re, const Text &given, int32_t start, bool backwards) {
  NaiveRegExp naive(text, re, kMostSteps);
  const NaiveResult expected = naive.search(start, backwards);
  require(!naive.finished() || search(text, given, start, backwards) == expected);
}

void check_match(const Text &text, const Text &re, bool whole) {
  NaiveRegExp naive(text, re, kMostSteps);
  const NaiveResult expected = naive.match_at_start(whole);
  require(!naive.finished() || match(text, re, whole) == expected);
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
  require(wildcards_agree(text, pattern, kMostSteps));
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
