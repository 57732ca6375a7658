#include "examples/kiv_inspect/target_spaces.h"

#include <algorithm>
#include <cstring>

#include "examples/kiv_inspect/number_arguments.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kBitsOfByte = 8;
constexpr size_t kLongestName = 31;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_hex_digit(char c) { return is_digit(c) || ((c | 0x20) >= 'a' && (c | 0x20) <= 'f'); }

/// Of any size, with or without "0x".
bool is_hex(const char *text) {
  if (text[0] == '0' && (text[1] | 0x20) == 'x') text += 2;
  const char *digit = text;
  while (is_hex_digit(*digit)) ++digit;
  return digit != text && *digit == '\0';
}

/// Names that are easily typed, and easily told from what stands around them.
bool is_space_name(std::string_view name) {
  const auto is_letter = [](char c) { return ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') || c == '_'; };
  return !name.empty() && name.size() <= kLongestName && is_letter(name[0]) &&
         std::all_of(name.begin(), name.end(), [&](char c) { return is_letter(c) || is_digit(c); });
}

/// A short ASCII name as the library's string.
struct SpaceName {
  explicit SpaceName(std::string_view name) { std::copy(name.begin(), name.end(), text); }
  KIV_UNICHAR text[kLongestName + 1] = {};
};

}  // namespace

Status TargetSpaces::open() {
  const bool added = list_ != nullptr && add(0, "", "", kBitsOfByte, kEverything) &&
                     add(1, "P", "code", kBitsOfByte, kCode) && add(2, "D", "data", kBitsOfByte, kData) &&
                     add(3, "R", "rodata", kBitsOfByte, kReadOnly);
  return added ? Status{} : errors_.out_of_memory();
}

bool TargetSpaces::add(uint64_t number, std::string_view name, std::string_view as_name, uint32_t bits, Extent extent) {
  const uint32_t data[4] = {extent};
  return kiv_target_memspace_add(list_, static_cast<uint32_t>(number), static_cast<uint32_t>(number >> 32),
                                 SpaceName(name).text, SpaceName(as_name).text, bits, data) == 0;
}

/// Both prefixes of such a space are its name: one that means another space would never be reached.
bool TargetSpaces::add_option(std::string_view text) {
  const size_t first = text.find(':');
  const size_t second = first != text.npos ? text.find(':', first + 1) : text.npos;
  if (second == text.npos) return false;
  const std::string_view name = text.substr(0, first);
  const auto number = parse_count(text.substr(first + 1, second - first - 1));
  const auto bits = parse_count(text.substr(second + 1));
  return is_space_name(name) && !is_prefix(name.data(), name.size()) && number && bits && *bits >= 1 &&
         *bits <= UINT32_MAX && add(*number, name, name, static_cast<uint32_t>(*bits), kEverything);
}

bool TargetSpaces::take_options(Arguments *arguments) {
  for (int place; (place = arguments->take_option("--space")) >= 0;) {
    const char *text = arguments->take_value(place);
    if (text == nullptr || !add_option(text)) return false;
  }
  return true;
}

bool TargetSpaces::is_prefix(const char *text, size_t length) const {
  const auto size = static_cast<uint32_t>(length);
  return kiv_target_memspace_find_by_name2(list_, text, nullptr, size) != nullptr ||
         kiv_target_memspace_find_by_as_name2(list_, text, nullptr, size) != nullptr;
}

bool TargetSpaces::is_name(const char *text) const {
  if (*text == '\0' || is_digit(*text)) return false;
  const char *colon = std::strchr(text, ':');
  if (colon == nullptr) return !is_hex(text);
  if (colon[1] == ':') return true;
  return !is_hex(colon + 1) && !is_prefix(text, static_cast<size_t>(colon - text));
}

TargetSpaces::Reading TargetSpaces::read(const char *text, TargetAddress *address) const {
  KIV_TARGET_MEMSPACE *space = nullptr;
  KIV_U128 bits;
  if (kiv_string_to_target_address(list_, text, nullptr, 1, 1, 0, 0, &space, nullptr, &bits, nullptr) == 0) {
    if (bits.hi >= kBitsOfByte) return Reading::too_far;
    const auto bit = static_cast<uint32_t>(bits.lo % kBitsOfByte);
    *address = {space, bits.hi << 61 | bits.lo / kBitsOfByte, bit};
    return Reading::done;
  }
  const char *colon = std::strchr(text, ':');
  if (!is_hex(colon != nullptr ? colon + 1 : text)) return Reading::malformed;
  if (colon != nullptr && !is_prefix(text, static_cast<size_t>(colon - text))) return Reading::no_space;
  return Reading::too_far;
}

Status TargetSpaces::failure(Reading reading, const KIV_UNICHAR *text) const {
  switch (reading) {
    case Reading::no_space:
      return errors_.failure({"\"[0_S]\" names no memory space[|]", U"`kiv_inspect spaces` lists them."}, text);
    case Reading::too_far:
      return errors_.failure("\"[0_S]\" lies beyond the 64 bits of a program's addresses[|]", text);
    default:
      return errors_.failure("\"[0_S]\" is no address[|]", text);
  }
}

bool TargetSpaces::has_sections(const KIV_TARGET_MEMSPACE &space) { return space.caller_data[0] != kEverything; }

bool TargetSpaces::has_section(const KIV_TARGET_MEMSPACE &space, const Section &section) {
  switch (space.caller_data[0]) {
    case kCode:
      return section.is_executable;
    case kData:
      return section.is_writable;
    case kReadOnly:
      return !section.is_executable && !section.is_writable;
    default:
      return true;
  }
}

}  // namespace kiv::inspect
