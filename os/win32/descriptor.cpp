#include <io.h>

#include "os/platform.h"

namespace kiv::os {

int descriptor_read(int fd, void *buffer, uint32_t n) { return _read(fd, buffer, n); }
int descriptor_write(int fd, const void *buffer, uint32_t n) { return _write(fd, buffer, n); }
int descriptor_close(int fd) { return _close(fd); }

}  // namespace kiv::os
