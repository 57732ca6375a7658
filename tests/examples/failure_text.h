// What failures of kiv_inspect's readers say.
#ifndef KIV_TESTS_EXAMPLES_FAILURE_TEXT_H
#define KIV_TESTS_EXAMPLES_FAILURE_TEXT_H

#include <string>

#include "examples/kiv_inspect/status.h"

namespace kiv::test {

/// The library's static record.
constexpr char kOutOfMemoryText[] = "Internal error: Out of memory in error object handling.";

/// The message that was made where the failure was found, behind those of the layers around it; "" for success.
inline std::string problem_of(kiv::inspect::Status status) {
  std::string text;
  if (status.ok()) return text;
  const KIV_ERROR_ENTRY &entry = status.error->entries[(status.error->count & KIV_ERROR_COUNT_MASK) - 1];
  for (const KIV_UNICHAR *c = entry.user_message_english; *c != 0; ++c) text += static_cast<char>(*c);
  return text;
}

}  // namespace kiv::test

#endif
