#include "kiv_ioterminal.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "kiv_string_convert.h"
#include "os/platform.h"

namespace os = kiv::os;

namespace {

/// Repeats an operation until no signal interrupts it. errno is cleared first: -1 with an EINTR that an earlier call
/// left behind must not count.
template <class Operation>
int retry(Operation operation) {
  for (;;) {
    errno = 0;
    const int result = operation();
    if (result != -1 || errno != EINTR) return result;
  }
}

}  // namespace

int kiv_ioterminal_open(void) { return -1; }

int kiv_ioterminal_read(int fd, void *buffer, uint32_t n) {
  return retry([=] { return os::descriptor_read(fd, buffer, n); });
}

int kiv_ioterminal_write(int fd, const void *buffer, uint32_t n) {
  return retry([=] { return os::descriptor_write(fd, buffer, n); });
}

int kiv_ioterminal_puts(int fd, const char *s) {
  return kiv_ioterminal_write(fd, s, static_cast<uint32_t>(std::strlen(s)));
}

int kiv_ioterminal_wide_puts(KIV_ALLOCATOR *allocator, int fd, const KIV_UNICHAR *s) {
  char *text = kiv_string_convert_utf32_to_char_a(allocator, s);
  if (text == nullptr) return kiv_ioterminal_puts(fd, "out of memory\n");
  const int result = kiv_ioterminal_puts(fd, text);
  // A write's errno is part of its result.
  const int error = errno;
  allocator->free(allocator, text);
  errno = error;
  return result;
}

int kiv_ioterminal_fprint(int fd, const char *format, ...) {
  char text[10240];
  text[0] = '\0';  // for a format that the C runtime refuses
  va_list arguments;
  va_start(arguments, format);
  (void)os::format_bounded(text, sizeof text, format, arguments);
  va_end(arguments);
  text[sizeof text - 1] = '\0';
  return kiv_ioterminal_puts(fd, text);
}

int kiv_ioterminal_close(int fd) { return fd < 0 ? fd : os::descriptor_close(fd); }
