// Bounded formatted printing.

#include "kiv_vsnprintf.h"

#include "os/platform.h"

int kiv_do_vsnprintf(char *buffer, uint32_t size, const char *format, va_list arguments) {
  if (buffer == nullptr && size != 0) return -1;
  return kiv::os::format_bounded(buffer, size, format, arguments);
}
