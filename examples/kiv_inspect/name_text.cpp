#include "examples/kiv_inspect/name_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "examples/kiv_inspect/ascii_text.h"
#include "kiv_string_convert.h"

namespace kiv::inspect {

// The room has the string, then the name with a terminator, then what the string is in UTF-8 again: a name was
// well-formed when that is the name.
const KIV_UNICHAR *NameText::decode(std::string_view name) {
  const size_t units = name.size() + 1;
  if (!make_room(units * (sizeof(KIV_UNICHAR) + 2))) return nullptr;
  const auto size = static_cast<uint32_t>(units);
  auto *string = static_cast<KIV_UNICHAR *>(room_);
  auto *bytes = reinterpret_cast<char *>(string + units);
  char *again = bytes + units;
  std::copy(name.begin(), name.end(), bytes);
  bytes[name.size()] = '\0';
  // Of ASCII the two ways to read it are the same.
  if (is_ascii(name)) {
    (void)kiv_string_convert_char_to_utf32(bytes, string, size);
    return string;
  }
  (void)kiv_string_convert_utf8_to_utf32(bytes, string, size);
  if (kiv_string_convert_utf32_to_utf8(string, again, size) == 0 || std::strcmp(bytes, again) != 0) {
    (void)kiv_string_convert_char_to_utf32(bytes, string, size);
  }
  return string;
}

bool NameText::make_room(size_t bytes) {
  if (bytes <= size_) return true;
  if (bytes > UINT32_MAX / 2) return false;
  allocator_->free(allocator_, room_);
  size_ = 2 * bytes;
  room_ = allocator_->alloc(allocator_, static_cast<uint32_t>(size_));
  if (room_ == nullptr) size_ = 0;
  return room_ != nullptr;
}

}  // namespace kiv::inspect
