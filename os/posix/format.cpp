#include <cstdio>

#include "os/platform.h"

namespace kiv::os {
namespace {

/// The byte of a text at this index, by printing the text as far as that; false without memory.
bool format_byte_at(size_t index, char *byte, const char *format, va_list arguments) {
  char small[512];
  const size_t size = index + 2;
  char *text = size <= sizeof small ? small : static_cast<char *>(heap_alloc(size));
  if (text == nullptr) return false;
  text[index] = '\0';
  (void)std::vsnprintf(text, size, format, arguments);
  *byte = text[index];
  if (text != small) heap_free(text);
  return true;
}

}  // namespace

int format_bounded(char *buffer, size_t size, const char *format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  int length = std::vsnprintf(buffer, size, format, arguments);
  if (length >= 0 && static_cast<size_t>(length) >= size && buffer != nullptr) {
    // A terminator stands where the last byte belongs.
    const bool whole = size == 0 || format_byte_at(size - 1, buffer + size - 1, format, again);
    if (!whole || static_cast<size_t>(length) > size) length = -1;
  }
  va_end(again);
  return length;
}

}  // namespace kiv::os
