#include "examples/kiv_inspect/wildcard.h"

namespace kiv::inspect {

bool matches_wildcard(std::string_view pattern, std::string_view text) {
  constexpr size_t kNone = static_cast<size_t>(-1);
  size_t p = 0, t = 0;
  // The last star and the end of the text that it stands for so far. Earlier stars need not be reconsidered: what they
  // gave up a later one can take.
  size_t star = kNone, star_end = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      star_end = t;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
      ++p;
      ++t;
    } else if (star != kNone) {
      p = star + 1;
      t = ++star_end;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

}  // namespace kiv::inspect
