#include <cerrno>
#include <cstring>

#include "os/platform.h"

namespace kiv::os {

bool last_error_text(char *buffer, size_t capacity) {
  if (errno == 0) return false;
  const char *text = strerror_r(errno, buffer, capacity);
  if (text != buffer) {
    const size_t length = strnlen(text, capacity - 1);
    std::memcpy(buffer, text, length);
    buffer[length] = '\0';
  }
  return true;
}

LastErrorText::LastErrorText() : utf8_(strerror_r(errno, buffer_, sizeof buffer_)) {}

void LastErrorText::release() {}

const char *last_error_lasting_text() {
  // Neither translated nor printed into anything: a constant.
  const char *text = strerrordesc_np(errno);
  return text != nullptr ? text : "";
}

}  // namespace kiv::os
