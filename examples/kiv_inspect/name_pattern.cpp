#include "examples/kiv_inspect/name_pattern.h"

#include "kiv_string_pattern.h"

namespace kiv::inspect {

bool NamePattern::set(const char *pattern, bool is_regex) {
  is_regex_ = is_regex;
  pattern_ = pattern != nullptr ? text_.decode(pattern) : nullptr;
  return pattern == nullptr || pattern_ != nullptr;
}

bool NamePattern::chooses(const KIV_UNICHAR *name) const {
  if (pattern_ == nullptr) return true;
  return is_regex_ ? kiv_string_substr_matches_with_regular_expression(name, pattern_, nullptr, 0) >= 0
                   : kiv_string_matches_using_wildcards(name, pattern_) != 0;
}

}  // namespace kiv::inspect
