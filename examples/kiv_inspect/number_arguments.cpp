#include "examples/kiv_inspect/number_arguments.h"

namespace kiv::inspect {
namespace {

bool has_prefix(std::string_view text) { return text.starts_with("0x") || text.starts_with("0X"); }

}  // namespace

std::optional<uint64_t> parse_address(std::string_view text) {
  if (has_prefix(text)) text.remove_prefix(2);
  if (text.empty()) return std::nullopt;
  uint64_t value = 0;
  for (const char c : text) {
    const bool decimal = c >= '0' && c <= '9';
    const char letter = static_cast<char>(c | 0x20);
    if ((!decimal && (letter < 'a' || letter > 'f')) || value >> 60 != 0) return std::nullopt;
    value = value << 4 | static_cast<uint64_t>(decimal ? c - '0' : letter - 'a' + 10);
  }
  return value;
}

std::optional<uint64_t> parse_count(std::string_view text) {
  if (has_prefix(text)) return parse_address(text);
  if (text.empty()) return std::nullopt;
  uint64_t value = 0;
  for (const char c : text) {
    const auto digit = static_cast<uint64_t>(c - '0');
    if (c < '0' || c > '9' || value > (UINT64_MAX - digit) / 10) return std::nullopt;
    value = value * 10 + digit;
  }
  return value;
}

}  // namespace kiv::inspect
