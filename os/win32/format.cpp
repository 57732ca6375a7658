#include <cstdio>

#include "os/platform.h"

namespace kiv::os {

int format_bounded(char *buffer, size_t size, const char *format, va_list arguments) {
  return buffer != nullptr ? _vsnprintf(buffer, size, format, arguments) : _vscprintf(format, arguments);
}

}  // namespace kiv::os
