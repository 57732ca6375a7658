#include <cerrno>
#include <cstdio>

#include <malloc.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "os/platform.h"

namespace kiv::os {

// A system call that reads a few bytes of ours and then does nothing: the kernel copies the signal set before it looks
// at the unknown operation, and says EFAULT or EINVAL. mincore would not do, as it takes pages without any access for
// good ones; a pipe would do the same at twice the time, with two descriptors to keep.
MemoryRange readable_range(const void *address) {
  constexpr int kNoOperation = -1;
  constexpr size_t kKernelSignalSetSize = 8;
  const auto page_size = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const uintptr_t page = reinterpret_cast<uintptr_t>(address) & ~(page_size - 1);
  const int saved = errno;
  const bool readable =
      syscall(SYS_rt_sigprocmask, kNoOperation, page, nullptr, kKernelSignalSetSize) == -1 && errno != EFAULT;
  errno = saved;
  return readable ? MemoryRange{page, page + page_size} : MemoryRange{0, 0};
}

size_t heap_block_size(void *block) { return malloc_usable_size(block); }

AddressText address_text(const void *address) {
  AddressText result{};
  std::snprintf(result.text, sizeof result.text, "%p", address);
  return result;
}

}  // namespace kiv::os
