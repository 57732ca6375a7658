// Ranges of a program's addresses, closed: a range can reach up to the last address that there is.
#ifndef KIV_INSPECT_ADDRESS_RANGE_H
#define KIV_INSPECT_ADDRESS_RANGE_H

#include <algorithm>
#include <cstdint>

namespace kiv::inspect {

struct AddressRange {
  uint64_t first, last;
};

/// `size` bytes from an address on; one byte when it is 0. What would wrap is cut off at the last address of so many
/// hexadecimal digits, 8 or 16. REQUIRES: first has no more.
inline AddressRange address_range(uint64_t first, uint64_t size, int digits) {
  const uint64_t left = (digits == 8 ? UINT32_MAX : UINT64_MAX) - first;
  return {first, first + std::min(size == 0 ? 0 : size - 1, left)};
}

}  // namespace kiv::inspect

#endif
