// Numbers on the command line and in requests.
#ifndef KIV_INSPECT_NUMBER_ARGUMENTS_H
#define KIV_INSPECT_NUMBER_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace kiv::inspect {

/// In characters. There may be leading zeros.
inline constexpr uint32_t kLongestNumber = 127;

/// Up to 64 bits in hexadecimal, with or without "0x".
std::optional<uint64_t> parse_address(std::string_view text);

/// Up to 64 bits, in decimal or, behind "0x", in hexadecimal.
std::optional<uint64_t> parse_count(std::string_view text);

/// Up to 64 bits in decimal, as protocols have them.
std::optional<uint64_t> parse_decimal(std::string_view text);

}  // namespace kiv::inspect

#endif
