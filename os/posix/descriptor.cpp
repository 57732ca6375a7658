#include <algorithm>

#include <unistd.h>

#include "os/platform.h"

namespace kiv::os {
namespace {

/// What a result of 32 bits can tell.
size_t countable(uint32_t n) { return std::min(n, uint32_t{INT32_MAX}); }

}  // namespace

int descriptor_read(int fd, void *buffer, uint32_t n) { return static_cast<int>(read(fd, buffer, countable(n))); }

int descriptor_write(int fd, const void *buffer, uint32_t n) {
  return static_cast<int>(write(fd, buffer, countable(n)));
}

int descriptor_close(int fd) { return close(fd); }

}  // namespace kiv::os
