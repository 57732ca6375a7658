#include "examples/kiv_inspect/number_arguments.h"

#include <algorithm>

#include "kiv_string_number.h"

namespace kiv::inspect {
namespace {

/// A number that is the whole text. The library reads terminated strings, and this one may have a zero within.
std::optional<uint64_t> parse(std::string_view text, int32_t base) {
  char copy[kLongestNumber + 1] = "";
  if (text.size() > kLongestNumber) return std::nullopt;
  std::copy(text.begin(), text.end(), copy);
  uint64_t value;
  uint32_t length;
  const bool failed = kiv_string_char_s_convert_to_u64m(copy, base, 0, 0, &value, nullptr, &length) != 0;
  return failed || length != text.size() ? std::nullopt : std::optional(value);
}

}  // namespace

std::optional<uint64_t> parse_address(std::string_view text) { return parse(text, 16); }

std::optional<uint64_t> parse_count(std::string_view text) { return parse(text, 0); }

std::optional<uint64_t> parse_decimal(std::string_view text) {
  return text.find_first_not_of("0123456789") == text.npos ? parse(text, 10) : std::nullopt;
}

}  // namespace kiv::inspect
