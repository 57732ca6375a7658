// KIV_STRINGs as the tests like them.
#ifndef KIV_TESTS_SUPPORT_UNISTRING_H
#define KIV_TESTS_SUPPORT_UNISTRING_H

#include <algorithm>
#include <string>

#include "kiv_string.h"

namespace kiv::test {

/// What a string has; null is shown as "(null)".
inline std::u32string text_of(const KIV_UNICHAR *string) {
  if (string == nullptr) return U"(null)";
  return std::u32string(string, string + kiv_string_length(string));
}

/// A new string; null without memory.
inline KIV_STRING new_string(KIV_ALLOCATOR *allocator, const std::u32string &text) {
  KIV_STRING string = kiv_string_new_empty_string(allocator, static_cast<uint32_t>(text.size() + 1));
  if (string != nullptr) std::copy(text.begin(), text.end(), string);
  return string;
}

}  // namespace kiv::test

#endif
